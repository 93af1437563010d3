#include "core/TestObjects.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace VxXmlLib16;
using VxTest::CTestObject;

namespace {

// The count as seen from outside: take and drop one reference.
int32_t CountOf(CXmlObjectBase* p)
{
    const int32_t count = p->AddRef() - 1;
    p->Release();
    return count;
}

// Runs `body` on several threads released at the same moment.
template <class F> void OnThreads(int threads, F body)
{
    std::atomic<bool> go{false};
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t) {
        pool.emplace_back([&go, &body, t] {
            while (!go.load()) {
            }
            body(t);
        });
    }
    go = true;
    for (auto& t : pool) {
        t.join();
    }
}

} // namespace

TEST(SmartPtr, CopiesMovesAndAssignmentsCountReferences)
{
    std::atomic<int> destroyedA{0}, destroyedB{0};
    CSmartPtr<CTestObject> a(new CTestObject(&destroyedA));
    CSmartPtr<CTestObject> b(a);
    CSmartPtr<CTestObject> c(std::move(b));
    CSmartPtr<CXmlObjectBase> base(a);                 // converting copy
    CSmartPtr<CXmlObjectBase> movedBase(std::move(c)); // converting move
    EXPECT_EQ(CountOf(a), 3);
    EXPECT_TRUE(b == nullptr && c == nullptr);
    EXPECT_EQ(movedBase.Get(), a.Get());
    // Assignments release the old object; moves leave the source null.
    CSmartPtr<CTestObject> other(new CTestObject(&destroyedB));
    CTestObject* rawB = other;
    a = other;
    base = a;
    movedBase = std::move(other);
    EXPECT_EQ(destroyedA, 1);
    EXPECT_EQ(CountOf(rawB), 3);
    base = std::move(a);
    EXPECT_TRUE(a == nullptr && other == nullptr);
    EXPECT_EQ(CountOf(rawB), 2);
    // Self-assignment in any form keeps an object with no other holder alive.
    CSmartPtr<CTestObject>& alias = b = rawB;
    base = nullptr;
    movedBase.Reset();
    b = alias;
    b = std::move(alias);
    b = rawB;
    EXPECT_EQ(CountOf(rawB), 1);
    EXPECT_EQ(destroyedB, 0);
    b.Reset();
    EXPECT_EQ(destroyedB, 1);
    b.Reset(); // resetting a null pointer is harmless
    // Older generated code writes null this way.
    CSmartPtr<CTestObject> fromNULL = NULL;
    fromNULL = 0;
    EXPECT_TRUE(fromNULL == nullptr);
}

TEST(SmartPtr, AssigningAnObjectThatOnlyTheOldOneKeptAliveIsSafe)
{
    // head -> second: assigning head's own member to head destroys the old
    // head and the member being read. The new reference must be taken first
    // (the sanitizer build reports a mistake here).
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> head(new CTestObject(&destroyed, L"head"));
    head->m_next = new CTestObject(&destroyed, L"second");
    head = head->m_next;
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(head->GetElementName(), L"second");
    EXPECT_EQ(CountOf(head), 1);
    head->m_next = new CTestObject(&destroyed, L"third");
    head = std::move(head->m_next);
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(head->GetElementName(), L"third");
}

TEST(SmartPtr, AttachAndDetachMoveAReferenceWithoutCounting)
{
    std::atomic<int> destroyed{0}, destroyedOther{0};
    auto* raw = new CTestObject(&destroyed);
    raw->AddRef(); // a reference owned by this test
    CSmartPtr<CTestObject> p;
    p.Attach(raw);
    EXPECT_EQ(CountOf(raw), 1);
    EXPECT_EQ(p.Detach(), raw);
    EXPECT_EQ(p.Get(), nullptr);
    EXPECT_EQ(CountOf(raw), 1);
    // Attaching over a held object releases the old one.
    CSmartPtr<CTestObject> q(new CTestObject(&destroyedOther));
    q.Attach(raw);
    EXPECT_EQ(destroyedOther, 1);
    q.Reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(SmartPtr, CountsStayExactUnderConcurrentCopiesAndLastReleases)
{
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> shared(new CTestObject(&destroyed));
    OnThreads(4, [&shared](int) {
        for (int i = 0; i < 20000; ++i) {
            CSmartPtr<CTestObject> copy(shared);
            CSmartPtr<CXmlObjectBase> another(copy);
        }
    });
    EXPECT_EQ(CountOf(shared), 1);
    shared.Reset();
    EXPECT_EQ(destroyed, 1);
    // Four holders released at once: exactly one of them destroys.
    for (int round = 0; round < 200; ++round) {
        std::vector<CSmartPtr<CTestObject>> holders(
            4, CSmartPtr<CTestObject>(new CTestObject(&destroyed)));
        OnThreads(4, [&holders](int t) { holders[t].Reset(); });
        ASSERT_EQ(destroyed, round + 2);
    }
}
