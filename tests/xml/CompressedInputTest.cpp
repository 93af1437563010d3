// Compressed documents: their layout on disk, and what every load makes of
// them, hostile ones included: bombs must stop within bounded memory,
// corrupt streams must say so.

#include "TestHelpers.h"
#include "xml/XmlTreeDump.h"

#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vxxml/vxxml.h>
#include <zlib.h>

using namespace VxXmlLib16;

namespace {

Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// One gzip member (or a zlib stream) of the given bytes, at zlib's best.
Bytes Deflate(const std::string& text, bool gzip)
{
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, 9, Z_DEFLATED, gzip ? 31 : 15, 9, Z_DEFAULT_STRATEGY), Z_OK);
    Bytes out(deflateBound(&z, text.size()));
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

// A gzip file made of `count` copies of one member: what a bomb looks like,
// a few kilobytes of input per megabyte of output.
Bytes Members(const std::string& text, int count)
{
    const Bytes member = Deflate(text, true);
    Bytes out;
    for (int i = 0; i < count; ++i) {
        out.insert(out.end(), member.begin(), member.end());
    }
    return out;
}

// Loads bytes in a child process and reports the message it failed with
// (empty when it loaded) and how far its resident memory grew.
struct Outcome
{
    std::string message;
    long peakGrowthKiB = 0;
};
Outcome LoadInChild(const Bytes& bytes)
{
    int fds[2];
    EXPECT_EQ(pipe(fds), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        std::ofstream("/proc/self/clear_refs") << "5"; // resets the peak
        const auto status = [](const char* field) {
            std::ifstream in("/proc/self/status");
            for (std::string line; std::getline(in, line);) {
                if (line.rfind(field, 0) == 0) {
                    return std::atol(line.c_str() + std::strlen(field));
                }
            }
            return 0L;
        };
        const long before = status("VmRSS:");
        std::string message;
        try {
            CXmlDocument document;
            document.LoadXmlStream(const_cast<unsigned char*>(bytes.data()),
                                   static_cast<uint32_t>(bytes.size()));
        } catch (const CVxException& e) {
            message = Narrow(e.GetFullMessage());
        }
        const std::string report = std::to_string(status("VmHWM:") - before) + "\n" + message;
        (void)!write(fds[1], report.data(), report.size());
        _exit(0);
    }
    close(fds[1]);
    std::string report;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;) {
        report.append(buffer, static_cast<size_t>(n));
    }
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "the child crashed";
    Outcome outcome;
    const size_t newline = report.find('\n');
    outcome.peakGrowthKiB = std::atol(report.substr(0, newline).c_str());
    outcome.message = newline == std::string::npos ? report : report.substr(newline + 1);
    return outcome;
}

constexpr long kMemoryBoundKiB = 256 * 1024;

