// For generated code only: applications never use this header directly.
// Helpers for the class factories that generated code provides.
#pragma once

#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class CXmlElement;

// A generated factory maps an element's xsi:type (or, without one, its name)
// to a new object of the right derived class. These helpers read the xsi:type
// attribute so that every factory interprets it the same way.
class VXXML_API CClassfactoryBase
{
public:
    virtual ~CClassfactoryBase() = default;

    // The local part of the element's xsi:type: the text after the first
    // colon, or the whole value when it has none. Empty when the element has
    // no xsi:type (or is null).
    static std::wstring GetElementType(CXmlElement* element);
    // The namespace of the element's xsi:type: for an unprefixed value the
    // element's own namespace, otherwise the namespace the prefix is bound to
    // in the element's document (empty when the prefix is unknown).
    static std::wstring GetElementTypeNamespaceUri(CXmlElement* element);
};

} // namespace VxXmlLib16
