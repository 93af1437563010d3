// For generated code only: applications never use this header directly.
// The description of a generated class itself, returned by its GetClassInfo.
#pragma once

#include <atomic>
#include <string>
#include <typeinfo>
#include <vxxml/ElementInfo.h>
#include <vxxml/Export.h>
#include <vxxml/ItemType.h>

namespace VxXmlLib16Data {

class VXXML_API CParentElementInfo
{
public:
    // groupType: how the child elements are composed. elementType 0 for a
    // class with its own element; elementName/namespaceUri name the class's
    // schema type (written as xsi:type when the class has base classes and
    // is used under another element name). A class with simple content names
    // the property that holds its value (index -1: none), the value's kind
    // and an optional format; outputAsText keeps that value as a string
    // whatever its kind. failIfAttributeUnknown makes reading refuse
    // attributes no metadata takes (unless the context ignores unknown
    // attributes); without it they are skipped.
    CParentElementInfo(XmlElementGroupType groupType, XmlElementType elementType,
                       const wchar_t* elementName, const wchar_t* namespaceUri, bool hasBaseClasses,
                       bool outputPrimitiveClassAsText, int primitiveValuePropertyIndex,
                       ItemType primitiveDataType, const wchar_t* primitiveFormatOverride,
                       bool failIfAttributeUnknown);
    virtual ~CParentElementInfo();

    XmlElementGroupType GetElementGroupType() const { return m_groupType; }
    XmlElementType GetElementType() const { return m_elementType; }
    const std::wstring& GetElementName() const { return m_strElementName; }
    const std::wstring& GetElementNamespace() const { return m_strNamespaceUri; }
    bool GetHasBaseClasses() const { return m_bHasBaseClasses; }
    bool GetOutputPrimitiveClassAsTextProperty() const { return m_bOutputPrimitiveClassAsText; }
    int GetPrimitiveValuePropertyIndex() const { return m_iPrimitiveValuePropertyIndex; }
    ItemType GetPrimitiveDataType() const { return m_primitiveDataType; }
    // Null when the class has no format override.
    const wchar_t* GetPrimitiveFormatOverride() const
    {
        return m_strPrimitiveFormatOverride.empty() ? nullptr
                                                    : m_strPrimitiveFormatOverride.c_str();
    }
    bool GetFromXmlFailIfAttributeUnknown() const { return m_bFailIfAttributeUnknown; }

    // Whether objects of the given dynamic type were found not to implement
    // INillable; the writer asks for every object and remembers the answer
    // here, with the class's own description, so that it lives and goes
    // with the class.
    bool IsKnownNotNillable(const std::type_info& type) const
    {
        return m_pNotNillableType.load(std::memory_order_relaxed) == &type;
    }
    void RememberNotNillable(const std::type_info& type) const
    {
        m_pNotNillableType.store(&type, std::memory_order_relaxed);
    }

private:
    XmlElementGroupType m_groupType;
    XmlElementType m_elementType;
    std::wstring m_strElementName;
    std::wstring m_strNamespaceUri;
    bool m_bHasBaseClasses;
    bool m_bOutputPrimitiveClassAsText;
    int m_iPrimitiveValuePropertyIndex;
    ItemType m_primitiveDataType;
    std::wstring m_strPrimitiveFormatOverride;
    bool m_bFailIfAttributeUnknown;
    mutable std::atomic<const std::type_info*> m_pNotNillableType{nullptr};
};

} // namespace VxXmlLib16Data
