#include <gtest/gtest.h>
#include <vxxml/ClassFactoryBase.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlElement.h>

using namespace VxXmlLib16;

namespace {

CXmlElement* NthChild(CXmlElement* parent, int n)
{
    CXmlElement* child = parent->GetFirstElement();
    while (child && n-- > 0) {
        child = child->GetNextSiblingElement();
    }
    return child;
}

} // namespace

TEST(ClassFactoryBase, ReadsXsiTypeWithAndWithoutPrefix)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r xmlns='urn:own' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
                L"   xmlns:t='urn:types' xmlns:u='urn:unused'>"
                L"  <a xsi:type='t:Derived'/>"
                L"  <b xsi:type='Plain'/>"
                L"  <c/>"
                L"  <d xsi:type='nope:X:Y'/>"
                L"  <e type='t:NotXsi'/>"
                L"</r>");
    CXmlElement* root = doc.GetDocumentElement();
    ASSERT_NE(root, nullptr);

    CXmlElement* a = NthChild(root, 0);
    EXPECT_EQ(CClassfactoryBase::GetElementType(a), L"Derived");
    EXPECT_EQ(CClassfactoryBase::GetElementTypeNamespaceUri(a), L"urn:types");

    // Without a prefix the type lives in the element's own namespace.
    CXmlElement* b = NthChild(root, 1);
    EXPECT_EQ(CClassfactoryBase::GetElementType(b), L"Plain");
    EXPECT_EQ(CClassfactoryBase::GetElementTypeNamespaceUri(b), L"urn:own");

    // No xsi:type at all: the factory falls back to the element name.
    CXmlElement* c = NthChild(root, 2);
    EXPECT_EQ(CClassfactoryBase::GetElementType(c), L"");
    EXPECT_EQ(CClassfactoryBase::GetElementTypeNamespaceUri(c), L"urn:own");

    // Only the first colon splits; an unbound prefix gives no namespace.
    CXmlElement* d = NthChild(root, 3);
    EXPECT_EQ(CClassfactoryBase::GetElementType(d), L"X:Y");
    EXPECT_EQ(CClassfactoryBase::GetElementTypeNamespaceUri(d), L"");

    // An attribute named type outside the xsi namespace is not a type.
    EXPECT_EQ(CClassfactoryBase::GetElementType(NthChild(root, 4)), L"");

    EXPECT_EQ(CClassfactoryBase::GetElementType(nullptr), L"");
    EXPECT_EQ(CClassfactoryBase::GetElementTypeNamespaceUri(nullptr), L"");
}
