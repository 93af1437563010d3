// Everything the library keeps between calls: the per-thread scratch slots,
// the variant's spare holders, the facets kept per metadata record, and
// ReleaseCachedMemory, which must be safe whenever user code runs.

#include "TestHelpers.h"
#include "base/ThreadScratch.h"

#include <atomic>
#include <thread>
#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;
using namespace VxXmlLib16Data;
using detail::CScratchUse;
using detail::CThreadScratch;
using detail::ScratchSlot;

namespace {

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

// A slot object that counts how many of its kind are alive.
std::atomic<int> g_alive{0};
struct CCounted
{
    CCounted() { ++g_alive; }
    ~CCounted() { --g_alive; }
    int value = 0;
};
// A slot no library code uses while these tests run (text is read only
// while a document is read).
constexpr ScratchSlot kTestSlot = ScratchSlot::ElementText;

TEST(ThreadScratch, OneObjectPerThreadGoneWithTheThreadOrOnRelease)
{
    ReleaseCachedMemory();
    const int before = g_alive;
    std::thread([&] {
        CCounted* first = CThreadScratch::Get<CCounted>(kTestSlot);
        first->value = 7;
        EXPECT_EQ(CThreadScratch::Get<CCounted>(kTestSlot), first);
        EXPECT_EQ(g_alive, before + 1);
        std::thread([&] {
            EXPECT_NE(CThreadScratch::Get<CCounted>(kTestSlot), first); // its own
            EXPECT_EQ(g_alive, before + 2);
        }).join();
        EXPECT_EQ(g_alive, before + 1) << "the inner thread's object outlived it";

        {
            CScratchUse<CCounted> use(kTestSlot);
            ReleaseCachedMemory();
            EXPECT_EQ(use.Get()->value, 7) << "an object in use was released";
        }
        ReleaseCachedMemory();
        EXPECT_EQ(g_alive, before);
        EXPECT_EQ(CThreadScratch::Get<CCounted>(kTestSlot)->value, 0); // made anew
    }).join();
    EXPECT_EQ(g_alive, before);
}

// The holders a variant gives back are reused by the next variant of the
// same kind: nothing of the previous value may show through, in any order
// of kinds, with a release of the thread's scratch at any point.
TEST(ThreadScratch, ReusedValueHoldersKeepNothingOfTheirLastValue)
{
    const auto set = [](VxVariant& value, int step) {
        switch (step) {
        case 0:
            value.SetString(std::wstring(90, L'x'));
            break;
        case 1:
            value.SetString(L"ab");
            break;
        case 2:
            value.SetDecimal(CDecimal(L"-12345678901234567890.125"));
            break;
        case 3:
            value.SetDecimal(CDecimal(L"7"));
            break;
        case 4:
            value.FromString(L"2026-12-31T23:59:58.125+05:30", ItemType_datetime, kCollapse);
            break;
        case 5:
            value.FromString(L"2026-01-02", ItemType_date, kCollapse);
            break;
        case 6:
            value.SetI4(-5);
            break;
        default:
            value.SetNil();
            break;
        }
    };
    VxVariant value;
    std::wstring buffer;
    for (int first = 0; first < 8; ++first) {
        for (int second = 0; second < 8; ++second) {
            for (int step : {first, second}) {
                set(value, step);
                VxVariant fresh;
                set(fresh, step);
                EXPECT_EQ(value.GetTypeAsEnum(), fresh.GetTypeAsEnum()) << first << ' ' << second;
                EXPECT_EQ(value.IsNil(), fresh.IsNil()) << first << ' ' << second;
                if (!fresh.IsNil()) {
                    EXPECT_EQ(value.ToText(nullptr, buffer), fresh.ToString(nullptr))
                        << first << ' ' << second;
                }
                value.SetInvalidKeepingStorage();
                if ((first + second) % 3 == 0) {
                    ReleaseCachedMemory();
                }
            }
        }
    }
}

TEST(ThreadScratch, ValuesMayBeDroppedOnAnotherThread)
{
    auto* held = new VxVariant[3];
    held[0].SetString(L"made here");
    held[1].SetDecimal(CDecimal(L"42.42"));
    held[2].FromString(L"12:00:00Z", ItemType_time, kCollapse);
    std::thread([held] {
        EXPECT_EQ(held[0].GetString(), L"made here");
        delete[] held;
        VxVariant again;
        again.SetDecimal(CDecimal(L"7"));
        EXPECT_EQ(again.ToString(nullptr), L"7");
    }).join();
    VxVariant here;
    here.SetString(L"still fine");
    EXPECT_EQ(here.GetString(), L"still fine");
}

// A bound class whose accessor gives the library's cached memory back in the
// middle of every write and read: the value lease, the text being read and
// the pattern being matched must survive it.
class CReleasing : public CXmlGeneratedClass
{
public:
    CReleasing() : CXmlGeneratedClass(L"r") {}
    std::wstring m_code, m_note;

