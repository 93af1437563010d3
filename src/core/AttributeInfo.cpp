#include "core/NamespaceRule.h"
#include "core/ParsedFacets.h"
#include "core/ValueScratch.h"

#include <vxxml/Attribute.h>
#include <vxxml/AttributeInfo.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/VxVariant.h>
#include <vxxml/XmlAttribute.h>
#include <vxxml/XmlGeneratedClass.h>
#include <vxxml/XmlWriter.h>

using namespace VxXmlLib16;

namespace VxXmlLib16Data {
namespace {

std::wstring OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

// A value that does not convert is reported at the attribute that holds it.
[[noreturn]] void ThrowAtAttribute(const CVxException& e, const CXmlAttribute& attribute)
{
    throw CVxValidationException(L"Failed to process the element.", attribute.GetXPath(), e);
}

} // namespace

CAttributeInfo::CAttributeInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                               bool optional, const wchar_t* defaultValue)
    : m_strAttributeName(OrEmpty(name)), m_strNamespaceUri(OrEmpty(namespaceUri)),
      m_iPropertyIndex(propertyIndex), m_bOptional(optional),
      m_strDefaultValue(OrEmpty(defaultValue))
{
}

CAttributeInfo::~CAttributeInfo() = default;

bool CAttributeInfo::IsThisAttribute(const CSerializationContext& context,
                                     const CXmlAttribute* attribute) const
{
    if (attribute == nullptr || attribute->GetLocalName() != m_strAttributeName) {
        return false;
    }
    return context.GetIgnoreNamespaces() || attribute->GetNamespaceURI() == m_strNamespaceUri;
}

void CAttributeInfo::ToXml_Int(const CXmlObjectBase* object, CXmlWriter* writer, bool,
                               const wchar_t*, const CSerializationContext& context)
{
    object->AttributesToXml_Int(writer, context);
}

bool CAttributeInfo::IsNamespaceValid(const std::wstring& ns, const std::wstring& restriction,
                                      const std::wstring& targetNamespace)
{
    return detail::IsNamespaceAllowed(ns, restriction, targetNamespace);
}

void CAttributeInfo::TestNamespace(const std::wstring& ns, const std::wstring& restriction,
                                   const std::wstring& targetNamespace)
{
    if (!IsNamespaceValid(ns, restriction, targetNamespace)) {
        throw CVxInvalidNamespaceException(
            FormatString(L"The namespace %s in the class %s is invalid against restriction %s",
                         ns.c_str(), L"CAttributeInfo", restriction.c_str()),
            L"");
    }
}

std::wstring CAttributeInfo::GetTargetNamespace(const CXmlObjectBase* object)
{
    return object ? object->GetTargetNamespace() : std::wstring();
}

void CAttributeInfo::ReadProperty(const CXmlGeneratedClass* owner, VxVariant& value) const
{
    InvokePropertyGet(owner, value);
}

void CAttributeInfo::InvokePropertyGet(const CXmlGeneratedClass* owner, VxVariant& value) const
{
    try {
        // What ReadProperty does, without its extra call per value.
        const_cast<CXmlGeneratedClass*>(owner)->AccessProperty(m_iPropertyIndex, true, value);
    } catch (const CVxException& e) {
        throw CVxValidationException(
            FormatString(L"Failed to get the property value for [%s].", m_strAttributeName.c_str()),
            L"", e);
    }
}

void CAttributeInfo::InvokePropertySet(CXmlGeneratedClass* owner, VxVariant& value,
                                       const CXmlAttribute& attribute) const
{
    try {
        owner->AccessProperty(m_iPropertyIndex, false, value);
    } catch (const CVxException& e) {
        throw CVxValidationException(
            FormatString(L"Failed to set the property value [%s].", m_strAttributeName.c_str()),
            attribute.GetXPath(), e);
    }
}

void CAttributeInfo::ValidatePresence(bool found) const
{
    if (!m_bOptional && !found) {
        throw CVxValidationException(FormatString(L"Failed to find the required Attribute [%s].",
                                                  m_strAttributeName.c_str()),
                                     L"");
    }
}

// ---------------------------------------------------------------------------

CAttributeInfoPrimitive::CAttributeInfoPrimitive(const wchar_t* name, const wchar_t* namespaceUri,
                                                 int propertyIndex, bool optional, ItemType type,
                                                 const wchar_t* formatOverride,
                                                 CWhitespaceUtils::WhitespaceRule rule,
                                                 const CPrimitiveRestrictions& restrictions,
                                                 const wchar_t* defaultValue)
    : CAttributeInfo(name, namespaceUri, propertyIndex, optional, defaultValue),
      m_restrictions(restrictions), m_itemType(type), m_strFormatOverride(OrEmpty(formatOverride)),
      m_whitespaceRule(rule)
{
}

void CAttributeInfoPrimitive::AttributeToXml(const CSerializationContext& context,
                                             const CXmlGeneratedClass* owner,
                                             CXmlWriter* writer) const
{
    detail::CValueLease lease(m_itemType);
    VxVariant& value = lease.Value();
    ReadProperty(owner, value);
    if (m_bOptional && !value.IsValid()) {
        return;
    }
    // A mandatory attribute that was never set fails here, in the variant's
    // conversion, rather than being left out silently. A string value is
    // written from where it stands, not copied.
    const std::wstring& text = value.ToText(
        m_strFormatOverride.empty() ? nullptr : m_strFormatOverride.c_str(), lease.Text());
    if (m_bOptional && !m_strDefaultValue.empty() &&
        context.GetNoOptionalAttributeDefaultOutput() && text == m_strDefaultValue) {
        return;
    }
    if (!detail::PassesUnchecked(m_restrictions, value.GetTypeAsEnum())) {
        CXmlObjectBase::Throw_IfInvalidValue(m_strAttributeName.c_str(), value, m_restrictions);
    }
    writer->WriteAttribute(m_strAttributeName.c_str(), m_strNamespaceUri.c_str(), text.c_str(),
                           value.GetTypeAsEnum());
}

