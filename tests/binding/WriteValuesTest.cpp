// Writing members: the nil marker for nillable classes only, and values
// written and checked from where they stand.

#include "TestHelpers.h"
#include "binding/TestSchema.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace VxXmlLib16;
using namespace bt;
using namespace VxXmlLib16Data;

namespace {

CSmartPtr<CAddress> Filled(CAddress* address, const wchar_t* zip)
{
    CSmartPtr<CAddress> hold(address);
    address->Set(CAddress::Street, Value(ItemType_string, L"1 Main St"));
    address->Set(CAddress::City, Value(ItemType_string, L"Springfield"));
    address->Set(CAddress::Zip, Value(ItemType_string, zip));
    return hold;
}

TEST(BindingWriteValues, NilIsAskedOfEveryObjectWhateverClassesCameBefore)
{
    // The nillable class shares its tables with the plain one, and the
    // writer remembers classes that cannot be nil: alternate them.
    const CSmartPtr<CAddress> plain = Filled(new CAddress, L"12345");
    const CSmartPtr<CAddress> nillable = Filled(new CNillableAddress, L"54321");
    auto* nil = dynamic_cast<CNillableAddress*>(nillable.Get());
    const CSerializationContext context;
    for (int round = 0; round < 3; ++round) {
        nil->SetNil(round != 1);
        const std::wstring a = plain->ToXml(false, false, EOL_LF, context);
        const std::wstring b = nillable->ToXml(false, false, EOL_LF, context);
        EXPECT_EQ(a.find(L"nil="), std::wstring::npos) << Narrow(a);
        EXPECT_NE(a.find(L"street>1 Main St<"), std::wstring::npos) << Narrow(a);
        if (round != 1) {
            EXPECT_NE(b.find(L":nil=\"true\""), std::wstring::npos) << Narrow(b);
            EXPECT_EQ(b.find(L"street>"), std::wstring::npos) << Narrow(b);
        } else {
            EXPECT_EQ(b.find(L"nil="), std::wstring::npos) << Narrow(b);
        }
    }
}

TEST(BindingWriteValues, AStringBreakingItsPatternIsRefusedOnEveryWrite)
{
    // The zip pattern is compiled once for the metadata; a bad value fails
    // each time, and a good one after it passes.
    const CSmartPtr<CAddress> address = Filled(new CAddress, L"12a45");
    for (int round = 0; round < 2; ++round) {
        try {
            address->ToXml(false, false, EOL_LF, CSerializationContext());
            ADD_FAILURE() << "a zip that breaks its pattern was written";
        } catch (const CVxException& e) {
            EXPECT_NE(e.GetFullMessage().find(L"Invalid Value for zip [12a45]."),
                      std::wstring::npos)
                << Narrow(e.GetFullMessage());
        }
    }
    address->Set(CAddress::Zip, Value(ItemType_string, L"99999"));
    EXPECT_NE(address->ToXml(false, false, EOL_LF, CSerializationContext()).find(L"zip=\"99999\""),
              std::wstring::npos);
}

// An accessor that writes another document while the outer write holds a
// value it has just read: the values of both writes must stay their own.
class CWritingAddress : public CAddress
{
public:
    CSmartPtr<CAddress> inner;
    std::vector<std::wstring> innerXml;

