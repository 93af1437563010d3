#include "binding/TestSchema.h"

#include <cwchar>

using namespace VxXmlLib16;
using namespace VxXmlLib16Data;

namespace bt {
namespace {

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;
constexpr auto kPreserve = CWhitespaceUtils::WhitespaceRule_Preserve;
constexpr auto kElement = XmlElementType_Element;

// The facets of the restricted simple types of test.xsd.
const CPrimitiveRestrictions kNone;
const CPrimitiveRestrictions kName(L"[A-Za-z ]+", 1, 20, nullptr, nullptr, nullptr, nullptr, -1, -1,
                                   -1);
const CPrimitiveRestrictions kCount(nullptr, -1, -1, L"-99", nullptr, nullptr, L"1000", -1, 3, -1);
const CPrimitiveRestrictions kAmount(nullptr, -1, -1, nullptr, nullptr, L"-100000", nullptr, -1, 8,
                                     2);
const CPrimitiveRestrictions kDay(nullptr, -1, -1, L"2000-01-01", L"2099-12-31", nullptr, nullptr,
                                  -1, -1, -1);
const CPrimitiveRestrictions kStamp(nullptr, -1, -1, L"2000-01-01T00:00:00", nullptr, nullptr,
                                    L"2100-01-01T00:00:00", -1, -1, -1);
const CPrimitiveRestrictions kBlob(nullptr, 1, 8, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
const CPrimitiveRestrictions kRatio(nullptr, -1, -1, L"0", L"1", nullptr, nullptr, -1, -1, -1);
const CPrimitiveRestrictions kCode(L"[A-Z]+", -1, -1, nullptr, nullptr, nullptr, nullptr, 3, -1,
                                   -1);
const CPrimitiveRestrictions kZip(L"\\d{5}", -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1,
                                  -1);
const CPrimitiveRestrictions kSide(nullptr, -1, -1, L"1", nullptr, nullptr, nullptr, -1, -1, -1);

// Builds a null-terminated metadata array.
template <class T> T** Table(std::initializer_list<T*> entries)
{
    T** table = new T*[entries.size() + 1];
    size_t i = 0;
    for (T* entry : entries) {
        table[i++] = entry;
    }
    table[i] = nullptr;
    return table;
}

CParentElementInfo* ClassInfo(XmlElementGroupType group, XmlElementType type, const wchar_t* name,
                              bool hasBaseClasses = false)
{
    // Unknown attributes are refused (unless the context ignores them).
    return new CParentElementInfo(group, type, name, kNs, hasBaseClasses, false, -1,
                                  ItemType_Invalid, nullptr, true);
}

template <class T> CSmartPtr<CXmlObjectBase> Make(int, const wchar_t* name)
{
    return new T(name);
}

// The factory of an element of type Shape named Name: the concrete class
// comes from xsi:type. Checking the name keeps one member of an xs:all or a
// choice from taking the element of another.
template <const wchar_t* Name> CSmartPtr<CXmlObjectBase> NamedShapeByType(CXmlElement* element)
{
    if (element->GetLocalName() != Name) {
        return nullptr;
    }
    return ShapeByType(element);
}
constexpr wchar_t kExtra[] = L"extra";
constexpr wchar_t kPlate[] = L"plate";
constexpr wchar_t kForm[] = L"form";

const wchar_t* const kColors[] = {L"red", L"green", L"blue"};
const wchar_t* const kLevels[] = {L"low", L"mid", L"high"};

template <size_t N> const wchar_t* ToText(const wchar_t* const (&names)[N], int value)
{
    if (value < 0 || value >= static_cast<int>(N)) {
        throw CVxInvalidValueException(FormatString(L"Invalid enumeration value [%d]", value));
    }
    return names[value];
}

template <size_t N> int FromText(const wchar_t* const (&names)[N], const wchar_t* text)
{
    for (size_t i = 0; i < N; ++i) {
        if (std::wcscmp(names[i], text) == 0) {
            return static_cast<int>(i);
        }
    }
    throw CVxInvalidValueException(
        FormatString(L"The value [%s] is not one of the enumeration", text));
}

} // namespace

const wchar_t* ColorToText(int value)
{
    return ToText(kColors, value);
}
int ColorFromText(const wchar_t* text)
{
    return FromText(kColors, text);
}
const wchar_t* LevelToText(int value)
{
    return ToText(kLevels, value);
}
int LevelFromText(const wchar_t* text)
{
    return FromText(kLevels, text);
}

VxVariant Value(ItemType type, const std::wstring& text)
{
    VxVariant value;
    value.FromString(text, type, type == ItemType_string ? kPreserve : kCollapse);
    return value;
}

VxVariant Enum(int value)
{
    VxVariant variant;
    variant.SetI4(value);
    return variant;
}

// ---------------------------------------------------------------------------
// CTestObject

CTestObject::CTestObject(const wchar_t* elementName, int propertyCount)
    : CXmlGeneratedClass(elementName), m_props(propertyCount)
{
}

void CTestObject::Own(int index, CXmlCollectionBase* collection)
{
    m_props.at(index).SetXmlCollection(collection);
    collection->AddEventListener(this);
}

const std::wstring& CTestObject::MemberName(int index) const
{
    for (CElementInfo** entry = GetClassElementInfo(); *entry; ++entry) {
        if ((*entry)->GetPropertyIndex() == index) {
            return (*entry)->GetElementName();
        }
    }
    throw CVxInvalidParamException(FormatString(L"No element has the property %d", index));
}

bool CTestObject::IsChoice() const
{
    return GetClassInfo()->GetElementGroupType() == XmlElementGroupType_Choice;
}

void CTestObject::AccessProperty(int index, bool read, VxVariant& value)
{
    if (index < 0 || index >= GetPropertyCount()) {
        throw CVxInvalidParamException(FormatString(
            L"%s has no property %d", GetClassInfo()->GetElementName().c_str(), index));
    }
    VxVariant& prop = m_props[index];
    if (read) {
        value = prop;
        return;
    }
    // Collections are handed out, never replaced.
    if (prop.GetTypeAsEnum() == ItemType_XmlCollection) {
        return;
    }
    if (IsChoice()) {
        const std::wstring& name = MemberName(index);
        if (value.IsValid()) {
            Choice_SetElementValid(true, name.c_str(), m_selected);
        } else if (m_selected == name) {
            Choice_SetElementValid(false, name.c_str(), m_selected);
        }
    }
    prop = value;
}

void CTestObject::Set(int index, const VxVariant& value)
{
    VxVariant copy(value);
    AccessProperty(index, false, copy);
}

void CTestObject::SetObject(int index, CXmlObjectBase* object)
{
    VxVariant value;
    if (object != nullptr) {
        value.SetXmlObject(object);
    }
    Set(index, value);
}

void CTestObject::Init()
{
    for (VxVariant& prop : m_props) {
        if (prop.GetTypeAsEnum() == ItemType_XmlCollection) {
            CSmartPtr<CXmlObjectBase> collection = prop.GetXmlCollection();
            dynamic_cast<CXmlCollectionBase&>(*collection).Clear();
        } else {
            prop.SetInvalid();
        }
    }
    m_selected.clear();
    Defaults();
}

void CTestObject::OnEvent(CXmlObjectBase* source, MsgType type, void* data)
{
    CXmlGeneratedClass::OnEvent(source, type, data);
    if (type != MsgType_CollectionChange || !IsChoice()) {
        return;
    }
    for (int i = 0; i < GetPropertyCount(); ++i) {
        const VxVariant& prop = m_props[i];
        if (prop.GetTypeAsEnum() == ItemType_XmlCollection &&
            prop.GetXmlCollection().Get() == source) {
            auto* collection = dynamic_cast<CXmlCollectionBase*>(source);
            Choice_CollectionChanged(MemberName(i).c_str(), collection->GetCount(), m_selected);
        }
    }
}

void CNillableAddress::Init()
{
    CAddress::Init();
    m_bNil = false;
}

// ---------------------------------------------------------------------------
// Collections

void CColorCol::AddFromString(const std::wstring& text)
{
    Add(ColorFromText(text.c_str()));
}

std::wstring CColorCol::ItemToString(int index) const
{
    return ColorToText(Item(index));
}

CSmartPtr<CXmlObjectBase> CShapeCol::CreateItem(CXmlElement* element)
{
    CSmartPtr<CXmlObjectBase> item = ShapeByType(element);
    if (!item) {
        throw CVxValidationException(
            FormatString(L"Failed to find a suitable substitution element for [%s].",
                         GetElementName().c_str()),
            element->GetXPath());
    }
    return item;
}

CSmartPtr<CXmlObjectBase> ShapeBySubstitution(CXmlElement* element)
{
    const std::wstring& name = element->GetLocalName();
    if (name == L"circle") {
        return new CCircle(L"circle");
    }
    if (name == L"square") {
        return new CSquare(L"square");
    }
    return nullptr;
}

CSmartPtr<CXmlObjectBase> ShapeByType(CXmlElement* element)
{
    const std::wstring type = CClassfactoryBase::GetElementType(element);
    if (type.empty() || CClassfactoryBase::GetElementTypeNamespaceUri(element) != kNs) {
        return nullptr;
    }
    const std::wstring& name = element->GetLocalName();
    if (type == L"Circle") {
        return new CCircle(name.c_str());
    }
    if (type == L"Square") {
        return new CSquare(name.c_str());
    }
    return nullptr;
}

// ---------------------------------------------------------------------------
// Metadata

const CXmlGeneratedClass::CClassMetaData& CAddress::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo =
            new CParentElementInfo(XmlElementGroupType_Sequence, kElement, L"Address", kNs, false,
                                   false, -1, ItemType_Invalid, nullptr, true);
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoSeqPrimMnd(L"street", kNs, Street, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
            new CElementInfoSeqPrimMnd(L"city", kNs, City, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"zip", L"", Zip, false, ItemType_string, nullptr,
                                        kCollapse, kZip, nullptr),
            new CAttributeInfoPrimitive(L"country", L"", Country, true, ItemType_string, nullptr,
                                        kPreserve, kNone, L"US"),
        });
        return tables;
    });
}