bool CAttributeInfoPrimitive::AttributeFromXml(const CSerializationContext&,
                                               CXmlGeneratedClass* owner, CXmlAttribute* attribute)
{
    // The namespace is compared exactly even when the context ignores
    // namespaces; the enumeration entry is more lenient.
    if (attribute->GetLocalName() != m_strAttributeName ||
        attribute->GetNamespaceURI() != m_strNamespaceUri) {
        return false;
    }
    VxVariant value;
    try {
        value.FromString(attribute->CopyValue(), m_itemType, m_whitespaceRule);
    } catch (const CVxException& e) {
        ThrowAtAttribute(e, *attribute);
    }
    InvokePropertySet(owner, value, *attribute);
    return true;
}

void CAttributeInfoPrimitive::Validate(const CSerializationContext&, bool found) const
{
    ValidatePresence(found);
}

// ---------------------------------------------------------------------------

CAttributeInfoEnum::CAttributeInfoEnum(const wchar_t* name, const wchar_t* namespaceUri,
                                       int propertyIndex, bool optional, EnumToTextFn enumToText,
                                       TextToEnumFn textToEnum, const wchar_t* defaultValue)
    : CAttributeInfo(name, namespaceUri, propertyIndex, optional, defaultValue),
      m_pfnEnumToText(enumToText), m_pfnTextToEnum(textToEnum)
{
}

void CAttributeInfoEnum::AttributeToXml(const CSerializationContext& context,
                                        const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    detail::CValueLease lease(ItemType_i4);
    VxVariant& value = lease.Value();
    ReadProperty(owner, value);
    if (m_bOptional && !value.IsValid()) {
        return;
    }
    const wchar_t* text = m_pfnEnumToText(value.GetI4());
    text = text ? text : L"";
    if (m_bOptional && !m_strDefaultValue.empty() &&
        context.GetNoOptionalAttributeDefaultOutput() && m_strDefaultValue == text) {
        return;
    }
    writer->WriteAttribute(m_strAttributeName.c_str(), m_strNamespaceUri.c_str(), text,
                           ItemType_string);
}

bool CAttributeInfoEnum::AttributeFromXml(const CSerializationContext& context,
                                          CXmlGeneratedClass* owner, CXmlAttribute* attribute)
{
    if (!IsThisAttribute(context, attribute)) {
        return false;
    }
    VxVariant value;
    try {
        value.SetI4(m_pfnTextToEnum(attribute->CopyValue().c_str()));
    } catch (const CVxException& e) {
        ThrowAtAttribute(e, *attribute);
    }
    InvokePropertySet(owner, value, *attribute);
    return true;
}

void CAttributeInfoEnum::Validate(const CSerializationContext&, bool found) const
{
    ValidatePresence(found);
}

// ---------------------------------------------------------------------------

CAttributeInfoAny::CAttributeInfoAny(const wchar_t* name, const wchar_t* namespaceUri,
                                     int propertyIndex, bool optional,
                                     const wchar_t* namespaceConstraint,
                                     const wchar_t* targetNamespace,
                                     const wchar_t* declaringNamespace)
    : CAttributeInfo(name, namespaceUri, propertyIndex, optional, nullptr),
      m_strNamespaceConstraint(namespaceConstraint ? namespaceConstraint : L"##any"),
      m_strTargetNamespace(OrEmpty(declaringNamespace).empty() ? OrEmpty(targetNamespace)
                                                               : OrEmpty(declaringNamespace))
{
    m_bWildcard = true;
}

namespace {

CSmartPtr<CAttributeCol> AttributeCollectionOf(const VxVariant& value)
{
    CSmartPtr<CXmlObjectBase> object;
    if (value.GetTypeAsEnum() == ItemType_XmlCollection) {
        object = value.GetXmlCollection();
    } else if (value.GetTypeAsEnum() == ItemType_XmlObjectBase) {
        object = value.GetXmlObject();
    }
    auto* collection = dynamic_cast<CAttributeCol*>(object.Get());
    if (collection == nullptr) {
        throw CVxException(
            L"Serialization Data Error : The collection should be a CAttributeCol, it was not!");
    }
    return collection;
}

} // namespace

void CAttributeInfoAny::AttributeToXml(const CSerializationContext& context,
                                       const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    VxVariant value;
    ReadProperty(owner, value);
    AttributeCollectionOf(value)->AttributesToXml_Int(writer, context);
}

bool CAttributeInfoAny::AttributeFromXml(const CSerializationContext&, CXmlGeneratedClass* owner,
                                         CXmlAttribute* attribute)
{
    if (!IsNamespaceValid(attribute->GetNamespaceURI(), m_strNamespaceConstraint,
                          m_strTargetNamespace)) {
        return false;
    }
    VxVariant value;
    ReadProperty(owner, value);
    AttributeCollectionOf(value)->Add(attribute->GetLocalName().c_str(),
                                      attribute->GetNamespaceURI().c_str(),
                                      attribute->GetValue().c_str());
    return true;
}

void CAttributeInfoAny::Validate(const CSerializationContext&, bool) const {}

} // namespace VxXmlLib16Data
