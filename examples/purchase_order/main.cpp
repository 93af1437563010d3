// Reads a purchase order, changes it, validates it and writes it back.
//
//   po_example IN.xml OUT.xml
#include "PurchaseOrder.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

using namespace VxXmlLib16;

namespace {

// Arguments are UTF-8 bytes; the library takes file names as wide text.
std::wstring Widen(const char* text)
{
    return Utf8ToUtf16(reinterpret_cast<const unsigned char*>(text),
                       static_cast<uint32_t>(std::char_traits<char>::length(text)));
}

// Messages may quote document text: printed as UTF-8 whatever the locale.
void Print(FILE* to, const char* lead, const std::wstring& message)
{
    const CBinaryData bytes = Utf16ToUtf8(message.c_str(), message.size());
    std::fputs(lead, to);
    std::fwrite(bytes.GetData(), 1, bytes.GetLength(), to);
    std::fputs("\n", to);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s IN.xml OUT.xml\n", argv[0]);
        return 2;
    }
    try {
        const std::wstring in = Widen(argv[1]);
        const std::wstring out = Widen(argv[2]);
        CSmartPtr<po::CPurchaseOrder> order(new po::CPurchaseOrder);
        order->FromXmlFile(in.c_str());

        // Change it: one more item, and the order has shipped.
        CSmartPtr<po::CItem> item(new po::CItem);
        item->SetPartNum(L"455-BX");
        item->SetProductName(L"Garden hose, 25 m");
        item->SetQuantity(3);
        item->SetPrice(CDecimal(L"19.90"));
        item->Delivery().SetBackOrdered(false);
        order->Items().Add(item);
        order->SetStatus(po::Status_Shipped);

        // Setters refuse values that break the schema's facets.
        try {
            item->SetQuantity(150);
        } catch (const CVxException& e) {
            Print(stdout, "refused: ", e.GetMessage());
        }

        // Writing checks every value and count against the schema again.
        CSerializationContext context;
        context.GetNamespaceAliases().Add(L"po", po::kNamespace);
        order->ToXmlFile(out.c_str(), true, true, XmlEncoding_UTF8, EOL_LF, context);
        std::printf("%d items written to %s\n", order->Items().GetCount(), argv[2]);
        return 0;
    } catch (const CVxException& e) {
        Print(stderr, "error: ", e.GetFullMessage());
        return 1;
    } catch (const std::bad_alloc&) {
        std::fputs("error: out of memory\n", stderr);
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "error: %s\n", e.what());
        return 1;
    }
}
