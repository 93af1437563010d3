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

} // namespace

TEST(SmartPtr, ConstructionCopyAndMoveCountReferences)
{
    std::atomic<int> destroyed{0};
    {
        CSmartPtr<CTestObject> a(new CTestObject(&destroyed));
        EXPECT_EQ(CountOf(a), 1);
        CSmartPtr<CTestObject> b(a);
        EXPECT_EQ(CountOf(a), 2);
        CSmartPtr<CTestObject> c(std::move(b));
        EXPECT_EQ(b.Get(), nullptr);
        EXPECT_EQ(c.Get(), a.Get());
        EXPECT_EQ(CountOf(a), 2);

        // Upcasts share the count too.
        CSmartPtr<CXmlObjectBase> base(a);
        EXPECT_EQ(CountOf(a), 3);
        CSmartPtr<CXmlObjectBase> movedBase(std::move(c));
        EXPECT_EQ(CountOf(a), 3);
        EXPECT_EQ(c.Get(), nullptr);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);

    CSmartPtr<CTestObject> empty;
    CSmartPtr<CTestObject> fromNull(nullptr);
    CSmartPtr<CTestObject> fromNULL = NULL; // older generated code writes null this way
    fromNULL = 0;
    EXPECT_FALSE(empty);
    EXPECT_TRUE(fromNull == nullptr);
    EXPECT_TRUE(fromNULL == NULL);
}

TEST(SmartPtr, AssignmentReleasesTheOldObjectAndKeepsTheNew)
{
    std::atomic<int> destroyedA{0}, destroyedB{0};
    CSmartPtr<CTestObject> a(new CTestObject(&destroyedA));
    CSmartPtr<CTestObject> b(new CTestObject(&destroyedB));
    CTestObject* rawB = b;

    a = b;
    EXPECT_EQ(destroyedA, 1);
    EXPECT_EQ(CountOf(rawB), 2);

    a = std::move(b);
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(CountOf(rawB), 1);

    CSmartPtr<CXmlObjectBase> base;
    base = a; // converting copy
    EXPECT_EQ(CountOf(rawB), 2);
    base = std::move(a); // converting move: the source's reference moves over
    EXPECT_EQ(a.Get(), nullptr);
    EXPECT_EQ(CountOf(rawB), 1);

    base = nullptr;
    EXPECT_EQ(destroyedB, 1);
    EXPECT_EQ(base.Get(), nullptr);
}

TEST(SmartPtr, SelfAssignmentInAnyFormKeepsTheObjectAlive)
{
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> p(new CTestObject(&destroyed));
    CTestObject* raw = p;

    CSmartPtr<CTestObject>& alias = p;
    p = alias;
    EXPECT_EQ(CountOf(raw), 1);
    p = std::move(alias);
    EXPECT_EQ(p.Get(), raw);
    EXPECT_EQ(CountOf(raw), 1);
    p = raw; // the raw pointer of the object p already holds
    EXPECT_EQ(CountOf(raw), 1);
    EXPECT_EQ(destroyed, 0);
    p.Reset();
    EXPECT_EQ(destroyed, 1);
    p.Reset(); // resetting a null pointer is harmless
}

TEST(SmartPtr, AssigningAnObjectThatOnlyTheOldOneKeptAliveIsSafe)
{
    // head -> second: assigning head's own member to head destroys the old
    // head, and with it the member being read from. The new reference must
    // be taken first (the sanitizer build turns a mistake here into a report).
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
    std::atomic<int> destroyed{0};
    auto* raw = new CTestObject(&destroyed);
    raw->AddRef(); // a reference owned by this test

    CSmartPtr<CTestObject> p;
    p.Attach(raw);
    EXPECT_EQ(CountOf(raw), 1);
    CTestObject* back = p.Detach();
    EXPECT_EQ(back, raw);
    EXPECT_EQ(p.Get(), nullptr);
    EXPECT_EQ(CountOf(raw), 1);

    // Attaching over a held object releases the old one.
    std::atomic<int> destroyedOther{0};
    CSmartPtr<CTestObject> q(new CTestObject(&destroyedOther));
    q.Attach(back);
    EXPECT_EQ(destroyedOther, 1);
    q.Reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(SmartPtr, CountsStayExactWhenManyThreadsShareAnObject)
{
    constexpr int kThreads = 4;
    constexpr int kIterations = 20000;
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> shared(new CTestObject(&destroyed));

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&shared] {
            for (int i = 0; i < kIterations; ++i) {
                CSmartPtr<CTestObject> copy(shared);
                CSmartPtr<CXmlObjectBase> another(copy);
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(CountOf(shared), 1);
    EXPECT_EQ(destroyed, 0);
    shared.Reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(SmartPtr, ConcurrentLastReleasesDestroyExactlyOnce)
{
    constexpr int kThreads = 4;
    std::atomic<int> destroyed{0};
    for (int round = 0; round < 200; ++round) {
        auto* object = new CTestObject(&destroyed);
        std::vector<CSmartPtr<CTestObject>> holders(kThreads, CSmartPtr<CTestObject>(object));
        std::atomic<bool> go{false};
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&go, &holders, t] {
                while (!go.load()) {
                }
                holders[t].Reset();
            });
        }
        go = true;
        for (auto& t : threads) {
            t.join();
        }
        ASSERT_EQ(destroyed, round + 1);
    }
}
