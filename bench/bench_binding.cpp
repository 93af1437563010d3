// Reading a 10 MB purchase-order document into objects of the example's
// generated classes, and writing the objects back to UTF-8 bytes.
//
// References, measured in the same program on the same bytes:
// - reading: expat parsing the bytes with empty handlers (the floor any
//   expat-based reader stands on);
// - writing: building the very same bytes with plain std::string appends from
//   the same objects, values formatted with the same conversions (there is no
//   standard formatter for xs:decimal or xs:dateTime; integers use
//   std::to_chars).
#include "ExpatFloor.h"
#include "PurchaseOrder.h"

#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <malloc.h>
#include <random>
#include <string>

using namespace VxXmlLib16;

namespace {

constexpr int kItems = 36000; // about 10 MB of compact XML

CSmartPtr<po::CPurchaseOrder> MakeOrder()
{
    std::mt19937 rng(42);
    CSmartPtr<po::CPurchaseOrder> order(new po::CPurchaseOrder);
    order->SetOrderDate(CDateTime::FromString(L"2026-11-20", dt_date));
    order->SetStatus(po::Status_Shipped);
    po::CAddress& to = order->ShipTo();
    to.SetName(L"Alice Smith");
    to.SetStreet(L"123 Maple Street");
    to.SetCity(L"Mill Valley");
    to.SetZip(L"90952");
    for (int i = 0; i < kItems; ++i) {
        CSmartPtr<po::CItem> item(new po::CItem);
        wchar_t sku[16];
        std::swprintf(sku, 16, L"%03d-%c%c", i % 1000, L'A' + i % 26, L'A' + (i / 26) % 26);
        item->SetPartNum(sku);
        item->SetProductName(L"Product number " + std::to_wstring(i) + L" & accessories");
        item->SetQuantity(1 + static_cast<int32_t>(rng() % 99));
        const std::wstring price =
            std::to_wstring(rng() % 100000) + L"." + std::to_wstring(10 + rng() % 90);
        item->SetPrice(CDecimal(price.c_str()));
        if (rng() % 3 == 0) {
            item->Delivery().SetBackOrdered(rng() % 2 == 0);
        } else {
            item->Delivery().SetShipDate(CDateTime::FromString(
                L"2026-12-" + std::to_wstring(10 + rng() % 18) + L"T09:30:00Z", dt_dateTime));
        }
        if (rng() % 4 == 0) {
            item->SetComment(L"Leave at the back door <not the front>");
        }
        order->Items().Add(item);
    }
    return order;
}

const CSmartPtr<po::CPurchaseOrder>& Order()
{
    static const CSmartPtr<po::CPurchaseOrder> order = MakeOrder();
    return order;
}

CBinaryData WriteWithLibrary(const po::CPurchaseOrder& order)
{
    static const CSerializationContext context = [] {
        CSerializationContext c;
        c.GetNamespaceAliases().Add(L"po", po::kNamespace);
        return c;
    }();
    return order.ToXmlStream(false, false, XmlEncoding_UTF8, EOL_LF, context);
}

const std::string& Document()
{
    static const std::string doc = [] {
        const CBinaryData bytes = WriteWithLibrary(*Order());
        return std::string(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
    }();
    return doc;
}

// --- the std::string reference writer ---------------------------------------

void AppendNarrow(std::string& out, const std::wstring& text)
{
    for (wchar_t c : text) {
        out += static_cast<char>(c); // the benchmark's text is ASCII
    }
}

void AppendEscaped(std::string& out, const std::wstring& text)
{
    for (wchar_t c : text) {
        switch (c) {
        case L'&':
            out += "&amp;";
            break;
        case L'<':
            out += "&lt;";
            break;
        case L'>':
            out += "&gt;";
            break;
        default:
            out += static_cast<char>(c);
        }
    }
}

void AppendElement(std::string& out, const char* name, const std::wstring& text)
{
    out += "<po:";
    out += name;
    out += '>';
    AppendEscaped(out, text);
    out += "</po:";
    out += name;
    out += '>';
}

void AppendReference(std::string& out, po::CPurchaseOrder& order)
{
    out += "<po:purchaseOrder xmlns:po=\"urn:vxxml:example:po\" orderDate=\"";
    AppendNarrow(out, order.GetOrderDate().ToString());
    out += "\" status=\"";
    AppendNarrow(out, po::StatusToText(order.GetStatus()));
    out += "\"><po:shipTo>";
    const po::CAddress& to = order.ShipTo();
    AppendElement(out, "name", to.GetName());
    AppendElement(out, "street", to.GetStreet());
    AppendElement(out, "city", to.GetCity());
    AppendElement(out, "zip", to.GetZip());
    out += "</po:shipTo>";
    for (po::CItem* item : order.Items()) {
        out += "<po:item partNum=\"";
        AppendNarrow(out, item->GetPartNum());
        out += "\">";
        AppendElement(out, "productName", item->GetProductName());
        char number[16];
        const auto end = std::to_chars(number, number + sizeof number, item->GetQuantity()).ptr;
        out += "<po:quantity>";
        out.append(number, end);
        out += "</po:quantity>";
        AppendElement(out, "price", item->GetPrice().ToString());
        const po::CItemDelivery& delivery = item->Delivery();
        if (delivery.HasShipDate()) {
            AppendElement(out, "shipDate", delivery.GetShipDate().ToString());
        } else {
            out += delivery.GetBackOrdered() ? "<po:backOrdered>true</po:backOrdered>"
                                             : "<po:backOrdered>false</po:backOrdered>";
        }
        if (item->HasComment()) {
            AppendElement(out, "comment", item->GetComment());
        }
        out += "</po:item>";
    }
    out += "</po:purchaseOrder>";
}

// --- reading ----------------------------------------------------------------

void BM_ReadExpatEmptyHandlers(benchmark::State& state)
{
    const std::string& doc = Document();
    for (auto _ : state) {
        if (!benchfloor::ParseWithEmptyHandlers(doc)) {
            state.SkipWithError("expat failed");
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// The document tree alone, which every read builds first.
void BM_ReadTreeOnly(benchmark::State& state)
{
    const std::string& doc = Document();
    for (auto _ : state) {
        CXmlDocument tree;
        tree.LoadXmlStream(reinterpret_cast<unsigned char*>(const_cast<char*>(doc.data())),
                           static_cast<uint32_t>(doc.size()));
        benchmark::DoNotOptimize(tree.GetDocumentElement());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// Into a fresh object each time, as an application reads a document; the
// objects of the previous round are destroyed outside the timed part.
void BM_ReadObjects(benchmark::State& state)
{
    const std::string& doc = Document();
    for (auto _ : state) {
        CSmartPtr<po::CPurchaseOrder> order(new po::CPurchaseOrder);
        order->FromXmlStream(reinterpret_cast<const unsigned char*>(doc.data()),
                             static_cast<uint32_t>(doc.size()));
        state.PauseTiming();
        if (order->Items().GetCount() != kItems) {
            state.SkipWithError("the document did not read back whole");
        }
        order = nullptr;
        // glibc defers part of freeing small blocks: it merges them on a later
        // large allocation (here expat's first buffer), which would put a good
        // part of the destruction back into the timed read. malloc_trim
        // finishes that work now, so the read starts from a settled heap, as
        // the first read of an application does.
        malloc_trim(0);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// Reading into the same object again: its previous content is released
// first, inside the timed part.
void BM_ReadObjectsReused(benchmark::State& state)
{
    const std::string& doc = Document();
    CSmartPtr<po::CPurchaseOrder> order(new po::CPurchaseOrder);
    for (auto _ : state) {
        order->FromXmlStream(reinterpret_cast<const unsigned char*>(doc.data()),
                             static_cast<uint32_t>(doc.size()));
        benchmark::DoNotOptimize(order->Items().GetCount());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// --- writing ----------------------------------------------------------------

void BM_WriteStringAppends(benchmark::State& state)
{
    po::CPurchaseOrder& order = *Order();
    std::string check;
    AppendReference(check, order);
    if (check != Document()) {
        size_t i = 0;
        while (i < check.size() && i < Document().size() && check[i] == Document()[i]) {
            ++i;
        }
        std::fprintf(stderr, "reference: %s\nlibrary:   %s\n", check.substr(i, 80).c_str(),
                     Document().substr(i, 80).c_str());
        state.SkipWithError("the reference writer does not produce the library's bytes");
    }
    for (auto _ : state) {
        std::string out;
        AppendReference(out, order);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * check.size()));
}

void BM_WriteObjects(benchmark::State& state)
{
    const po::CPurchaseOrder& order = *Order();
    size_t bytes = 0;
    for (auto _ : state) {
        const CBinaryData data = WriteWithLibrary(order);
        bytes = data.GetLength();
        benchmark::DoNotOptimize(data.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// The binding engine alone: every property read, checked and formatted as
// in BM_WriteObjects, then handed to a writer that only counts. What this
// takes is the floor of the write whatever the writer; BM_WriteObjects
// minus this is the text writer's part.
class CCountingWriter : public CXmlWriter
{
public:
    CCountingWriter() : CXmlWriter(L"CCountingWriter") {}
    void WriteComment(const wchar_t*) override {}
    void WriteRawBlock(const wchar_t*) override {}
    void WriteRawLine(const wchar_t*) override {}
    void StartElement(const wchar_t*, const wchar_t*) override { ++m_calls; }
    void WriteElementText(const wchar_t*, ItemType, bool) override { ++m_calls; }
    void EndElement() override { ++m_calls; }
    void WriteAttribute(const wchar_t*, const wchar_t*, const wchar_t*, ItemType) override
    {
        ++m_calls;
    }
    void WriteXsiType(const wchar_t*, const wchar_t*, ItemType) override { ++m_calls; }
    void WriteNil() override { ++m_calls; }
    void WriteSimpleElement(const std::wstring&, const std::wstring&, const std::wstring& text,
                            ItemType, bool) override
    {
        m_calls += text.size();
    }
    size_t Calls() const { return m_calls; }

private:
    size_t m_calls = 0;
};

void BM_WriteObjectsEngineOnly(benchmark::State& state)
{
    const po::CPurchaseOrder& order = *Order();
    const CSerializationContext context;
    for (auto _ : state) {
        CCountingWriter writer;
        order.ToXml_Int(&writer, true, po::kNamespace, context, false);
        benchmark::DoNotOptimize(writer.Calls());
    }
}

BENCHMARK(BM_ReadExpatEmptyHandlers)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadTreeOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadObjectsReused)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteStringAppends)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteObjects)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteObjectsEngineOnly)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