TEST(CompressedInput, BombsStopEarlyInBoundedMemory)
{
    const std::string mebibyte(1 << 20, '\0');
    struct Case
    {
        const char* what;
        Bytes bytes;
        const char* expected; // in the message
    };
    std::string spaces(1 << 20, ' ');
    std::string nested;
    for (int i = 0; i < (1 << 20) / 3; ++i) {
        nested += "<a>";
    }
    Bytes blank = Deflate("<a>", true);
    const Bytes rest = Members(spaces, 2048);
    blank.insert(blank.end(), rest.begin(), rest.end());
    const Case cases[] = {
        // 2 MB of gzip, 2 GiB of zeros: not XML from the first byte.
        {"zeros", Members(mebibyte, 2048), "not well-formed"},
        // An open element and 2 GiB of blanks: only the ratio stops it.
        {"blanks", blank, "expands more than 100 times"},
        // 300 MB of nested start tags: the tree stops at the nesting limit.
        {"nesting", Members(nested, 300), "nested more than 1000 levels deep"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_LT(c.bytes.size(), 4u << 20);
        const Outcome outcome = LoadInChild(c.bytes);
        EXPECT_NE(outcome.message.find(c.expected), std::string::npos) << outcome.message;
        EXPECT_LT(outcome.peakGrowthKiB, kMemoryBoundKiB);
    }
}

TEST(CompressedInput, TheLimitsAreTheCallers)
{
    std::string xml = "<a>";
    xml += std::string(20 << 20, ' ');
    xml += "</a>";
    Bytes bytes = Deflate(xml, false); // about 1000 times smaller
    CSerializationContext context;
    {
        CXmlDocument document(context);
        EXPECT_THROW(document.LoadXmlStream(bytes.data(), static_cast<uint32_t>(bytes.size())),
                     CVxException);
    }
    context.SetMaxDecompressionRatio(0);
    context.SetMaxDecompressedSize(1 << 20);
    {
        CXmlDocument document(context);
        EXPECT_THROW_MSG(
            document.LoadXmlStream(bytes.data(), static_cast<uint32_t>(bytes.size())), CVxException,
            L"The compressed document expands to more than 1048576 bytes, the most allowed "
            L"(raise it with CSerializationContext::SetMaxDecompressedSize)");
    }
    context.SetMaxDecompressedSize(0);
    CXmlDocument document(context);
    document.LoadXmlStream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    EXPECT_EQ(document.GetDocumentElement()->GetLocalName(), L"a");
}

TEST(CompressedInput, CorruptStreamsSayWhatIsWrong)
{
    std::string xml = "<doc>";
    for (int i = 0; i < 200; ++i) {
        xml += "<item n='" + std::to_string(i) + "'>text</item>";
    }
    xml += "</doc>";
    const Bytes gzip = Deflate(xml, true);
    const Bytes zlib = Deflate(xml, false);
    const auto flip = [](Bytes b, size_t fromEnd) {
        b[b.size() - fromEnd] ^= 0x55;
        return b;
    };
    const auto append = [](Bytes b, const std::string& tail) {
        b.insert(b.end(), tail.begin(), tail.end());
        return b;
    };
    const struct
    {
        const char* what;
        Bytes bytes;
        const wchar_t* reason;
    } cases[] = {
        {"gzip check sum", flip(gzip, 8), L"incorrect data check"},
        {"gzip length", flip(gzip, 1), L"incorrect length check"},
        {"zlib check sum", flip(zlib, 1), L"incorrect data check"},
        {"gzip truncated", Bytes(gzip.begin(), gzip.end() - 10),
         L"it ends before its end (the data are truncated)"},
        {"zlib truncated", Bytes(zlib.begin(), zlib.begin() + 20),
         L"it ends before its end (the data are truncated)"},
        {"gzip with trailing bytes", append(gzip, "junk"),
         L"it is followed by bytes that are not part of it"},
        {"zlib with trailing bytes", append(zlib, std::string(1, '\x1f')),
         L"it is followed by bytes that are not part of it"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        CXmlDocument document;
        Bytes bytes = c.bytes;
        EXPECT_THROW_MSG(document.LoadXmlStream(bytes.data(), static_cast<uint32_t>(bytes.size())),
                         CVxException,
                         std::wstring(L"The compressed stream is corrupt: ") + c.reason);
    }
    // Concatenated gzip members are one document, as gzip(1) reads them.
    const std::string half1 = xml.substr(0, xml.size() / 2);
    Bytes two = Deflate(half1, true);
    const Bytes second = Deflate(xml.substr(half1.size()), true);
    two.insert(two.end(), second.begin(), second.end());
    CXmlDocument document;
    document.LoadXmlStream(two.data(), static_cast<uint32_t>(two.size()));
    EXPECT_EQ(xmltest::Children(document.GetDocumentElement()).size(), 200u);
}

TEST(CompressedInput, AFileArrivingByteByByteThroughAPipe)
{
    std::string xml = "<doc>";
    for (int i = 0; i < 100; ++i) {
        xml += "<item>" + std::to_string(i) + "</item>";
    }
    xml += "</doc>";
    for (const Bytes& bytes : {Deflate(xml, true), Deflate(xml, false)}) {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        std::thread writer([&bytes, fd = fds[1]] {
            for (unsigned char byte : bytes) {
                (void)!write(fd, &byte, 1);
            }
            close(fd);
        });
        CXmlDocument document;
        document.Load(Wide("/proc/self/fd/" + std::to_string(fds[0])).c_str());
        writer.join();
        close(fds[0]);
        EXPECT_EQ(xmltest::Children(document.GetDocumentElement()).size(), 100u);
    }
}

// Large enough to shrink when compressed.
CSmartPtr<CElement> Sample()
{
    std::wstring xml = L"<doc xmlns='urn:t'>";
    for (int i = 0; i < 20; ++i) {
        xml += L"<a x='1'>grün</a><b/>";
    }
    CSmartPtr<CElement> root(new CElement(L"doc", L"urn:t", L"##any", L""));
    root->FromXml((xml + L"</doc>").c_str());
    return root;
}

TEST(CompressedInput, UTF16GzipFileStartsWithTheByteOrderMarkAndReadsBack)
{
    TempDir dir;
    const std::wstring file = Wide(dir.File("doc.xml.gz"));
    const CSmartPtr<CElement> root = Sample();
    const std::wstring expected = root->ToXml();
    for (XmlEncoding encoding : {XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl}) {
        root->ToXmlFile(file.c_str(), true, true, encoding, EOL_LF,
                        CSerializationContext::GetDefaultContext(), Compression_GZip);
        const Bytes bytes = ReadFile(dir.File("doc.xml.gz"));
        ASSERT_GE(bytes.size(), 4u);
        EXPECT_EQ((Bytes{bytes.begin(), bytes.begin() + 4}), (Bytes{0xFF, 0xFE, 0x1F, 0x8B}));

        CSmartPtr<CElement> fromFile(new CElement(L"doc", L"urn:t", L"##any", L""));
        fromFile->FromXmlFile(file.c_str());
        EXPECT_EQ(fromFile->ToXml(), expected);
        CSmartPtr<CElement> fromBytes(new CElement(L"doc", L"urn:t", L"##any", L""));
        fromBytes->FromXmlStream(bytes.data(), static_cast<uint32_t>(bytes.size()));
        EXPECT_EQ(fromBytes->ToXml(), expected);
    }
    // UTF-8 files carry no mark.
    root->ToXmlFile(file.c_str(), true, true, XmlEncoding_UTF8, EOL_LF,
                    CSerializationContext::GetDefaultContext(), Compression_GZip);
    const Bytes utf8 = ReadFile(dir.File("doc.xml.gz"));
    EXPECT_EQ((Bytes{utf8.begin(), utf8.begin() + 2}), (Bytes{0x1F, 0x8B}));
}

TEST(CompressedInput, OutputThatDoesNotShrinkIsRefusedInWords)
{
    CSmartPtr<CElement> tiny(new CElement(L"a"));
    EXPECT_THROW_MSG(tiny->ToXmlStream(false, false, XmlEncoding_UTF8, EOL_LF,
                                       CSerializationContext::GetDefaultContext(),
                                       Compression_GZip),
                     CVxException,
                     L"Failed to compress data. [Error Code: -5]: compressed, the 4 bytes would "
                     L"not become smaller, so they are not compressed");
}

} // namespace
