#include <gtest/gtest.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlObjectBase.h>

using namespace VxXmlLib16;

namespace {

// The smallest bound object that exposes the name-matching helper.
class Matcher : public CXmlObjectBase
{
public:
    using CXmlObjectBase::DoesElementNameMatch;
    CXmlObjectBase* GetBase() override { return this; }
    std::wstring GetTargetNamespace() const override { return {}; }
    std::wstring GetNamespace() const override { return {}; }
    void AttributesToXml_Int(CXmlWriter*, const CSerializationContext&) const override {}
    void ToXml_Int(CXmlWriter*, bool, const wchar_t*, const CSerializationContext&,
                   bool) const override
    {
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement*, const CSerializationContext&,
                             bool) override
    {
        return nullptr;
    }
};

} // namespace

TEST(ElementNameMatch, NameAlwaysNamespaceUnlessIgnored)
{
    CXmlDocument doc;
    doc.LoadXml(L"<o:order xmlns:o='urn:o'><item/></o:order>");
    const CXmlElement* order = doc.GetDocumentElement();
    const CXmlElement* item = order->GetFirstElement();
    Matcher m;
    CSerializationContext strict;
    CSerializationContext blind;
    blind.SetIgnoreNamespaces(true);

    EXPECT_TRUE(m.DoesElementNameMatch(strict, order, L"order", L"urn:o"));
    EXPECT_FALSE(m.DoesElementNameMatch(strict, order, L"order", L"urn:other"));
    EXPECT_FALSE(m.DoesElementNameMatch(strict, order, L"Order", L"urn:o")); // case matters
    EXPECT_TRUE(m.DoesElementNameMatch(strict, item, L"item", nullptr));     // no namespace
    EXPECT_FALSE(m.DoesElementNameMatch(strict, item, L"item", L"urn:o"));

    EXPECT_TRUE(m.DoesElementNameMatch(blind, order, L"order", L"urn:other"));
    EXPECT_FALSE(m.DoesElementNameMatch(blind, order, L"item", L"urn:o"));
    EXPECT_FALSE(m.DoesElementNameMatch(blind, nullptr, L"order", L"urn:o"));
}
