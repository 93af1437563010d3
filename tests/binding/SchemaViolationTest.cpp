// Documents and object trees that break test.xsd must fail with the exact
// message, at the exact place, and the context's Ignore options must let
// exactly their own kind of fault through.
#include "TestHelpers.h"
#include "binding/BindingSupport.h"

#include <functional>
#include <gtest/gtest.h>

using namespace VxXmlLib16;
using namespace bt;

namespace {

// What reached the caller: the message of each exception of the chain,
// outermost first, and the path of the outermost.
struct Failure
{
    std::vector<std::wstring> messages;
    std::wstring path;
};

Failure Capture(const std::function<void()>& action)
{
    Failure failure;
    try {
        action();
    } catch (const CVxException& e) {
        failure.path = e.GetPath();
        for (const CVxException* x = &e; x != nullptr; x = x->GetInnerException()) {
            // The message ends with the path, which is compared on its own.
            std::wstring message = x->GetMessage();
            const std::wstring path = L"\nPath: " + x->GetPath();
            if (!x->GetPath().empty() && message.ends_with(path)) {
                message.resize(message.size() - path.size());
            }
            failure.messages.push_back(message);
        }
    }
    return failure;
}

std::string Show(const Failure& failure)
{
    std::string text = "path [" + Narrow(failure.path) + "]";
    for (const std::wstring& message : failure.messages) {
        text += "\n  " + Narrow(message);
    }
    return text;
}

enum Option {
    None = 0,
    UnknownElements = 1,
    UnknownAttributes = 2,
    InvalidCounts = 4,
    MissingChoice = 8,
    MissingMandatory = 16,
    Namespaces = 32,
};

CSerializationContext ContextWith(int options)
{
    CSerializationContext context;
    context.SetWriteTypeAttribute(true);
    context.SetIgnoreUnknownElements(options & UnknownElements);
    context.SetIgnoreUnknownAttributes(options & UnknownAttributes);
    context.SetIgnoreInvalidCollectionCounts(options & InvalidCounts);
    context.SetIgnoreMissingChoice(options & MissingChoice);
    context.SetIgnoreMissingMandatoryElements(options & MissingMandatory);
    context.SetIgnoreNamespaces(options & Namespaces);
    return context;
}

// The smallest valid document; each case changes one thing in it.
const std::wstring kBase = LR"(<root xmlns="urn:vxxml:test:binding"
      xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:o="urn:vxxml:test:other" id="1">
<name>abc</name>
<amount>1.50</amount>
<level>low</level>
<address zip="12345"><street>s</street><city>c</city></address>
<circle><radius>1</radius></circle>
<pickup>true</pickup>
<note/>
</root>)";

const std::wstring kMeasures =
    L"<measures><width>1</width><unit>low</unit>"
    L"<corner zip=\"1\"><street/><city/></corner>"
    L"<plate xsi:type=\"Square\"><side>1</side></plate><memo/></measures>";

std::wstring Edit(const std::wstring& find, const std::wstring& replace)
{
    std::wstring text = kBase;
    const size_t at = text.find(find);
    EXPECT_NE(at, std::wstring::npos) << Narrow(find);
    if (at != std::wstring::npos) {
        text.replace(at, find.size(), replace);
    }
    return text;
}

std::wstring Insert(const std::wstring& before, const std::wstring& text)
{
    return Edit(before, text + before);
}

struct ReadCase
{
    const char* what;
    std::wstring document;
    std::vector<std::wstring> messages; // empty: the document must be read
    std::wstring path;
    int options; // the Ignore options that let the fault through (0: none)
};

const std::wstring kProcess = L"Failed to process the element.";

