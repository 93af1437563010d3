#include <atomic>
#include <cassert>
#include <cwchar>
#include <mutex>
#include <string_view>
#include <vector>
#include <vxxml/CriticalSection.h>
#include <vxxml/FormatString.h>
#include <vxxml/InstanceMonitor.h>

namespace VxXmlLib16 {
namespace {

// The list and its lock are created on first use and never destroyed, so
// that objects constructed or destroyed during static initialisation or
// shutdown of other translation units still find them alive.
struct MonitorState
{
    CVXCriticalSection cs;
    std::vector<CInstanceMonitor::ClassType*> list; // in order of first appearance
};

MonitorState& State()
{
    static MonitorState* state = new MonitorState;
    return *state;
}

// The counters change without the lock: a document of millions of nodes
// creates and destroys that many monitored objects, and the lock would cost
// more than the node. The lock still guards the list, so looking a class up,
// adding it, reporting and cleaning up stay serialised.
std::atomic_ref<int32_t> Counter(int32_t& count)
{
    return std::atomic_ref<int32_t>(count);
}

} // namespace

CInstanceMonitor::CInstanceMonitor(const wchar_t* className)
{
    const std::wstring_view name(className ? className : L"");
    MonitorState& state = State();
    std::lock_guard lock(state.cs);
    for (ClassType* entry : state.list) {
        if (entry->name == name) {
            m_pct = entry;
            break;
        }
    }
    if (m_pct == nullptr) {
        m_pct = new ClassType{std::wstring(name), 0, 0};
        state.list.push_back(m_pct);
    }
    Counter(m_pct->lInstanceCount).fetch_add(1, std::memory_order_relaxed);
    Counter(m_pct->lTotalCount).fetch_add(1, std::memory_order_relaxed);
}

CInstanceMonitor::CInstanceMonitor(const CInstanceMonitor& other) : m_pct(other.m_pct)
{
    assert(m_pct && "m_pct");
    Counter(m_pct->lInstanceCount).fetch_add(1, std::memory_order_relaxed);
    Counter(m_pct->lTotalCount).fetch_add(1, std::memory_order_relaxed);
}

CInstanceMonitor::~CInstanceMonitor()
{
    assert(m_pct && "m_pct");
    [[maybe_unused]] const int32_t before =
        Counter(m_pct->lInstanceCount).fetch_sub(1, std::memory_order_relaxed);
    assert(before - 1 >= 0 && "m_pct->lInstanceCount >= 0");
}

std::wstring CInstanceMonitor::DumpState()
{
    MonitorState& state = State();
    std::lock_guard lock(state.cs);
    std::wstring report =
        L"Instances of classes still in existence/Total Number of instances created\n";
    bool first = true;
    for (ClassType* entry : state.list) {
        if (!first) {
            report += L'\n';
        }
        first = false;
        const int32_t alive = Counter(entry->lInstanceCount).load(std::memory_order_relaxed);
        const int32_t total = Counter(entry->lTotalCount).load(std::memory_order_relaxed);
        report += FormatString(alive < 1 ? L"    %s = %d/%d" : L"--> %s = %d/%d",
                               entry->name.c_str(), alive, total);
    }
    return report;
}

void CInstanceMonitor::Cleanup()
{
    MonitorState& state = State();
    std::lock_guard lock(state.cs);
    for (ClassType* entry : state.list) {
        // Objects still alive point at their entry and would touch freed
        // memory when destroyed; their entries leave the list but are kept.
        if (Counter(entry->lInstanceCount).load(std::memory_order_relaxed) <= 0) {
            delete entry;
        }
    }
    state.list.clear();
}

} // namespace VxXmlLib16
