#include "PurchaseOrder.h"

#include <cwchar>

using namespace VxXmlLib16;
using namespace VxXmlLib16Data;

namespace po {
namespace {

// Facets of the restricted simple types, shared by the setters (which refuse
// a bad value before storing it) and the metadata (which checks on writing).
const CPrimitiveRestrictions kZip(L"\\d{5}", -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1,
                                  -1);
const CPrimitiveRestrictions kSku(L"\\d{3}-[A-Z]{2}", -1, -1, nullptr, nullptr, nullptr, nullptr,
                                  -1, -1, -1);
const CPrimitiveRestrictions kQuantity(nullptr, -1, -1, L"1", nullptr, nullptr, L"100", -1, -1, -1);
const CPrimitiveRestrictions kMoney(nullptr, -1, -1, L"0", nullptr, nullptr, nullptr, -1, 10, 2);
const CPrimitiveRestrictions kNone;

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;
constexpr auto kPreserve = CWhitespaceUtils::WhitespaceRule_Preserve;

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

// Optional members travel as variants that are either set or invalid.
template <class T, class Set> void Read(const std::optional<T>& member, VxVariant& value, Set set)
{
    if (member) {
        (value.*set)(*member);
    }
}

// A child object handed back by the library must be of the member's class.
template <class T> CSmartPtr<T> ObjectOf(const VxVariant& value)
{
    CSmartPtr<CXmlObjectBase> object = value.GetXmlObject();
    auto* typed = dynamic_cast<T*>(object.Get());
    if (object && !typed) {
        throw CVxInvalidParamException(L"The object is not of the member's class");
    }
    return typed;
}

CSmartPtr<CXmlObjectBase> NewItemDelivery(int, const wchar_t*)
{
    return new CItemDelivery;
}

} // namespace

const wchar_t* StatusToText(int value)
{
    switch (value) {
    case Status_Open:
        return L"open";
    case Status_Shipped:
        return L"shipped";
    case Status_Cancelled:
        return L"cancelled";
    }
    throw CVxInvalidValueException(FormatString(L"Invalid Status value [%d]", value));
}

int StatusFromText(const wchar_t* text)
{
    for (int value : {Status_Open, Status_Shipped, Status_Cancelled}) {
        if (std::wcscmp(text, StatusToText(value)) == 0) {
            return value;
        }
    }
    throw CVxInvalidValueException(FormatString(L"The value [%s] is not a Status", text));
}

// ---------------------------------------------------------------------------
// CAddress: properties 0 name, 1 street, 2 city, 3 zip, 4 country

CAddress::CAddress(const wchar_t* elementName) : CXmlGeneratedClass(elementName) {}

void CAddress::SetZip(const std::wstring& value)
{
    Throw_IfInvalid_string(L"zip", value, kZip);
    m_zip = value;
}

void CAddress::AccessProperty(int index, bool read, VxVariant& value)
{
    std::wstring* text[] = {&m_name, &m_street, &m_city, &m_zip};
    if (index >= 0 && index < 4) {
        read ? value.SetString(*text[index]) : void(*text[index] = value.TakeString());
    } else if (index == 4) {
        read ? Read(m_country, value, &VxVariant::SetString) : void(m_country = value.TakeString());
    } else {
        throw CVxInvalidParamException(FormatString(L"CAddress has no property %d", index));
    }
}

void CAddress::Init()
{
    m_name.clear();
    m_street.clear();
    m_city.clear();
    m_zip.clear();
    m_country.reset();
}

const CXmlGeneratedClass::CClassMetaData& CAddress::MetaData()
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo =
            new CParentElementInfo(XmlElementGroupType_Sequence, XmlElementType_Element, L"Address",
                                   kNamespace, false, false, -1, ItemType_Invalid, nullptr, true);
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoSeqPrimMnd(L"name", kNamespace, 0, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
            new CElementInfoSeqPrimMnd(L"street", kNamespace, 1, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
            new CElementInfoSeqPrimMnd(L"city", kNamespace, 2, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
            new CElementInfoSeqPrimMnd(L"zip", kNamespace, 3, false, ItemType_string, nullptr,
                                       kPreserve, kZip, nullptr),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"country", L"", 4, true, ItemType_string, nullptr,
                                        kPreserve, kNone, L"US"),
        });
        return tables;
    });
}

CParentElementInfo* CAddress::GetClassInfo() const
{
    return MetaData().pClassInfo;
}
CElementInfo** CAddress::GetClassElementInfo() const
{
    return MetaData().ppElementInfo;
}
CAttributeInfo** CAddress::GetClassAttributeInfo() const
{
    return MetaData().ppAttributeInfo;
}

