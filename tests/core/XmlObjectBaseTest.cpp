#include "TestHelpers.h"
#include "core/TestObjects.h"

#include <vector>

using namespace VxXmlLib16;
using VxTest::CTestObject;

namespace {

// The bracketed form shared by Choice_SelectElement and Choice_CollectionChanged.
std::wstring AlreadySet(const std::wstring& name)
{
    return L"The Property [" + name +
           L"] is already set. Only one element within this class bay be set at a time";
}

} // namespace

TEST(XmlObjectBase, ReleaseReturnsTheRemainingCountAndDestroysAtZero)
{
    std::atomic<int> destroyed{0};
    auto* object = new CTestObject(&destroyed);
    EXPECT_EQ(object->AddRef(), 1);
    EXPECT_EQ(object->AddRef(), 2);
    EXPECT_EQ(object->AddRef(), 3);
    EXPECT_EQ(object->Release(), 2);
    EXPECT_EQ(object->Release(), 1);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(object->Release(), 0);
    EXPECT_EQ(destroyed, 1);
}

TEST(XmlObjectBase, CopyIsANewObjectAndAssignmentKeepsEachCount)
{
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> source(new CTestObject(&destroyed, L"source"));
    CSmartPtr<CTestObject> extra(source); // source count 2

    // The copy takes the name but none of the source's holders.
    CSmartPtr<CTestObject> copy(new CTestObject(*source));
    EXPECT_EQ(copy->GetElementName(), L"source");
    EXPECT_EQ(copy->AddRef(), 2);
    copy->Release();

    CSmartPtr<CTestObject> target(new CTestObject(&destroyed, L"target"));
    *target = *source;
    EXPECT_EQ(target->GetElementName(), L"source");
    EXPECT_EQ(target->AddRef(), 2); // still only held by `target`
    target->Release();
    EXPECT_EQ(source->AddRef(), 3); // still held by `source` and `extra`
    source->Release();

    target.Reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(XmlObjectBase, PropertyChecksThrowTheirMessages)
{
    CTestObject value(nullptr, L"Customer");
    CTestObject::Throw_IfPropertyIsNull(&value, L"Customer");
    EXPECT_THROW_MSG(CTestObject::Throw_IfPropertyIsNull(nullptr, L"Customer"),
                     CVxInvalidParamException,
                     L"The Property [Customer] is mandatory, it may node be NULL");

    CTestObject::Throw_IfElementNameDiffers(nullptr, L"Anything");
    CTestObject::Throw_IfElementNameDiffers(&value, L"Customer");
    EXPECT_THROW_MSG(CTestObject::Throw_IfElementNameDiffers(&value, L"Supplier"),
                     CVxInvalidParamException,
                     L"This property requires an element with the name Supplier the element being "
                     L"set has the element name Customer");

    // The name compared is that of the object standing for the value.
    CTestObject base(nullptr, L"Supplier");
    value.m_base = &base;
    CTestObject::Throw_IfElementNameDiffers(&value, L"Supplier");
    EXPECT_THROW_MSG(CTestObject::Throw_IfElementNameDiffers(&value, L"Customer"),
                     CVxInvalidParamException,
                     L"This property requires an element with the name Customer the element being "
                     L"set has the element name Supplier");
}

TEST(XmlObjectBase, NamespaceRestrictionsFollowTheWildcardRules)
{
    struct Case
    {
        const wchar_t* ns;
        const wchar_t* restriction;
        const wchar_t* target;
        bool valid;
    };
    const Case cases[] = {
        {L"urn:x", L"##any", L"urn:t", true},
        {L"", L"##any", L"urn:t", true},
        {L"urn:t", L"##other", L"urn:t", false},
        {L"urn:x", L"##other", L"urn:t", true},
        {L"", L"##other", L"urn:t", true}, // unqualified is "other" than a real target
        {L"", L"##other", L"", false},
        {L"urn:x", L"##other", L"", true},
        {L"", L"##local", L"urn:t", true},
        {L"urn:t", L"##local", L"urn:t", false},
        {L"urn:t", L"##targetNamespace", L"urn:t", true},
        {L"urn:x", L"##targetNamespace", L"urn:t", false},
        {L"", L"##targetNamespace", L"", true},
        {L"urn:b", L"urn:a urn:b", L"urn:t", true},
        {L"urn:c", L"urn:a urn:b", L"urn:t", false},
        {L"urn:a", L"urn:a", L"urn:t", true},
        {L"urn:ab", L"urn:a", L"urn:t", false}, // whole entries only, no prefixes
        {L"", L"urn:a ##local", L"urn:t", true},
        {L"urn:t", L"urn:a\t##targetNamespace", L"urn:t", true},
        {L"urn:b", L"  urn:a \n\r urn:b  ", L"urn:t", true},
        {L"urn:x", L"urn:a ##local", L"urn:t", false},
        {L"", L"", L"", false}, // an empty list admits nothing
        {L"##any", L"##other", L"urn:t", true},
        {L"urn:x", L"##ANY", L"urn:t", false}, // keywords are case-sensitive
    };
    CTestObject object;
    for (const Case& c : cases) {
        EXPECT_EQ(object.IsNamespaceValid(c.ns, c.restriction, c.target), c.valid)
            << "ns '" << Narrow(c.ns) << "' restriction '" << Narrow(c.restriction) << "' target '"
            << Narrow(c.target) << "'";
    }
    // Null arguments are empty strings.
    EXPECT_TRUE(object.IsNamespaceValid(nullptr, L"##local", nullptr));
    EXPECT_FALSE(object.IsNamespaceValid(L"urn:x", nullptr, nullptr));
}

TEST(XmlObjectBase, TestNamespaceThrowsWhereTheRuleFails)
{
    CTestObject object(nullptr, L"AnyHolder");
    object.TestNamespace(L"urn:x", L"##other", L"urn:t");
    EXPECT_THROW_MSG(object.TestNamespace(L"urn:t", L"##other", L"urn:t"),
                     CVxInvalidNamespaceException,
                     L"The namespace urn:t in the class AnyHolder is invalid against restriction "
                     L"##other");
    EXPECT_THROW_MSG(object.TestNamespace(nullptr, nullptr, nullptr), CVxInvalidNamespaceException,
                     L"The namespace  in the class AnyHolder is invalid against restriction ");
}

TEST(XmlObjectBase, ChoiceSelectElementTracksTheOneSetMember)
{
    CTestObject value;
    std::wstring selected;

    CTestObject::Choice_SelectElement(L"A", nullptr, selected);
    EXPECT_EQ(selected, L"") << "a null value must not select an empty choice";
    CTestObject::Choice_SelectElement(L"A", &value, selected);
    EXPECT_EQ(selected, L"A");
    CTestObject::Choice_SelectElement(L"A", &value, selected); // replacing the value
    EXPECT_EQ(selected, L"A");
    EXPECT_THROW_MSG(CTestObject::Choice_SelectElement(L"B", &value, selected),
                     CVxInvalidStateException, AlreadySet(L"A"));
    EXPECT_EQ(selected, L"A");
    CTestObject::Choice_SelectElement(L"B", nullptr, selected); // clearing another member
    EXPECT_EQ(selected, L"A");
    CTestObject::Choice_SelectElement(L"A", nullptr, selected);
    EXPECT_EQ(selected, L"");
    CTestObject::Choice_SelectElement(L"B", &value, selected);
    EXPECT_EQ(selected, L"B");
}

TEST(XmlObjectBase, ChoiceSetElementValidUsesTheUnbracketedMessage)
{
    std::wstring selected;
    CTestObject::Choice_SetElementValid(true, L"A", selected);
    EXPECT_EQ(selected, L"A");
    CTestObject::Choice_SetElementValid(true, L"A", selected);
    EXPECT_EQ(selected, L"A");
    EXPECT_THROW_MSG(CTestObject::Choice_SetElementValid(true, L"B", selected),
                     CVxInvalidStateException,
                     L"The Property A is already set. Only one element within this class bay be "
                     L"set at a time");
    EXPECT_EQ(selected, L"A");
    // Invalidating clears the selection, whichever member is named.
    CTestObject::Choice_SetElementValid(false, L"B", selected);
    EXPECT_EQ(selected, L"");
    CTestObject::Choice_SetElementValid(true, L"B", selected);
    CTestObject::Choice_SetElementValid(false, L"B", selected);
    EXPECT_EQ(selected, L"");
}

TEST(XmlObjectBase, ChoiceCollectionChangedFollowsTheItemCount)
{
    std::wstring selected;
    CTestObject::Choice_CollectionChanged(L"Items", 0, selected);
    EXPECT_EQ(selected, L"");
    CTestObject::Choice_CollectionChanged(L"Items", -1, selected);
    EXPECT_EQ(selected, L"");
    CTestObject::Choice_CollectionChanged(L"Items", 1, selected);
    EXPECT_EQ(selected, L"Items");
    CTestObject::Choice_CollectionChanged(L"Items", 3, selected);
    EXPECT_EQ(selected, L"Items");

    // Another member may only report an empty collection while Items is set.
    CTestObject::Choice_CollectionChanged(L"Other", 0, selected);
    EXPECT_EQ(selected, L"Items");
    EXPECT_THROW_MSG(CTestObject::Choice_CollectionChanged(L"Other", 2, selected),
                     CVxInvalidStateException, AlreadySet(L"Items"));
    EXPECT_THROW_MSG(CTestObject::Choice_CollectionChanged(L"Other", -1, selected),
                     CVxInvalidStateException, AlreadySet(L"Items"));

    CTestObject::Choice_CollectionChanged(L"Items", 0, selected);
    EXPECT_EQ(selected, L"");
}

namespace {

struct Received
{
    CXmlObjectBase* source;
    IEventSink::MsgType type;
    void* data;
    int index; // read during the call, for the messages that carry one
};

class CRecordingSink : public IEventSink
{
public:
    void OnEvent(CXmlObjectBase* source, MsgType type, void* data) override
    {
        const bool hasIndex =
            type == MsgType_CollectionRemove || type == MsgType_CollectionRemoveComplete;
        m_received.push_back({source, type, data, hasIndex ? *static_cast<int*>(data) : -1});
    }
    std::vector<Received> m_received;
};

} // namespace

TEST(XmlObjectBase, FireHelpersDeliverEachMessageToTheSink)
{
    CTestObject collection;
    int item = 0;
    CRecordingSink sink;
    CTestObject::FireOnCollectionAddEvent(&sink, &collection, &item);
    CTestObject::FireOnCollectionAddCompleteEvent(&sink, &collection, &item);
    CTestObject::FireOnCollectionRemoveEvent(&sink, &collection, 7);
    CTestObject::FireOnCollectionRemoveCompleteEvent(&sink, &collection, 8);
    CTestObject::FireOnCollectionChangeEvent(&sink, &collection);

    ASSERT_EQ(sink.m_received.size(), 5u);
    const IEventSink::MsgType types[] = {
        IEventSink::MsgType_CollectionAdd, IEventSink::MsgType_CollectionAddComplete,
        IEventSink::MsgType_CollectionRemove, IEventSink::MsgType_CollectionRemoveComplete,
        IEventSink::MsgType_CollectionChange};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(sink.m_received[i].source, &collection);
        EXPECT_EQ(sink.m_received[i].type, types[i]);
    }
    EXPECT_EQ(sink.m_received[0].data, &item);
    EXPECT_EQ(sink.m_received[1].data, &item);
    EXPECT_EQ(sink.m_received[2].index, 7);
    EXPECT_EQ(sink.m_received[3].index, 8);
    EXPECT_EQ(sink.m_received[4].data, nullptr);

    // No sink, no call.
    CTestObject::FireOnCollectionChangeEvent(nullptr, &collection);
    CTestObject::FireOnCollectionAddEvent(nullptr, &collection, &item);
    CTestObject::FireOnCollectionRemoveEvent(nullptr, &collection, 1);

    // A bound object is a sink that ignores messages unless it overrides OnEvent.
    CTestObject owner;
    CTestObject::FireOnCollectionRemoveEvent(&owner, &collection, 1);
}
