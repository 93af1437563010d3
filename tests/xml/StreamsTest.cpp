#include "TestHelpers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>
#include <vxxml/BinaryStream.h>
#include <vxxml/Encoder.h>
#include <vxxml/TextStream.h>

using namespace VxXmlLib16;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ToBytes(const CBinaryData& d)
{
    return d.GetLength() ? Bytes(d.GetData(), d.GetData() + d.GetLength()) : Bytes{};
}

Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::wstring Widen(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

int OpenDescriptors()
{
    int n = 0;
    if (DIR* d = opendir("/proc/self/fd")) {
        while (readdir(d)) {
            ++n;
        }
        closedir(d);
    }
    return n;
}

class FileStreams : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char tmpl[] = "/tmp/vxxml-streams-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        m_dir = tmpl;
    }
    void TearDown() override { std::system(("rm -rf '" + m_dir + "'").c_str()); }
    std::string Path(const char* name) const { return m_dir + "/" + name; }

    std::string m_dir;
};

// Text with every UTF-8 length class and characters that need surrogate
// pairs in UTF-16, long enough to need many flushes.
std::wstring SampleText(size_t n)
{
    std::mt19937 rng(5);
    const wchar_t pool[] = {L'<', L'a', L'\n', 0xE9, 0x20AC, 0x1F600, 0x10FFFF, L'&'};
    std::wstring s;
    for (size_t i = 0; i < n; ++i) {
        s += pool[rng() % std::size(pool)];
    }
    return s;
}

} // namespace

TEST(TextStream, BytesPerEncoding)
{
    const wchar_t* text = L"<a>\u00E9\U0001F600</a>";
    CTextStream utf8(XmlEncoding_UTF8);
    utf8.Write(L"<a>");
    utf8.Write(static_cast<wchar_t>(0xE9));
    utf8.Write(std::wstring(L"\U0001F600</a>"));
    EXPECT_STREQ(utf8.GetText(), text);
    EXPECT_EQ(utf8.GetLength(), 9u);
    EXPECT_EQ(ToBytes(utf8.ToBytes()), ToBytes(Utf16ToUtf8(text)));

    for (XmlEncoding e : {XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl}) {
        CTextStream s(e);
        s.Write(text);
        EXPECT_EQ(s.GetEncoding(), e);
        EXPECT_EQ(ToBytes(s.ToBytes()), ToBytes(CBinaryData(text))) << "no byte-order mark";
    }

    for (int bad : {0, 4, -1}) {
        CTextStream s(static_cast<XmlEncoding>(bad));
        s.Write(L"x");
        EXPECT_THROW_MSG(s.ToBytes(), CVxException,
                         L"Unknown Encoding, select UTF-8 (contact our support team)");
    }

    // Counted writes take zeros as text; the UTF-8 bytes of text spread over
    // many blocks are those of the text as a whole.
    CTextStream counted(XmlEncoding_UTF8);
    const std::wstring sample = SampleText(20000) + std::wstring(L"\0z", 2);
    for (size_t at = 0; at < sample.size(); at += 777) {
        counted.Write(sample.data() + at, std::min<size_t>(777, sample.size() - at));
    }
    EXPECT_EQ(counted.GetLength(), sample.size());
    EXPECT_EQ(ToBytes(counted.ToBytes()), ToBytes(Utf16ToUtf8(sample.data(), sample.size())));

    utf8.Flush(); // in memory: nothing happens
    EXPECT_EQ(utf8.GetLength(), 9u);
    utf8.Open(); // reuse: starts empty
    EXPECT_EQ(utf8.GetLength(), 0u);
    EXPECT_EQ(utf8.ToBytes().GetData(), nullptr);
}

TEST_F(FileStreams, TextFileWithManyFlushes)
{
    const std::wstring text = SampleText(20000);
    for (XmlEncoding e : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl}) {
        const std::string path = Path("doc.xml");
        CFileTextStream s(Widen(path).c_str(), e);
        s.Open();
        // As the writers do: flush whenever 4096 characters are buffered.
        for (wchar_t c : text) {
            s.Write(c);
            if (s.GetLength() >= 4096) {
                s.Flush();
            }
        }
        s.Close();

        Bytes expected;
        if (e == XmlEncoding_UTF8) {
            expected = ToBytes(Utf16ToUtf8(text.c_str()));
        } else {
            expected = {0xFF, 0xFE};
            const Bytes body = ToBytes(CBinaryData(text.c_str()));
            expected.insert(expected.end(), body.begin(), body.end());
        }
        const Bytes written = ReadFile(path);
        EXPECT_EQ(written, expected) << "encoding " << e;
        EXPECT_EQ(s.GetBytesWritten(), written.size());
    }
}

