#include "TestHelpers.h"
#include "core/CollectionTestSupport.h"

#include <functional>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/TypedCollections.h>
#include <vxxml/XmlDocument.h>

using namespace VxXmlLib16;
using VxTest::CRecordingSink;
using Events = std::vector<std::wstring>;

namespace {

// Reads the <v> children of the document element into col, and returns
// the element at which reading stopped (its name, or "end").
std::wstring ReadInto(CXmlTypeCollection& col, const wchar_t* xml,
                      const CSerializationContext& ctx = CSerializationContext())
{
    CXmlDocument doc;
    doc.LoadXml(xml);
    CXmlElement* rest = col.FromXml_Int(doc.GetDocumentElement(),
                                        doc.GetDocumentElement()->GetFirstElement(), ctx, false);
    return rest ? rest->GetLocalName() : L"end";
}

// "a|b" becomes "<v>a</v><v>b</v>".
std::wstring Elements(const std::wstring& texts)
{
    std::wstring out;
    size_t start = 0;
    for (;;) {
        const size_t bar = texts.find(L'|', start);
        out += L"<v>" + texts.substr(start, bar - start) + L"</v>";
        if (bar == std::wstring::npos) {
            return out;
        }
        start = bar + 1;
    }
}

std::wstring WriteOut(const CXmlTypeCollection& col)
{
    return VxTest::WriteXml([&](CXmlWriter* w) {
        w->StartElement(L"r", L"");
        col.ToXml_Int(w, false, nullptr, CSerializationContext(), false);
        w->EndElement();
    });
}

} // namespace

TEST(TypedCollections, AddAndRemoveFireInOrderWithTheirIndexMessages)
{
    CSmartPtr<Ci4Col> col(new Ci4Col(L"n", L""));
    CRecordingSink sink;
    col->AddEventListener(&sink);
    col->Add(30);
    EXPECT_EQ(sink.events, (Events{L"add", L"addComplete", L"change"}));
    col->AddAt(0, 10);
    col->AddAt(1, 20);
    col->AddAt(3, 40);
    col->Add(50);
    EXPECT_EQ(std::vector<int32_t>(col->begin(), col->end()),
              (std::vector<int32_t>{10, 20, 30, 40, 50}));

    sink.events.clear();
    EXPECT_THROW_MSG(col->AddAt(6, 1), CVxInvalidParamException, L"Index out of range");
    EXPECT_THROW_MSG(col->AddAt(-1, 1), CVxInvalidParamException, L"Index out of range");
    EXPECT_EQ(sink.events, (Events{L"add", L"add"})) << "the add event comes before the check";
    EXPECT_THROW_MSG(col->Remove(5), CVxInvalidParamException,
                     L"Index 5 is out of range, use 0 - 5");
    EXPECT_THROW_MSG(col->Item(-1), CVxInvalidParamException,
                     L"Index -1 is out of range, use 0 - 5");

    sink.events.clear();
    col->Remove(2);
    EXPECT_EQ(sink.events, (Events{L"remove(2)", L"removeComplete(0)", L"change"}));
    EXPECT_EQ(col->Item(2), 40);
    EXPECT_EQ(col->GetCount(), 4);

    sink.events.clear();
    col->Clear();
    col->Clear();
    EXPECT_EQ(sink.events, (Events{L"change"}));
    EXPECT_NE(CInstanceMonitor::DumpState().find(L"Ci4Col"), std::wstring::npos);
}

