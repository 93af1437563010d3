// Live-instance counting per class name: a leak report for library objects.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// Every working class of the library derives from this and passes its own
// class name. DumpState() lists, per name, how many objects are alive and how
// many were ever created.
class VXXML_API CInstanceMonitor
{
public:
    struct ClassType
    {
        std::wstring name;
        // Both change atomically (read them through DumpState).
        int32_t lInstanceCount = 0; // objects alive now
        int32_t lTotalCount = 0;    // objects ever constructed
    };

    explicit CInstanceMonitor(const wchar_t* className);
    // A copy is a new instance of the same class name.
    CInstanceMonitor(const CInstanceMonitor& other);
    // Assignment changes no counts: each object stays the instance it was.
    CInstanceMonitor& operator=(const CInstanceMonitor&) { return *this; }
    virtual ~CInstanceMonitor();

    // "Instances of classes still in existence/Total Number of instances
    // created", then one line per class name in order of first appearance;
    // names with live instances are marked with an arrow.
    static std::wstring DumpState();
    // Forgets every class entry (the report is empty afterwards). Meant for
    // process end; the entries of classes with live objects are kept out of
    // the list rather than freed, so destroying those objects later is safe.
    static void Cleanup();

private:
    ClassType* m_pct = nullptr;
};

} // namespace VxXmlLib16