TEST(BindingSchemaViolation, ReadingReportsEachFaultOnceAtItsPlace)
{
    const std::wstring sixTags = L"<tag>1</tag><tag>2</tag><tag>3</tag><tag>4</tag><tag>5</tag>"
                                 L"<tag>6</tag>";
    const std::wstring choice =
        L"No child elements within the element [pick] were populated. The element represents a "
        L"choice, so one and only one element should be populated. The element contained no "
        L"sutable child elements";
    const ReadCase cases[] = {
        {"missing mandatory element",
         Edit(L"<name>abc</name>", L""),
         {L"Failed to find the required child element [name]."},
         L"/root",
         MissingMandatory},
        {"unknown element before a mandatory one",
         Insert(L"<name>", L"<bogus/>"),
         {L"Failed to find the required child element [name]."},
         L"/root",
         UnknownElements},
        {"unknown element after the last member",
         Insert(L"</root>", L"<bogus/>"),
         {L"Failed read all the elements held within the element [root]. The unexpected element "
          L"[bogus] remains un processed"},
         L"/root/bogus",
         UnknownElements},
        {"text that names no enumerator",
         Edit(L"<level>low", L"<level>huge"),
         {kProcess, L"The value [huge] is not one of the enumeration"},
         L"/root/level",
         None},
        {"attribute that names no enumerator",
         Edit(L"id=\"1\"", L"id=\"1\" color=\"pink\""),
         {kProcess, L"The value [pink] is not one of the enumeration"},
         L"/root/@color",
         None},
        {"missing mandatory attribute",
         Edit(L" id=\"1\"", L""),
         {kProcess, L"Failed to find the required Attribute [id]."},
         L"/root",
         None},
        {"unknown attribute",
         Edit(L"id=\"1\"", L"id=\"1\" xmlns:t=\"urn:vxxml:test:binding\" t:foo=\"2\""),
         {L"Unexpected Attribute found."},
         L"/root/@foo",
         UnknownAttributes},
        {"unknown attribute on a nested class",
         Edit(L"zip=\"12345\"", L"zip=\"12345\" foo=\"2\""),
         {L"Unexpected Attribute found."},
         L"/root/address/@foo",
         UnknownAttributes},
        {"unknown attribute on a class that skips them",
         Insert(L"<note/>", L"<price currency=\"EUR\" foo=\"1\">1</price>"),
         {},
         L"",
         None},
        {"attribute on a primitive element",
         Edit(L"<name>", L"<name foo=\"1\">"),
         {L"Unexpected Attribute found."},
         L"/root/name/@foo",
         UnknownAttributes},
        // The ##other wildcard also takes unqualified attributes.
        {"attributes the wildcard takes",
         Edit(L"id=\"1\"", L"id=\"1\" o:foo=\"2\" bar=\"3\""),
         {},
         L"",
         None},
        {"nil in any case on a nillable element",
         Edit(L"<amount>1.50</amount>", L"<amount xsi:nil=\"TRUE\"/>"),
         {},
         L"",
         None},
        {"nil with a value that is no boolean",
         Edit(L"<amount>1.50</amount>", L"<amount xsi:nil=\"yes\"/>"),
         {L"Unexpected Value [yes] for 'nil' Attribute found."},
         L"/root/amount/xsi:@nil",
         None},
        {"nil on a non-nillable element",
         Edit(L"<name>abc", L"<name xsi:nil=\"true\">abc"),
         {L"Invalid use of 'nil' attribute in non-nillable element."},
         L"/root/name",
         None},
        {"a bad nil value on a non-nillable element reports the element",
         Edit(L"<name>abc", L"<name xsi:nil=\"yes\">abc"),
         {L"Invalid use of 'nil' attribute in non-nillable element."},
         L"/root/name",
         None},
        {"nil on a non-nillable class",
         Edit(L"zip=\"12345\"", L"zip=\"12345\" xsi:nil=\"true\""),
         {L"Invalid use of 'nil' attribute in non-nillable element."},
         L"/root/address/xsi:@nil",
         None},
        {"nil value on a nillable class",
         Insert(L"<note/>", L"<holder zip=\"1\" xsi:nil=\"1\"/>"),
         {L"Unexpected Value [1] for 'nil' Attribute found."},
         L"/root/holder/xsi:@nil",
         None},
        {"nil false on a nillable class reads its content",
         Insert(L"<note/>", L"<holder zip=\"1\" xsi:nil=\"false\"><street/><city/></holder>"),
         {},
         L"",
         None},
        {"merged choice without a member",
         Edit(L"<pickup>true</pickup>", L""),
         {L"Failed to find the required child element [delivery]."},
         L"/root",
         MissingMandatory},
        {"merged choice with two members",
         Insert(L"<note/>", L"<shipDate>2020-01-01</shipDate>"),
         {L"Failed to find the required child element [note]."},
         L"/root",
         None},
        {"choice without a member",
         Insert(L"<note/>", L"<pick/>"),
         {choice},
         L"/root/pick",
         MissingChoice},
        {"choice with two members",
         Insert(L"<note/>", L"<pick><num>1</num><word>a</word></pick>"),
         {L"Failed read all the elements held within the element [pick]. The unexpected element "
          L"[word] remains un processed"},
         L"/root/pick/word",
         UnknownElements},
        {"too many items",
         Insert(L"<address", sixTags),
         {kProcess, L"The Maximum number of [tag] elements allowed in this collection is 5"},
         L"/root",
         InvalidCounts},
        {"item that breaks a facet of its collection",
         Insert(L"<address", L"<tag>12345678901</tag>"),
         {kProcess, L"Invalid Value for tag [12345678901]."},
         L"/root/tag",
         None},
        {"abstract head element",
         Edit(L"<circle><radius>1</radius></circle>", L"<shape><radius>1</radius></shape>"),
         {L"Failed to find a suitable substitution element for [shape]."},
         L"/root",
         None},
        {"abstract type without xsi:type",
         Insert(L"<pickup>", L"<extra><radius>1</radius></extra>"),
         {L"Failed to find a suitable substitution element for [extra]."},
         L"/root",
         None},
        {"xsi:type naming no derived type",
         Insert(L"<pickup>", L"<figure xsi:type=\"Triangle\"/>"),
         {L"Failed to find a suitable substitution element for [figure]."},
         L"/root/figure",
         None},
        {"xs:all in any order",
         Insert(L"<note/>", L"<measures><memo/><plate xsi:type=\"Circle\">"
                            L"<radius>2</radius></plate><corner zip=\"1\">"
                            L"<street/><city/></corner><unit>high</unit>"
                            L"<width>1</width></measures>"),
         {},
         L"",
         None},
        {"xs:all without a mandatory primitive",
         Insert(L"<note/>", kMeasures.substr(0, 10) + kMeasures.substr(kMeasures.find(L"<unit>"))),
         {kProcess, L"Failed to find the mandatory element [width]."},
         L"/root/measures",
         MissingMandatory},
        {"xs:all without a flagged class member",
         Insert(L"<note/>", L"<measures><width>1</width><unit>low</unit><plate xsi:type=\"Square\">"
                            L"<side>1</side></plate><memo/></measures>"),
         {kProcess, L"Failed to find the mandatory element [corner]."},
         L"/root/measures",
         MissingMandatory},
        {"a fault deep in the tree is reported once, at its element",
         Insert(L"<note/>", L"<measures><width>1</width><unit>low</unit><corner zip=\"1\"><street/>"
                            L"</corner><plate xsi:type=\"Square\"><side>1</side></plate><memo/>"
                            L"</measures>"),
         {L"Failed to find the required child element [city]."},
         L"/root/measures/corner",
         None},
        {"##local wildcard given a qualified element",
         Insert(L"</root>", L"<wildLocal><x/></wildLocal>"),
         {L"Failed to find the required element from namespace []."},
         L"/root/wildLocal",
         None},
        {"##targetNamespace wildcard given another namespace",
         Insert(L"</root>", L"<wildTarget><o:x/></wildTarget>"),
         {L"Failed read all the elements held within the element [wildTarget]. The unexpected "
          L"element [x] remains un processed"},
         L"/root/wildTarget/o:x",
         UnknownElements},
        {"URI list wildcard given another namespace",
         Insert(L"</root>", L"<wildList><o:x/></wildList>"),
         {kProcess, L"The Minimum number of [AnyElement] elements allowed in this collection is 1"},
         L"/root/wildList",
         InvalidCounts | UnknownElements},
        {"##other wildcard given an element of the target namespace",
         Insert(L"</root>", L"<x/>"),
         {L"Failed read all the elements held within the element [root]. The unexpected element "
          L"[x] remains un processed"},
         L"/root/x",
         UnknownElements},
    };
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.what);
        CSmartPtr<CRoot> root(new CRoot);
        const Failure failure =
            Capture([&] { root->FromXml(c.document.c_str(), ContextWith(None)); });
        EXPECT_EQ(failure.messages, c.messages) << Show(failure);
        if (!c.messages.empty()) {
            EXPECT_EQ(failure.path, c.path) << Show(failure);
        }
        if (c.options != None) {
            const Failure allowed =
                Capture([&] { root->FromXml(c.document.c_str(), ContextWith(c.options)); });
            EXPECT_TRUE(allowed.messages.empty()) << Show(allowed);
        }
    }
}