    void AccessProperty(int index, bool read, VxVariant& value) override
    {
        ReleaseCachedMemory();
        std::wstring& member = index == 0 ? m_code : m_note;
        read ? value.SetString(member) : void(member = value.TakeString());
    }
    CParentElementInfo* GetClassInfo() const override { return MetaData().pClassInfo; }
    CElementInfo** GetClassElementInfo() const override { return MetaData().ppElementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override { return MetaData().ppAttributeInfo; }
    void Init() override { m_code.clear(), m_note.clear(); }
    std::wstring GetTargetNamespace() const override { return L"urn:r"; }
    std::wstring GetNamespace() const override { return L"urn:r"; }

private:
    static const CClassMetaData& MetaData()
    {
        static const CPrimitiveRestrictions code(L"[A-Z]{2}\\d+", -1, -1, nullptr, nullptr, nullptr,
                                                 nullptr, -1, -1, -1);
        static const CPrimitiveRestrictions none;
        static std::atomic<CClassMetaData*> slot;
        return GetMetaDataOnce(slot, [] {
            CClassMetaData t;
            t.pClassInfo =
                new CParentElementInfo(XmlElementGroupType_Sequence, XmlElementType_Element, L"r",
                                       L"urn:r", false, false, -1, ItemType_Invalid, nullptr, true);
            t.ppElementInfo = new CElementInfo* [3] {
                new CElementInfoSeqPrimMnd(L"code", L"urn:r", 0, false, ItemType_string, nullptr,
                                           kCollapse, code, nullptr),
                    new CElementInfoSeqPrimMnd(L"note", L"urn:r", 1, false, ItemType_string,
                                               nullptr, CWhitespaceUtils::WhitespaceRule_Preserve,
                                               none, nullptr),
                    nullptr
            };
            t.ppAttributeInfo = new CAttributeInfo* [1] { nullptr };
            return t;
        });
    }
};

TEST(ThreadScratch, ReleasingFromAnAccessorDuringWriteAndReadIsSafe)
{
    CSmartPtr<CReleasing> object(new CReleasing);
    object->m_code = L"AB12";
    object->m_note = std::wstring(70000, L'n'); // beyond what scratch keeps
    const std::wstring xml = object->ToXml(false, false);
    CSmartPtr<CReleasing> back(new CReleasing);
    back->FromXml(xml.c_str());
    EXPECT_EQ(back->m_code, L"AB12");
    EXPECT_EQ(back->m_note, object->m_note);
    back->m_code = L"ab12";
    EXPECT_THROW(back->ToXml(), CVxException);
}

// The facets of a metadata record are converted once per value kind and
// kept with the record.
class CChecks : public CXmlObjectBase
{
public:
    using CXmlObjectBase::Throw_IfInvalid_decimal;
    using CXmlObjectBase::Throw_IfInvalid_i4;
    using CXmlObjectBase::Throw_IfInvalid_r8;
    using CXmlObjectBase::Throw_IfInvalid_string;
};

CPrimitiveRestrictions Range(const wchar_t* minIncl, const wchar_t* maxIncl)
{
    return CPrimitiveRestrictions(nullptr, -1, -1, minIncl, maxIncl, nullptr, nullptr, -1, -1, -1);
}

TEST(FacetCache, OneRecordServesEveryKindWithItsOwnConversion)
{
    // "1.5" bounds a decimal and a double, but no xs:int: the int check must
    // fail with the conversion's message every time, also after the record
    // kept its bounds for the other kinds.
    const CPrimitiveRestrictions r = Range(L"1.5", L"2.5");
    for (int round = 0; round < 2; ++round) {
        EXPECT_NO_THROW(CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"2"), r));
        EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_decimal(L"d", CDecimal(L"1.4"), r), CVxException,
                         L"Invalid Value for d [1.4].");
        EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_r8(L"x", 2.6, r), CVxException,
                         L"Invalid Value for x [2.600000]");
        EXPECT_THROW(CChecks::Throw_IfInvalid_i4(L"n", 2, r), CVxInvalidValueException);
    }
}

TEST(FacetCache, BoundsFollowCopiesAndAssignment)
{
    CPrimitiveRestrictions low = Range(L"0", L"9");
    const CPrimitiveRestrictions high = Range(L"100", L"999");
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, low));
    auto* original = new CPrimitiveRestrictions(high);
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 500, *original));
    const CPrimitiveRestrictions copy(*original);
    delete original; // the copy outlives the original's kept bounds
    EXPECT_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, copy), CVxException);
    low = high; // drops what was kept for the old facets
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_i4(L"n", 5, low), CVxException,
                     L"Invalid Value for n [5]");
    low = CPrimitiveRestrictions(L"[0-9]+", -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
    EXPECT_NO_THROW(CChecks::Throw_IfInvalid_i4(L"n", 5, low));
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_string(L"s", L"abc", low), CVxException,
                     L"Invalid Value for s [abc].");
}

TEST(FacetCache, ThreadsUsingAFreshRecordTogetherAllSeeTheSameFacets)
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
                // Each thread starts with another kind, so that every kept
                // entry is raced for by first users; one also releases the
                // process-wide pattern cache meanwhile.
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
                        ReleaseCachedMemory();
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