TEST(TypedCollections, ValuesThatBreakAFacetAreNotStored)
{
    CSmartPtr<Ci4Col> ints(new Ci4Col(L"n", L"", 0, -1, nullptr, -1, -1, L"1", L"10"));
    CRecordingSink sink;
    ints->AddEventListener(&sink);
    ints->Add(10);
    sink.events.clear();
    EXPECT_THROW_MSG(ints->Add(11), CVxException, L"Invalid Value for n [11]");
    EXPECT_THROW_MSG(ints->AddAt(0, 0), CVxException, L"Invalid Value for n [0]");
    EXPECT_EQ(sink.events, (Events{L"add", L"add"}));
    EXPECT_EQ(ints->GetCount(), 1);

    CSmartPtr<CstringCol> words(new CstringCol(L"w", L"", 0, -1, L"[a-z]+", -1, 5));
    words->Add(L"abc");
    EXPECT_THROW_MSG(words->Add(L"abcdef"), CVxException, L"Invalid Value for w [abcdef].");
    EXPECT_THROW_MSG(words->Add(L"ab1"), CVxException, L"Invalid Value for w [ab1].");
    EXPECT_EQ(words->GetCount(), 1);

    // Reading checks every item as well; the ones before the bad one stay,
    // and the failure points at the item element.
    CSmartPtr<Ci4Col> read(new Ci4Col(L"v", L"", 0, -1, nullptr, -1, -1, nullptr, L"5"));
    try {
        ReadInto(*read, L"<r><v>1</v><v>2</v><v>9</v><v>3</v></r>");
        ADD_FAILURE() << "a value above maxInclusive was read";
    } catch (const CVxValidationException& e) {
        EXPECT_EQ(e.GetPath(), L"/r/v[3]");
        ASSERT_NE(e.GetInnerException(), nullptr);
        EXPECT_EQ(e.GetInnerException()->GetMessage(), L"Invalid Value for v [9]");
    }
    EXPECT_EQ(read->GetCount(), 2);
}

TEST(TypedCollections, DateCollectionsRefuseOtherKinds)
{
    const CDateTime date = CDateTime::MakeDate(2024, 2, 29);
    const CDateTime dateTime = CDateTime::MakeDateTime(2024, 2, 29, 12, 0, 0);
    const CDateTime time = CDateTime::MakeTime(12, 30, 0);
    const CDateTime yearMonth = CDateTime::MakeYearMonth(2024, 2);
    const CDateTime monthDay = CDateTime::MakeMonthDay(2, 29);
    struct Case
    {
        std::function<CdatetimeBaseCol*()> make;
        const CDateTime& accepted;
        const wchar_t* message;
    };
    const Case cases[] = {
        {[] { return new CdateCol(L"d", L""); }, date,
         L"Dates added to this collection must be of type dt_date"},
        {[] { return new CdatetimeCol(L"d", L""); }, dateTime,
         L"Dates added to this collection must be of type dt_dateTime"},
        {[] { return new CtimeCol(L"d", L""); }, time,
         L"Dates added to this collection must be of type dt_time"},
        {[] { return new CyearMonthCol(L"d", L""); }, yearMonth,
         L"Dates added to this collection must be of type dt_gYearMonth"},
        {[] { return new CmonthDayCol(L"d", L""); }, monthDay,
         L"Dates added to this collection must be of type dt_gMonthDay"},
    };
    for (const Case& c : cases) {
        CSmartPtr<CdatetimeBaseCol> col(c.make());
        col->Add(c.accepted);
        for (const CDateTime* other : {&date, &dateTime, &time, &yearMonth, &monthDay}) {
            if (other != &c.accepted) {
                EXPECT_THROW_MSG(col->Add(*other), CVxInvalidParamException, c.message);
            }
        }
        EXPECT_EQ(col->GetCount(), 1);
        EXPECT_EQ(col->Item(0), c.accepted);
    }

    CSmartPtr<CdateCol> bounded(new CdateCol(L"d", L"", 0, -1, nullptr, -1, -1, L"2024-01-01"));
    EXPECT_THROW_MSG(bounded->Add(CDateTime::MakeDate(2023, 12, 31)), CVxException,
                     L"Invalid Value for d [2023-12-31].");
}

TEST(TypedCollections, ReadingStopsAtTheFirstOtherElement)
{
    CSmartPtr<Ci4Col> col(new Ci4Col(L"v", L"urn:n"));
    EXPECT_EQ(ReadInto(*col, L"<r xmlns='urn:n'><v>1</v><v>\n 2 </v><w>3</w><v>4</v></r>"), L"w");
    EXPECT_EQ(std::vector<int32_t>(col->begin(), col->end()), (std::vector<int32_t>{1, 2}));
    col->Clear();
    EXPECT_EQ(ReadInto(*col, L"<r><v>1</v></r>"), L"v") << "an unqualified v is another element";
    EXPECT_EQ(ReadInto(*col, L"<r xmlns='urn:n'/>"), L"end");
    EXPECT_EQ(col->GetCount(), 0);
}

