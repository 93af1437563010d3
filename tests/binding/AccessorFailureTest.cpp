// Faults on the generated side of the metadata: accessors that refuse a
// value or fail to read one, properties of the wrong kind, and metadata
// calls that do not apply.
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
        if (index == 2) {
            // The xs:anyAttribute member, deliberately of the wrong kind.
            value.SetI4(0);
            return;
        }
        int32_t& member = index == 0 ? m_n : m_size;
        if (read && m_failReads) {
            throw CVxInvalidStateException(L"the value is not available");
        }
        if (read) {
            value.SetI4(member);
            return;
        }
        Throw_IfInvalid_i4(index == 0 ? L"n" : L"size", value.GetI4(), kSmall);
        member = value.GetI4();
    }
    CParentElementInfo* GetClassInfo() const override { return Tables().pClassInfo; }
    CElementInfo** GetClassElementInfo() const override { return Tables().ppElementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override
    {
        static CAttributeInfo* wildcard[] = {
            new CAttributeInfoAny(L"any", L"", 2, true, L"##any", L"", nullptr), nullptr};
        return m_withWildcard ? wildcard : Tables().ppAttributeInfo;
    }
    void Init() override { m_n = m_size = 0; }
    std::wstring GetTargetNamespace() const override { return L""; }
    std::wstring GetNamespace() const override { return L""; }

    bool m_failReads = false;
    bool m_withWildcard = false;

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

TEST(BindingAccessor, FaultsOfTheGeneratedSideAreNamedOnWriting)
{
    CSmartPtr<CChecked> object(new CChecked);
    object->m_failReads = true;
    try {
        object->ToXml();
        FAIL() << "a property that cannot be read was written";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetFullMessage(), L"Failed to convert the element [r] to XML\n"
                                      L"Failed to convert attributes to XML\n"
                                      L"Failed to get the property value for [size].\n"
                                      L"the value is not available");
    }
    object->m_failReads = false;
    object->m_withWildcard = true;
    try {
        object->ToXml();
        FAIL() << "an attribute wildcard without an attribute collection was written";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetFullMessage(), L"Failed to convert the element [r] to XML\n"
                                      L"Failed to convert attributes to XML\n"
                                      L"Serialization Data Error : The collection should be a "
                                      L"CAttributeCol, it was not!");
    }
}

TEST(BindingAccessor, MetadataCallsThatDoNotApplyThrow)
{
    // Only primitive members have facets to check.
    const CElementInfoSeqClsOpt member(L"child", L"", 0, XmlElementType_Element, nullptr, 0);
    VxVariant value;
    value.SetI4(5);
    EXPECT_THROW_MSG(member.CheckRestriction(value), CVxException,
                     L"Cannot CheckRestriction for type: i4");
    // A collection stands for a member, not for a schema type.
    CSmartPtr<CElementCol> collection(new CElementCol(L"", L"##any", L"", 0, -1));
    EXPECT_THROW_MSG(collection->GetTargetNamespace(), CVxException,
                     L"CXmlCollectionBase::GetTargetNamespace Should not be used from within a "
                     L"Collection (program logic error)");
}

} // namespace
