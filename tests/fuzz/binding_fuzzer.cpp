// Bytes into bound objects: the purchase-order classes of the example (typed
// members, facets, a merged choice, a collection, an enumeration) and
// untyped content (CElement).
//
// The first byte picks the options, the rest is the document:
//   bit 0     read into a CElement instead of a CPurchaseOrder
//   bit 1     IgnoreUnknownElements and IgnoreUnknownAttributes
//   bit 2     IgnoreNamespaces
//   bit 3     IgnoreInvalidCollectionCounts and IgnoreMissingChoice
//
// Every read must end in an object or in a CVxException. An object that was
// read is written; writing may refuse values that reading accepted (facets
// are checked on writing only), but what it writes must read back and write
// again to the same bytes.
#include "FuzzSupport.h"
#include "PurchaseOrder.h"

#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

CSerializationContext MakeContext(uint8_t flags)
{
    CSerializationContext context;
    if (flags & 0x02) {
        context.SetIgnoreUnknownElements(true);
        context.SetIgnoreUnknownAttributes(true);
    }
    context.SetIgnoreNamespaces((flags & 0x04) != 0);
    context.SetIgnoreInvalidCollectionCounts((flags & 0x08) != 0);
    context.SetIgnoreMissingChoice((flags & 0x08) != 0);
    return context;
}

CSmartPtr<CXmlObjectBase> NewObject(bool untyped)
{
    if (untyped) {
        return new CElement(L"document", L"", L"##any", L"");
    }
    return new po::CPurchaseOrder;
}

bool Read(CXmlObjectBase& object, const unsigned char* data, size_t size,
          const CSerializationContext& context)
{
    try {
        object.FromXmlStream(data, static_cast<uint32_t>(size), context);
        return true;
    } catch (const CVxException& e) {
        VXFUZZ_CHECK(!e.GetFullMessage().empty());
        return false;
    }
}

bool Write(const CXmlObjectBase& object, const CSerializationContext& context, CBinaryData& out)
{
    try {
        out = object.ToXmlStream(false, false, XmlEncoding_UTF8, EOL_LF, context);
        return true;
    } catch (const CVxException& e) {
        VXFUZZ_CHECK(!e.GetFullMessage().empty());
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    const uint8_t flags = in.Byte();
    const bool untyped = (flags & 0x01) != 0;
    const CSerializationContext context = MakeContext(flags);
    std::vector<unsigned char> bytes(in.Data(), in.Data() + in.Left());

    CSmartPtr<CXmlObjectBase> first = NewObject(untyped);
    if (!Read(*first, bytes.data(), bytes.size(), context)) {
        return 0;
    }
    CBinaryData written;
    if (!Write(*first, context, written)) {
        return 0;
    }
    CSmartPtr<CXmlObjectBase> second = NewObject(untyped);
    if (!Read(*second, written.GetData(), written.GetLength(), context)) {
        std::fprintf(stderr, "written: %.*s\n", static_cast<int>(written.GetLength()),
                     reinterpret_cast<const char*>(written.GetData()));
        VXFUZZ_CHECK(!"what was written does not read back");
    }
    CBinaryData again;
    VXFUZZ_CHECK(Write(*second, context, again));
    VXFUZZ_CHECK(
        again.GetLength() == written.GetLength() &&
        std::equal(again.GetData(), again.GetData() + again.GetLength(), written.GetData()));
    return 0;
}
