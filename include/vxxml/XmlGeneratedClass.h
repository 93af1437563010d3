// The base of every class emitted by the code generator.
#pragma once

#include <vxxml/CriticalSection.h>
#include <vxxml/Export.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16Data {
class CParentElementInfo;
class CElementInfo;
class CAttributeInfo;
} // namespace VxXmlLib16Data

namespace VxXmlLib16 {

struct VxVariant;

// Generated code describes its content through metadata tables and reaches
// its properties through one accessor; this class walks the tables.
class VXXML_API CXmlGeneratedClass : public CXmlObjectBase
{
public:
    CXmlGeneratedClass();
    explicit CXmlGeneratedClass(const wchar_t* elementName);
    CXmlGeneratedClass(const CXmlGeneratedClass&) = default;
    CXmlGeneratedClass& operator=(const CXmlGeneratedClass&) = default;
    ~CXmlGeneratedClass() override;

    // Reads (read = true: fill value) or writes (read = false: take value)
    // the property with that index.
    virtual void AccessProperty(int index, bool read, VxVariant& value) = 0;
    // The description of the class itself.
    virtual VxXmlLib16Data::CParentElementInfo* GetClassInfo() const = 0;
    // The class's child elements in schema order, terminated by a null entry.
    virtual VxXmlLib16Data::CElementInfo** GetClassElementInfo() const = 0;
    // The class's attributes, terminated by a null entry.
    virtual VxXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const = 0;
    // Resets every property to its default; every read starts with it.
    virtual void Init() = 0;

    // AccessProperty(index, true, value): reading a property does not change
    // the object.
    void ReadProperty(int index, VxVariant& value) const;
    // The number of entries of GetClassElementInfo() before its null entry.
    int GetClassElementInfoCount() const;

protected:
    // Serializes the one-time creation of every generated class's metadata
    // tables, which happens on first use from whichever thread comes first.
    static CVXCriticalSection m_csInit;
};

} // namespace VxXmlLib16
