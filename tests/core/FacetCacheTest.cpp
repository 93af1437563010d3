// The bounds and pattern a CPrimitiveRestrictions keeps once they were
// converted: per record, per value kind, rebuilt after assignment, and safe
// when several threads use a record for the first time together.

#include "TestHelpers.h"

#include <atomic>
#include <thread>
#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;
using VxXmlLib16Data::CPrimitiveRestrictions;

namespace {

class CChecks : public CXmlObjectBase
{
public:
    using CXmlObjectBase::Throw_IfInvalid_date;
    using CXmlObjectBase::Throw_IfInvalid_decimal;
    using CXmlObjectBase::Throw_IfInvalid_i4;
    using CXmlObjectBase::Throw_IfInvalid_r8;
    using CXmlObjectBase::Throw_IfInvalid_string;
    using CXmlObjectBase::Throw_IfInvalidValue;
};

CPrimitiveRestrictions Range(const wchar_t* minIncl, const wchar_t* maxIncl)
{
    return CPrimitiveRestrictions(nullptr, -1, -1, minIncl, maxIncl, nullptr, nullptr, -1, -1, -1);
}

CPrimitiveRestrictions Pattern(const wchar_t* pattern)
{
    return CPrimitiveRestrictions(pattern, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
}

std::wstring MessageOf(void (*call)())
{
    try {
        call();
    } catch (const CVxException& e) {
        return e.GetMessage();
    }
    return L"(no exception)";
}

TEST(FacetCacheTest, OneRecordServesEveryKindWithItsOwnConversion)
{
    // "1.5" is a decimal and a double bound, but no xs:int: the int check
    // must fail with the int conversion's message every time, even after
    // the record was used (and its bounds kept) for the other kinds.
    const CPrimitiveRestrictions r = Range(L"1.5", L"2.5");
    const std::wstring intError = MessageOf([] { CConversions::i4FromString(L"1.5", {}); });
    for (int round = 0; round < 2; ++round) {
        EXPECT_NO_THROW(CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"2"), r));
        EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"1.4"), r), CVxException,
                         L"Invalid Value for d [1.4].");
        EXPECT_NO_THROW(CChecks::Throw_IfInvalid_r8(L"x", 2.5, r));
        EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_r8(L"x", 2.6, r), CVxException,
                         L"Invalid Value for x [2.600000]");
        try {
            CChecks::Throw_IfInvalid_i4(L"n", 2, r);
            ADD_FAILURE() << "an unreadable bound passed";
        } catch (const CVxException& e) {
            EXPECT_EQ(Narrow(e.GetMessage()), Narrow(intError));
        }
    }
    // The same kind through a variant uses the same kept bounds.
    VxVariant value;
    value.SetDecimal(CDecimal(L"3"));
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalidValue(L"d", value, r), CVxException,
                     L"Invalid Value for d [3].");
}

TEST(FacetCacheTest, BoundsBelongToTheirRecordAndFollowAssignment)
{
    CPrimitiveRestrictions low = Range(L"0", L"9");
    const CPrimitiveRestrictions high = Range(L"100", L"999");
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, low));
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, high));
    EXPECT_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, low), CVxException);

    // A copy made after use checks by its own facets and outlives the
    // original's cache.
    auto* original = new CPrimitiveRestrictions(high);
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, *original));
    const CPrimitiveRestrictions copy(*original);
    delete original;
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, copy));
    EXPECT_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, copy), CVxException);

    // Assigning new facets drops what was kept for the old ones.
    low = high;
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_i4(L"n", 5, low), CVxException,
                     L"Invalid Value for n [5]");
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, low));
    low = Pattern(L"[a-z]+");
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, low));
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_string(L"s", L"abc", low));
    low = Pattern(L"[0-9]+");
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_string(L"s", L"abc", low), CVxException,
                     L"Invalid Value for s [abc].");
}

