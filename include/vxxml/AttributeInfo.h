// For generated code only: applications never use this header directly.
// The metadata of one attribute of a generated class.
#pragma once

#include <string>
#include <vxxml/ElementInfo.h>
#include <vxxml/Export.h>
#include <vxxml/ItemType.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/WhitespaceUtils.h>

namespace VxXmlLib16 {
class CXmlAttribute;
}

namespace VxXmlLib16Data {

// Generated code creates one object per attribute, once per class; the
// owner offers each XML attribute to the entries in array order and then asks
// every entry to Validate. Like element metadata, an entry reaches its
// property only through the owner's accessor and a VxVariant.
class VXXML_API CAttributeInfo
{
public:
    virtual ~CAttributeInfo();

    virtual void AttributeToXml(const VxXmlLib16::CSerializationContext& context,
                                const VxXmlLib16::CXmlGeneratedClass* owner,
                                VxXmlLib16::CXmlWriter* writer) const = 0;
    // True when this entry took the attribute.
    virtual bool AttributeFromXml(const VxXmlLib16::CSerializationContext& context,
                                  VxXmlLib16::CXmlGeneratedClass* owner,
                                  VxXmlLib16::CXmlAttribute* attribute) = 0;
    // Called after every attribute was offered; found tells whether this
    // entry took one. A mandatory attribute that was not found throws.
    virtual void Validate(const VxXmlLib16::CSerializationContext& context, bool found) const = 0;

    const std::wstring& GetAttributeName() const { return m_strAttributeName; }
    const std::wstring& GetNamespaceUri() const { return m_strNamespaceUri; }
    int GetPropertyIndex() const { return m_iPropertyIndex; }
    bool IsOptional() const { return m_bOptional; }
    const std::wstring& GetDefaultValue() const { return m_strDefaultValue; }
    // An xs:anyAttribute entry: offered only what no named entry took.
    bool IsWildcard() const { return m_bWildcard; }

    // Local name equal (exact); namespace equal too unless the context reads
    // namespace-blind. False for null.
    bool IsThisAttribute(const VxXmlLib16::CSerializationContext& context,
                         const VxXmlLib16::CXmlAttribute* attribute) const;

    // Helpers of the wildcard entry: write an object's attributes, and the
    // namespace-constraint rule of untyped content (see CXmlObjectBase).
    static void ToXml_Int(const VxXmlLib16::CXmlObjectBase* object, VxXmlLib16::CXmlWriter* writer,
                          bool isRoot, const wchar_t* namespaceUri,
                          const VxXmlLib16::CSerializationContext& context);
    static bool IsNamespaceValid(const std::wstring& ns, const std::wstring& restriction,
                                 const std::wstring& targetNamespace);
    // Throws CVxInvalidNamespaceException where IsNamespaceValid is false.
    static void TestNamespace(const std::wstring& ns, const std::wstring& restriction,
                              const std::wstring& targetNamespace);
    static std::wstring GetTargetNamespace(const VxXmlLib16::CXmlObjectBase* object);

protected:
    CAttributeInfo(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                   bool optional, const wchar_t* defaultValue);
    CAttributeInfo(const CAttributeInfo&) = default;
    CAttributeInfo& operator=(const CAttributeInfo&) = default;

    void ReadProperty(const VxXmlLib16::CXmlGeneratedClass* owner,
                      VxXmlLib16::VxVariant& value) const;
    void InvokePropertyGet(const VxXmlLib16::CXmlGeneratedClass* owner,
                           VxXmlLib16::VxVariant& value) const;
    void InvokePropertySet(VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::VxVariant& value,
                           const VxXmlLib16::CXmlAttribute& attribute) const;
    // The "Failed to find the required Attribute [%s]." rule of mandatory
    // entries.
    void ValidatePresence(bool found) const;

    std::wstring m_strAttributeName;
    std::wstring m_strNamespaceUri;
    int m_iPropertyIndex;
    bool m_bOptional;
    std::wstring m_strDefaultValue;
    bool m_bWildcard = false;
};

// A primitive attribute with facets. Reading matches the namespace exactly
// even when the context ignores namespaces (unlike the enumeration entry);
// facets are checked when writing, not when reading.
class VXXML_API CAttributeInfoPrimitive : public CAttributeInfo
{
public:
    CAttributeInfoPrimitive(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                            bool optional, ItemType type, const wchar_t* formatOverride,
                            VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                            const CPrimitiveRestrictions& restrictions,
                            const wchar_t* defaultValue);
    void AttributeToXml(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlGeneratedClass* owner,
                        VxXmlLib16::CXmlWriter* writer) const override;
    bool AttributeFromXml(const VxXmlLib16::CSerializationContext& context,
                          VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlAttribute* attribute) override;
    void Validate(const VxXmlLib16::CSerializationContext& context, bool found) const override;

private:
    CPrimitiveRestrictions m_restrictions;
    ItemType m_itemType;
    std::wstring m_strFormatOverride;
    VxXmlLib16::CWhitespaceUtils::WhitespaceRule m_whitespaceRule;
};

// An enumerated attribute, converted through the generated functions and
// handed to the writer as a string whatever the enumeration's base type.
class VXXML_API CAttributeInfoEnum : public CAttributeInfo
{
public:
    CAttributeInfoEnum(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                       bool optional, EnumToTextFn enumToText, TextToEnumFn textToEnum,
                       const wchar_t* defaultValue);
    void AttributeToXml(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlGeneratedClass* owner,
                        VxXmlLib16::CXmlWriter* writer) const override;
    bool AttributeFromXml(const VxXmlLib16::CSerializationContext& context,
                          VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlAttribute* attribute) override;
    void Validate(const VxXmlLib16::CSerializationContext& context, bool found) const override;

private:
    EnumToTextFn m_pfnEnumToText;
    TextToEnumFn m_pfnTextToEnum;
};

// xs:anyAttribute: the property is a CAttributeCol. Reading takes every
// attribute that no other entry took and whose namespace the constraint
// allows (the owner offers attributes to this entry last); writing writes
// every attribute of the collection.
class VXXML_API CAttributeInfoAny : public CAttributeInfo
{
public:
    // The constraint's "##other" and "##targetNamespace" refer to the target
    // namespace of the schema that declared the wildcard: declaringNamespace
    // when the wildcard came from another schema (an imported base type),
    // otherwise (empty) the owner's targetNamespace.
    CAttributeInfoAny(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                      bool optional, const wchar_t* namespaceConstraint,
                      const wchar_t* targetNamespace, const wchar_t* declaringNamespace);
    void AttributeToXml(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlGeneratedClass* owner,
                        VxXmlLib16::CXmlWriter* writer) const override;
    bool AttributeFromXml(const VxXmlLib16::CSerializationContext& context,
                          VxXmlLib16::CXmlGeneratedClass* owner,
                          VxXmlLib16::CXmlAttribute* attribute) override;
    // A wildcard has no required occurrence.
    void Validate(const VxXmlLib16::CSerializationContext& context, bool found) const override;

private:
    std::wstring m_strNamespaceConstraint;
    std::wstring m_strTargetNamespace; // the one the constraint is judged against
};

} // namespace VxXmlLib16Data