namespace {

CXmlGeneratedClass::CClassMetaData ShapeTables(const wchar_t* typeName, CElementInfo* sizeEntry)
{
    CXmlGeneratedClass::CClassMetaData tables;
    tables.pClassInfo =
        ClassInfo(XmlElementGroupType_Sequence, kElement, typeName, /*hasBaseClasses*/ true);
    tables.ppElementInfo = Table<CElementInfo>({
        new CElementInfoSeqPrimOpt(L"label", kNs, CShape::Label, false, ItemType_string, nullptr,
                                   kPreserve, kNone, nullptr),
        sizeEntry,
    });
    tables.ppAttributeInfo = Table<CAttributeInfo>({});
    return tables;
}

} // namespace

const CXmlGeneratedClass::CClassMetaData& CCircle::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        return ShapeTables(L"Circle",
                           new CElementInfoSeqPrimMnd(L"radius", kNs, Size, false, ItemType_r8,
                                                      nullptr, kCollapse, kNone, nullptr));
    });
}

const CXmlGeneratedClass::CClassMetaData& CSquare::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        return ShapeTables(L"Square",
                           new CElementInfoSeqPrimMnd(L"side", kNs, Size, false, ItemType_i4,
                                                      nullptr, kCollapse, kSide, nullptr));
    });
}

