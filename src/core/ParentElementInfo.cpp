#include <vxxml/ParentElementInfo.h>

namespace VxXmlLib16Data {

CParentElementInfo::CParentElementInfo(XmlElementGroupType groupType, XmlElementType elementType,
                                       const wchar_t* elementName, const wchar_t* namespaceUri,
                                       bool hasBaseClasses, bool outputPrimitiveClassAsText,
                                       int primitiveValuePropertyIndex, ItemType primitiveDataType,
                                       const wchar_t* primitiveFormatOverride,
                                       bool failIfAttributeUnknown)
    : m_groupType(groupType), m_elementType(elementType),
      m_strElementName(elementName ? elementName : L""),
      m_strNamespaceUri(namespaceUri ? namespaceUri : L""), m_bHasBaseClasses(hasBaseClasses),
      m_bOutputPrimitiveClassAsText(outputPrimitiveClassAsText),
      m_iPrimitiveValuePropertyIndex(primitiveValuePropertyIndex),
      m_primitiveDataType(primitiveDataType),
      m_strPrimitiveFormatOverride(primitiveFormatOverride ? primitiveFormatOverride : L""),
      m_bFailIfAttributeUnknown(failIfAttributeUnknown)
{
}

CParentElementInfo::~CParentElementInfo() = default;

} // namespace VxXmlLib16Data
