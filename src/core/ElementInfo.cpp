#include "base/ThreadScratch.h"
#include "core/MergedChildren.h"
#include "core/ParsedFacets.h"
#include "core/ValueScratch.h"

#include <cassert>
#include <cwctype>
#include <optional>
#include <vxxml/ElementInfo.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/VxVariant.h>
#include <vxxml/XmlCollectionBase.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlGeneratedClass.h>
#include <vxxml/XmlWriter.h>

using namespace VxXmlLib16;
using VxXmlLib16::detail::CScratchUse;
using VxXmlLib16::detail::ScratchSlot;

namespace VxXmlLib16Data {
namespace {

// The per-thread text buffer of ReadSimple gives back what it grew to beyond this.
constexpr size_t kLargestKeptScratch = 1 << 16;

std::wstring OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

// Out of line: every member passes through ElementToXml, and formatting the
// message there would cost it a larger frame on each call.
[[noreturn, gnu::noinline, gnu::cold]] void ThrowMandatoryIsNull(const std::wstring& name)
{
    throw CVxInvalidParamException(
        FormatString(L"The Property [%s] is mandatory, it may not be NULL", name.c_str()));
}

bool EqualsIgnoringCase(const std::wstring& value, const wchar_t* word)
{
    size_t i = 0;
    for (; i < value.size() && word[i]; ++i) {
        if (static_cast<wchar_t>(towlower(value[i])) != word[i]) {
            return false;
        }
    }
    return i == value.size() && word[i] == 0;
}

// The collection the member's property holds; a member whose property is not
// a collection is a fault of the generated code.
// A value that does not convert is reported where it stands: at the element
// (or attribute) that holds it, not at the element that owns the member.
[[noreturn]] void ThrowWithPath(const CVxException& e, const std::wstring& path)
{
    if (e.GetPath().empty()) {
        throw CVxValidationException(L"Failed to process the element.", path, e);
    }
    throw CVxException(e);
}

CSmartPtr<CXmlCollectionBase> CollectionOf(const CSmartPtr<CXmlObjectBase>& object)
{
    auto* collection = dynamic_cast<CXmlCollectionBase*>(object.Get());
    assert(collection != nullptr && "spCol != 0");
    if (collection == nullptr) {
        throw CVxException(L"Serialization Data Error : the property of a collection member does "
                           L"not hold a collection");
    }
    return collection;
}

// The accessor call behind ReadProperty. An exported member function may be
// replaced from outside the library, so the compiler calls it rather than
// inlining it; the writers of simple values, which read one property per
// value, call this instead.
inline void GetProperty(const CXmlGeneratedClass* owner, int index, const std::wstring& name,
                        VxVariant& value)
{
    try {
        const_cast<CXmlGeneratedClass*>(owner)->AccessProperty(index, true, value);
    } catch (const CVxException& e) {
        throw CVxValidationException(
            FormatString(L"Failed to get the property value for [%s].", name.c_str()), L"", e);
    }
}

} // namespace

CElementInfo::CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex)
    : m_strElementName(OrEmpty(name)), m_strNamespaceUri(OrEmpty(namespaceUri)),
      m_iPropertyIndex(propertyIndex)
{
}

CElementInfo::CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                           const wchar_t* defaultValue)
    : m_strElementName(OrEmpty(name)), m_strNamespaceUri(OrEmpty(namespaceUri)),
      m_iPropertyIndex(propertyIndex), m_strDefaultValue(OrEmpty(defaultValue)),
      m_bNillable(nillable), m_pfnEnumToText(enumToText), m_pfnTextToEnum(textToEnum)
{
}

CElementInfo::CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                           bool nillable, ItemType type, const wchar_t* formatOverride,
                           CWhitespaceUtils::WhitespaceRule rule,
                           const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue)
    : m_strElementName(OrEmpty(name)), m_strNamespaceUri(OrEmpty(namespaceUri)),
      m_iPropertyIndex(propertyIndex), m_restrictions(restrictions), m_primitiveType(type),
      m_strFormatOverride(OrEmpty(formatOverride)), m_whitespaceRule(rule),
      m_strDefaultValue(OrEmpty(defaultValue)), m_bNillable(nillable), m_bHasRestrictions(true)
{
}

CElementInfo::CElementInfo(const CElementInfo& other) = default;
CElementInfo& CElementInfo::operator=(const CElementInfo& other) = default;
CElementInfo::~CElementInfo() = default;