const CXmlGeneratedClass::CClassMetaData& CDelivery::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo =
            ClassInfo(XmlElementGroupType_Choice, XmlElementType_Merged, L"Delivery");
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoChoicePrimOpt(L"shipDate", kNs, ShipDate, false, ItemType_date, nullptr,
                                          kCollapse, kNone, nullptr),
            new CElementInfoChoicePrimOpt(L"pickup", kNs, Pickup, false, ItemType_boolean, nullptr,
                                          kCollapse, kNone, nullptr),
            new CElementInfoChoiceClsOpt(L"courier", kNs, Courier, kElement, Make<CAddress>, 0),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

const CXmlGeneratedClass::CClassMetaData& CPrice::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        // Prices skip attributes they do not know.
        tables.pClassInfo =
            new CParentElementInfo(XmlElementGroupType_Sequence, kElement, L"Price", kNs, false,
                                   false, Amount, ItemType_decimal, nullptr, false);
        tables.ppElementInfo = Table<CElementInfo>({});
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"currency", L"", Currency, false, ItemType_string, nullptr,
                                        kCollapse, kCode, nullptr),
        });
        return tables;
    });
}

CMeasures::CMeasures(const wchar_t* elementName) : CTestObject(elementName, Count)
{
    Defaults();
}

void CMeasures::Defaults()
{
    SetObject(Corner, new CAddress(L"corner"));
}

