#include "TestHelpers.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>
#include <vxxml/BinaryStream.h>
#include <vxxml/Encoder.h>
#include <vxxml/TextStream.h>

using namespace VxXmlLib16;

namespace {

Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::ptrdiff_t OpenDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

class FileStreams : public ::testing::Test
{
protected:
    std::string Path(const std::string& name) const { return m_dir.File(name); }
    std::wstring WPath(const std::string& name) const { return Wide(Path(name)); }

    TempDir m_dir;
};

} // namespace

TEST(TextStream, BytesPerEncoding)
{
    const wchar_t* text = L"<a>\u00E9\U0001F600</a>";
    for (XmlEncoding e : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl}) {
        CTextStream s(e);
        s.Write(L"<a>");
        s.Write(static_cast<wchar_t>(0xE9));
        s.Write(std::wstring(L"\U0001F600</a>"));
        EXPECT_STREQ(s.GetText(), text);
        EXPECT_EQ(s.GetLength(), 9u);
        // In memory, UTF-16 has no byte-order mark.
        EXPECT_EQ(ToBytes(s.ToBytes()),
                  ToBytes(e == XmlEncoding_UTF8 ? Utf16ToUtf8(text) : CBinaryData(text)));
        s.Flush(); // in memory: nothing happens
        EXPECT_EQ(s.GetLength(), 9u);
        s.Open(); // reuse: starts empty
        EXPECT_EQ(s.ToBytes().GetData(), nullptr);
    }
    for (int bad : {0, 4, -1}) {
        CTextStream s(static_cast<XmlEncoding>(bad));
        s.Write(L"x");
        EXPECT_THROW_MSG(s.ToBytes(), CVxException,
                         L"Unknown Encoding, select UTF-8 (contact our support team)");
    }
}

TEST(TextStream, CountedWritesAcrossManyBlocks)
{
    // Counted writes take zeros as text; the UTF-8 bytes of text spread over
    // many blocks are those of the text as a whole.
    std::wstring sample;
    for (int i = 0; i < 20000; ++i) {
        sample += static_cast<wchar_t>(i % 5 == 0 ? 0x1F600 + i % 40 : L'a' + i % 26);
    }
    sample += std::wstring(L"\0z", 2);
    CTextStream counted(XmlEncoding_UTF8);
    for (size_t at = 0; at < sample.size(); at += 777) {
        counted.Write(sample.data() + at, std::min<size_t>(777, sample.size() - at));
    }
    EXPECT_EQ(counted.GetLength(), sample.size());
    EXPECT_EQ(ToBytes(counted.ToBytes()), ToBytes(Utf16ToUtf8(sample.data(), sample.size())));
}

TEST_F(FileStreams, TextFileWithManyFlushes)
{
    // Every UTF-8 length class and surrogate pairs in UTF-16, over many flushes.
    std::mt19937 rng(5);
    const wchar_t pool[] = {L'<', L'a', L'\n', 0xE9, 0x20AC, 0x1F600, 0x10FFFF, L'&'};
    std::wstring text;
    for (int i = 0; i < 20000; ++i) {
        text += pool[rng() % std::size(pool)];
    }
    for (XmlEncoding e : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl}) {
        CFileTextStream s(WPath("doc.xml").c_str(), e);
        s.Open();
        for (wchar_t c : text) { // as the writers do: flush at 4096 characters
            s.Write(c);
            if (s.GetLength() >= 4096) {
                s.Flush();
            }
        }
        s.Close();
        Bytes expected = ToBytes(Utf16ToUtf8(text.c_str()));
        if (e != XmlEncoding_UTF8) {
            expected = ToBytes(CBinaryData(text.c_str()));
            expected.insert(expected.begin(), {0xFF, 0xFE});
        }
        const Bytes written = ReadFile(Path("doc.xml"));
        EXPECT_EQ(written, expected) << "encoding " << e;
        EXPECT_EQ(s.GetBytesWritten(), written.size());
    }
}

TEST_F(FileStreams, TextFileLifecycle)
{
    const auto fds = OpenDescriptors();
    // A non-ASCII file name: the wide path is created as its UTF-8 bytes.
    const std::string path = Path("\u00E9t\u00E9 \U0001F600.xml");
    const std::wstring wpath = Wide(m_dir.path.string()) + L"/\u00E9t\u00E9 \U0001F600.xml";
    {
        CFileTextStream s(wpath.c_str(), XmlEncoding_UTF8);
        s.Open();
        s.Write(L"first");
        s.Close();
        EXPECT_EQ(ReadFile(path), (Bytes{'f', 'i', 'r', 's', 't'}));
        s.Open();         // a new document, which only Close would put in place
        s.Write(L"lost"); // destroyed without Close: the file stays as it was
    }
    EXPECT_EQ(ReadFile(path), (Bytes{'f', 'i', 'r', 's', 't'}));
    EXPECT_EQ(OpenDescriptors(), fds) << "the destructor closes the file";
}

TEST_F(FileStreams, WriteErrors)
{
    // /dev/full accepts the open and refuses every write with ENOSPC (0x1C).
    const CBinaryData data(reinterpret_cast<const unsigned char*>("data"), 4);
    for (const auto& [path, code] :
         {std::pair{WPath("no/such/dir.xml"), L"0x00000002]: No such file or directory"},
          std::pair{std::wstring(L"/dev/full"), L"0x0000001C]: No space left on device"}}) {
        const std::wstring message =
            L"Failed to write data to the file [" + path + L"] error [" + code;
        CFileTextStream text(path.c_str(), XmlEncoding_UTF16); // the mark is written on open
        EXPECT_THROW_MSG(text.Open(), CVxException, message);
        EXPECT_THROW_MSG(CFileBinaryStream(path.c_str(), XmlEncoding_UTF8, data).WriteToFile(),
                         CVxException, message);
    }
    CFileTextStream never(WPath("never.xml").c_str(), XmlEncoding_UTF8);
    never.Write(L"x");
    EXPECT_THROW_MSG(never.Flush(), CVxException,
                     L"Failed to write data to the file. Error [0x00000009]: " +
                         WPath("never.xml") + L": Bad file descriptor");
    const auto fds = OpenDescriptors();
    for (bool onClose : {false, true}) {
        CFileTextStream full(L"/dev/full", XmlEncoding_UTF8);
        full.Open();
        full.Write(L"data");
        EXPECT_THROW_MSG(onClose ? full.Close() : full.Flush(), CVxException,
                         L"Failed to write data to the file. Error [0x0000001C]: /dev/full: No "
                         L"space left on device");
        EXPECT_EQ(OpenDescriptors(), fds) << "a failed write closes the file";
    }
}

TEST_F(FileStreams, BinaryFile)
{
    CBinaryStream acc;
    acc.Append(static_cast<unsigned char>(1));
    const unsigned char two[] = {2, 3};
    acc.Append(two, 2);
    acc.Append(CBinaryData(two, 1));
    const CBinaryData data = acc.GetData();
    // The mark comes first whatever the bytes are, compressed ones included.
    for (const auto& [encoding, bytes, expected] :
         {std::tuple{XmlEncoding_UTF8, data, Bytes{1, 2, 3, 2}},
          std::tuple{XmlEncoding_UTF16_NoDecl, data, Bytes{0xFF, 0xFE, 1, 2, 3, 2}},
          std::tuple{XmlEncoding_UTF16, CBinaryData(), Bytes{0xFF, 0xFE}}}) {
        CFileBinaryStream(WPath("bin").c_str(), encoding, bytes).WriteToFile();
        EXPECT_EQ(ReadFile(Path("bin")), expected);
    }
}