TEST(BindingSchemaViolation, NilAndDefaultsAsRead)
{
    CSmartPtr<CRoot> root(new CRoot);
    std::wstring document = Edit(L"<amount>1.50</amount>", L"<amount xsi:nil=\"TRUE\"/>");
    document.replace(document.find(L"<address"), 0, L"<mood/>");
    root->FromXml(document.c_str());
    EXPECT_TRUE(root->Get(CRoot::Amount).IsNil());
    // An empty element with a declared default reads as the default.
    EXPECT_EQ(root->Get(CRoot::Mood).GetI4(), Level_Mid);

    root->FromXml(Insert(L"<note/>", L"<holder zip=\"1\" xsi:nil=\"true\"/>").c_str());
    auto& holder = root->Object<CNillableAddress>(CRoot::Holder);
    EXPECT_TRUE(holder.IsNil());
    EXPECT_EQ(holder.Get(CAddress::Zip).GetString(), L"1");
}

// A class whose metadata names a compositor that does not exist.
class CBadGroup : public CTestObject
{
public:
    CBadGroup() : CTestObject(L"bad", 1) {}
    VxXmlLib16Data::CParentElementInfo* GetClassInfo() const override
    {
        return Tables().pClassInfo;
    }
    VxXmlLib16Data::CElementInfo** GetClassElementInfo() const override
    {
        return Tables().ppElementInfo;
    }
    VxXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override
    {
        return Tables().ppAttributeInfo;
    }

private:
    static const CClassMetaData& Tables()
    {
        static std::atomic<CClassMetaData*> slot;
        return GetMetaDataOnce(slot, [] {
            static VxXmlLib16Data::CElementInfo* elements[] = {nullptr};
            static VxXmlLib16Data::CAttributeInfo* attributes[] = {nullptr};
            CClassMetaData tables;
            tables.pClassInfo = new VxXmlLib16Data::CParentElementInfo(
                static_cast<VxXmlLib16Data::XmlElementGroupType>(3),
                VxXmlLib16Data::XmlElementType_Element, L"Bad", kNs, false, false, -1,
                ItemType_Invalid, nullptr, false);
            tables.ppElementInfo = elements;
            tables.ppAttributeInfo = attributes;
            return tables;
        });
    }
};

