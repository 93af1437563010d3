#include "core/NamespaceRule.h"

#include <vxxml/Element.h>
#include <vxxml/ElementInfoKinds.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/VxVariant.h>
#include <vxxml/XmlCollectionBase.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlGeneratedClass.h>

using namespace VxXmlLib16;

namespace VxXmlLib16Data {
namespace {

// The name generated code gives an xs:any particle.
bool IsAnyElement(const std::wstring& name)
{
    return name == L"AnyElement";
}

} // namespace

// ---------------------------------------------------------------------------
// Primitive and enumeration

CElementInfoPrim::CElementInfoPrim(Compositor compositor, Cardinality cardinality,
                                   const wchar_t* name, const wchar_t* namespaceUri,
                                   int propertyIndex, bool nillable, ItemType type,
                                   const wchar_t* formatOverride,
                                   CWhitespaceUtils::WhitespaceRule rule,
                                   const CPrimitiveRestrictions& restrictions,
                                   const wchar_t* defaultValue)
    : CElementInfo(name, namespaceUri, propertyIndex, nillable, type, formatOverride, rule,
                   restrictions, defaultValue)
{
    SetPlacement(compositor, cardinality);
}

bool CElementInfoPrim::TryRead(const CSerializationContext& context, CXmlGeneratedClass* owner,
                               CXmlElement*, CXmlElement** cursor)
{
    if (!IsThisElement(context, *cursor)) {
        return false;
    }
    ElementFromXmlPrim(context, owner, cursor);
    return true;
}

bool CElementInfoPrim::WriteValue(const CSerializationContext& context,
                                  const CXmlGeneratedClass* owner, CXmlWriter* writer, bool) const
{
    return ElementToXmlPrim(context, owner, writer);
}

CElementInfoEnum::CElementInfoEnum(Compositor compositor, Cardinality cardinality,
                                   const wchar_t* name, const wchar_t* namespaceUri,
                                   int propertyIndex, bool nillable, EnumToTextFn enumToText,
                                   TextToEnumFn textToEnum, const wchar_t* defaultValue)
    : CElementInfo(name, namespaceUri, propertyIndex, nillable, enumToText, textToEnum,
                   defaultValue)
{
    SetPlacement(compositor, cardinality);
}

bool CElementInfoEnum::TryRead(const CSerializationContext& context, CXmlGeneratedClass* owner,
                               CXmlElement*, CXmlElement** cursor)
{
    if (!IsThisElement(context, *cursor)) {
        return false;
    }
    ElementFromXmlEnum(context, owner, cursor);
    return true;
}

bool CElementInfoEnum::WriteValue(const CSerializationContext& context,
                                  const CXmlGeneratedClass* owner, CXmlWriter* writer, bool) const
{
    return ElementToXmlEnum(context, owner, writer, m_pfnEnumToText);
}

// ---------------------------------------------------------------------------
// Class

CElementInfoCls::CElementInfoCls(Compositor compositor, Cardinality cardinality,
                                 const wchar_t* name, const wchar_t* namespaceUri,
                                 int propertyIndex, XmlElementType childType,
                                 ClassFactoryFn factory, int factoryArgument, bool flag)
    : CElementInfo(name, namespaceUri, propertyIndex), m_childType(childType), m_bFlag(flag),
      m_pfnFactory(factory), m_iFactoryArgument(factoryArgument)
{
    SetPlacement(compositor, cardinality);
}

// A child merged into its parent has no tag of its own: it takes whatever
// its own members take.
bool CElementInfoCls::AcceptsElement(const CSerializationContext& context,
                                     const CXmlElement* element) const
{
    if (m_childType == XmlElementType_Element) {
        return IsThisElement(context, element);
    }
    if (element == nullptr || m_pfnFactory == nullptr) {
        return false;
    }
    CSmartPtr<CXmlObjectBase> prototype =
        m_pfnFactory(m_iFactoryArgument, m_strElementName.c_str());
    const auto* generated = dynamic_cast<const CXmlGeneratedClass*>(prototype.Get());
    if (generated == nullptr) {
        return false;
    }
    for (CElementInfo** entry = generated->GetClassElementInfo(); entry && *entry; ++entry) {
        if ((*entry)->AcceptsElement(context, element)) {
            return true;
        }
    }
    return false;
}

bool CElementInfoCls::TryRead(const CSerializationContext& context, CXmlGeneratedClass* owner,
                              CXmlElement* parent, CXmlElement** cursor)
{
    if (m_childType == XmlElementType_Element && !IsThisElement(context, *cursor)) {
        return false;
    }
    // A mandatory child is made by the owner beforehand and read in place;
    // an optional one is made here and attached only once it has read.
    CSmartPtr<CXmlObjectBase> child;
    if (m_cardinality == Cardinality_Mandatory) {
        child = GetChildObject(owner);
    }
    const bool attach = !child;
    if (!child) {
        if (m_pfnFactory) {
            child = m_pfnFactory(m_iFactoryArgument, m_strElementName.c_str());
        }
        if (!child) {
            throw CVxValidationException(
                FormatString(L"Failed to find a suitable substitution element for [%s].",
                             m_strElementName.c_str()),
                parent ? parent->GetXPath() : std::wstring());
        }
    }
    return ReadChild(context, owner, parent, cursor, child, m_childType, attach);
}

bool CElementInfoCls::WriteValue(const CSerializationContext& context,
                                 const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                 bool flag) const
{
    return ElementToXmlCls(context, owner, writer, flag);
}

// A missing mandatory class member of an xs:all is reported only when it is
// merged into its parent (element type 1) or flagged; any other absent child
// is accepted as it is.
bool CElementInfoCls::Validate(const CSerializationContext& context,
                               const CXmlGeneratedClass* owner, bool found, bool check) const
{
    if (!found && m_compositor == Compositor_All && m_cardinality == Cardinality_Mandatory &&
        m_childType != XmlElementType_Merged && !m_bFlag) {
        return true;
    }
    return CElementInfo::Validate(context, owner, found, check);
}

void CElementInfoCls::PseudoChildAttributeToXml(const CSerializationContext& context,
                                                const CXmlGeneratedClass* owner,
                                                CXmlWriter* writer) const
{
    MergedChildAttributesToXml(context, owner, writer, m_childType);
}

// ---------------------------------------------------------------------------
// Abstract class

CElementInfoAbsCls::CElementInfoAbsCls(Compositor compositor, Cardinality cardinality,
                                       const wchar_t* name, const wchar_t* namespaceUri,
                                       int propertyIndex, XmlElementType childType,
                                       AbstractFactoryFn factory)
    : CElementInfo(name, namespaceUri, propertyIndex), m_childType(childType), m_pfnFactory(factory)
{
    SetPlacement(compositor, cardinality);
}

// Members of a substitution group carry their own names: the factory, which
// knows the group, decides.
bool CElementInfoAbsCls::AcceptsElement(const CSerializationContext& context,
                                        const CXmlElement* element) const
{
    if (IsThisElement(context, element)) {
        return true;
    }
    return element != nullptr && m_pfnFactory != nullptr &&
           m_pfnFactory(const_cast<CXmlElement*>(element)) != nullptr;
}

bool CElementInfoAbsCls::TryRead(const CSerializationContext& context, CXmlGeneratedClass* owner,
                                 CXmlElement* parent, CXmlElement** cursor)
{
    if (m_childType == XmlElementType_Element && !AcceptsElement(context, *cursor)) {
        return false;
    }
    CXmlElement* source = *cursor ? *cursor : parent;
    CSmartPtr<CXmlObjectBase> child = m_pfnFactory ? m_pfnFactory(source) : nullptr;
    if (!child) {
        throw CVxValidationException(
            FormatString(L"Failed to find a suitable substitution element for [%s].",
                         m_strElementName.c_str()),
            parent ? parent->GetXPath() : std::wstring());
    }
    return ReadChild(context, owner, parent, cursor, child, m_childType, true);
}

bool CElementInfoAbsCls::WriteValue(const CSerializationContext& context,
                                    const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                    bool flag) const
{
    return ElementToXmlCls(context, owner, writer, flag);
}

void CElementInfoAbsCls::PseudoChildAttributeToXml(const CSerializationContext& context,
                                                   const CXmlGeneratedClass* owner,
                                                   CXmlWriter* writer) const
{
    MergedChildAttributesToXml(context, owner, writer, m_childType);
}

// ---------------------------------------------------------------------------
// Untyped

CElementInfoUntpd::CElementInfoUntpd(Compositor compositor, Cardinality cardinality,
                                     const wchar_t* name, const wchar_t* namespaceUri,
                                     int propertyIndex, const wchar_t* namespaceConstraint,
                                     const wchar_t* targetNamespace)
    : CElementInfo(name, namespaceUri, propertyIndex),
      m_strNamespaceConstraint(namespaceConstraint ? namespaceConstraint : L"##any"),
      m_strTargetNamespace(targetNamespace ? targetNamespace : L"")
{
    SetPlacement(compositor, cardinality);
}

bool CElementInfoUntpd::AcceptsElement(const CSerializationContext& context,
                                       const CXmlElement* element) const
{
    if (!IsAnyElement(m_strElementName)) {
        return IsThisElement(context, element);
    }
    return element != nullptr &&
           detail::IsNamespaceAllowed(element->GetNamespaceURI(), m_strNamespaceConstraint,
                                      m_strTargetNamespace);
}

bool CElementInfoUntpd::TryRead(const CSerializationContext& context, CXmlGeneratedClass* owner,
                                CXmlElement* parent, CXmlElement** cursor)
{
    if (!AcceptsElement(context, *cursor)) {
        return false;
    }
    CXmlElement* element = *cursor;
    CSmartPtr<CElement> child(
        new CElement(element->GetLocalName().c_str(), element->GetNamespaceURI().c_str(),
                     m_strNamespaceConstraint.c_str(), m_strTargetNamespace.c_str()));
    return ReadChild(context, owner, parent, cursor, child, XmlElementType_Element, true);
}

bool CElementInfoUntpd::WriteValue(const CSerializationContext& context,
                                   const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                   bool flag) const
{
    // An untyped element without a namespace of its own is written in the
    // one its wildcard implies.
    const std::wstring ns = GetAnyDefaultNamespace(
        m_strNamespaceConstraint.c_str(), m_strNamespaceUri.c_str(), m_strTargetNamespace.c_str());
    return WriteChildObject(context, owner, writer, ns.c_str(), flag);
}

// ---------------------------------------------------------------------------
// Collections

CElementInfoCollection::CElementInfoCollection(Compositor compositor, const wchar_t* name,
                                               const wchar_t* namespaceUri, int propertyIndex,
                                               XmlElementType childType)
    : CElementInfo(name, namespaceUri, propertyIndex), m_childType(childType)
{
    SetPlacement(compositor, Cardinality_Collection);
}

bool CElementInfoCollection::AcceptsElement(const CSerializationContext& context,
                                            const CXmlElement* element) const
{
    // An untyped collection for xs:any judges namespaces itself while it reads.
    if (IsAnyElement(m_strElementName)) {
        return element != nullptr;
    }
    return IsThisElement(context, element);
}

bool CElementInfoCollection::TryRead(const CSerializationContext& context,
                                     CXmlGeneratedClass* owner, CXmlElement* parent,
                                     CXmlElement** cursor)
{
    CSmartPtr<CXmlObjectBase> object = GetChildObject(owner);
    CXmlElement* const start = *cursor;
    auto* untyped = dynamic_cast<CElementCol*>(object.Get());
    if (untyped != nullptr && !IsAnyElement(m_strElementName)) {
        // A named untyped member takes only elements of its own name.
        *cursor = untyped->FromXmlLockElementName_Int(m_strElementName, m_strNamespaceUri, parent,
                                                      start, context, false);
    } else if (auto* collection = dynamic_cast<CXmlCollectionBase*>(object.Get())) {
        *cursor = collection->FromXml_Int(parent, start, context, false);
    } else {
        throw CVxException(FormatString(L"Serialization Data Error : the property of [%s] does "
                                        L"not hold a collection",
                                        m_strElementName.c_str()));
    }
    return *cursor != start;
}

bool CElementInfoCollection::WriteValue(const CSerializationContext& context,
                                        const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                        bool) const
{
    return ElementToXmlCol(context, owner, writer);
}

} // namespace VxXmlLib16Data