// ---------------------------------------------------------------------------
// CItemDelivery: properties 0 shipDate, 1 backOrdered

CItemDelivery::CItemDelivery() : CXmlGeneratedClass(L"delivery") {}

void CItemDelivery::SetShipDate(const CDateTime& value)
{
    Choice_SetElementValid(true, L"shipDate", m_selected);
    m_shipDate = value;
}

void CItemDelivery::SetBackOrdered(bool value)
{
    Choice_SetElementValid(true, L"backOrdered", m_selected);
    m_backOrdered = value;
}

void CItemDelivery::Clear()
{
    Choice_SetElementValid(false, L"", m_selected);
    m_shipDate.reset();
    m_backOrdered.reset();
}

void CItemDelivery::AccessProperty(int index, bool read, VxVariant& value)
{
    switch (index) {
    case 0:
        read ? Read(m_shipDate, value, &VxVariant::SetDateTime) : SetShipDate(value.GetDateTime());
        break;
    case 1:
        read ? Read(m_backOrdered, value, &VxVariant::SetBoolean)
             : SetBackOrdered(value.GetBoolean());
        break;
    default:
        throw CVxInvalidParamException(FormatString(L"CItemDelivery has no property %d", index));
    }
}

void CItemDelivery::Init()
{
    Clear();
}

const CXmlGeneratedClass::CClassMetaData& CItemDelivery::MetaData()
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = new CParentElementInfo(
            XmlElementGroupType_Choice, XmlElementType_Merged, L"ItemDelivery", kNamespace, false,
            false, -1, ItemType_Invalid, nullptr, true);
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoChoicePrimOpt(L"shipDate", kNamespace, 0, false, ItemType_datetime,
                                          nullptr, kCollapse, kNone, nullptr),
            new CElementInfoChoicePrimOpt(L"backOrdered", kNamespace, 1, false, ItemType_boolean,
                                          nullptr, kCollapse, kNone, nullptr),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({});
        return tables;
    });
}

CParentElementInfo* CItemDelivery::GetClassInfo() const
{
    return MetaData().pClassInfo;
}
CElementInfo** CItemDelivery::GetClassElementInfo() const
{
    return MetaData().ppElementInfo;
}
CAttributeInfo** CItemDelivery::GetClassAttributeInfo() const
{
    return MetaData().ppAttributeInfo;
}

// ---------------------------------------------------------------------------
// CItem: properties 0 partNum, 1 productName, 2 quantity, 3 price,
// 4 delivery, 5 comment

CItem::CItem() : CXmlGeneratedClass(L"item"), m_delivery(new CItemDelivery) {}

void CItem::SetPartNum(const std::wstring& value)
{
    Throw_IfInvalid_string(L"partNum", value, kSku);
    m_partNum = value;
}

void CItem::SetQuantity(int32_t value)
{
    Throw_IfInvalid_i4(L"quantity", value, kQuantity);
    m_quantity = value;
}

void CItem::SetPrice(const CDecimal& value)
{
    Throw_IfInvalid_decimal(L"price", value, kMoney);
    m_price = value;
}

void CItem::AccessProperty(int index, bool read, VxVariant& value)
{
    switch (index) {
    case 0:
        read ? value.SetString(m_partNum) : void(m_partNum = value.TakeString());
        break;
    case 1:
        read ? value.SetString(m_productName) : void(m_productName = value.TakeString());
        break;
    case 2:
        read ? value.SetI4(m_quantity) : void(m_quantity = value.GetI4());
        break;
    case 3:
        read ? value.SetDecimal(m_price) : void(m_price = value.GetDecimal());
        break;
    case 4:
        // A mandatory child object: the library reads into the one we hold.
        read ? value.SetXmlObject(m_delivery) : void(m_delivery = ObjectOf<CItemDelivery>(value));
        break;
    case 5:
        read ? Read(m_comment, value, &VxVariant::SetString) : void(m_comment = value.TakeString());
        break;
    default:
        throw CVxInvalidParamException(FormatString(L"CItem has no property %d", index));
    }
}

void CItem::Init()
{
    m_partNum.clear();
    m_productName.clear();
    m_quantity = 0;
    m_price = CDecimal();
    m_delivery->Init(); // the mandatory child is kept and reset, not remade
    m_comment.reset();
}

