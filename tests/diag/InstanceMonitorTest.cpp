#include <gtest/gtest.h>
#include <thread>
#include <vector>
#include <vxxml/CriticalSection.h>
#include <vxxml/InstanceMonitor.h>

using namespace VxXmlLib16;

namespace {

struct Counted : CInstanceMonitor
{
    Counted() : CInstanceMonitor(L"Ci4Col") {}
};

struct Other : CInstanceMonitor
{
    Other() : CInstanceMonitor(L"COtherTestClass") {}
};

const std::wstring kHeader =
    L"Instances of classes still in existence/Total Number of instances created\n";

} // namespace

// Cleanup() forgets every entry, so afterwards the report shows only the
// classes this test creates. (Safe here because no library object outlives
// its test; CTest also runs every test in a process of its own.)
TEST(InstanceMonitor, ReportMarksLiveClassesAndSurvivesCleanup)
{
    CInstanceMonitor::Cleanup();
    EXPECT_EQ(CInstanceMonitor::DumpState(), kHeader);
    {
        auto* first = new Counted;
        {
            Counted second;
            Counted copy(second); // a copy counts as a new instance
            Other other;
            EXPECT_EQ(CInstanceMonitor::DumpState(),
                      kHeader + L"--> Ci4Col = 3/3\n--> COtherTestClass = 1/1");
        }
        EXPECT_EQ(CInstanceMonitor::DumpState(),
                  kHeader + L"--> Ci4Col = 1/3\n    COtherTestClass = 0/1");
        delete first;
    }
    EXPECT_EQ(CInstanceMonitor::DumpState(),
              kHeader + L"    Ci4Col = 0/3\n    COtherTestClass = 0/1");
    CInstanceMonitor::Cleanup();
    EXPECT_EQ(CInstanceMonitor::DumpState(), kHeader);
}

TEST(InstanceMonitor, CountsStayExactAcrossThreads)
{
    CInstanceMonitor::Cleanup();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 2000; ++i) {
                Counted c;
                Counted copy(c);
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(CInstanceMonitor::DumpState(), kHeader + L"    Ci4Col = 0/16000");
    CInstanceMonitor::Cleanup();
}

TEST(CriticalSection, OwnerMayEnterAgain)
{
    CVXCriticalSection cs;
    cs.Enter();
    cs.Enter(); // a non-recursive lock would deadlock here
    cs.Leave();
    cs.Leave();
    // Fully released: another thread can take it.
    std::thread([&] { std::lock_guard guard(cs); }).join();
}
