// Classes for tests/data/binding/test.xsd, written by hand the way a code
// generator emits them: an accessor (AccessProperty) and metadata tables per
// class. To keep the test code small, every class keeps its properties in one
// variant per property index (the currency AccessProperty trades in anyway)
// instead of one typed member each, so that one accessor, one Init and one
// structural comparison serve every class.
#pragma once

#include <string>
#include <vector>
#include <vxxml/vxxml.h>

namespace bt {

using VxXmlLib16::CSmartPtr;
using VxXmlLib16::CXmlObjectBase;
using VxXmlLib16::ItemType;
using VxXmlLib16::VxVariant;

inline constexpr const wchar_t* kNs = L"urn:vxxml:test:binding";
inline constexpr const wchar_t* kOtherNs = L"urn:vxxml:test:other";
inline constexpr const wchar_t* kListNsA = L"urn:vxxml:test:a";
inline constexpr const wchar_t* kListNsB = L"urn:vxxml:test:b";

enum Color { Color_Red, Color_Green, Color_Blue };
enum Level { Level_Low, Level_Mid, Level_High };
const wchar_t* ColorToText(int value);
int ColorFromText(const wchar_t* text);
const wchar_t* LevelToText(int value);
int LevelFromText(const wchar_t* text);

// A variant holding a value given in its lexical form.
VxVariant Value(ItemType type, const std::wstring& text);
VxVariant Enum(int value);

// The shared part of every class of the schema.
class CTestObject : public VxXmlLib16::CXmlGeneratedClass
{
public:
    void AccessProperty(int index, bool read, VxVariant& value) override;
    void Init() override;
    std::wstring GetTargetNamespace() const override { return kNs; }
    std::wstring GetNamespace() const override { return kNs; }
    // Collection members of a choice select the member when they fill up.
    void OnEvent(CXmlObjectBase* source, MsgType type, void* data) override;

    int GetPropertyCount() const { return static_cast<int>(m_props.size()); }
    const VxVariant& Get(int index) const { return m_props.at(index); }
    void Set(int index, const VxVariant& value);
    void SetObject(int index, CXmlObjectBase* object);
    template <class T> T& Object(int index) const
    {
        return dynamic_cast<T&>(*m_props.at(index).GetXmlObject());
    }
    template <class T> T& Collection(int index) const
    {
        return dynamic_cast<T&>(*m_props.at(index).GetXmlCollection());
    }
    // The member of a choice that is set, empty when none.
    const std::wstring& GetSelected() const { return m_selected; }

protected:
    CTestObject(const wchar_t* elementName, int propertyCount);
    // Stores a collection the object owns for its whole life.
    void Own(int index, VxXmlLib16::CXmlCollectionBase* collection);
    // Creates the children a mandatory member needs before reading; run by
    // the constructor of the concrete class and by Init.
    virtual void Defaults() {}

private:
    const std::wstring& MemberName(int index) const;
    bool IsChoice() const;

