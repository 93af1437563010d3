// Failures of the generated accessor itself: generated setters that check
// facets refuse a value the document holds, and the library reports where.
#include "TestHelpers.h"

#include <gtest/gtest.h>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;
using namespace VxXmlLib16Data;

namespace {

const CPrimitiveRestrictions kSmall(nullptr, -1, -1, L"0", L"9", nullptr, nullptr, -1, -1, -1);

// <r size="..."><n>...</n></r>, both values checked by the accessor on the
// way in, as generated setters do.
class CChecked : public CXmlGeneratedClass
{
public:
    CChecked() : CXmlGeneratedClass(L"r") {}

    void AccessProperty(int index, bool read, VxVariant& value) override
    {
        int32_t& member = index == 0 ? m_n : m_size;
        if (read) {
            value.SetI4(member);
            return;
        }
        Throw_IfInvalid_i4(index == 0 ? L"n" : L"size", value.GetI4(), kSmall);
        member = value.GetI4();
    }
    CParentElementInfo* GetClassInfo() const override { return Tables().pClassInfo; }
    CElementInfo** GetClassElementInfo() const override { return Tables().ppElementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override { return Tables().ppAttributeInfo; }
    void Init() override { m_n = m_size = 0; }
    std::wstring GetTargetNamespace() const override { return L""; }
    std::wstring GetNamespace() const override { return L""; }

private:
    static const CClassMetaData& Tables()
    {
        static std::atomic<CClassMetaData*> slot;
        return GetMetaDataOnce(slot, [] {
            CClassMetaData t;
            t.pClassInfo =
                new CParentElementInfo(XmlElementGroupType_Sequence, XmlElementType_Element, L"R",
                                       L"", false, false, -1, ItemType_Invalid, nullptr, true);
            t.ppElementInfo = new CElementInfo* [2] {
                new CElementInfoSeqPrimMnd(L"n", L"", 0, false, ItemType_i4, nullptr,
                                           CWhitespaceUtils::WhitespaceRule_Collapse,
                                           CPrimitiveRestrictions(), nullptr),
                    nullptr
            };
            t.ppAttributeInfo = new CAttributeInfo* [2] {
                new CAttributeInfoPrimitive(L"size", L"", 1, true, ItemType_i4, nullptr,
                                            CWhitespaceUtils::WhitespaceRule_Collapse,
                                            CPrimitiveRestrictions(), nullptr),
                    nullptr
            };
            return t;
        });
    }

    int32_t m_n = 0;
    int32_t m_size = 0;
};

TEST(BindingAccessor, RefusedValuesAreReportedAtTheirElementOrAttribute)
{
    CSmartPtr<CChecked> object(new CChecked);
    object->FromXml(L"<r size=\"3\"><n>7</n></r>");
    try {
        object->FromXml(L"<r><n>12</n></r>");
        FAIL() << "an element value the accessor refuses was accepted";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetMessage(), L"Failed to set the property value.\nPath: /r/n");
        ASSERT_NE(e.GetInnerException(), nullptr);
        EXPECT_EQ(e.GetInnerException()->GetMessage(), L"Invalid Value for n [12]");
    }
    try {
        object->FromXml(L"<r size=\"10\"><n>1</n></r>");
        FAIL() << "an attribute value the accessor refuses was accepted";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetMessage(), L"Failed to set the property value [size].\nPath: /r/@size");
        ASSERT_NE(e.GetInnerException(), nullptr);
        EXPECT_EQ(e.GetInnerException()->GetMessage(), L"Invalid Value for size [10]");
    }
}

} // namespace
