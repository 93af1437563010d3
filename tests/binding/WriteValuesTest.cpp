// Writing members: the nil marker for nillable classes only, and values
// written and checked from where they stand.

#include "TestHelpers.h"
#include "binding/TestSchema.h"

#include <thread>
#include <vector>

using namespace VxXmlLib16;
using namespace bt;

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