TEST(BindingSchemaViolation, UnknownCompositor)
{
    CSmartPtr<CBadGroup> bad(new CBadGroup);
    Failure failure = Capture([&] { bad->ToXml(); });
    EXPECT_EQ(failure.messages,
              (std::vector<std::wstring>{L"Failed to convert the element [bad] to XML",
                                         L"Unknown XML Group Type"}));
    failure = Capture([&] { bad->FromXml(L"<bad xmlns='urn:vxxml:test:binding'/>"); });
    EXPECT_EQ(failure.messages, (std::vector<std::wstring>{kProcess, L"Unknown Group Type"}));
    EXPECT_EQ(failure.path, L"/bad");
}

struct WriteCase
{
    const char* what;
    std::function<void(CRoot&)> change;
    std::vector<std::wstring> messages;
    int options;
};

TEST(BindingSchemaViolation, WritingRefusesWhatTheSchemaForbids)
{
    const std::wstring root = L"Failed to convert the element [root] to XML";
    const std::wstring attributes = L"Failed to convert attributes to XML";
    const auto set = [](int index, ItemType type, const wchar_t* text) {
        return [=](CRoot& r) { r.Set(index, Value(type, text)); };
    };
    const WriteCase cases[] = {
        {"mandatory class member unset",
         [](CRoot& r) { r.SetObject(CRoot::Address, nullptr); },
         {root, L"The Property [address] is mandatory, it may not be NULL"},
         None},
        {"mandatory untyped member unset",
         [](CRoot& r) { r.SetObject(CRoot::Note, nullptr); },
         {root, L"The Property [note] is mandatory, it may not be NULL"},
         None},
        {"mandatory attribute unset",
         [](CRoot& r) { r.Set(CRoot::Id, VxVariant()); },
         {root, attributes, L"Invalid Type 0 to convert to string"},
         None},
        {"pattern",
         set(CRoot::Name, ItemType_string, L"abc1"),
         {root, L"Invalid Value for name [abc1]."},
         None},
        {"maxLength",
         set(CRoot::Name, ItemType_string, L"abcdefghijabcdefghijk"),
         {root, L"Invalid Value for name [abcdefghijabcdefghijk]."},
         None},
        {"maxExclusive",
         set(CRoot::Counter, ItemType_i4, L"1000"),
         {root, L"Invalid Value for count [1000]"},
         None},
        {"totalDigits counts the sign",
         set(CRoot::Counter, ItemType_i4, L"-100"),
         {root, L"Invalid Value for count [-100]"},
         None},
        {"fractionDigits",
         set(CRoot::Amount, ItemType_decimal, L"1.234"),
         {root, L"Invalid Value for amount [1.234]."},
         None},
        {"minExclusive of a decimal",
         set(CRoot::Amount, ItemType_decimal, L"-100000"),
         {root, L"Invalid Value for amount [-100000]."},
         None},
        {"minInclusive of a date",
         set(CRoot::When, ItemType_date, L"1999-12-31"),
         {root, L"Invalid Value for when [1999-12-31]."},
         None},
        {"maxExclusive of a dateTime",
         set(CRoot::Stamp, ItemType_datetime, L"2100-01-01T00:00:00"),
         {root, L"Invalid Value for stamp [2100-01-01T00:00:00]."},
         None},
        {"maxLength of hexBinary",
         set(CRoot::Blob, ItemType_hexBinary, L"000102030405060708"),
         {root, L"Invalid Value for blob [000102030405060708]."},
         None},
        {"maxInclusive of a double attribute",
         set(CRoot::Ratio, ItemType_r8, L"1.5"),
         {root, attributes, L"Invalid Value for ratio [1.500000]"},
         None},
        {"length of a nested attribute",
         [](CRoot& r) {
             CSmartPtr<CPrice> price(new CPrice);
             price->Set(CPrice::Currency, Value(ItemType_string, L"EURO"));
             price->Set(CPrice::Amount, Value(ItemType_decimal, L"1"));
             r.SetObject(CRoot::Price, price);
         },
         {root, L"Failed to convert the element [price] to XML", attributes,
          L"Invalid Value for currency [EURO]."},
         None},
        {"facet of a derived type's member",
         [](CRoot& r) {
             CSmartPtr<CSquare> square(new CSquare);
             square->Set(CShape::Size, Value(ItemType_i4, L"0"));
             r.SetObject(CRoot::Shape, square);
         },
         {root, L"Failed to convert the element [square] to XML", L"Invalid Value for side [0]"},
         None},
        {"too many items",
         [](CRoot& r) {
             for (int i = 0; i < 4; ++i) {
                 r.Collection<CXmlClassCollection<CAddress>>(CRoot::Contact)
                     .Add(&r.Object<CAddress>(CRoot::Address));
             }
         },
         {root, L"The Maximum number of [contact] elements allowed in this collection is 3"},
         InvalidCounts},
        {"too few items",
         [](CRoot& r) { r.SetObject(CRoot::WildList, new CWild(L"wildList", CWild::List)); },
         {root, L"Failed to convert the element [wildList] to XML",
          L"The Minimum number of [AnyElement] elements allowed in this collection is 1"},
         InvalidCounts},
        {"choice without a member",
         [](CRoot& r) { r.Collection<CXmlClassCollection<CPick>>(CRoot::Pick).Add(new CPick); },
         {root, L"Failed to convert the element [pick] to XML",
          L"This element is a choice, and as such must have at one (and only one) valid item, "
          L"currently there are none set"},
         MissingChoice},
        {"merged choice without a member",
         [](CRoot& r) { r.SetObject(CRoot::Delivery, new CDelivery); },
         {root, L"Failed to convert the element [delivery] to XML",
          L"This element is a choice, and as such must have at one (and only one) valid item, "
          L"currently there are none set"},
         MissingChoice},
    };
    for (const WriteCase& c : cases) {
        SCOPED_TRACE(c.what);
        CSmartPtr<CRoot> object(new CRoot);
        object->FromXml(kBase.c_str());
        c.change(*object);
        const Failure failure =
            Capture([&] { object->ToXml(true, true, EOL_LF, ContextWith(None)); });
        EXPECT_EQ(failure.messages, c.messages) << Show(failure);
        if (c.options != None) {
            const Failure allowed =
                Capture([&] { object->ToXml(true, true, EOL_LF, ContextWith(c.options)); });
            EXPECT_TRUE(allowed.messages.empty()) << Show(allowed);
        }
    }
}

