#include "TestHelpers.h"
#include "core/TestObjects.h"

#include <tuple>
#include <vector>

using namespace VxXmlLib16;
using VxTest::CTestObject;

namespace {

// One call of a choice helper: the member named, its argument (value set or
// not, valid or not, item count), and the selection expected afterwards.
struct Step
{
    const wchar_t* name;
    int arg;
    const wchar_t* selected;
    bool refused = false;
};

template <class F> void RunSteps(std::initializer_list<Step> steps, bool bracketed, F call)
{
    std::wstring selected;
    for (const Step& s : steps) {
        SCOPED_TRACE(Narrow(s.name) + " " + std::to_string(s.arg));
        if (s.refused) {
            const std::wstring name = bracketed ? L"[" + selected + L"]" : selected;
            EXPECT_THROW_MSG(call(s, selected), CVxInvalidStateException,
                             L"The Property " + name +
                                 L" is already set. Only one element within this class bay be "
                                 L"set at a time");
        } else {
            call(s, selected);
        }
        EXPECT_EQ(selected, s.selected);
    }
}

// Logs each message as "type:payload" (the item, the index or null) and
// flags a wrong source.
class CRecordingSink : public IEventSink
{
public:
    void OnEvent(CXmlObjectBase* source, MsgType type, void* data) override
    {
        const bool hasIndex =
            type == MsgType_CollectionRemove || type == MsgType_CollectionRemoveComplete;
        m_log += (source == m_source ? L"" : L"(wrong source)") + std::to_wstring(type) + L":" +
                 (hasIndex         ? std::to_wstring(*static_cast<int*>(data))
                  : data == m_item ? L"item"
                  : data           ? L"?"
                                   : L"null") +
                 L" ";
    }
    CXmlObjectBase* m_source;
    void* m_item;
    std::wstring m_log;
};

} // namespace

TEST(XmlObjectBase, ReferenceCountsAreKeptPerObject)
{
    std::atomic<int> destroyed{0};
    auto* object = new CTestObject(&destroyed, L"source");
    EXPECT_EQ(object->AddRef(), 1);
    EXPECT_EQ(object->AddRef(), 2);
    // A copy, or an object assigned from another, takes the name but none of
    // the holders.
    CSmartPtr<CTestObject> copy(new CTestObject(*object));
    CSmartPtr<CTestObject> target(new CTestObject(&destroyed, L"target"));
    *target = *object;
    EXPECT_EQ(copy->GetElementName(), L"source");
    EXPECT_EQ(target->GetElementName(), L"source");
    EXPECT_EQ(copy->AddRef(), 2);
    EXPECT_EQ(target->AddRef(), 2);
    copy->Release();
    target->Release();
    EXPECT_EQ(object->Release(), 1);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(object->Release(), 0);
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
}

TEST(XmlObjectBase, NamespaceRestrictionsFollowTheWildcardRules)
{
    // {namespace, restriction, target namespace, valid}; null is the empty string.
    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*, bool> cases[] = {
        // clang-format off
        {L"urn:x", L"##any", L"urn:t", true},      {L"", L"##any", L"urn:t", true},
        {L"urn:t", L"##other", L"urn:t", false},   {L"urn:x", L"##other", L"urn:t", true},
        {L"", L"##other", L"urn:t", true},         {L"", L"##other", L"", false},
        {L"urn:x", L"##other", L"", true},         {L"", L"##local", L"urn:t", true},
        {L"urn:t", L"##local", L"urn:t", false},   {L"urn:t", L"##targetNamespace", L"urn:t", true},
        {L"urn:x", L"##targetNamespace", L"urn:t", false}, {L"", L"##targetNamespace", L"", true},
        {L"urn:b", L"urn:a urn:b", L"urn:t", true}, {L"urn:c", L"urn:a urn:b", L"urn:t", false},
        {L"urn:ab", L"urn:a", L"urn:t", false},    {L"", L"urn:a ##local", L"urn:t", true},
        {L"urn:t", L"urn:a\t##targetNamespace", L"urn:t", true},
        {L"urn:b", L"  urn:a \n\r urn:b  ", L"urn:t", true}, {L"urn:x", L"urn:a ##local", L"urn:t", false},
        {L"", L"", L"", false},                    {L"##any", L"##other", L"urn:t", true},
        {L"urn:x", L"##ANY", L"urn:t", false},     {nullptr, L"##local", nullptr, true},
        {nullptr, nullptr, nullptr, false},        {L"urn:x", nullptr, nullptr, false}};
    // clang-format on
    auto str = [](const wchar_t* s) { return std::wstring(s ? s : L""); };
    CTestObject object(nullptr, L"AnyHolder");
    for (const auto& [ns, restriction, target, valid] : cases) {
        SCOPED_TRACE(Narrow(str(ns) + L" | " + str(restriction) + L" | " + str(target)));
        EXPECT_EQ(object.IsNamespaceValid(ns, restriction, target), valid);
        // TestNamespace throws exactly where the rule fails.
        if (valid) {
            object.TestNamespace(ns, restriction, target);
        } else {
            EXPECT_THROW_MSG(
                object.TestNamespace(ns, restriction, target), CVxInvalidNamespaceException,
                L"The namespace " + str(ns) +
                    L" in the class AnyHolder is invalid against restriction " + str(restriction));
        }
    }
}