const CXmlGeneratedClass::CClassMetaData& CItem::MetaData()
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo =
            new CParentElementInfo(XmlElementGroupType_Sequence, XmlElementType_Element, L"Item",
                                   kNamespace, false, false, -1, ItemType_Invalid, nullptr, true);
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoSeqPrimMnd(L"productName", kNamespace, 1, false, ItemType_string,
                                       nullptr, kPreserve, kNone, nullptr),
            new CElementInfoSeqPrimMnd(L"quantity", kNamespace, 2, false, ItemType_i4, nullptr,
                                       kCollapse, kQuantity, nullptr),
            new CElementInfoSeqPrimMnd(L"price", kNamespace, 3, false, ItemType_decimal, nullptr,
                                       kCollapse, kMoney, nullptr),
            new CElementInfoSeqClsMnd(L"delivery", kNamespace, 4, XmlElementType_Merged,
                                      NewItemDelivery, 0, false),
            new CElementInfoSeqPrimOpt(L"comment", kNamespace, 5, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"partNum", L"", 0, false, ItemType_string, nullptr,
                                        kCollapse, kSku, nullptr),
        });
        return tables;
    });
}

CParentElementInfo* CItem::GetClassInfo() const
{
    return MetaData().pClassInfo;
}
CElementInfo** CItem::GetClassElementInfo() const
{
    return MetaData().ppElementInfo;
}
CAttributeInfo** CItem::GetClassAttributeInfo() const
{
    return MetaData().ppAttributeInfo;
}

// ---------------------------------------------------------------------------
// CPurchaseOrder: properties 0 orderDate, 1 status, 2 shipTo, 3 comment,
// 4 items

CPurchaseOrder::CPurchaseOrder()
    : CXmlGeneratedClass(L"purchaseOrder"), m_shipTo(new CAddress), m_items(new CItemCol)
{
}

void CPurchaseOrder::AccessProperty(int index, bool read, VxVariant& value)
{
    switch (index) {
    case 0:
        read ? value.SetDate(m_orderDate) : void(m_orderDate = value.GetDate());
        break;
    case 1:
        if (read) {
            if (m_status) {
                value.SetI4(*m_status);
            }
        } else {
            m_status = static_cast<Status>(value.GetI4());
        }
        break;
    case 2:
        read ? value.SetXmlObject(m_shipTo) : void(m_shipTo = ObjectOf<CAddress>(value));
        break;
    case 3:
        read ? Read(m_comment, value, &VxVariant::SetString) : void(m_comment = value.TakeString());
        break;
    case 4:
        // Collections are handed out, never replaced.
        if (read) {
            value.SetXmlCollection(m_items);
        }
        break;
    default:
        throw CVxInvalidParamException(FormatString(L"CPurchaseOrder has no property %d", index));
    }
}

void CPurchaseOrder::Init()
{
    m_orderDate = CDateTime();
    m_status.reset();
    m_shipTo->Init();
    m_comment.reset();
    m_items->Clear();
}

const CXmlGeneratedClass::CClassMetaData& CPurchaseOrder::MetaData()
{
    static std::atomic<CClassMetaData*> slot;
    return GetMetaDataOnce(slot, [] {
        CClassMetaData tables;
        tables.pClassInfo = new CParentElementInfo(
            XmlElementGroupType_Sequence, XmlElementType_Element, L"PurchaseOrderType", kNamespace,
            false, false, -1, ItemType_Invalid, nullptr, true);
        tables.ppElementInfo = Table<CElementInfo>({
            new CElementInfoSeqClsMnd(L"shipTo", kNamespace, 2, XmlElementType_Element, nullptr, 0,
                                      false),
            new CElementInfoSeqPrimOpt(L"comment", kNamespace, 3, false, ItemType_string, nullptr,
                                       kPreserve, kNone, nullptr),
            new CElementInfoSeqClsCol(L"item", kNamespace, 4, XmlElementType_Element),
        });
        tables.ppAttributeInfo = Table<CAttributeInfo>({
            new CAttributeInfoPrimitive(L"orderDate", L"", 0, false, ItemType_date, nullptr,
                                        kCollapse, kNone, nullptr),
            new CAttributeInfoEnum(L"status", L"", 1, true, StatusToText, StatusFromText, L"open"),
        });
        return tables;
    });
}

CParentElementInfo* CPurchaseOrder::GetClassInfo() const
{
    return MetaData().pClassInfo;
}
CElementInfo** CPurchaseOrder::GetClassElementInfo() const
{
    return MetaData().ppElementInfo;
}
CAttributeInfo** CPurchaseOrder::GetClassAttributeInfo() const
{
    return MetaData().ppAttributeInfo;
}

} // namespace po
