// Compressed documents on disk and in memory: their layout, and what every
// load makes of them.

#include "TestHelpers.h"

#include <fstream>
#include <iterator>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

Bytes ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
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

} // namespace