// The classes of the exceptions that reach the caller: a fault that has a
// path arrives as it was thrown, copied as the base class; one without a
// path is wrapped once, by the element it happened in.
TEST(BindingSchemaViolation, ExceptionClasses)
{
    CSmartPtr<CRoot> root(new CRoot);
    EXPECT_THROW_MSG(root->FromXml(Edit(L"<name>abc</name>", L"").c_str()), CVxException,
                     L"Failed to find the required child element [name].\nPath: /root");
    EXPECT_THROW_MSG(root->FromXml(Edit(L" id=\"1\"", L"").c_str()), CVxValidationException,
                     L"Failed to process the element.\nPath: /root");

    root->FromXml(kBase.c_str());
    root->SetObject(CRoot::Address, nullptr);
    try {
        root->ToXml();
        ADD_FAILURE() << "wrote a tree without its mandatory member";
    } catch (const CVxValidationException& e) {
        EXPECT_EQ(typeid(e), typeid(CVxValidationException));
        const CVxException* inner = e.GetInnerException();
        ASSERT_NE(inner, nullptr);
        EXPECT_EQ(typeid(*inner), typeid(CVxInvalidParamException));
    }
}

TEST(BindingSchemaViolation, OnlyOneMemberOfAChoiceCanBeSet)
{
    CSmartPtr<CPick> pick(new CPick);
    pick->Set(CPick::Num, Value(ItemType_i4, L"1"));
    EXPECT_THROW_MSG(pick->Set(CPick::Word, Value(ItemType_string, L"a")), CVxInvalidStateException,
                     L"The Property num is already set. Only one element within this class bay be "
                     L"set at a time");
    EXPECT_THROW_MSG(pick->Collection<Ci4Col>(CPick::Nums).Add(1), CVxInvalidStateException,
                     L"The Property [num] is already set. Only one element within this class bay "
                     L"be set at a time");

    // Emptying the member that is set frees the choice for another one.
    pick->Set(CPick::Num, VxVariant());
    pick->Collection<Ci4Col>(CPick::Nums).Clear();
    pick->Collection<CColorCol>(CPick::Hue).Add(Color_Blue);
    EXPECT_EQ(pick->GetSelected(), L"hue");
    pick->Collection<CColorCol>(CPick::Hue).Clear();
    EXPECT_EQ(pick->GetSelected(), L"");
}

} // namespace