// Every typed collection, read from text and written back: the row of each
// kind must convert with its own conversion (a swapped row shows here).
TEST(TypedCollections, EveryKindRoundTripsThroughText)
{
    struct Case
    {
        std::function<CXmlTypeCollection*()> make;
        std::wstring input;    // the <v> texts, separated by '|'
        std::wstring expected; // as written back
    };
    const Case cases[] = {
        {[] { return new Ci1Col(L"v", L""); }, L"-128|127", L"-128|127"},
        {[] { return new Ci2Col(L"v", L""); }, L"-32768|+7", L"-32768|7"},
        {[] { return new Ci4Col(L"v", L""); }, L"-2147483648| 12 ", L"-2147483648|12"},
        {[] { return new Ci8Col(L"v", L""); }, L"-9223372036854775808", L"-9223372036854775808"},
        {[] { return new Cui1Col(L"v", L""); }, L"255", L"255"},
        {[] { return new Cui2Col(L"v", L""); }, L"65535", L"65535"},
        {[] { return new Cui4Col(L"v", L""); }, L"4294967295", L"4294967295"},
        {[] { return new Cui8Col(L"v", L""); }, L"18446744073709551615", L"18446744073709551615"},
        {[] { return new Cr4Col(L"v", L""); }, L"0.1|INF", L"0.1|INF"},
        {[] { return new Cr8Col(L"v", L""); }, L"1e100|-0", L"1e+100|-0"},
        {[] {
             return new Cr8Col(L"v", L"", 0, -1, nullptr, -1, -1, nullptr, nullptr, nullptr,
                               nullptr, -1, -1, -1, CWhitespaceUtils::WhitespaceRule_Collapse,
                               L"%.2f");
         },
         L"1.5", L"1.50"},
        {[] { return new CbooleanCol(L"v", L""); }, L"1|false", L"true|false"},
        {[] { return new CstringCol(L"v", L""); }, L" a  b |\u00e9", L" a  b |\u00e9"},
        {[] { return new CdecimalCol(L"v", L""); }, L"-0012.50", L"-12.50"},
        {[] { return new CintegerCol(L"v", L""); }, L"123456789012345678901234567890",
         L"123456789012345678901234567890"},
        {[] { return new CdurationCol(L"v", L""); }, L"P1Y2M3DT4H", L"P1Y2M3DT4H"},
        {[] { return new Cbase64BinaryCol(L"v", L""); }, L"AQID", L"AQID"},
        {[] { return new ChexBinaryCol(L"v", L""); }, L"0aff", L"0AFF"},
        {[] { return new CyearCol(L"v", L""); }, L"2024", L"2024"},
        {[] { return new CmonthCol(L"v", L""); }, L"--02", L"--02"},
        {[] { return new CdayCol(L"v", L""); }, L"---09", L"---09"},
        {[] { return new CdateCol(L"v", L""); }, L"2024-02-29Z", L"2024-02-29Z"},
        {[] { return new CdatetimeCol(L"v", L""); }, L"2024-02-29T10:00:00.5+01:00",
         L"2024-02-29T10:00:00.5+01:00"},
        {[] { return new CtimeCol(L"v", L""); }, L"23:59:59", L"23:59:59"},
        {[] { return new CyearMonthCol(L"v", L""); }, L"2024-02", L"2024-02"},
        {[] { return new CmonthDayCol(L"v", L""); }, L"--02-29", L"--02-29"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.input));
        CSmartPtr<CXmlTypeCollection> col(c.make());
        EXPECT_EQ(ReadInto(*col, (L"<r>" + Elements(c.input) + L"</r>").c_str()), L"end");
        EXPECT_EQ(Narrow(WriteOut(*col)), Narrow(L"<r>" + Elements(c.expected) + L"</r>"));
    }
}