// Records note which facets they set, so that checks skip the rest: each
// facet on its own must still apply, also in copies and after assignment
// to a record that had none.
TEST(FacetCacheTest, EachFacetAloneIsStillChecked)
{
    using R = CPrimitiveRestrictions;
    const R only[] = {
        R(L"[a-z]", -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1),
        R(nullptr, 2, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1),
        R(nullptr, -1, 0, nullptr, nullptr, nullptr, nullptr, -1, -1, -1),
        R(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, 0, -1, -1),
        R(nullptr, -1, -1, L"5", nullptr, nullptr, nullptr, -1, -1, -1),
        R(nullptr, -1, -1, nullptr, L"-5", nullptr, nullptr, -1, -1, -1),
        R(nullptr, -1, -1, nullptr, nullptr, L"5", nullptr, -1, -1, -1),
        R(nullptr, -1, -1, nullptr, nullptr, nullptr, L"-5", -1, -1, -1),
        R(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, 1, -1),
        R(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, 0),
    };
    const bool onText[] = {true, true, true, true, false, false, false, false, false, false};
    for (size_t i = 0; i < std::size(only); ++i) {
        SCOPED_TRACE(i);
        R assigned;
        assigned = only[i];
        const R copied(only[i]);
        const R* const forms[] = {&only[i], &assigned, &copied};
        for (const R* r : forms) {
            EXPECT_FALSE(r->IsEmpty());
            VxVariant value;
            if (onText[i]) {
                value.SetString(L"A");
            } else {
                value.SetDecimal(CDecimal(L"-1.5"));
            }
            EXPECT_THROW(CChecks::Throw_IfInvalidValue(L"v", value, *r), CVxException);
        }
    }
    EXPECT_TRUE(R().IsEmpty());
    R emptied = only[0];
    emptied = R();
    EXPECT_TRUE(emptied.IsEmpty());
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_string(L"s", L"A", emptied));
}

TEST(FacetCacheTest, ABrokenPatternFailsTheSameWayEveryTime)
{
    const CPrimitiveRestrictions r = Pattern(L"[a-");
    std::wstring first;
    for (int round = 0; round < 2; ++round) {
        try {
            CChecks::Throw_IfInvalid_string(L"s", L"abc", r);
            ADD_FAILURE() << "a broken pattern matched";
        } catch (const CVxException& e) {
            EXPECT_NE(e.GetMessage().find(L"\nInvalid Value for s [abc]."), std::wstring::npos);
            if (round == 0) {
                first = e.GetMessage();
            } else {
                EXPECT_EQ(Narrow(e.GetMessage()), Narrow(first));
            }
        }
    }
}

TEST(FacetCacheTest, ThreadsUsingAFreshRecordTogetherAllSeeTheSameFacets)
{
    for (int trial = 0; trial < 20; ++trial) {
        const CPrimitiveRestrictions r(L"[0-9]{3}", -1, -1, L"100", L"500", nullptr, nullptr, -1,
                                       -1, -1);
        std::atomic<int> ready{0};
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&, t] {
                ++ready;
                while (ready.load() < 4) {
                }
                const auto passes = [](auto check) {
                    try {
                        check();
                        return true;
                    } catch (const CVxException&) {
                        return false;
                    }
                };
                // Each thread starts with another kind, so every slot is
                // raced for by first users.
                for (int k = 0; k < 4; ++k) {
                    switch ((t + k) % 4) {
                    case 0:
                        wrong += !passes([&] { CChecks::Throw_IfInvalid_i4(L"n", 300, r); });
                        wrong += passes([&] { CChecks::Throw_IfInvalid_i4(L"n", 99, r); });
                        break;
                    case 1:
                        wrong += !passes(
                            [&] { CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"100.5"), r); });
                        wrong += passes(
                            [&] { CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"500.5"), r); });
                        break;
                    case 2:
                        wrong += !passes([&] { CChecks::Throw_IfInvalid_r8(L"x", 500.0, r); });
                        wrong += passes([&] { CChecks::Throw_IfInvalid_r8(L"x", 1e9, r); });
                        break;
                    default:
                        wrong += !passes([&] { CChecks::Throw_IfInvalid_string(L"s", L"123", r); });
                        wrong += passes([&] { CChecks::Throw_IfInvalid_string(L"s", L"12a", r); });
                        break;
                    }
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(wrong.load(), 0) << "trial " << trial;
    }
}

} // namespace