    void AccessProperty(int index, bool read, VxVariant& value) override
    {
        CAddress::AccessProperty(index, read, value);
        if (read && inner) {
            innerXml.push_back(inner->ToXml(false, false, EOL_LF, CSerializationContext()));
        }
    }
};

TEST(BindingWriteValues, AnAccessorMayWriteAnotherDocumentWhileItsValueIsHeld)
{
    CSmartPtr<CWritingAddress> outer(new CWritingAddress);
    Filled(outer.Get(), L"12345");
    outer->inner = Filled(new CAddress, L"99999");
    outer->inner->Set(CAddress::Street, Value(ItemType_string, L"2 Side Road, far longer"));
    const std::wstring xml = outer->ToXml(false, false, EOL_LF, CSerializationContext());
    EXPECT_NE(xml.find(L"zip=\"12345\""), std::wstring::npos) << Narrow(xml);
    EXPECT_NE(xml.find(L"street>1 Main St<"), std::wstring::npos) << Narrow(xml);
    EXPECT_NE(xml.find(L"city>Springfield<"), std::wstring::npos) << Narrow(xml);
    ASSERT_FALSE(outer->innerXml.empty());
    for (const std::wstring& inner : outer->innerXml) {
        EXPECT_NE(inner.find(L"zip=\"99999\""), std::wstring::npos) << Narrow(inner);
        EXPECT_NE(inner.find(L"street>2 Side Road, far longer<"), std::wstring::npos)
            << Narrow(inner);
    }
}

// Content merged into its parent's element, two levels deep: the merged
// classes put their optional attribute on the element's start tag and their
// text among its children.
template <int Depth> class CMergedPart : public CXmlGeneratedClass
{
public:
    std::wstring attribute, text;
    CSmartPtr<CXmlGeneratedClass> x, y;
    int childReads = 0;

    CMergedPart() : CXmlGeneratedClass(L"root") {}
    void AccessProperty(int index, bool, VxVariant& value) override
    {
        if (index == 0 && !attribute.empty()) {
            value.SetString(attribute);
        } else if (index == 1) {
            value.SetString(text);
        } else if (index > 1) {
            ++childReads;
            value.SetXmlObject(index == 2 ? x.Get() : y.Get());
        }
    }
    void Init() override {}
    std::wstring GetTargetNamespace() const override { return L""; }
    std::wstring GetNamespace() const override { return L""; }
    CParentElementInfo* GetClassInfo() const override { return Tables().pClassInfo; }
    CElementInfo** GetClassElementInfo() const override { return Tables().ppElementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override { return Tables().ppAttributeInfo; }

private:
    static const CClassMetaData& Tables()
    {
        static std::atomic<CClassMetaData*> slot;
        return GetMetaDataOnce(slot, [] {
            static const CPrimitiveRestrictions lower(L"[a-z]+", -1, -1, nullptr, nullptr, nullptr,
                                                      nullptr, -1, -1, -1);
            const std::wstring n = std::to_wstring(Depth);
            const auto keep = CWhitespaceUtils::WhitespaceRule_Preserve;
            const auto merged = XmlElementType_Merged;
            const auto make = [](int, const wchar_t*) -> CSmartPtr<CXmlObjectBase> {
                return new CMergedPart<std::min(Depth + 1, 2)>;
            };
            CClassMetaData t;
            t.pClassInfo = new CParentElementInfo(
                XmlElementGroupType_Sequence, Depth == 0 ? XmlElementType_Element : merged, L"Part",
                L"", false, false, -1, ItemType_Invalid, nullptr, true);
            t.ppAttributeInfo = new CAttributeInfo* [2] {
                new CAttributeInfoPrimitive((L"c" + n).c_str(), L"", 0, true, ItemType_string,
                                            nullptr, keep, CPrimitiveRestrictions(), nullptr),
                    nullptr
            };
            t.ppElementInfo = new CElementInfo* [4] {
                new CElementInfoSeqPrimMnd((L"t" + n).c_str(), L"", 1, false, ItemType_string,
                                           nullptr, keep, lower, nullptr),
                    nullptr, nullptr, nullptr
            };
            if (Depth < 2) {
                t.ppElementInfo[1] =
                    new CElementInfoSeqClsMnd(L"x", L"", 2, merged, make, 0, false);
                t.ppElementInfo[2] =
                    new CElementInfoSeqClsMnd(L"y", L"", 3, merged, make, 0, false);
            }
            return t;
        });
    }
};

template <int Depth>
CSmartPtr<CMergedPart<Depth>> Part(const wchar_t* text, const wchar_t* attribute)
{
    CSmartPtr<CMergedPart<Depth>> part(new CMergedPart<Depth>);
    part->text = text;
    part->attribute = attribute;
    return part;
}

int32_t References(CXmlObjectBase* object)
{
    object->AddRef();
    return object->Release();
}

TEST(BindingWriteValues, MergedChildrenPutAttributesOnTheTagAndContentInPlace)
{
    // Two children of one class, each with a child of the next class: the
    // grandchildren are told apart by the child that holds them.
    CSmartPtr<CMergedPart<0>> root = Part<0>(L"r", L"root");
    CSmartPtr<CMergedPart<1>> x = Part<1>(L"x", L"");
    CSmartPtr<CMergedPart<1>> y = Part<1>(L"y", L"why");
    x->x = Part<2>(L"xx", L"");
    x->y = Part<2>(L"xy", L"");
    y->x = Part<2>(L"yx", L"deep");
    y->y = Part<2>(L"yy", L"");
    root->x = x;
    root->y = y;
    const CSerializationContext context;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Narrow(root->ToXml(false, false, EOL_LF, context)),
                  "<root c0=\"root\" c1=\"why\" c2=\"deep\"><t0>r</t0><t1>x</t1><t2>xx</t2>"
                  "<t2>xy</t2><t1>y</t1><t2>yx</t2><t2>yy</t2></root>");
    }
    // A merged child is fetched once per write (an element keeps a few; any
    // beyond that, y's here, are fetched again), and no reference stays.
    EXPECT_EQ(root->childReads, 4);
    EXPECT_EQ(x->childReads, 4);
    EXPECT_EQ(References(x.Get()), 2); // the root's and ours
    EXPECT_EQ(References(y->x.Get()), 1);

    // A write that fails among the content drops what it kept.
    y->text = L"Y";
    EXPECT_THROW(root->ToXml(false, false, EOL_LF, context), CVxException);
    EXPECT_EQ(References(y.Get()), 2);
    EXPECT_EQ(References(y->y.Get()), 1);
}

TEST(BindingWriteValues, ThreadsWriteWithTheirOwnValuesAndLeaveNothingBehind)
{
    // Each thread carries values through a set of its own, made on its first
    // write and freed when it ends.
    const std::wstring expected =
        Filled(new CAddress, L"12345")->ToXml(false, false, EOL_LF, CSerializationContext());
    std::wstring written[2];
    std::vector<std::thread> threads;
    for (std::wstring& out : written) {
        threads.emplace_back([&out] {
            // Objects are used by one thread at a time: each has its own.
            const CSmartPtr<CAddress> address = Filled(new CAddress, L"12345");
            for (int round = 0; round < 50; ++round) {
                out = address->ToXml(false, false, EOL_LF, CSerializationContext());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(written[0], expected);
    EXPECT_EQ(written[1], expected);
}

} // namespace
