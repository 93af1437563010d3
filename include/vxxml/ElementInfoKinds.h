// For generated code only: applications never use this header directly.
// The content kinds of element metadata: primitive, enumeration, class,
// abstract class, untyped and the three collection bases. Each concrete
// member (CElementInfoSeqPrimMnd and its kin) is one of these kinds placed in
// a compositor with a cardinality.
#pragma once

#include <vxxml/ElementInfo.h>

namespace VxXmlLib16Data {

// A primitive value with facets, a default and possibly nil.
class VXXML_API CElementInfoPrim : public CElementInfo
{
protected:
    CElementInfoPrim(Compositor compositor, Cardinality cardinality, const wchar_t* name,
                     const wchar_t* namespaceUri, int propertyIndex, bool nillable, ItemType type,
                     const wchar_t* formatOverride,
                     VxXmlLib16::CWhitespaceUtils::WhitespaceRule rule,
                     const CPrimitiveRestrictions& restrictions, const wchar_t* defaultValue);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;
};

// An enumerated value, written and read as text through the generated
// conversion functions.
class VXXML_API CElementInfoEnum : public CElementInfo
{
protected:
    CElementInfoEnum(Compositor compositor, Cardinality cardinality, const wchar_t* name,
                     const wchar_t* namespaceUri, int propertyIndex, bool nillable,
                     EnumToTextFn enumToText, TextToEnumFn textToEnum, const wchar_t* defaultValue);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;
};

// A child object of a known concrete class. A mandatory child is created by
// the owner and read in place; an optional one is made by the factory and
// attached once it has read without error. The flag of the mandatory kind
// makes a missing merged child of an xs:all an error (see Validate).
class VXXML_API CElementInfoCls : public CElementInfo
{
public:
    bool AcceptsElement(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlElement* element) const override;
    bool Validate(const VxXmlLib16::CSerializationContext& context,
                  const VxXmlLib16::CXmlGeneratedClass* owner, bool found,
                  bool check) const override;
    void PseudoChildAttributeToXml(const VxXmlLib16::CSerializationContext& context,
                                   const VxXmlLib16::CXmlGeneratedClass* owner,
                                   VxXmlLib16::CXmlWriter* writer) const override;

protected:
    CElementInfoCls(Compositor compositor, Cardinality cardinality, const wchar_t* name,
                    const wchar_t* namespaceUri, int propertyIndex, XmlElementType childType,
                    ClassFactoryFn factory, int factoryArgument, bool flag);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;
    bool HoldsObject() const override { return true; }

    XmlElementType m_childType;
    bool m_bFlag;
    ClassFactoryFn m_pfnFactory;
    int m_iFactoryArgument;
};

// A child whose concrete class is chosen from the element itself (xsi:type,
// or the member of a substitution group).
class VXXML_API CElementInfoAbsCls : public CElementInfo
{
public:
    void PseudoChildAttributeToXml(const VxXmlLib16::CSerializationContext& context,
                                   const VxXmlLib16::CXmlGeneratedClass* owner,
                                   VxXmlLib16::CXmlWriter* writer) const override;
    bool AcceptsElement(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlElement* element) const override;

protected:
    CElementInfoAbsCls(Compositor compositor, Cardinality cardinality, const wchar_t* name,
                       const wchar_t* namespaceUri, int propertyIndex, XmlElementType childType,
                       AbstractFactoryFn factory);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;
    bool HoldsObject() const override { return true; }

    XmlElementType m_childType;
    AbstractFactoryFn m_pfnFactory;
};

// Untyped content held as a CElement. The member named "AnyElement" stands
// for an xs:any particle and takes an element of any name whose namespace the
// constraint allows; any other name is matched as usual. targetNamespace is
// the schema's target namespace, which "##targetNamespace" and "##other"
// refer to.
class VXXML_API CElementInfoUntpd : public CElementInfo
{
public:
    bool AcceptsElement(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlElement* element) const override;

protected:
    CElementInfoUntpd(Compositor compositor, Cardinality cardinality, const wchar_t* name,
                      const wchar_t* namespaceUri, int propertyIndex,
                      const wchar_t* namespaceConstraint, const wchar_t* targetNamespace);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;
    bool HoldsObject() const override { return true; }

    std::wstring m_strNamespaceConstraint;
    std::wstring m_strTargetNamespace;
};

// The collection members of each compositor: the member's property is a
// collection that reads the run of matching siblings and writes one element
// per item. Which collection (typed primitive, enumeration, objects,
// untyped elements) is the generated code's choice; the member treats them
// alike. An untyped collection named "AnyElement" takes elements of any name.
class VXXML_API CElementInfoCollection : public CElementInfo
{
public:
    bool AcceptsElement(const VxXmlLib16::CSerializationContext& context,
                        const VxXmlLib16::CXmlElement* element) const override;

protected:
    CElementInfoCollection(Compositor compositor, const wchar_t* name, const wchar_t* namespaceUri,
                           int propertyIndex, XmlElementType childType = XmlElementType_Element);
    bool TryRead(const VxXmlLib16::CSerializationContext& context,
                 VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlElement* parent,
                 VxXmlLib16::CXmlElement** cursor) override;
    bool WriteValue(const VxXmlLib16::CSerializationContext& context,
                    const VxXmlLib16::CXmlGeneratedClass* owner, VxXmlLib16::CXmlWriter* writer,
                    bool flag) const override;

    XmlElementType m_childType;
};

class VXXML_API CElementInfoSeqCol : public CElementInfoCollection
{
protected:
    CElementInfoSeqCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                       XmlElementType childType = XmlElementType_Element)
        : CElementInfoCollection(Compositor_Sequence, name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoAllCol : public CElementInfoCollection
{
protected:
    CElementInfoAllCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                       XmlElementType childType = XmlElementType_Element)
        : CElementInfoCollection(Compositor_All, name, namespaceUri, propertyIndex, childType)
    {
    }
};

class VXXML_API CElementInfoChoiceCol : public CElementInfoCollection
{
protected:
    CElementInfoChoiceCol(const wchar_t* name, const wchar_t* namespaceUri, int propertyIndex,
                          XmlElementType childType = XmlElementType_Element)
        : CElementInfoCollection(Compositor_Choice, name, namespaceUri, propertyIndex, childType)
    {
    }
};

} // namespace VxXmlLib16Data
