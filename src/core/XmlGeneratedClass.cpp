#include "core/MergedChildren.h"
#include "core/NestingGuard.h"
#include "core/ValueScratch.h"

#include <algorithm>
#include <atomic>
#include <typeinfo>
#include <vector>
#include <vxxml/Attribute.h>
#include <vxxml/AttributeInfo.h>
#include <vxxml/ElementInfo.h>
#include <vxxml/ElementInfoKinds.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/Nillable.h>
#include <vxxml/ParentElementInfo.h>
#include <vxxml/VxVariant.h>
#include <vxxml/XmlCollectionBase.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlGeneratedClass.h>
#include <vxxml/XmlWriter.h>

using namespace VxXmlLib16Data;

namespace VxXmlLib16 {
namespace {

// Which entries of a metadata table a read has met. The tables of ordinary
// classes are short, so the flags live on the stack and reading an element
// allocates nothing for them.
class SeenFlags
{
public:
    explicit SeenFlags(int count)
        : m_heap(count > kInline ? static_cast<size_t>(count) : 0, 0),
          m_flags(count > kInline ? m_heap.data() : m_inline)
    {
        std::fill_n(m_inline, count > kInline ? 0 : count, 0);
    }
    SeenFlags(const SeenFlags&) = delete;
    SeenFlags& operator=(const SeenFlags&) = delete;
    char& operator[](int i) { return m_flags[i]; }

private:
    static constexpr int kInline = 64;
    char m_inline[kInline];
    std::vector<char> m_heap;
    char* m_flags;
};

// Whether the object implements INillable and says it is nil. Most classes
// do not implement it, and a dynamic_cast to an unrelated interface walks the
// class's whole base chain comparing type names, on every object written.
// Whether a class implements the interface depends on its type alone, so the
// class's description remembers a type found not to implement it. The
// answer is kept with the class (not in a table of ours keyed by type), so
// a class unloaded with its library cannot leave a stale answer for another
// one loaded at the same address.
bool IsNil(const CXmlGeneratedClass& object, const CParentElementInfo* info)
{
    const std::type_info& type = typeid(object);
    if (info != nullptr && info->IsKnownNotNillable(type)) {
        return false;
    }
    const auto* nillable = dynamic_cast<const INillable*>(&object);
    if (nillable == nullptr) {
        if (info != nullptr) {
            info->RememberNotNillable(type);
        }
        return false;
    }
    return nillable->IsNil();
}

// The first failure inside an element gets that element's path; a failure
// that already has one is passed on as it is, so the innermost location wins
// and is reported once.
[[noreturn]] void RethrowWithPath(const CVxException& e, const CXmlElement* element)
{
    if (e.GetPath().empty() && element != nullptr) {
        throw CVxValidationException(L"Failed to process the element.", element->GetXPath(), e);
    }
    throw CVxException(e);
}

} // namespace

CVXCriticalSection CXmlGeneratedClass::m_csInit;

CXmlGeneratedClass::CXmlGeneratedClass() = default;

CXmlGeneratedClass::CXmlGeneratedClass(const wchar_t* elementName) : CXmlObjectBase(elementName) {}

CXmlGeneratedClass::~CXmlGeneratedClass() = default;

void CXmlGeneratedClass::ReadProperty(int index, VxVariant& value) const
{
    const_cast<CXmlGeneratedClass*>(this)->AccessProperty(index, true, value);
}

int CXmlGeneratedClass::GetClassElementInfoCount() const
{
    CElementInfo** entries = GetClassElementInfo();
    int count = 0;
    while (entries && entries[count]) {
        ++count;
    }
    return count;
}

void CXmlGeneratedClass::CleanMetaData(CParentElementInfo*& classInfo, CElementInfo**& elementInfo,
                                       CAttributeInfo**& attributeInfo)
{
    delete classInfo;
    classInfo = nullptr;
    if (elementInfo) {
        for (CElementInfo** entry = elementInfo; *entry; ++entry) {
            delete *entry;
        }
        delete[] elementInfo;
        elementInfo = nullptr;
    }
    if (attributeInfo) {
        for (CAttributeInfo** entry = attributeInfo; *entry; ++entry) {
            delete *entry;
        }
        delete[] attributeInfo;
        attributeInfo = nullptr;
    }
}

// ---------------------------------------------------------------------------
// Writing

void CXmlGeneratedClass::AttributesToXml_Int(CXmlWriter* writer,
                                             const CSerializationContext& context) const
{
    ProcessAttributesToXml(context, GetClassElementInfo(), GetClassAttributeInfo(), writer);
}

void CXmlGeneratedClass::ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                                   const CSerializationContext& context, bool isOptional) const
{
    const detail::NestingGuard nesting;
    try {
        // Each table is asked for once per object: every ask is a virtual
        // call and a check that the tables exist.
        const CParentElementInfo* info = GetClassInfo();
        CElementInfo** const elements = GetClassElementInfo();
        // A class merged into its parent writes only its content, inside the
        // element the parent opened.
        const bool ownElement = info->GetElementType() == XmlElementType_Element;
        // Children merged into this element are read once, for their
        // attributes, and kept for their content.
        const detail::CMergedChildren merged(ownElement);
        if (ownElement) {
            if (isRoot) {
                for (const std::wstring& instruction : context.GetProcessingInstructions()) {
                    writer->WriteRawBlock((L"<?" + instruction + L"?>").c_str());
                }
                for (const auto& [ns, alias] : context.GetNamespaceAliases().GetEntries()) {
                    writer->AddNamespace(alias.c_str(), ns.c_str());
                }
                if (!context.GetDefaultNamespaceURI().empty()) {
                    writer->SetDefaultNamespace(context.GetDefaultNamespaceURI().c_str());
                }
            }
            writer->StartElement(GetElementName().c_str(), namespaceUri ? namespaceUri : L"");
            if (isRoot) {
                if (const CAttributeCol* extra = context.FindAdditionalRootAttributes()) {
                    extra->AttributesToXml_Int(writer, context);
                }
            }
            if (context.GetWriteTypeAttribute() && info->GetHasBaseClasses() &&
                info->GetElementName() != GetElementName()) {
                writer->WriteXsiType(info->GetElementNamespace().c_str(),
                                     info->GetElementName().c_str(), ItemType_string);
            }
            try {
                ProcessAttributesToXml(context, elements, GetClassAttributeInfo(), writer);
            } catch (const CVxException& e) {
                throw CVxValidationException(L"Failed to convert attributes to XML", L"", e);
            }
            if (isRoot && !context.GetInLineSchema().empty()) {
                // The schema is raw markup: close the start tag first.
                writer->WriteElementText(L"", ItemType_string, false);
                writer->WriteRawBlock(context.GetInLineSchema().c_str());
            }
        }
        if (IsNil(*this, info)) {
            writer->WriteNil();
        } else {
            WriteContent(context, writer, isOptional, *info, elements);
        }
        if (ownElement) {
            writer->EndElement();
        }
    } catch (const CVxException& e) {
        throw CVxValidationException(
            FormatString(L"Failed to convert the element [%s] to XML", GetElementName().c_str()),
            L"", e);
    }
}