    std::vector<VxVariant> m_props;
    std::wstring m_selected;
};

#define BT_TABLES                                                                                  \
public:                                                                                            \
    VxXmlLib16Data::CParentElementInfo* GetClassInfo() const override                              \
    {                                                                                              \
        return MetaData().pClassInfo;                                                              \
    }                                                                                              \
    VxXmlLib16Data::CElementInfo** GetClassElementInfo() const override                            \
    {                                                                                              \
        return MetaData().ppElementInfo;                                                           \
    }                                                                                              \
    VxXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override                        \
    {                                                                                              \
        return MetaData().ppAttributeInfo;                                                         \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    const CClassMetaData& MetaData() const;

// xs:simpleType Color in a repeated element: the items are enumerators,
// written as their names.
class CColorCol : public VxXmlLib16::Ci4Col
{
public:
    CColorCol(const wchar_t* elementName, int32_t minOccurs, int32_t maxOccurs)
        : Ci4Col(elementName, kNs, minOccurs, maxOccurs)
    {
    }

protected:
    void AddFromString(const std::wstring& text) override;
    std::wstring ItemToString(int index) const override;
};

// Address: 0 street, 1 city, 2 @zip, 3 @country (default US).
class CAddress : public CTestObject
{
public:
    enum { Street, City, Zip, Country, Count };
    explicit CAddress(const wchar_t* elementName = L"address") : CTestObject(elementName, Count) {}
    BT_TABLES
};

// The nillable use of Address (the holder element).
class CNillableAddress : public CAddress, public VxXmlLib16::INillable
{
public:
    using CAddress::CAddress;
    bool IsNil() const override { return m_bNil; }
    void SetNil(bool nil) override { m_bNil = nil; }
    void Init() override;

private:
    bool m_bNil = false;
};

// Shape (abstract): 0 label. Circle adds 1 radius, Square adds 1 side.
class CShape : public CTestObject
{
public:
    enum { Label, Size, Count };

protected:
    using CTestObject::CTestObject;
};
class CCircle : public CShape
{
public:
    explicit CCircle(const wchar_t* elementName = L"circle") : CShape(elementName, Count) {}
    BT_TABLES
};
class CSquare : public CShape
{
public:
    explicit CSquare(const wchar_t* elementName = L"square") : CShape(elementName, Count) {}
    BT_TABLES
};

// Shapes chosen by their xsi:type (figure, fig and f elements).
class CShapeCol : public VxXmlLib16::CXmlClassCollection<CShape>
{
public:
    CShapeCol(const wchar_t* elementName, int32_t minOccurs, int32_t maxOccurs)
        : CXmlClassCollection<CShape>(elementName, kNs, minOccurs, maxOccurs)
    {
    }

protected:
    CSmartPtr<CXmlObjectBase> CreateItem(VxXmlLib16::CXmlElement* element) override;
};

// The members of the substitution group of shape, by element name.
CSmartPtr<CXmlObjectBase> ShapeBySubstitution(VxXmlLib16::CXmlElement* element);
// A Shape by its xsi:type, whatever the element's name.
CSmartPtr<CXmlObjectBase> ShapeByType(VxXmlLib16::CXmlElement* element);

// The Delivery group, a choice merged into its parent: 0 shipDate, 1 pickup,
// 2 courier.
class CDelivery : public CTestObject
{
public:
    enum { ShipDate, Pickup, Courier, Count };
    explicit CDelivery(const wchar_t* elementName = L"delivery") : CTestObject(elementName, Count)
    {
    }
    BT_TABLES
};

// Price, simple content: 0 @currency, 1 the decimal value.
class CPrice : public CTestObject
{
public:
    enum { Currency, Amount, Count };
    explicit CPrice(const wchar_t* elementName = L"price") : CTestObject(elementName, Count) {}
    BT_TABLES
};

// Measures, an xs:all.
class CMeasures : public CTestObject
{
public:
    enum { Width, Height, Unit, Kind, Corner, Origin, Plate, Form, Memo, Aside, Count };
    explicit CMeasures(const wchar_t* elementName = L"measures");
    BT_TABLES
protected:
    void Defaults() override;
};

// Pick, a choice with its own element and a member of every kind.
class CPick : public CTestObject
{
public:
    enum { Num, Word, Flag, Part, Shape, Nums, Hue, Piece, Fig, Scrap, Local, Count };
    explicit CPick(const wchar_t* elementName = L"pick");
    BT_TABLES
};

// WildAny, WildLocal, WildTarget, WildList: one wildcard each (property 0).
class CWild : public CTestObject
{
public:
    enum Kind { Any, Local, Target, List };
    static const wchar_t* ConstraintOf(Kind kind);
    CWild(const wchar_t* elementName, Kind kind);
    Kind GetKind() const { return m_kind; }
    BT_TABLES
private:
    Kind m_kind;
};

// The document element.
class CRoot : public CTestObject
{
public:
    enum {
        Id,
        Label,
        Color,
        Ratio,
        AnyAttribute, // attributes
        Name,
        Counter,
        Amount,
        When,
        Stamp,
        Blob,
        Level,
        Mood,
        Tag,
        Score,
        Shade,
        Address,
        AltAddress,
        Contact,
        Shape,
        Extra,
        Figure,
        Delivery,
        Holder,
        Price,
        Measures,
        Pick,
        Note,
        WildAny,
        WildLocal,
        WildTarget,
        WildList,
        Other,
        Count
    };
    explicit CRoot(const wchar_t* elementName = L"root");
    BT_TABLES
protected:
    void Defaults() override;
};

// Members an xs:all cannot hold in XML Schema 1.0 (repeated members and
// wildcards). Documents of this class are round-tripped by the library only;
// xmllint cannot validate them because test.xsd cannot declare them.
class CAllExtra : public CTestObject
{
public:
    enum { Numbers, Colors, Addresses, Shapes, Local, Listed, Others, Count };
    explicit CAllExtra(const wchar_t* elementName = L"allExtra");
    BT_TABLES
};

#undef BT_TABLES

} // namespace bt
