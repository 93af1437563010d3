// For generated code only: applications never use this header directly.
// The metadata of one child element of a generated class: the frame shared by
// every compositor (sequence, all, choice) and content kind.
#pragma once

#include <string>
#include <vxxml/Export.h>
#include <vxxml/ItemType.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/WhitespaceUtils.h>

namespace VxXmlLib16 {
class CSerializationContext;
class CXmlElement;
class CXmlGeneratedClass;
class CXmlObjectBase;
class CXmlWriter;
struct VxVariant;
} // namespace VxXmlLib16

namespace VxXmlLib16Data {

using VxXmlLib16::CSmartPtr;
using VxXmlLib16::ItemType;

// Whether a generated class is a real element with its own tags (0) or
// content merged into the element of its parent (any other value, usually a
// model group or a type used by extension).
enum XmlElementType : int32_t {
    XmlElementType_Element = 0,
    XmlElementType_Merged = 1,
    XmlElementType_Type = 2,
};

// The compositor of a generated class's child elements.
enum XmlElementGroupType : int32_t {
    XmlElementGroupType_Sequence = 0,
    XmlElementGroupType_Choice = 1,
    XmlElementGroupType_All = 2,
};

// Functions generated code supplies for enumerations and child objects.
using EnumToTextFn = const wchar_t* (*)(int);
using TextToEnumFn = int (*)(const wchar_t*);
// Makes a new child object of a concrete class: (factory argument, element name).
using ClassFactoryFn = CSmartPtr<VxXmlLib16::CXmlObjectBase> (*)(int, const wchar_t*);
// Chooses and makes the concrete class of an abstract child from its element
// (xsi:type or the substitution group member's name); null when none fits.
using AbstractFactoryFn = CSmartPtr<VxXmlLib16::CXmlObjectBase> (*)(VxXmlLib16::CXmlElement*);

// Generated code creates one object of a concrete subclass per child element
// (named after compositor, kind and cardinality, for example
// CElementInfoSeqPrimMnd) once per class; after that the object is read-only
// and may be used from several threads for different owners. The object never
// touches a typed field of the owner: it reaches its property through the
// owner's AccessProperty and a VxVariant.
class VXXML_API CElementInfo
{
public:
    CElementInfo(const CElementInfo& other);
    CElementInfo& operator=(const CElementInfo& other);
    virtual ~CElementInfo();

    // Writes the member; false when nothing was written. The rules of the
    // member's compositor and cardinality wrap the kind's WriteValue.
    virtual bool ElementToXml(const VxXmlLib16::CSerializationContext& context,
                              const VxXmlLib16::CXmlGeneratedClass* owner,
                              VxXmlLib16::CXmlWriter* writer) const;
    // Reads the member from the element at *cursor (a child of parent) and
    // moves *cursor past what it consumed. ownerNamespace is the namespace of
    // the owner's element; callerType is the owner's XmlElementType (0 when
    // the owner has its own element, so a missing mandatory member is an
    // error here rather than a question for the caller).
    virtual bool ElementFromXml(const VxXmlLib16::CSerializationContext& context,
                                VxXmlLib16::CXmlGeneratedClass* owner,
                                VxXmlLib16::CXmlElement* parent, VxXmlLib16::CXmlElement** cursor,
                                const wchar_t* ownerNamespace, XmlElementType callerType);
    // Called for every member of an xs:all once the owner's children are
    // read; found tells whether this member took an element. Mandatory
    // members of an xs:all throw when found is false and check is true;
    // every member answers found.
    virtual bool Validate(const VxXmlLib16::CSerializationContext& context,
                          const VxXmlLib16::CXmlGeneratedClass* owner, bool found,
                          bool check) const;
    // Writes, on the owner's element, the attributes of a child that has no
    // element of its own. The base writes nothing.
    virtual void PseudoChildAttributeToXml(const VxXmlLib16::CSerializationContext& context,
                                           const VxXmlLib16::CXmlGeneratedClass* owner,
                                           VxXmlLib16::CXmlWriter* writer) const;
    // Whether element is one this member reads. By name and namespace
    // (IsThisElement); wildcards answer by namespace constraint instead.
    virtual bool AcceptsElement(const VxXmlLib16::CSerializationContext& context,
                                const VxXmlLib16::CXmlElement* element) const;

    // Where the member stands in its class: the compositor and cardinality
    // that its class name spells out. The reading and writing rules of the
    // families differ only by these two.
    enum Compositor { Compositor_Sequence, Compositor_All, Compositor_Choice };
    enum Cardinality { Cardinality_Mandatory, Cardinality_Optional, Cardinality_Collection };
    Compositor GetCompositor() const { return m_compositor; }
    Cardinality GetCardinality() const { return m_cardinality; }