void CXmlGeneratedClass::WriteContent(const CSerializationContext& context, CXmlWriter* writer,
                                      bool isOptional, const CParentElementInfo& info,
                                      CElementInfo** elements) const
{
    switch (info.GetElementGroupType()) {
    case XmlElementGroupType_Sequence:
        ProcessElementSeqToXml(context, elements, writer);
        break;
    case XmlElementGroupType_Choice:
        ProcessElementChoiceToXml(context, elements, writer, isOptional);
        break;
    case XmlElementGroupType_All:
        ProcessElementAllToXml(context, elements, writer);
        break;
    default:
        throw CVxException(L"Unknown XML Group Type");
    }
    const int valueIndex = info.GetPrimitiveValuePropertyIndex();
    if (valueIndex != -1 && info.GetPrimitiveDataType() != ItemType_Invalid) {
        detail::CValueLease lease(info.GetPrimitiveDataType());
        VxVariant& value = lease.Value();
        ReadProperty(valueIndex, value);
        if (!value.IsNil() && value.IsValid()) {
            const std::wstring& text =
                value.ToText(info.GetPrimitiveFormatOverride(), lease.Text());
            writer->WriteElementText(text.c_str(), value.GetTypeAsEnum(), false);
        }
    }
}

void CXmlGeneratedClass::ProcessAttributesToXml(const CSerializationContext& context,
                                                CElementInfo** elements,
                                                CAttributeInfo** attributes,
                                                CXmlWriter* writer) const
{
    for (CAttributeInfo** entry = attributes; entry && *entry; ++entry) {
        (*entry)->AttributeToXml(context, this, writer);
    }
    // Children merged into this element put their attributes here too.
    for (CElementInfo** entry = elements; entry && *entry; ++entry) {
        (*entry)->PseudoChildAttributeToXml(context, this, writer);
    }
}

void CXmlGeneratedClass::ProcessElementSeqToXml(const CSerializationContext& context,
                                                CElementInfo** elements, CXmlWriter* writer) const
{
    for (CElementInfo** entry = elements; entry && *entry; ++entry) {
        (*entry)->ElementToXml(context, this, writer);
    }
}

void CXmlGeneratedClass::ProcessElementAllToXml(const CSerializationContext& context,
                                                CElementInfo** elements, CXmlWriter* writer) const
{
    ProcessElementSeqToXml(context, elements, writer);
}