const CXmlGeneratedClass::CClassMetaData& CMeasures::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = ClassInfo(XmlElementGroupType_All, kElement, L"Measures");
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoAllPrimMnd(L"width", kNs, Width, false, ItemType_r8, nullptr, kCollapse,
                                       kNone, nullptr),
            new CElementInfoAllPrimOpt(L"height", kNs, Height, false, ItemType_i4, nullptr,
                                       kCollapse, kCount, nullptr),
            new CElementInfoAllEnumMnd(L"unit", kNs, Unit, false, LevelToText, LevelFromText,
                                       nullptr),
            new CElementInfoAllEnumOpt(L"kind", kNs, Kind, false, ColorToText, ColorFromText,
                                       nullptr),
            // Flagged, so that a missing corner is reported.
            new CElementInfoAllClsMnd(L"corner", kNs, Corner, kElement, Make<CAddress>, 0, true),
            new CElementInfoAllClsOpt(L"origin", kNs, Origin, kElement, Make<CAddress>, 0),
            new CElementInfoAllAbsClsMnd(L"plate", kNs, Plate, kElement, NamedShapeByType<kPlate>),
            new CElementInfoAllAbsClsOpt(L"form", kNs, Form, kElement, NamedShapeByType<kForm>),
            new CElementInfoAllUntpdMnd(L"memo", kNs, Memo, L"##any", kNs),
            new CElementInfoAllUntpdOpt(L"aside", kNs, Aside, L"##any", kNs),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

CPick::CPick(const wchar_t* elementName) : CTestObject(elementName, Count)
{
    Own(Nums, new Ci4Col(L"nums", kNs, 1, 3));
    Own(Hue, new CColorCol(L"hue", 1, 3));
    Own(Piece, new CXmlClassCollection<CAddress>(L"piece", kNs, 1, 3));
    Own(Fig, new CShapeCol(L"fig", 1, 3));
    Own(Scrap, new CElementCol(kNs, L"##any", kNs, 1, 3));
}

const CXmlGeneratedClass::CClassMetaData& CPick::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = ClassInfo(XmlElementGroupType_Choice, kElement, L"Pick");
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoChoicePrimOpt(L"num", kNs, Num, false, ItemType_i4, nullptr, kCollapse,
                                          kCount, nullptr),
            new CElementInfoChoicePrimOpt(L"word", kNs, Word, false, ItemType_string, nullptr,
                                          kPreserve, kName, nullptr),
            new CElementInfoChoiceEnumOpt(L"flag", kNs, Flag, false, ColorToText, ColorFromText,
                                          nullptr),
            new CElementInfoChoiceClsOpt(L"part", kNs, Part, kElement, Make<CAddress>, 0),
            new CElementInfoChoiceAbsClsOpt(L"shape", kNs, Shape, kElement, ShapeBySubstitution),
            new CElementInfoChoicePrimCol(L"nums", kNs, Nums),
            new CElementInfoChoiceEnumCol(L"hue", kNs, Hue),
            new CElementInfoChoiceClsCol(L"piece", kNs, Piece, kElement),
            new CElementInfoChoiceAbsClsCol(L"fig", kNs, Fig, kElement),
            new CElementInfoChoiceUntpdCol(L"scrap", kNs, Scrap),
            new CElementInfoChoiceUntpdOpt(L"AnyElement", L"", Local, L"##local", kNs),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

const wchar_t* CWild::ConstraintOf(Kind kind)
{
    switch (kind) {
    case Any:
        return L"##any";
    case Local:
        return L"##local";
    case Target:
        return L"##targetNamespace";
    case List:
        break;
    }
    return L"urn:vxxml:test:a urn:vxxml:test:b";
}

