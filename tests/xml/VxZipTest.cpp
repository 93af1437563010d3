#include "TestHelpers.h"

#include <cstdio>
#include <random>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>
#include <vxxml/VxZip.h>

using namespace VxXmlLib16;

namespace {

// Compressible text resembling a document.
Bytes SampleXml(size_t elements)
{
    std::string s = "<?xml version=\"1.0\"?>\n<root>\n";
    for (size_t i = 0; i < elements; ++i) {
        s += "  <item id=\"" + std::to_string(i * 7919 % 100003) + "\">value " +
             std::to_string(i * i * 31) + "</item>\n";
    }
    return Bytes(s.begin(), s.end());
}

// Runs a shell command on `input`, stored in a temporary file named by {},
// and returns what it prints.
Bytes RunOn(const Bytes& input, const std::string& command)
{
    char path[] = "/tmp/vxxml-zip-XXXXXX";
    const int fd = mkstemp(path);
    EXPECT_EQ(write(fd, input.data(), input.size()), static_cast<ssize_t>(input.size()));
    close(fd);
    std::string cmd = command;
    cmd.replace(cmd.find("{}"), 2, path);
    int status = -1;
    const std::string out = Shell(cmd, &status);
    EXPECT_EQ(status, 0) << cmd;
    unlink(path);
    return Bytes(out.begin(), out.end());
}

// Decompresses a new[] copy through the pointer interface. Returns the result
// and whether the buffer was replaced.
std::pair<Bytes, bool> DecompressCopy(const Bytes& in)
{
    auto* buffer = new unsigned char[in.size() + 1];
    std::copy(in.begin(), in.end(), buffer);
    unsigned char* const original = buffer;
    uint32_t length = static_cast<uint32_t>(in.size());
    CVxZip().Decompress(buffer, length);
    Bytes out = buffer ? Bytes(buffer, buffer + length) : Bytes{};
    const bool replaced = buffer != original;
    delete[] buffer;
    return {out, replaced};
}

} // namespace

TEST(VxZip, InteroperatesWithGzipAndPythonZlib)
{
    const Bytes xml = SampleXml(20000); // several 64 KiB output chunks
    for (const auto& [type, magic, reader] :
         {std::tuple{Compression_GZip, 0x1F, "gzip -dc {}"},
          std::tuple{Compression_ZLib, 0x78,
                     "python3 -c 'import sys,zlib; sys.stdout.buffer.write("
                     "zlib.decompress(open(sys.argv[1],\"rb\").read()))' {}"}}) {
        CBinaryData data = FromBytes(xml);
        CVxZip().Compress(data, type);
        ASSERT_LT(data.GetLength(), xml.size());
        EXPECT_EQ(data[0], magic);
        EXPECT_EQ(RunOn(ToBytes(data), reader), xml);
        EXPECT_EQ(DecompressCopy(ToBytes(data)), std::make_pair(xml, true));
    }
    EXPECT_EQ(DecompressCopy(RunOn(xml, "gzip -9 -c {}")), std::make_pair(xml, true));
    EXPECT_EQ(DecompressCopy(RunOn(xml, "python3 -c 'import sys,zlib; sys.stdout.buffer.write("
                                        "zlib.compress(open(sys.argv[1],\"rb\").read()))' {}")),
              std::make_pair(xml, true));
    // Concatenated gzip members read as one, as gzip -dc reads them.
    EXPECT_EQ(DecompressCopy(RunOn({'a', 'b', 'c'}, "(gzip -c {}; printf de | gzip -c)")),
              std::make_pair(Bytes{'a', 'b', 'c', 'd', 'e'}, true));
    // The compressed form of nothing decompresses to nothing.
    EXPECT_EQ(DecompressCopy(RunOn({}, "gzip -c {}")), std::make_pair(Bytes{}, true));
    CBinaryData value = FromBytes(RunOn(xml, "gzip -c {}"));
    EXPECT_TRUE(CVxZip().Decompress(value));
    EXPECT_EQ(ToBytes(value), xml);
}

// Plain, truncated and trailing input, and output as long as the input, are
// replayed from the zip fuzz corpus; a checksum that does not match is not.
TEST(VxZip, NonCompressedInputIsUntouched)
{
    const Bytes xml = SampleXml(50);
    EXPECT_EQ(DecompressCopy(xml), std::make_pair(xml, false));
    CBinaryData gz = FromBytes(xml);
    CVxZip().Compress(gz, Compression_GZip);
    const Bytes full = ToBytes(gz);
    for (size_t pos : {size_t{3}, full.size() / 2, full.size() - 5}) {
        Bytes damaged = full;
        damaged[pos] ^= 0x55;
        EXPECT_EQ(DecompressCopy(damaged), std::make_pair(damaged, false)) << pos;
    }
    CBinaryData plain = FromBytes(xml);
    const unsigned char* before = plain.GetData();
    EXPECT_FALSE(CVxZip().Decompress(plain));
    EXPECT_EQ(plain.GetData(), before);
}

TEST(VxZip, CompressionThatDoesNotShrinkFails)
{
    const Bytes tiny = {'a', 'b', 'c'};
    std::mt19937 rng(4);
    Bytes noise(10000);
    for (auto& x : noise) {
        x = static_cast<unsigned char>(rng());
    }
    for (const Bytes& input : {tiny, noise}) {
        for (CompressionType type : {Compression_GZip, Compression_ZLib}) {
            CBinaryData d = FromBytes(input);
            try {
                CVxZip().Compress(d, type);
                ADD_FAILURE() << "expected a failure for " << input.size() << " bytes";
            } catch (const CVxException& e) {
                EXPECT_EQ(e.GetMessage().rfind(L"Failed to compress data. [Error Code: ", 0), 0u)
                    << Narrow(e.GetMessage());
            }
            EXPECT_EQ(ToBytes(d), input) << "the data is kept";
        }
    }
    // No compression, an unknown kind or no data: nothing changes.
    CBinaryData d = FromBytes(tiny);
    CVxZip().Compress(d, Compression_None);
    CVxZip().Compress(d, static_cast<CompressionType>(7));
    EXPECT_EQ(ToBytes(d), tiny);
    CBinaryData empty;
    CVxZip().Compress(empty, Compression_GZip);
    EXPECT_EQ(empty.GetData(), nullptr);
}