bool CElementInfo::Validate(const CSerializationContext&, const CXmlGeneratedClass*, bool found,
                            bool check) const
{
    if (!found && check && m_compositor == Compositor_All &&
        m_cardinality == Cardinality_Mandatory) {
        throw CVxValidationException(
            FormatString(L"Failed to find the mandatory element [%s].", m_strElementName.c_str()),
            L"");
    }
    return found;
}

void CElementInfo::PseudoChildAttributeToXml(const CSerializationContext&,
                                             const CXmlGeneratedClass*, CXmlWriter*) const
{
}

bool CElementInfo::AcceptsElement(const CSerializationContext& context,
                                  const CXmlElement* element) const
{
    return IsThisElement(context, element);
}

bool CElementInfo::IsThisElement(const CSerializationContext& context,
                                 const CXmlElement* element) const
{
    if (element == nullptr || element->GetLocalName() != m_strElementName) {
        return false;
    }
    return context.GetIgnoreNamespaces() || element->GetNamespaceURI() == m_strNamespaceUri;
}

void CElementInfo::CheckRestriction(const VxVariant& value) const
{
    if (!m_bHasRestrictions) {
        throw CVxException(L"Cannot CheckRestriction for type: " + value.GetType());
    }
    CXmlObjectBase::Throw_IfInvalidValue(m_strElementName.c_str(), value, m_restrictions);
}

std::wstring CElementInfo::GetAnyDefaultNamespace(const wchar_t* constraint, const wchar_t* first,
                                                  const wchar_t* second)
{
    const std::wstring rule = OrEmpty(constraint);
    if (rule == L"##any") {
        return OrEmpty(first);
    }
    if (rule == L"##other") {
        return OrEmpty(first).empty() ? L"DefaultNamespace" : L"";
    }
    if (rule == L"##local") {
        return L"";
    }
    if (rule == L"##targetNamespace") {
        return OrEmpty(second);
    }
    const size_t end = rule.find_first_of(L" \t\r\n");
    if (end != std::wstring::npos && end >= 3 && rule.compare(0, 2, L"##") == 0) {
        return GetAnyDefaultNamespace(rule.substr(0, end).c_str(), first, second);
    }
    return L"";
}

// ---------------------------------------------------------------------------
// Property access

void CElementInfo::ReadProperty(const CXmlGeneratedClass* owner, VxVariant& value) const
{
    InvokePropertyGet(owner, value);
}

void CElementInfo::InvokePropertyGet(const CXmlGeneratedClass* owner, VxVariant& value) const
{
    GetProperty(owner, m_iPropertyIndex, m_strElementName, value);
}

void CElementInfo::InvokePropertySet(CXmlGeneratedClass* owner, VxVariant& value,
                                     const CXmlElement& element) const
{
    try {
        owner->AccessProperty(m_iPropertyIndex, false, value);
    } catch (const CVxException& e) {
        throw CVxValidationException(L"Failed to set the property value.", element.GetXPath(), e);
    }
}

CSmartPtr<CXmlObjectBase> CElementInfo::GetChildObject(const CXmlGeneratedClass* owner) const
{
    VxVariant value;
    InvokePropertyGet(owner, value);
    const ItemType type = value.GetTypeAsEnum();
    if (type == ItemType_XmlCollection) {
        return value.GetXmlCollection();
    }
    if (type == ItemType_XmlObjectBase) {
        return value.GetXmlObject();
    }
    return nullptr;
}

CXmlElement* CElementInfo::FromXml_Int(CXmlObjectBase* child, CXmlElement* element,
                                       CXmlElement* firstChild,
                                       const CSerializationContext& context, bool isOptional)
{
    return child->FromXml_Int(element, firstChild, context, isOptional);
}

void CElementInfo::AttributesToXml_Int(const CXmlObjectBase* child, CXmlWriter* writer,
                                       const CSerializationContext& context)
{
    child->AttributesToXml_Int(writer, context);
}

// ---------------------------------------------------------------------------
// Writing

bool CElementInfo::ElementToXml(const CSerializationContext& context,
                                const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    if (m_cardinality == Cardinality_Collection) {
        return m_compositor == Compositor_Choice ? ElementToXmlCol(context, owner, writer)
                                                 : ElementToXmlCheckedCol(context, owner, writer);
    }
    // Only a class member of a choice tells its child that it is optional.
    const bool flag = m_compositor == Compositor_Choice;
    const bool wrote = WriteValue(context, owner, writer, flag);
    if (!wrote && m_cardinality == Cardinality_Mandatory && HoldsObject()) [[unlikely]] {
        ThrowMandatoryIsNull(m_strElementName);
    }
    return wrote;
}

