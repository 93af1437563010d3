#include <cassert>
#include <cwchar>
#include <mutex>
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

} // namespace

CInstanceMonitor::CInstanceMonitor(const wchar_t* className)
{
    MonitorState& state = State();
    std::lock_guard lock(state.cs);
    for (ClassType* entry : state.list) {
        if (entry->name == (className ? className : L"")) {
            m_pct = entry;
            break;
        }
    }
    if (m_pct == nullptr) {
        m_pct = new ClassType{className ? className : L"", 0, 0};
        state.list.push_back(m_pct);
    }
    ++m_pct->lInstanceCount;
    ++m_pct->lTotalCount;
}

CInstanceMonitor::CInstanceMonitor(const CInstanceMonitor& other) : m_pct(other.m_pct)
{
    std::lock_guard lock(State().cs);
    assert(m_pct && "m_pct");
    ++m_pct->lInstanceCount;
    ++m_pct->lTotalCount;
}

CInstanceMonitor::~CInstanceMonitor()
{
    std::lock_guard lock(State().cs);
    assert(m_pct && "m_pct");
    --m_pct->lInstanceCount;
    assert(m_pct->lInstanceCount >= 0 && "m_pct->lInstanceCount >= 0");
}

std::wstring CInstanceMonitor::DumpState()
{
    MonitorState& state = State();
    std::lock_guard lock(state.cs);
    std::wstring report =
        L"Instances of classes still in existence/Total Number of instances created\n";
    bool first = true;
    for (const ClassType* entry : state.list) {
        if (!first) {
            report += L'\n';
        }
        first = false;
        report += FormatString(entry->lInstanceCount < 1 ? L"    %s = %d/%d" : L"--> %s = %d/%d",
                               entry->name.c_str(), entry->lInstanceCount, entry->lTotalCount);
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
        if (entry->lInstanceCount <= 0) {
            delete entry;
        }
    }
    state.list.clear();
}

} // namespace VxXmlLib16
