// A UTF-8 text stream converts as text arrives; these tests hold it to the
// behaviour of a stream that keeps every character until ToBytes.
#include "TestHelpers.h"

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <vxxml/CachedMemory.h>
#include <vxxml/Encoder.h>
#include <vxxml/TextStream.h>

using namespace VxXmlLib16;

namespace {

Bytes Utf8Of(const std::wstring& text)
{
    return ToBytes(Utf16ToUtf8(text.data(), text.size()));
}

std::wstring ErrorOf(const std::wstring& text)
{
    try {
        Utf16ToUtf8(text.data(), text.size());
    } catch (const CVxException& e) {
        return e.GetMessage();
    }
    return L"(no error)";
}

// Writes text in pieces of every kind a writer uses: single characters,
// short counted pieces (staged), long ones (converted straight away), and
// zero-terminated ones.
void WriteInPieces(CTextStream& s, const std::wstring& text, std::mt19937& rng)
{
    size_t at = 0;
    while (at < text.size()) {
        const size_t left = text.size() - at;
        switch (rng() % 4) {
        case 0:
            s.Write(text[at]);
            ++at;
            break;
        case 1: {
            const size_t n = std::min<size_t>(left, 1 + rng() % 40);
            s.Write(text.data() + at, n);
            at += n;
            break;
        }
        case 2: {
            const size_t n = std::min<size_t>(left, 200 + rng() % 5000);
            s.Write(text.data() + at, n);
            at += n;
            break;
        }
        default: {
            const size_t n = std::min<size_t>(left, 1 + rng() % 300);
            s.Write(std::wstring(text, at, n));
            at += n;
            break;
        }
        }
    }
}

std::wstring MixedText(size_t length, std::mt19937& rng)
{
    const wchar_t pool[] = {L'a', L'<', L'\n', 0xE9, 0x20AC, 0x1F600, 0x10FFFF, L'z'};
    std::wstring text;
    for (size_t i = 0; i < length; ++i) {
        text += pool[rng() % std::size(pool)];
    }
    return text;
}

} // namespace

TEST(TextStreamBytes, AnswersForAllTextWhateverTheWritesAndReads)
{
    std::mt19937 rng(11);
    for (int round = 0; round < 20; ++round) {
        const std::wstring first = MixedText(rng() % 30000, rng);
        const std::wstring second = MixedText(rng() % 9000, rng);
        CTextStream s(XmlEncoding_UTF8);
        WriteInPieces(s, first, rng);
        EXPECT_EQ(s.GetLength(), first.size());
        EXPECT_EQ(s.GetText(), first);
        const CBinaryData early = s.ToBytes();
        EXPECT_EQ(ToBytes(early), Utf8Of(first));

        // Writing on after ToBytes and GetText: earlier results stay as
        // they were, later ones cover everything.
        WriteInPieces(s, second, rng);
        EXPECT_EQ(ToBytes(early), Utf8Of(first));
        EXPECT_EQ(s.GetLength(), first.size() + second.size());
        EXPECT_EQ(ToBytes(s.ToBytes()), Utf8Of(first + second)) << "round " << round;
        EXPECT_EQ(ToBytes(s.ToBytes()), Utf8Of(first + second)) << "twice the same";
        EXPECT_EQ(s.GetText(), first + second);

        s.Open();
        EXPECT_EQ(s.GetLength(), 0u);
        EXPECT_STREQ(s.GetText(), L"");
        EXPECT_EQ(s.ToBytes().GetLength(), 0u);
    }
}

TEST(TextStreamBytes, TextWithoutUtf8FormIsKeptAndReportedByToBytes)
{
    // The bad character arrives in each way text can arrive: in a long
    // piece, in a short staged one, alone, and once much text is converted.
    const std::wstring before(10000, L'x');
    const std::wstring after(5000, 0xE9);
    for (wchar_t bad : {static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF),
                        static_cast<wchar_t>(0x110000)}) {
        for (int way = 0; way < 3; ++way) {
            CTextStream s(XmlEncoding_UTF8);
            s.Write(before);
            if (way == 2) {
                EXPECT_EQ(ToBytes(s.ToBytes()), Utf8Of(before)); // bytes handed out first
            }
            std::wstring middle = L"ab";
            middle += bad;
            middle += L"cd";
            if (way == 0) {
                middle += std::wstring(600, L'm');
                s.Write(middle);
            } else if (way == 1) {
                s.Write(middle.data(), middle.size());
            } else {
                for (wchar_t c : middle) {
                    s.Write(c);
                }
            }
            s.Write(after);
            const std::wstring all = before + middle + after;
            EXPECT_EQ(s.GetLength(), all.size());
            EXPECT_EQ(s.GetText(), all) << "way " << way;
            // The same error, at the same position, as converting all at once.
            EXPECT_THROW_MSG(s.ToBytes(), CVxException, ErrorOf(all));

            // A reopened stream converts again.
            s.Open();
            s.Write(after);
            EXPECT_EQ(ToBytes(s.ToBytes()), Utf8Of(after));
        }
    }
}