bool CElementInfo::ElementToXmlCls(const CSerializationContext& context,
                                   const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                   bool flag) const
{
    return WriteChildObject(context, owner, writer, m_strNamespaceUri.c_str(), flag);
}

bool CElementInfo::WriteChildObject(const CSerializationContext& context,
                                    const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                    const wchar_t* namespaceUri, bool flag) const
{
    // A merged child was read already for its attributes.
    // The variant of its own is made only when nothing was kept.
    const VxVariant* kept = detail::CMergedChildren::Take(this, owner);
    std::optional<VxVariant> local;
    if (kept == nullptr) {
        ReadProperty(owner, local.emplace());
        kept = &*local;
    }
    const VxVariant& value = *kept;
    if (value.GetTypeAsEnum() != ItemType_XmlObjectBase) {
        return false;
    }
    // The variant holds a reference for as long as the child is written.
    const CXmlObjectBase* child = value.ViewXmlObject();
    if (child == nullptr) {
        return false;
    }
    child->ToXml_Int(writer, false, namespaceUri, context, flag);
    return true;
}

bool CElementInfo::ElementToXmlCol(const CSerializationContext& context,
                                   const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    CSmartPtr<CXmlCollectionBase> collection = CollectionOf(GetChildObject(owner));
    if (collection->GetCount() < 1) {
        return false;
    }
    // The states let writers that bracket repeated items (JSON) do so.
    writer->SetContentHint(1);
    collection->ToXml_Int(writer, false, m_strNamespaceUri.c_str(), context, false);
    writer->SetContentHint(3);
    return true;
}

bool CElementInfo::ElementToXmlCheckedCol(const CSerializationContext& context,
                                          const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    if (!context.GetIgnoreInvalidCollectionCounts()) {
        CollectionOf(GetChildObject(owner))->ValidateCount(context);
    }
    return ElementToXmlCol(context, owner, writer);
}

bool CElementInfo::ElementToXmlPrim(const CSerializationContext& context,
                                    const CXmlGeneratedClass* owner, CXmlWriter* writer) const
{
    return WriteSimple(context, owner, writer, nullptr);
}

bool CElementInfo::ElementToXmlEnum(const CSerializationContext& context,
                                    const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                    EnumToTextFn enumToText) const
{
    return WriteSimple(context, owner, writer, enumToText);
}

bool CElementInfo::WriteSimple(const CSerializationContext&, const CXmlGeneratedClass* owner,
                               CXmlWriter* writer, EnumToTextFn enumToText) const
{
    detail::CValueLease lease(enumToText ? ItemType_i4 : m_primitiveType);
    VxVariant& value = lease.Value();
    GetProperty(owner, m_iPropertyIndex, m_strElementName, value);
    if (value.IsNil()) [[unlikely]] {
        WriteNilElement(writer);
        return true;
    }
    if (!value.IsValid()) {
        return false;
    }
    if (enumToText) {
        WriteEnumElement(writer, value.GetI4(), enumToText, lease.Text());
        return true;
    }
    // A string value is written from where it stands, not copied.
    const std::wstring& text = value.ToText(
        m_strFormatOverride.empty() ? nullptr : m_strFormatOverride.c_str(), lease.Text());
    const ItemType kind = value.GetTypeAsEnum();
    // A value equal to the schema default is written as it is: the schema
    // accepted the default, so its facets are not checked again.
    const bool isDefault = !m_strDefaultValue.empty() && text == m_strDefaultValue;
    if (!isDefault && !detail::PassesUnchecked(m_restrictions, kind)) {
        CheckRestriction(value);
    }
    writer->WriteSimpleElement(m_strElementName, m_strNamespaceUri, text, kind, isDefault);
    return true;
}

// The rarer shapes of a simple member are kept out of WriteSimple, so that
// its frame stays small for the common one.
[[gnu::noinline]] void CElementInfo::WriteNilElement(CXmlWriter* writer) const
{
    writer->StartElement(m_strElementName.c_str(), m_strNamespaceUri.c_str());
    writer->WriteNil();
    writer->EndElement();
}