CWild::CWild(const wchar_t* elementName, Kind kind) : CTestObject(elementName, 1), m_kind(kind)
{
    if (kind == Any || kind == List) {
        CSmartPtr<CElementCol> items(new CElementCol(L"", ConstraintOf(kind), kNs,
                                                     kind == Any ? 0 : 1, kind == Any ? -1 : 3));
        // The name that messages about the collection give it.
        items->SetElementName(L"AnyElement");
        Own(0, items);
    }
}

const CXmlGeneratedClass::CClassMetaData& CWild::MetaData() const
{
    static std::atomic<CClassMetaData*> slots[4];
    const Kind kind = m_kind;
    return GetMetaDataOnce(slots[kind], [kind] {
        static const wchar_t* const names[] = {L"WildAny", L"WildLocal", L"WildTarget",
                                               L"WildList"};
        const wchar_t* rule = ConstraintOf(kind);
        CElementInfo* entry = nullptr;
        switch (kind) {
        case Any:
        case List:
            entry = new CElementInfoSeqUntpdCol(L"AnyElement", L"", 0);
            break;
        case Local:
            entry = new CElementInfoSeqUntpdMnd(L"AnyElement", L"", 0, rule, kNs);
            break;
        case Target:
            entry = new CElementInfoSeqUntpdOpt(L"AnyElement", L"", 0, rule, kNs);
            break;
        }
        CClassMetaData tables;
        tables.pClassInfo = ClassInfo(XmlElementGroupType_Sequence, kElement, names[kind]);
        tables.ppElementInfo = Table<CElementInfo>({entry});
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

namespace {

template <CWild::Kind K> CSmartPtr<CXmlObjectBase> MakeWild(int, const wchar_t* name)
{
    return new CWild(name, K);
}

} // namespace

CRoot::CRoot(const wchar_t* elementName) : CTestObject(elementName, Count)
{
    Own(AnyAttribute, new CAttributeCol(kNs, L"##other", kNs));
    Own(Tag, new CstringCol(L"tag", kNs, 0, 5, nullptr, -1, 10));
    Own(Score, new Cr8Col(L"score", kNs));
    Own(Shade, new CColorCol(L"shade", 0, 3));
    Own(Contact, new CXmlClassCollection<CAddress>(L"contact", kNs, 0, 3));
    Own(Figure, new CShapeCol(L"figure", 0, -1));
    Own(Pick, new CXmlClassCollection<CPick>(L"pick", kNs, 0, 4));
    Defaults();
}

void CRoot::Defaults()
{
    SetObject(Address, new CAddress(L"address"));
    SetObject(Delivery, new CDelivery);
    // A nil amount stays nil on reading only because it starts out nil: the
    // library does not assign a nil value to its property.
    VxVariant nil;
    nil.SetNil();
    Set(Amount, nil);
}

const CXmlGeneratedClass::CClassMetaData& CRoot::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = ClassInfo(XmlElementGroupType_Sequence, kElement, L"Root");
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoSeqPrimMnd(L"name", kNs, Name, false, ItemType_string, nullptr,
                                       kPreserve, kName, nullptr),
            new CElementInfoSeqPrimOpt(L"count", kNs, Counter, false, ItemType_i4, nullptr,
                                       kCollapse, kCount, nullptr),
            new CElementInfoSeqPrimMnd(L"amount", kNs, Amount, true, ItemType_decimal, nullptr,
                                       kCollapse, kAmount, nullptr),
            new CElementInfoSeqPrimOpt(L"when", kNs, When, false, ItemType_date, nullptr, kCollapse,
                                       kDay, nullptr),
            new CElementInfoSeqPrimOpt(L"stamp", kNs, Stamp, false, ItemType_datetime, nullptr,
                                       kCollapse, kStamp, nullptr),
            new CElementInfoSeqPrimOpt(L"blob", kNs, Blob, false, ItemType_hexBinary, nullptr,
                                       kCollapse, kBlob, nullptr),
            new CElementInfoSeqEnumMnd(L"level", kNs, Level, false, LevelToText, LevelFromText,
                                       nullptr),
            new CElementInfoSeqEnumOpt(L"mood", kNs, Mood, false, LevelToText, LevelFromText,
                                       L"mid"),
            new CElementInfoSeqPrimCol(L"tag", kNs, Tag),
            new CElementInfoSeqPrimCol(L"score", kNs, Score),
            new CElementInfoSeqEnumCol(L"shade", kNs, Shade),
            new CElementInfoSeqClsMnd(L"address", kNs, Address, kElement, Make<CAddress>, 0, false),
            new CElementInfoSeqClsOpt(L"altAddress", kNs, AltAddress, kElement, Make<CAddress>, 0),
            new CElementInfoSeqClsCol(L"contact", kNs, Contact, kElement),
            new CElementInfoSeqAbsClsMnd(L"shape", kNs, Shape, kElement, ShapeBySubstitution),
            new CElementInfoSeqAbsClsOpt(L"extra", kNs, Extra, kElement, NamedShapeByType<kExtra>),
            new CElementInfoSeqAbsClsCol(L"figure", kNs, Figure, kElement),
            new CElementInfoSeqClsMnd(L"delivery", kNs, Delivery, XmlElementType_Merged,
                                      Make<CDelivery>, 0, false),
            new CElementInfoSeqClsOpt(L"holder", kNs, Holder, kElement, Make<CNillableAddress>, 0),
            new CElementInfoSeqClsOpt(L"price", kNs, Price, kElement, Make<CPrice>, 0),
            new CElementInfoSeqClsOpt(L"measures", kNs, Measures, kElement, Make<CMeasures>, 0),
            new CElementInfoSeqClsCol(L"pick", kNs, Pick, kElement),
            new CElementInfoSeqUntpdMnd(L"note", kNs, Note, L"##any", kNs),
            new CElementInfoSeqClsOpt(L"wildAny", kNs, WildAny, kElement, MakeWild<CWild::Any>, 0),
            new CElementInfoSeqClsOpt(L"wildLocal", kNs, WildLocal, kElement,
                                      MakeWild<CWild::Local>, 0),
            new CElementInfoSeqClsOpt(L"wildTarget", kNs, WildTarget, kElement,
                                      MakeWild<CWild::Target>, 0),
            new CElementInfoSeqClsOpt(L"wildList", kNs, WildList, kElement, MakeWild<CWild::List>,
                                      0),
            new CElementInfoSeqUntpdOpt(L"AnyElement", L"", Other, L"##other", kNs),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"id", L"", Id, false, ItemType_i4, nullptr, kCollapse,
                                        kNone, nullptr),
            new CAttributeInfoPrimitive(L"label", L"", Label, true, ItemType_string, nullptr,
                                        kPreserve, kNone, L"none"),
            new CAttributeInfoEnum(L"color", L"", Color, true, ColorToText, ColorFromText, L"red"),
            new CAttributeInfoPrimitive(L"ratio", L"", Ratio, true, ItemType_r8, nullptr, kCollapse,
                                        kRatio, nullptr),
            new CAttributeInfoAny(L"AnyAttribute", L"", AnyAttribute, true, L"##other", kNs,
                                  nullptr),
        });
        return tables;
    });
}