void CXmlGeneratedClass::ProcessElementChoiceToXml(const CSerializationContext& context,
                                                   CElementInfo** elements, CXmlWriter* writer,
                                                   bool isOptional) const
{
    for (CElementInfo** entry = elements; entry && *entry; ++entry) {
        if ((*entry)->ElementToXml(context, this, writer)) {
            return;
        }
    }
    if (!context.GetIgnoreMissingChoice() && !DoesElementContainOptionalElements() && !isOptional) {
        throw CVxValidationException(L"This element is a choice, and as such must have at one "
                                     L"(and only one) valid item, currently there are none set",
                                     L"");
    }
}

// A choice may be satisfied by nothing when one of its members is a
// collection that allows zero items.
bool CXmlGeneratedClass::DoesElementContainOptionalElements() const
{
    for (CElementInfo** entry = GetClassElementInfo(); entry && *entry; ++entry) {
        if ((*entry)->GetCardinality() != CElementInfo::Cardinality_Collection) {
            continue;
        }
        VxVariant value;
        ReadProperty((*entry)->GetPropertyIndex(), value);
        if (value.GetTypeAsEnum() != ItemType_XmlCollection) {
            continue;
        }
        CSmartPtr<CXmlObjectBase> object = value.GetXmlCollection();
        auto* collection = dynamic_cast<CXmlCollectionBase*>(object.Get());
        if (collection != nullptr && collection->GetMinOccurs() == 0) {
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------------------
// Reading

CXmlElement* CXmlGeneratedClass::FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                             const CSerializationContext& context, bool isOptional)
{
    try {
        const detail::NestingGuard nesting;
        Init();
        const CParentElementInfo* info = GetClassInfo();
        const XmlElementType type = info->GetElementType();
        if (type == XmlElementType_Element) {
            SetElementName(element->GetLocalName().c_str());
            ProcessAttributesFromXml(context, element, info->GetFromXmlFailIfAttributeUnknown());
        }
        if (IsNil(*this, info)) {
            return type == XmlElementType_Element ? element->GetNextSiblingElement() : firstChild;
        }
        CXmlElement* rest = nullptr;
        switch (info->GetElementGroupType()) {
        case XmlElementGroupType_Sequence:
            rest = ProcessElementSeqFromXml(context, element, firstChild, type);
            break;
        case XmlElementGroupType_Choice:
            rest = ProcessElementChoiceFromXml(context, element, firstChild, type, isOptional);
            break;
        case XmlElementGroupType_All:
            rest = ProcessElementAllFromXml(context, element, firstChild, type);
            break;
        default:
            throw CVxException(L"Unknown Group Type");
        }
        // Content merged into the parent hands the rest back to the parent.
        if (type != XmlElementType_Element) {
            return rest;
        }
        if (rest != nullptr && !context.GetIgnoreUnknownElements()) {
            throw CVxValidationException(
                FormatString(L"Failed read all the elements held within the element [%s]. The "
                             L"unexpected element [%s] remains un processed",
                             element->GetLocalName().c_str(), rest->GetLocalName().c_str()),
                rest->GetXPath());
        }
        ReadSimpleContent(*info, *element);
        return element->GetNextSiblingElement();
    } catch (const CVxException& e) {
        RethrowWithPath(e, element);
    }
}

void CXmlGeneratedClass::ReadSimpleContent(const CParentElementInfo& info,
                                           const CXmlElement& element)
{
    const int valueIndex = info.GetPrimitiveValuePropertyIndex();
    if (valueIndex == -1 || info.GetPrimitiveDataType() == ItemType_Invalid) {
        return;
    }
    VxVariant value;
    if (info.GetOutputPrimitiveClassAsTextProperty()) {
        value.AdoptString(element.CopyText());
    } else {
        const ItemType type = info.GetPrimitiveDataType();
        // Every kind but text has collapsed whitespace in XML Schema.
        value.FromString(element.CopyText(), type,
                         type == ItemType_string ? CWhitespaceUtils::WhitespaceRule_Preserve
                                                 : CWhitespaceUtils::WhitespaceRule_Collapse);
    }
    AccessProperty(valueIndex, false, value);
}

void CXmlGeneratedClass::ProcessAttributesFromXml(const CSerializationContext& context,
                                                  CXmlElement* element, bool failIfUnknown)
{
    CAttributeInfo** entries = GetClassAttributeInfo();
    int count = 0;
    while (entries && entries[count]) {
        ++count;
    }
    SeenFlags found(count);
    for (CXmlAttribute* attribute : element->GetAttributes()) {
        if (attribute->IsNilAttribute()) {
            ReadNilAttribute(*attribute);
            continue;
        }
        if (attribute->IsNamespaceAttribute()) {
            continue;
        }
        // Named entries first, wildcards last, so that a wildcard never takes
        // an attribute that has its own member.
        bool taken = false;
        for (int pass = 0; pass < 2 && !taken; ++pass) {
            for (int i = 0; i < count && !taken; ++i) {
                if (entries[i]->IsWildcard() != (pass == 1)) {
                    continue;
                }
                if (entries[i]->AttributeFromXml(context, this, attribute)) {
                    found[i] = 1;
                    taken = true;
                }
            }
        }
        if (!taken && failIfUnknown && !context.GetIgnoreUnknownAttributes()) {
            throw CVxValidationException(L"Unexpected Attribute found.", attribute->GetXPath());
        }
    }
    for (int i = 0; i < count; ++i) {
        entries[i]->Validate(context, found[i] != 0);
    }
}

void CXmlGeneratedClass::ReadNilAttribute(const CXmlAttribute& attribute)
{
    auto* nillable = dynamic_cast<INillable*>(this);
    if (nillable == nullptr) {
        throw CVxValidationException(L"Invalid use of 'nil' attribute in non-nillable element.",
                                     attribute.GetXPath());
    }
    const std::wstring& value = attribute.GetValue();
    if (value != L"true" && value != L"false") {
        throw CVxValidationException(
            FormatString(L"Unexpected Value [%s] for 'nil' Attribute found.", value.c_str()),
            attribute.GetXPath());
    }
    nillable->SetNil(value == L"true");
}

bool CXmlGeneratedClass::IsElementInList(const CSerializationContext& context,
                                         CXmlElement* element) const
{
    for (CElementInfo** entry = GetClassElementInfo(); entry && *entry; ++entry) {
        if ((*entry)->AcceptsElement(context, element)) {
            return true;
        }
    }
    return false;
}

CXmlElement* CXmlGeneratedClass::ProcessElementSeqFromXml(const CSerializationContext& context,
                                                          CXmlElement* element, CXmlElement* child,
                                                          XmlElementType type)
{
    const std::wstring& ns = element->GetNamespaceURI();
    const bool skipUnknown = context.GetIgnoreUnknownElements();
    for (CElementInfo** entry = GetClassElementInfo(); entry && *entry; ++entry) {
        // Skipping what no member takes keeps an unknown element from hiding
        // the optional members after it.
        while (skipUnknown && child != nullptr && !IsElementInList(context, child)) {
            child = child->GetNextSiblingElement();
        }
        (*entry)->ElementFromXml(context, this, element, &child, ns.c_str(), type);
    }
    return child;
}

CXmlElement* CXmlGeneratedClass::ProcessElementAllFromXml(const CSerializationContext& context,
                                                          CXmlElement* element, CXmlElement* child,
                                                          XmlElementType type)
{
    CElementInfo** entries = GetClassElementInfo();
    int count = 0;
    while (entries && entries[count]) {
        ++count;
    }
    const std::wstring& ns = element->GetNamespaceURI();
    SeenFlags found(count);
    while (child != nullptr) {
        bool taken = false;
        for (int i = 0; i < count && !taken; ++i) {
            // Each member of an xs:all occurs at most once; a collection
            // member reads its whole run at once.
            if (found[i] && entries[i]->GetCardinality() != CElementInfo::Cardinality_Collection) {
                continue;
            }
            CXmlElement* before = child;
            const bool read =
                entries[i]->ElementFromXml(context, this, element, &child, ns.c_str(), type);
            if (read || child != before) {
                found[i] = 1;
                taken = true;
            }
        }
        if (!taken) {
            break;
        }
    }
    const bool check = !context.GetIgnoreMissingMandatoryElements();
    for (int i = 0; i < count; ++i) {
        entries[i]->Validate(context, this, found[i] != 0, check);
    }
    return child;
}

CXmlElement* CXmlGeneratedClass::ProcessElementChoiceFromXml(const CSerializationContext& context,
                                                             CXmlElement* element,
                                                             CXmlElement* child,
                                                             XmlElementType type, bool isOptional)
{
    const std::wstring& ns = element->GetNamespaceURI();
    for (CElementInfo** entry = GetClassElementInfo(); entry && *entry; ++entry) {
        CXmlElement* before = child;
        if ((*entry)->ElementFromXml(context, this, element, &child, ns.c_str(), type) ||
            child != before) {
            return child;
        }
    }
    // A merged choice lets its parent decide whether nothing is acceptable.
    if (type == XmlElementType_Element && !isOptional && !context.GetIgnoreMissingChoice() &&
        !DoesElementContainOptionalElements()) {
        throw CVxValidationException(
            FormatString(L"No child elements within the element [%s] were populated. The element "
                         L"represents a choice, so one and only one element should be populated. "
                         L"The element contained no sutable child elements",
                         element->GetLocalName().c_str()),
            element->GetXPath());
    }
    return child;
}

} // namespace VxXmlLib16
