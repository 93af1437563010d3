// Classes for po.xsd, written by hand the way a code generator emits them:
// typed properties for the application, and for the library one accessor
// (AccessProperty) plus metadata tables that describe the schema.
#pragma once

#include <optional>
#include <string>
#include <vxxml/vxxml.h>

namespace po {

using VxXmlLib16::CBigInteger;
using VxXmlLib16::CDateTime;
using VxXmlLib16::CDecimal;
using VxXmlLib16::CSmartPtr;
using VxXmlLib16::VxVariant;

// The namespace of every element of the schema.
inline constexpr const wchar_t* kNamespace = L"urn:vxxml:example:po";

// xs:simpleType Status (an enumeration of strings).
enum Status { Status_Open = 0, Status_Shipped = 1, Status_Cancelled = 2 };
const wchar_t* StatusToText(int value);
int StatusFromText(const wchar_t* text); // throws CVxInvalidValueException

// Every class implements the same protocol; only the members differ.
#define PO_GENERATED_PROTOCOL                                                                      \
public:                                                                                            \
    void AccessProperty(int index, bool read, VxVariant& value) override;                          \
    VxXmlLib16Data::CParentElementInfo* GetClassInfo() const override;                             \
    VxXmlLib16Data::CElementInfo** GetClassElementInfo() const override;                           \
    VxXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override;                       \
    void Init() override;                                                                          \
    std::wstring GetTargetNamespace() const override                                               \
    {                                                                                              \
        return kNamespace;                                                                         \
    }                                                                                              \
    std::wstring GetNamespace() const override                                                     \
    {                                                                                              \
        return kNamespace;                                                                         \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    static const CClassMetaData& MetaData();

// xs:complexType Address.
class CAddress : public VxXmlLib16::CXmlGeneratedClass
{
public:
    explicit CAddress(const wchar_t* elementName = L"shipTo");

    const std::wstring& GetName() const { return m_name; }
    void SetName(const std::wstring& value) { m_name = value; }
    const std::wstring& GetStreet() const { return m_street; }
    void SetStreet(const std::wstring& value) { m_street = value; }
    const std::wstring& GetCity() const { return m_city; }
    void SetCity(const std::wstring& value) { m_city = value; }
    const std::wstring& GetZip() const { return m_zip; }
    void SetZip(const std::wstring& value); // pattern \d{5}
    // Optional, default "US".
    std::wstring GetCountry() const { return m_country.value_or(L"US"); }
    void SetCountry(const std::wstring& value) { m_country = value; }

    PO_GENERATED_PROTOCOL

    std::wstring m_name, m_street, m_city, m_zip;
    std::optional<std::wstring> m_country;
};

// The xs:choice inside Item: no element of its own, its members are written
// into the item's element. Exactly one of the two is set.
class CItemDelivery : public VxXmlLib16::CXmlGeneratedClass
{
public:
    CItemDelivery();

    bool HasShipDate() const { return m_shipDate.has_value(); }
    const CDateTime& GetShipDate() const { return *m_shipDate; }
    void SetShipDate(const CDateTime& value);
    bool HasBackOrdered() const { return m_backOrdered.has_value(); }
    bool GetBackOrdered() const { return *m_backOrdered; }
    void SetBackOrdered(bool value);
    // Unsets whichever member is set.
    void Clear();

    PO_GENERATED_PROTOCOL

    std::optional<CDateTime> m_shipDate;
    std::optional<bool> m_backOrdered;
    std::wstring m_selected; // the member that is set, kept by the choice helpers
};

// xs:complexType Item.
class CItem : public VxXmlLib16::CXmlGeneratedClass
{
public:
    CItem();

    const std::wstring& GetPartNum() const { return m_partNum; }
    void SetPartNum(const std::wstring& value); // pattern \d{3}-[A-Z]{2}
    const std::wstring& GetProductName() const { return m_productName; }
    void SetProductName(const std::wstring& value) { m_productName = value; }
    int32_t GetQuantity() const { return m_quantity; }
    void SetQuantity(int32_t value); // 1 <= value < 100
    const CDecimal& GetPrice() const { return m_price; }
    void SetPrice(const CDecimal& value); // totalDigits 10, fractionDigits 2, >= 0
    CItemDelivery& Delivery() { return *m_delivery; }
    const CItemDelivery& Delivery() const { return *m_delivery; }
    bool HasComment() const { return m_comment.has_value(); }
    const std::wstring& GetComment() const { return *m_comment; }
    void SetComment(const std::wstring& value) { m_comment = value; }

    PO_GENERATED_PROTOCOL

    std::wstring m_partNum, m_productName;
    int32_t m_quantity = 0;
    CDecimal m_price;
    CSmartPtr<CItemDelivery> m_delivery;
    std::optional<std::wstring> m_comment;
};

// The repeated item element (maxOccurs unbounded, minOccurs 1).
class CItemCol : public VxXmlLib16::CXmlClassCollection<CItem>
{
public:
    CItemCol() : CXmlClassCollection<CItem>(L"item", kNamespace, 1, -1) {}
};

// xs:complexType PurchaseOrderType, the type of the document element.
class CPurchaseOrder : public VxXmlLib16::CXmlGeneratedClass
{
public:
    CPurchaseOrder();

    const CDateTime& GetOrderDate() const { return m_orderDate; }
    void SetOrderDate(const CDateTime& value) { m_orderDate = value; }
    // Optional, default open.
    Status GetStatus() const { return m_status.value_or(Status_Open); }
    void SetStatus(Status value) { m_status = value; }
    CAddress& ShipTo() { return *m_shipTo; }
    bool HasComment() const { return m_comment.has_value(); }
    const std::wstring& GetComment() const { return *m_comment; }
    void SetComment(const std::wstring& value) { m_comment = value; }
    CItemCol& Items() { return *m_items; }

    PO_GENERATED_PROTOCOL

    CDateTime m_orderDate;
    std::optional<Status> m_status;
    CSmartPtr<CAddress> m_shipTo;
    std::optional<std::wstring> m_comment;
    CSmartPtr<CItemCol> m_items;
};

#undef PO_GENERATED_PROTOCOL

} // namespace po