CAllExtra::CAllExtra(const wchar_t* elementName) : CTestObject(elementName, Count)
{
    Own(Numbers, new Ci4Col(L"n", kNs));
    Own(Colors, new CColorCol(L"c", 0, -1));
    Own(Addresses, new CXmlClassCollection<CAddress>(L"a", kNs));
    Own(Shapes, new CShapeCol(L"f", 0, -1));
    Own(Others, new CElementCol(L"", L"##other", kNs, 0, -1));
}

const CXmlGeneratedClass::CClassMetaData& CAllExtra::MetaData() const
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = ClassInfo(XmlElementGroupType_All, kElement, L"AllExtra");
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoAllPrimCol(L"n", kNs, Numbers),
            new CElementInfoAllEnumCol(L"c", kNs, Colors),
            new CElementInfoAllClsCol(L"a", kNs, Addresses, kElement),
            new CElementInfoAllAbsClsCol(L"f", kNs, Shapes, kElement),
            new CElementInfoAllUntpdMnd(L"AnyElement", L"", Local, L"##local", kNs),
            new CElementInfoAllUntpdOpt(L"AnyElement", L"", Listed, L"urn:vxxml:test:a", kNs),
            new CElementInfoAllUntpdCol(L"AnyElement", L"", Others),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

} // namespace bt