[[gnu::noinline]] void CElementInfo::WriteEnumElement(CXmlWriter* writer, int32_t value,
                                                      EnumToTextFn enumToText,
                                                      std::wstring& buffer) const
{
    const wchar_t* name = enumToText(value);
    buffer.assign(name ? name : L"");
    const bool isDefault = !m_strDefaultValue.empty() && buffer == m_strDefaultValue;
    writer->WriteSimpleElement(m_strElementName, m_strNamespaceUri, buffer, ItemType_string,
                               isDefault);
}

void CElementInfo::MergedChildAttributesToXml(const CSerializationContext& context,
                                              const CXmlGeneratedClass* owner, CXmlWriter* writer,
                                              XmlElementType childType) const
{
    if (childType != XmlElementType_Merged) {
        return;
    }
    // Kept for the content, which follows once the start tag is complete.
    std::optional<VxVariant> local;
    VxVariant* kept = detail::CMergedChildren::Keep(this, owner);
    VxVariant& value = kept != nullptr ? *kept : local.emplace();
    ReadProperty(owner, value);
    if (value.GetTypeAsEnum() != ItemType_XmlObjectBase) {
        return;
    }
    if (const CXmlObjectBase* child = value.ViewXmlObject()) {
        AttributesToXml_Int(child, writer, context);
    }
}

// ---------------------------------------------------------------------------
// Reading

bool CElementInfo::ElementFromXml(const CSerializationContext& context, CXmlGeneratedClass* owner,
                                  CXmlElement* parent, CXmlElement** cursor, const wchar_t*,
                                  XmlElementType callerType)
{
    if (m_cardinality == Cardinality_Collection) {
        switch (m_compositor) {
        case Compositor_Sequence:
            return ReadCollection(context, owner, parent, cursor, callerType);
        case Compositor_All:
            // The run is consumed without a count check here; the owner sees
            // the cursor move.
            if (AcceptsElement(context, *cursor)) {
                TryRead(context, owner, parent, cursor);
            }
            return false;
        case Compositor_Choice:
            if (!AcceptsElement(context, *cursor)) {
                return false;
            }
            return ReadCollection(context, owner, parent, cursor, callerType);
        }
    }
    if (m_compositor == Compositor_Sequence) {
        if (m_cardinality == Cardinality_Mandatory) {
            return ReadMandatoryInSequence(context, owner, parent, cursor, callerType);
        }
        // An absent optional member is no error, and the cursor stays.
        TryRead(context, owner, parent, cursor);
        return true;
    }
    // All and choice members test only the element at the cursor, which
    // makes the owner's matching independent of order.
    return TryRead(context, owner, parent, cursor);
}

bool CElementInfo::ReadMandatoryInSequence(const CSerializationContext& context,
                                           CXmlGeneratedClass* owner, CXmlElement* parent,
                                           CXmlElement** cursor, XmlElementType callerType)
{
    for (;;) {
        if (TryRead(context, owner, parent, cursor)) {
            return true;
        }
        if (callerType != XmlElementType_Element) {
            // A merged owner's caller decides what a missing member means.
            if (context.GetIgnoreUnknownElements() && *cursor != nullptr) {
                *cursor = (*cursor)->GetNextSiblingElement();
                continue;
            }
            return false;
        }
        if (context.GetIgnoreMissingMandatoryElements()) {
            return true;
        }
        if (!context.GetIgnoreUnknownElements() || *cursor == nullptr) {
            ThrowMissing(parent);
        }
        *cursor = (*cursor)->GetNextSiblingElement();
    }
}

void CElementInfo::ThrowMissing(const CXmlElement* parent) const
{
    const std::wstring path = parent ? parent->GetXPath() : std::wstring();
    if (m_strElementName == L"AnyElement") {
        throw CVxValidationException(
            FormatString(L"Failed to find the required element from namespace [%s].",
                         m_strNamespaceUri.c_str()),
            path);
    }
    throw CVxValidationException(
        FormatString(L"Failed to find the required child element [%s].", m_strElementName.c_str()),
        path);
}

bool CElementInfo::ReadCollection(const CSerializationContext& context, CXmlGeneratedClass* owner,
                                  CXmlElement* parent, CXmlElement** cursor,
                                  XmlElementType callerType)
{
    TryRead(context, owner, parent, cursor);
    CSmartPtr<CXmlCollectionBase> collection = CollectionOf(GetChildObject(owner));
    if (callerType != XmlElementType_Element) {
        return collection->IsValidCount(context);
    }
    collection->ValidateCount(context);
    return true;
}