TEST(XmlObjectBase, ChoiceHelpersTrackTheOneSetMember)
{
    CTestObject value;
    // {member, argument, selection afterwards, refused}. A null value never
    // selects; replacing the value of the selected member is fine; clearing
    // another member leaves the selection alone.
    // clang-format off
    RunSteps({{L"A", 0, L""}, {L"A", 1, L"A"}, {L"A", 1, L"A"}, {L"B", 1, L"A", true},
              {L"B", 0, L"A"}, {L"A", 0, L""}, {L"B", 1, L"B"}}, true,
             [&value](const Step& s, std::wstring& selected) {
                 CTestObject::Choice_SelectElement(s.name, s.arg ? &value : nullptr, selected);
             });
    // Invalidating clears the selection, whichever member is named.
    RunSteps({{L"A", 1, L"A"}, {L"A", 1, L"A"}, {L"B", 1, L"A", true}, {L"B", 0, L""},
              {L"B", 1, L"B"}, {L"B", 0, L""}}, false,
             [](const Step& s, std::wstring& selected) {
                 CTestObject::Choice_SetElementValid(s.arg != 0, s.name, selected);
             });
    // The argument is an item count; another member may only report an empty
    // collection while one is selected.
    RunSteps({{L"Items", 0, L""}, {L"Items", -1, L""}, {L"Items", 1, L"Items"},
              {L"Items", 3, L"Items"}, {L"Other", 0, L"Items"}, {L"Other", 2, L"Items", true},
              {L"Other", -1, L"Items", true}, {L"Items", 0, L""}}, true,
             [](const Step& s, std::wstring& selected) {
                 CTestObject::Choice_CollectionChanged(s.name, s.arg, selected);
             });
    // clang-format on
}

TEST(XmlObjectBase, FireHelpersDeliverEachMessageToTheSink)
{
    CTestObject collection;
    int item = 0;
    CRecordingSink sink;
    sink.m_source = &collection;
    sink.m_item = &item;
    CTestObject::FireOnCollectionAddEvent(&sink, &collection, &item);
    CTestObject::FireOnCollectionAddCompleteEvent(&sink, &collection, &item);
    CTestObject::FireOnCollectionRemoveEvent(&sink, &collection, 7);
    CTestObject::FireOnCollectionRemoveCompleteEvent(&sink, &collection, 8);
    CTestObject::FireOnCollectionChangeEvent(&sink, &collection);
    EXPECT_EQ(sink.m_log, L"1:item 2:item 3:7 4:8 0:null ");
    // No sink, no call; a bound object is a sink that ignores messages unless
    // it overrides OnEvent.
    CTestObject::FireOnCollectionChangeEvent(nullptr, &collection);
    CTestObject::FireOnCollectionAddEvent(nullptr, &collection, &item);
    CTestObject::FireOnCollectionRemoveEvent(nullptr, &collection, 1);
    CTestObject owner;
    CTestObject::FireOnCollectionRemoveEvent(&owner, &collection, 1);
}