    int GetPropertyIndex() const { return m_iPropertyIndex; }
    const std::wstring& GetElementName() const { return m_strElementName; }
    const std::wstring& GetElementNamespace() const { return m_strNamespaceUri; }

    // Checks value against the member's facets; throws when it breaks one.
    // Only primitive members have facets: any other member throws
    // "Cannot CheckRestriction for type: <type>".
    void CheckRestriction(const VxXmlLib16::VxVariant& value) const;

    // The namespace an untyped element without one of its own is written in,
    // chosen from the wildcard's namespace constraint: "##any" gives first,
    // "##other" an empty namespace (or "DefaultNamespace" when first is
    // empty), "##local" an empty namespace, "##targetNamespace" second; a
    // list starting with a "##" keyword answers for that keyword; a list of
    // URIs gives an empty namespace.
    static std::wstring GetAnyDefaultNamespace(const wchar_t* constraint, const wchar_t* first,
                                               const wchar_t* second);

protected:
    // The frame of class, collection and untyped members.
    CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex);
    // Enumerations.
    CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex, bool nillable,
                 EnumToTextFn enumToText, TextToEnumFn textToEnum, const wchar_t* defaultValue);
    // Primitives: the only members with facets.
    CElementInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex, bool nillable,
                 ItemType type, const wchar_t* formatOverride,
                 VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                 const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue);

    // Local name equal (exact); namespace equal too unless the context reads
    // namespace-blind. False for null.
    bool IsThisElement(const VxXmlLib16::CSerializationContext& context,
                       const VxXmlLib16::CXmlElement* element) const;

    // Writing helpers; each answers whether it wrote anything.
    // A child object writes its own tag in this member's namespace; flag is
    // handed on as the child's isOptional.
    bool ElementToXmlCls(const VxXmlLib16::CSerializationContext& context,
                         const VxXmlLib16::CXmlGeneratedClass* owner,
                         VxXmlLib16::CXmlWriter* writer, bool flag) const;
    // The same for any namespace.
    bool WriteChildObject(const VxXmlLib16::CSerializationContext& context,
                          const VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlWriter* writer, const wchar_t* namespaceUri,
                          bool flag) const;
    // An empty collection writes nothing (no wrapper).
    bool ElementToXmlCol(const VxXmlLib16::CSerializationContext& context,
                         const VxXmlLib16::CXmlGeneratedClass* owner,
                         VxXmlLib16::CXmlWriter* writer) const;
    // Unset: nothing. Nil: an empty element with xsi:nil. Equal to the
    // declared default: written without facet checks. Otherwise checked, then
    // written.
    bool ElementToXmlPrim(const VxXmlLib16::CSerializationContext& context,
                          const VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlWriter* writer) const;
    // As ElementToXmlPrim, with the text from enumToText, no facets, and the
    // string kind for the writer.
    bool ElementToXmlEnum(const VxXmlLib16::CSerializationContext& context,
                          const VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlWriter* writer, EnumToTextFn enumToText) const;
    // Check that the collection holds an allowed number of items (unless the
    // context ignores counts) and write it.
    bool ElementToXmlCheckedCol(const VxXmlLib16::CSerializationContext& context,
                                const VxXmlLib16::CXmlGeneratedClass* owner,
                                VxXmlLib16::CXmlWriter* writer) const;

    // Reading helpers for the element at *cursor, which the caller has
    // matched; each moves *cursor to the next sibling. Facets are not checked
    // on reading.
    void ElementFromXmlPrim(const VxXmlLib16::CSerializationContext& context,
                            VxXmlLib16::CXmlGeneratedClass* owner,
                            VxXmlLib16::CXmlElement** cursor) const;
    void ElementFromXmlEnum(const VxXmlLib16::CSerializationContext& context,
                            VxXmlLib16::CXmlGeneratedClass* owner,
                            VxXmlLib16::CXmlElement** cursor) const;
    // Reads an existing or newly made child object. A child with its own tag
    // (childType 0) reads the element at *cursor; a merged child reads the
    // owner's element and consumes siblings from *cursor. When attach is
    // set the child is assigned to the owner's property after it read
    // without error. Answers whether the cursor moved.
    bool ReadChild(const VxXmlLib16::CSerializationContext& context,
                   VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                   VxXmlLib16::CXmlElement** cursor, VxXmlLib16::CXmlObjectBase* child,
                   XmlElementType childType, bool attach) const;
    // Lets the member's collection consume the run of matching siblings from
    // *cursor. Answers the collection's IsValidCount when the caller has no
    // element of its own; otherwise checks the count (throwing) and answers
    // true.
    bool ReadCollection(const VxXmlLib16::CSerializationContext& context,
                        VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                        VxXmlLib16::CXmlElement** cursor, XmlElementType callerType);
    // Reads the member when the element at *cursor is this one (a merged
    // child: when it consumes anything); answers whether anything was read.
    virtual bool TryRead(const VxXmlLib16::CSerializationContext& context,
                         VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                         VxXmlLib16::CXmlElement** cursor) = 0;
    // Writes the member's value when it has one; answers whether it did.
    // flag is set for a class member of a choice.
    virtual bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                            const VxXmlLib16::CXmlGeneratedClass* owner,
                            VxXmlLib16::CXmlWriter* writer, bool flag) const = 0;
    // Whether the member's value is an object that must be present when the
    // member is mandatory (classes and untyped elements, not primitives).
    virtual bool HoldsObject() const { return false; }
    void SetPlacement(Compositor compositor, Cardinality cardinality)
    {
        m_compositor = compositor;
        m_cardinality = cardinality;
    }

    // Forwards to the child's FromXml_Int.
    static VxXmlLib16::CXmlElement* FromXml_Int(VxXmlLib16::CXmlObjectBase* child,
                                                VxXmlLib16::CXmlElement* element,
                                                VxXmlLib16::CXmlElement* firstChild,
                                                const VxXmlLib16::CSerializationContext& context,
                                                bool isOptional);
    // Writes the child's attributes on the element its parent opened.
    static void AttributesToXml_Int(const VxXmlLib16::CXmlObjectBase* child,
                                    VxXmlLib16::CXmlWriter* writer,
                                    const VxXmlLib16::CSerializationContext& context);

    // Property access through the owner's accessor. Failures of the accessor
    // come back as CVxValidationException with the accessor's exception
    // inside.
    void ReadProperty(const VxXmlLib16::CXmlGeneratedClass* owner,
                      VxXmlLib16::VxVariant& value) const;
    void InvokePropertyGet(const VxXmlLib16::CXmlGeneratedClass* owner,
                           VxXmlLib16::VxVariant& value) const;
    void InvokePropertySet(VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::VxVariant& value,
                           const VxXmlLib16::CXmlElement& element) const;

    // The member's object, collection or none.
    CSmartPtr<VxXmlLib16::CXmlObjectBase>
    GetChildObject(const VxXmlLib16::CXmlGeneratedClass* owner) const;

    // Writes a PseudoChildAttributeToXml for class members: a merged child
    // (childType 1) puts its attributes on the owner's element.
    void MergedChildAttributesToXml(const VxXmlLib16::CSerializationContext& context,
                                    const VxXmlLib16::CXmlGeneratedClass* owner,
                                    VxXmlLib16::CXmlWriter* writer, XmlElementType childType) const;

    std::wstring m_strElementName;
    std::wstring m_strNamespaceUri;
    int m_iPropertyIndex;
    CPrimitiveRestrictions m_restrictions;
    ItemType m_primitiveType = VxXmlLib16::ItemType_Invalid;
    std::wstring m_strFormatOverride;
    VxXmlLib16::CWhitespaceUtils::WhitespaceRule m_whitespaceRule =
        VxXmlLib16::CWhitespaceUtils::WhitespaceRule_None;
    std::wstring m_strDefaultValue;
    bool m_bNillable = false;
    EnumToTextFn m_pfnEnumToText = nullptr;
    TextToEnumFn m_pfnTextToEnum = nullptr;
    bool m_bHasRestrictions = false;
    Compositor m_compositor = Compositor_Sequence;
    Cardinality m_cardinality = Cardinality_Mandatory;

private:
    [[noreturn]] void ThrowMissing(const VxXmlLib16::CXmlElement* parent) const;
    bool ReadMandatoryInSequence(const VxXmlLib16::CSerializationContext& context,
                                 VxXmlLib16::CXmlGeneratedClass* owner,
                                 VxXmlLib16::CXmlElement* parent, VxXmlLib16::CXmlElement** cursor,
                                 XmlElementType callerType);
    // Shared by the primitive and enumeration readers: applies the xsi:nil
    // rules and returns the element's text (or the default), or nothing when
    // the element is nil.
    bool ReadNilAndText(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlElement& element, VxXmlLib16::VxVariant& value,
                        std::wstring& text) const;
    void ReadSimple(const VxXmlLib16::CSerializationContext& context,
                    VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement** cursor,
                    bool isEnum) const;
    bool WriteSimple(const VxXmlLib16::CSerializationContext& context,
                     const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                     EnumToTextFn enumToText) const;
    void WriteNilElement(VxXmlLib16::CXmlWriter* writer) const;
    void WriteEnumElement(VxXmlLib16::CXmlWriter* writer, int32_t value, EnumToTextFn enumToText,
                          std::wstring& buffer) const;
};

} // namespace VxXmlLib16Data