bool CElementInfo::ReadNilAndText(const CSerializationContext& context, const CXmlElement& element,
                                  VxVariant& value, std::wstring& text) const
{
    bool nil = false;
    for (const CXmlAttribute* attribute : element.GetAttributes()) {
        if (!attribute->IsNilAttribute()) {
            if (context.GetIgnoreUnknownAttributes()) {
                continue;
            }
            throw CVxValidationException(L"Unexpected Attribute found.", attribute->GetXPath());
        }
        const std::wstring& flag = attribute->GetValue();
        if (EqualsIgnoringCase(flag, L"false") || flag == L"0") {
            nil = false;
            continue;
        }
        nil = true;
        // The nillable check comes first, so a bad value on an element that
        // may not be nil reports that it may not be nil.
        if (!m_bNillable) {
            throw CVxValidationException(L"Invalid use of 'nil' attribute in non-nillable element.",
                                         element.GetXPath());
        }
        if (EqualsIgnoringCase(flag, L"true") || flag == L"1") {
            value.SetNil();
        } else {
            throw CVxValidationException(
                FormatString(L"Unexpected Value [%s] for 'nil' Attribute found.", flag.c_str()),
                attribute->GetXPath());
        }
    }
    if (nil) {
        return false;
    }
    element.CopyTextTo(text);
    if (text.empty() && !m_strDefaultValue.empty()) {
        text = m_strDefaultValue;
    }
    return true;
}

void CElementInfo::ElementFromXmlPrim(const CSerializationContext& context,
                                      CXmlGeneratedClass* owner, CXmlElement** cursor) const
{
    ReadSimple(context, owner, cursor, false);
}

void CElementInfo::ElementFromXmlEnum(const CSerializationContext& context,
                                      CXmlGeneratedClass* owner, CXmlElement** cursor) const
{
    ReadSimple(context, owner, cursor, true);
}

void CElementInfo::ReadSimple(const CSerializationContext& context, CXmlGeneratedClass* owner,
                              CXmlElement** cursor, bool isEnum) const
{
    CXmlElement& element = **cursor;
    VxVariant value;
    // A string value takes the text over; any other value is converted from
    // it at once, so one buffer per thread serves all of them.
    const bool keepsText = !isEnum && m_primitiveType == ItemType_string;
    // Marked in use: the setter below may call out to code that releases
    // the thread's cached memory.
    CScratchUse<std::wstring> scratch(ScratchSlot::ElementText);
    std::wstring ownText;
    std::wstring& text = keepsText || scratch.Get() == nullptr ? ownText : *scratch.Get();
    if (ReadNilAndText(context, element, value, text)) {
        try {
            if (isEnum) {
                value.SetI4(m_pfnTextToEnum(text.c_str()));
            } else if (keepsText) {
                value.FromString(std::move(text), m_primitiveType, m_whitespaceRule);
            } else {
                value.FromString(text, m_primitiveType, m_whitespaceRule);
            }
        } catch (const CVxException& e) {
            ThrowWithPath(e, element.GetXPath());
        }
        InvokePropertySet(owner, value, element);
    }
    if (scratch.Get() != nullptr && scratch.Get()->capacity() > kLargestKeptScratch) {
        *scratch.Get() = std::wstring(); // one huge value does not pin its memory
    }
    // A nil element leaves the property as Init() set it: the property is
    // deliberately not assigned.
    *cursor = element.GetNextSiblingElement();
}

bool CElementInfo::ReadChild(const CSerializationContext& context, CXmlGeneratedClass* owner,
                             CXmlElement* parent, CXmlElement** cursor, CXmlObjectBase* child,
                             XmlElementType childType, bool attach) const
{
    CXmlElement* const start = *cursor;
    CSmartPtr<CXmlObjectBase> hold(child);
    if (childType == XmlElementType_Element) {
        FromXml_Int(child, start, start->GetFirstElement(), context, false);
        *cursor = start->GetNextSiblingElement();
    } else {
        *cursor = FromXml_Int(child, parent, start, context, false);
    }
    const bool moved = *cursor != start;
    // Attached only once it read without error, and (merged) only when it
    // found any content.
    if (attach && moved) {
        VxVariant value;
        value.SetXmlObject(child);
        InvokePropertySet(owner, value, start ? *start : *parent);
    }
    return moved;
}

} // namespace VxXmlLib16Data
