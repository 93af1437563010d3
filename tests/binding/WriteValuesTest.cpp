// Writing members: the nil marker for nillable classes only, and values
// written and checked from where they stand.

#include "TestHelpers.h"
#include "binding/TestSchema.h"

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

} // namespace
