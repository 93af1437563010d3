#include "core/NestingGuard.h"

#include <vxxml/Element.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/WhitespaceUtils.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlWriter.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

const wchar_t* const kAny = L"##any";

bool IsAllWhitespace(const std::wstring& text)
{
    for (wchar_t c : text) {
        if (!CWhitespaceUtils::IsWhiteSpace(c)) {
            return false;
        }
    }
    return true;
}

// The namespace, restriction and target namespace an element created under
// parent starts with.
struct ParentScope
{
    std::wstring ns;
    std::wstring restriction = kAny;
    std::wstring targetNamespace;
};

ParentScope ScopeOf(CXmlObjectBase* parent)
{
    ParentScope scope;
    if (const auto* collection = dynamic_cast<const CElementCol*>(parent)) {
        scope.ns = collection->GetNamespace();
        scope.restriction = collection->GetNamespaceRestriction();
        scope.targetNamespace = collection->GetTargetNamespaceOfRestriction();
    } else if (parent) {
        scope.ns = parent->GetNamespace();
    }
    return scope;
}

} // namespace

CElement::CElement(const wchar_t* name) : CXmlObjectBase(), CInstanceMonitor(L"CElement")
{
    Init(name, L"", kAny, L"");
}

CElement::CElement(const wchar_t* name, const wchar_t* namespaceUri)
    : CXmlObjectBase(), CInstanceMonitor(L"CElement")
{
    Init(name, namespaceUri, kAny, L"");
}

CElement::CElement(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* restriction,
                   const wchar_t* targetNamespace)
    : CXmlObjectBase(), CInstanceMonitor(L"CElement")
{
    Init(name, namespaceUri, restriction, targetNamespace);
}

CElement::CElement(CXmlObjectBase* parent, const wchar_t* name)
    : CXmlObjectBase(), CInstanceMonitor(L"CElement")
{
    const ParentScope scope = ScopeOf(parent);
    Init(name, scope.ns.c_str(), scope.restriction.c_str(), scope.targetNamespace.c_str());
    m_pEventSink = parent;
}

CElement::CElement(const CElement& other)
    : CXmlObjectBase(other), CInstanceMonitor(other), m_strText(other.m_strText),
      m_strNamespace(other.m_strNamespace), m_strRestriction(other.m_strRestriction),
      m_strTargetNamespace(other.m_strTargetNamespace), m_pAttributes(other.m_pAttributes->Clone()),
      m_pChildElements(other.m_pChildElements->Clone())
{
}

CElement::~CElement() = default;

void CElement::Init(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* restriction,
                    const wchar_t* targetNamespace)
{
    if (name == nullptr) {
        throw CVxInvalidNamespaceException(L"Element Name must have a value", L"");
    }
    if (restriction == nullptr) {
        throw CVxInvalidNamespaceException(L"Namespace Restriction must have a value", L"");
    }
    if (targetNamespace == nullptr) {
        throw CVxInvalidNamespaceException(L"Target Namespace must have a value", L"");
    }
    // Named first, so that a namespace failure names the element.
    SetElementName(name);
    TestNamespace(namespaceUri, restriction, targetNamespace);
    m_strNamespace = OrEmpty(namespaceUri);
    m_strRestriction = restriction;
    m_strTargetNamespace = targetNamespace;
    m_pAttributes = new CAttributeCol(m_strNamespace.c_str(), kAny, targetNamespace);
    m_pChildElements = new CElementCol(m_strNamespace.c_str(), kAny, targetNamespace, 0, -1);
}

void CElement::SetName(const wchar_t* name)
{
    if (name == nullptr) {
        throw CVxInvalidNamespaceException(L"Element Name must have a value", L"");
    }
    SetElementName(name);
    FireOnChangeName();
}

void CElement::SetNamespace(const wchar_t* namespaceUri)
{
    TestNamespace(namespaceUri, m_strRestriction.c_str(), m_strTargetNamespace.c_str());
    m_strNamespace = OrEmpty(namespaceUri);
    FireOnChangeNamespace();
}

void CElement::SetText(const wchar_t* text)
{
    m_strText = OrEmpty(text);
    FireOnChangeText();
}

void CElement::SetNamespaceRestrictions(const wchar_t* restriction, const wchar_t* targetNamespace)
{
    if (restriction == nullptr) {
        throw CVxInvalidNamespaceException(L"Namespace Restriction must have a value", L"");
    }
    if (targetNamespace == nullptr) {
        throw CVxInvalidNamespaceException(L"Target Namespace must have a value", L"");
    }
    try {
        TestNamespace(m_strNamespace.c_str(), restriction, targetNamespace);
    } catch (const CVxException& e) {
        throw CVxInvalidNamespaceException(
            FormatString(L"The namespace restrictions of the element [%s] can not be changed",
                         GetElementName().c_str()),
            L"", e);
    }
    m_strRestriction = restriction;
    m_strTargetNamespace = targetNamespace;
}