TEST_F(FileStreams, TextFileLifecycle)
{
    const int fds = OpenDescriptors();
    // A non-ASCII file name: the wide path is created as its UTF-8 bytes.
    const std::string path = Path("\u00E9t\u00E9 \U0001F600.xml");
    const std::wstring wpath = Widen(m_dir) + L"/\u00E9t\u00E9 \U0001F600.xml";
    {
        CFileTextStream s(wpath.c_str(), XmlEncoding_UTF8);
        s.Open();
        s.Write(L"first");
        s.Close();
        EXPECT_EQ(ReadFile(path), (Bytes{'f', 'i', 'r', 's', 't'}));
        s.Open(); // truncates
        s.Write(L"lost");
        // destroyed without Close: buffered text is not written
    }
    EXPECT_TRUE(ReadFile(path).empty());
    EXPECT_EQ(OpenDescriptors(), fds) << "the destructor closes the file";

    CFileTextStream never(Widen(Path("never.xml")).c_str(), XmlEncoding_UTF8);
    never.Write(L"x");
    EXPECT_THROW_MSG(never.Flush(), CVxException,
                     L"Failed to write data to the file. Error [0x00000009]");
}

TEST_F(FileStreams, TextFileErrors)
{
    const std::wstring missing = Widen(Path("no/such/dir.xml"));
    CFileTextStream s(missing.c_str(), XmlEncoding_UTF8);
    EXPECT_THROW_MSG(
        s.Open(), CVxException,
        (L"Failed to write data to the file [" + missing + L"] error [0x00000002]").c_str());

    // /dev/full accepts the open and refuses every write with ENOSPC (0x1C).
    CFileTextStream bom(L"/dev/full", XmlEncoding_UTF16);
    EXPECT_THROW_MSG(bom.Open(), CVxException,
                     L"Failed to write data to the file [/dev/full] error [0x0000001C]");

    const int fds = OpenDescriptors();
    CFileTextStream full(L"/dev/full", XmlEncoding_UTF8);
    full.Open();
    full.Write(L"data");
    EXPECT_THROW_MSG(full.Flush(), CVxException,
                     L"Failed to write data to the file. Error [0x0000001C]");
    EXPECT_EQ(OpenDescriptors(), fds) << "a failed write closes the file";

    CFileTextStream onClose(L"/dev/full", XmlEncoding_UTF8);
    onClose.Open();
    onClose.Write(L"data");
    EXPECT_THROW_MSG(onClose.Close(), CVxException,
                     L"Failed to write data to the file. Error [0x0000001C]");
}

TEST_F(FileStreams, BinaryFile)
{
    CBinaryStream acc;
    acc.Append(static_cast<unsigned char>(1));
    const unsigned char two[] = {2, 3};
    acc.Append(two, 2);
    acc.Append(CBinaryData(two, 1));
    const CBinaryData data = acc.GetData();
    EXPECT_EQ(ToBytes(data), (Bytes{1, 2, 3, 2}));

    const std::string path = Path("bin");
    CFileBinaryStream(Widen(path).c_str(), XmlEncoding_UTF8, data).WriteToFile();
    EXPECT_EQ(ReadFile(path), (Bytes{1, 2, 3, 2}));
    // The mark comes first whatever the bytes are, compressed ones included.
    CFileBinaryStream(Widen(path).c_str(), XmlEncoding_UTF16_NoDecl, data).WriteToFile();
    EXPECT_EQ(ReadFile(path), (Bytes{0xFF, 0xFE, 1, 2, 3, 2}));
    CFileBinaryStream(Widen(path).c_str(), XmlEncoding_UTF16).WriteToFile();
    EXPECT_EQ(ReadFile(path), (Bytes{0xFF, 0xFE}));

    const std::wstring missing = Widen(Path("no/such/file"));
    EXPECT_THROW_MSG(
        CFileBinaryStream(missing.c_str(), XmlEncoding_UTF8, data).WriteToFile(), CVxException,
        (L"Failed to write data to the file [" + missing + L"] error [0x00000002]").c_str());
    EXPECT_THROW_MSG(CFileBinaryStream(L"/dev/full", XmlEncoding_UTF8, data).WriteToFile(),
                     CVxException,
                     L"Failed to write data to the file [/dev/full] error [0x0000001C]");
}