TEST(TextStreamBytes, Utf16StreamsKeepLoneSurrogatesAsCodeUnits)
{
    // Only UTF-8 streams convert early; UTF-16 ones still take text that
    // UTF-8 cannot hold.
    std::wstring text(5000, L'q');
    text += static_cast<wchar_t>(0xD800);
    CTextStream s(XmlEncoding_UTF16);
    s.Write(text);
    EXPECT_EQ(ToBytes(s.ToBytes()), ToBytes(CBinaryData(text.c_str())));
    EXPECT_EQ(s.GetText(), text);
}

namespace {

// Megabytes of text: beyond the heap arrays, so the document's bytes live in
// the library's large blocks. A seed makes each document different.
std::wstring LargeText(size_t length, unsigned seed)
{
    std::wstring text(length, L'a');
    std::mt19937 rng(seed);
    for (size_t i = 0; i < length; i += 1 + rng() % 997) {
        const wchar_t pool[] = {L'<', 0xE9, 0x20AC, 0x1F600,
                                static_cast<wchar_t>(L'a' + seed % 26)};
        text[i] = pool[rng() % std::size(pool)];
    }
    return text;
}

CBinaryData WriteDocument(const std::wstring& text)
{
    CTextStream s(XmlEncoding_UTF8);
    for (size_t at = 0; at < text.size(); at += 70000) {
        s.Write(text.data() + at, std::min<size_t>(70000, text.size() - at));
    }
    return s.ToBytes();
}

} // namespace

TEST(TextStreamBytes, LargeDocumentsKeepTheirBytesWhateverIsWrittenOrReleasedMeanwhile)
{
    // A released document's block is reused for the next one; one still
    // held must never be.
    const std::wstring a = LargeText(3'000'000, 1);
    const std::wstring b = LargeText(2'500'000, 2);
    const std::wstring c = LargeText(1'200'000, 3);
    CBinaryData first = WriteDocument(a);
    CBinaryData second = WriteDocument(b);
    EXPECT_EQ(ToBytes(first), Utf8Of(a));
    EXPECT_EQ(ToBytes(second), Utf8Of(b));

    // Kept blocks given back, then kept again: neither is used twice.
    first.Clear();
    ReleaseCachedMemory();
    EXPECT_EQ(ToBytes(WriteDocument(c)), Utf8Of(c));
    ReleaseCachedMemory();

    first = WriteDocument(a);
    first.Clear(); // its block is now free for the next document
    CBinaryData third = WriteDocument(c);
    CBinaryData fourth = WriteDocument(b); // and not for this one as well
    EXPECT_EQ(ToBytes(third), Utf8Of(c));
    EXPECT_EQ(ToBytes(fourth), Utf8Of(b));
    EXPECT_EQ(ToBytes(second), Utf8Of(b));

    // Shared handles, then appending through one of them: the other keeps
    // the document, and the appended copy holds both parts.
    CBinaryData shared = second;
    second.Clear();
    CBinaryData extended = shared;
    extended.Append(reinterpret_cast<const unsigned char*>("tail"), 4);
    Bytes expected = Utf8Of(b);
    EXPECT_EQ(ToBytes(shared), expected);
    expected.insert(expected.end(), {'t', 'a', 'i', 'l'});
    EXPECT_EQ(ToBytes(extended), expected);

    // Handed out, the bytes are a new[] array like any other.
    const uint32_t length = third.GetLength();
    std::unique_ptr<unsigned char[]> released(third.ReleaseData());
    EXPECT_EQ(Bytes(released.get(), released.get() + length), Utf8Of(c));
    EXPECT_EQ(third.GetLength(), 0u);
}

TEST(TextStreamBytes, LargeDocumentsOnSeveralThreadsStayApart)
{
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (unsigned t = 0; t < 4; ++t) {
        threads.emplace_back([t, &failures] {
            std::vector<std::pair<std::wstring, CBinaryData>> held;
            for (unsigned round = 0; round < 4; ++round) {
                std::wstring text = LargeText(1'100'000 + 300'000 * round, 10 * t + round);
                CBinaryData bytes = WriteDocument(text);
                held.emplace_back(std::move(text), std::move(bytes));
                if (round % 2 == 1) {
                    held.erase(held.begin()); // give a block back now and then
                }
                for (const auto& [expected, document] : held) {
                    failures += ToBytes(document) != Utf8Of(expected);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
}
