// Random object trees written in every encoding and read back must come back
// equal, and every document written must be valid against test.xsd.
#include "TestHelpers.h"
#include "binding/BindingSupport.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace VxXmlLib16;
using namespace bt;

namespace {

// The ways a document goes out and comes back in.
void RoundTrip(const CXmlGeneratedClass& original, CXmlGeneratedClass& copy, int way,
               const CSerializationContext& context, const std::string& file)
{
    switch (way % 6) {
    case 0:
        copy.FromXml(original.ToXml(true, true, EOL_LF, context).c_str(), context);
        break;
    case 1:
        copy.FromXmlStream(original.ToXmlStream(true, false, XmlEncoding_UTF8, EOL_CRLF, context),
                           context);
        break;
    case 2:
        copy.FromXmlStream(original.ToXmlStream(true, true, XmlEncoding_UTF16, EOL_LF, context),
                           context);
        break;
    case 3:
        copy.FromXmlStream(
            original.ToXmlStream(true, true, XmlEncoding_UTF8, EOL_LF, context, Compression_GZip),
            context);
        break;
    case 4: {
        CXmlDocument document(context);
        document.LoadXml(original.ToXml(false, false, EOL_LF, context).c_str());
        copy.FromXmlElement(document.GetDocumentElement(), context);
        break;
    }
    default:
        original.ToXmlFile(Wide(file).c_str(), true, false, XmlEncoding_UTF16, EOL_CRLF, context);
        copy.FromXmlFile(Wide(file).c_str(), context);
    }
}

// Plain, with prefixes for the namespaces, with a default namespace.
CSerializationContext ContextFor(int variant)
{
    CSerializationContext context;
    // Abstract members are read back through their xsi:type.
    context.SetWriteTypeAttribute(true);
    // A valid document reads the same when unknown content would be skipped.
    context.SetIgnoreUnknownElements(variant % 2 == 1);
    context.SetIgnoreUnknownAttributes(variant % 2 == 1);
    if (variant % 3 == 1) {
        context.GetNamespaceAliases().Add(L"t", kNs);
        context.GetNamespaceAliases().Add(L"o", kOtherNs);
    } else if (variant % 3 == 2) {
        context.SetDefaultNamespaceURI(kNs);
    }
    return context;
}

TEST(BindingRoundTrip, RandomDocumentsComeBackEqualAndValidate)
{
    TempDir dir;
    std::vector<std::string> written;
    for (int i = 0; i < 300; ++i) {
        CRandom random(1000 + i);
        CSmartPtr<CRoot> original = RandomRoot(random);
        const CSerializationContext context = ContextFor(i / 6);
        const std::string file = dir.File("doc" + std::to_string(i) + ".xml");
        CSmartPtr<CRoot> copy(new CRoot);
        try {
            RoundTrip(*original, *copy, i, context, file);
        } catch (const CVxException& e) {
            ADD_FAILURE() << "document " << i << ": " << Narrow(e.GetFullMessage()) << " at "
                          << Narrow(e.GetPath());
            continue;
        }
        EXPECT_EQ(Diff(original, copy), "") << "document " << i;
        if (i % 6 != 5) {
            original->ToXmlFile(Wide(file).c_str(), true, i % 2 == 0, XmlEncoding_UTF8, EOL_LF,
                                context);
        }
        written.push_back(file);
    }
    if (!HaveXmllint()) {
        GTEST_SKIP() << "xmllint is not installed";
    }
    EXPECT_EQ(ValidateWithXmllint(written), "");
}

TEST(BindingRoundTrip, MembersOfAnAllThatOnlyTheLibraryReads)
{
    for (int i = 0; i < 100; ++i) {
        CRandom random(5000 + i);
        CSmartPtr<CAllExtra> original = RandomAllExtra(random);
        CSmartPtr<CAllExtra> copy(new CAllExtra);
        const CSerializationContext context = ContextFor(i);
        try {
            copy->FromXml(original->ToXml(true, i % 2 == 0, EOL_LF, context).c_str(), context);
        } catch (const CVxException& e) {
            ADD_FAILURE() << "document " << i << ": " << Narrow(e.GetFullMessage()) << " at "
                          << Narrow(e.GetPath());
            continue;
        }
        EXPECT_EQ(Diff(original, copy), "") << "document " << i;
    }
}

} // namespace