void CElement::FromXmlElement(CXmlElement* element, const CSerializationContext& context)
{
    if (element) {
        TestNamespace(element->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                      m_strTargetNamespace.c_str());
    }
    CXmlObjectBase::FromXmlElement(element, context);
}

void CElement::CopyXmlElement(CXmlElement* element)
{
    if (element == nullptr) {
        throw CVxInvalidParamException(L"The element to copy may not be NULL");
    }
    TestNamespace(element->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                  m_strTargetNamespace.c_str());
    // A copy takes the element as it is: names are compared with their
    // namespaces, whatever the default context says.
    const CSerializationContext exact;
    FromXml_Int(element, element->GetFirstElement(), exact, false);
}

CSmartPtr<CElement> CElement::Clone() const
{
    return new CElement(*this);
}

void CElement::AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const
{
    m_pAttributes->AttributesToXml_Int(writer, context);
}

void CElement::ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                         const CSerializationContext& context, bool) const
{
    const detail::NestingGuard nesting;
    const wchar_t* ns = m_strNamespace.empty() ? OrEmpty(namespaceUri) : m_strNamespace.c_str();
    // A leaf with text only, in its own namespace (or none), is written in
    // one call.
    const bool ownNamespace = ns == m_strNamespace.c_str() || *ns == L'\0';
    if (!isRoot && ownNamespace && m_pAttributes->GetCount() == 0 &&
        m_pChildElements->GetCount() == 0) {
        writer->WriteSimpleElement(GetElementName(), m_strNamespace, m_strText, ItemType_string,
                                   false);
        return;
    }
    if (isRoot) {
        for (const auto& [uri, alias] : context.GetNamespaceAliases().GetEntries()) {
            writer->AddNamespace(alias.c_str(), uri.c_str());
        }
        if (!context.GetDefaultNamespaceURI().empty()) {
            writer->SetDefaultNamespace(context.GetDefaultNamespaceURI().c_str());
        }
    }
    writer->StartElement(GetElementName().c_str(), ns);
    if (isRoot) {
        if (const CAttributeCol* extra = context.FindAdditionalRootAttributes()) {
            extra->AttributesToXml_Int(writer, context);
        }
    }
    m_pAttributes->AttributesToXml_Int(writer, context);
    if (!m_strText.empty() && (m_pChildElements->GetCount() == 0 || !IsAllWhitespace(m_strText))) {
        writer->WriteElementText(m_strText.c_str(), ItemType_string, false);
    }
    m_pChildElements->ToXml_Int(writer, false, nullptr, context, false);
    writer->EndElement();
}

CXmlElement* CElement::FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                   const CSerializationContext& context, bool isOptional)
{
    const detail::NestingGuard nesting;
    if (!IsNamespaceValid(element->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                          m_strTargetNamespace.c_str())) {
        if (element->GetParentElm() == nullptr) {
            TestNamespace(element->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                          m_strTargetNamespace.c_str());
        }
        return element;
    }
    // Read into new collections and take them only when everything was read,
    // so that a failure leaves this element as it was.
    CSmartPtr<CAttributeCol> attributes(
        new CAttributeCol(element->GetNamespaceURI().c_str(), kAny, m_strTargetNamespace.c_str()));
    attributes->FromXml_Int(element, firstChild, context, isOptional);
    CSmartPtr<CElementCol> children(new CElementCol(element->GetNamespaceURI().c_str(), kAny,
                                                    m_strTargetNamespace.c_str(), 0, -1));
    if (children->FromXml_Int(element, firstChild, context, isOptional) != nullptr) {
        throw CVxValidationException(
            FormatString(L"Invalid Element [%s] found.", element->GetLocalName().c_str()),
            element->GetXPath());
    }
    m_pAttributes = attributes;
    m_pChildElements = children;
    // Whitespace between child elements is layout, which the writer leaves
    // out again; keeping it would make an indented document read back as
    // different content.
    m_strText = element->GetText();
    if (m_pChildElements->GetCount() > 0 && IsAllWhitespace(m_strText)) {
        m_strText.clear();
    }
    SetElementName(element->GetLocalName().c_str());
    m_strNamespace = element->GetNamespaceURI();
    return element->GetNextSiblingElement();
}

void CElement::Notify(MsgType type, const std::wstring& value)
{
    if (m_pEventSink) {
        m_pEventSink->OnEvent(this, type, const_cast<std::wstring*>(&value));
    }
}

void CElement::FireOnChangeName()
{
    Notify(MsgType_NameChange, GetElementName());
}

void CElement::FireOnChangeNamespace()
{
    Notify(MsgType_NamespaceChange, m_strNamespace);
}

void CElement::FireOnChangeText()
{
    Notify(MsgType_TextChange, m_strText);
}

} // namespace VxXmlLib16
