// Reads a purchase order, changes it, validates it and writes it back.
//
//   po_example IN.xml OUT.xml
#include "PurchaseOrder.h"

#include <cstdio>
#include <string>

using namespace VxXmlLib16;

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s IN.xml OUT.xml\n", argv[0]);
        return 2;
    }
    const std::wstring in(argv[1], argv[1] + std::char_traits<char>::length(argv[1]));
    const std::wstring out(argv[2], argv[2] + std::char_traits<char>::length(argv[2]));
    try {
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
            std::printf("refused: %ls\n", e.GetMessage().c_str());
        }

        // Writing checks every value and count against the schema again.
        CSerializationContext context;
        context.GetNamespaceAliases().Add(L"po", po::kNamespace);
        order->ToXmlFile(out.c_str(), true, true, XmlEncoding_UTF8, EOL_LF, context);
        std::printf("%d items written to %s\n", order->Items().GetCount(), argv[2]);
        return 0;
    } catch (const CVxException& e) {
        std::fprintf(stderr, "error: %ls\n", e.GetFullMessage().c_str());
        return 1;
    }
}
