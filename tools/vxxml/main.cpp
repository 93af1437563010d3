// vxxml: command-line access to the library.
//
//   vxxml convert [options] IN OUT
//
// The document is read into untyped content (CElement), so any well-formed
// XML converts; names, namespaces, attributes and text survive, comments and
// processing instructions do not.
#include "Options.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

std::wstring Widen(const std::string& text)
{
    // File names are passed to the library as wide text; bytes above 0x7F
    // are taken as UTF-8.
    return Utf8ToUtf16(reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<uint32_t>(text.size()));
}

// Messages may quote document text, so they are printed as UTF-8 whatever
// the locale.
void PrintError(const std::wstring& message)
{
    try {
        const CBinaryData bytes = Utf16ToUtf8(message.c_str(), message.size());
        std::fputs("vxxml: ", stderr);
        std::fwrite(bytes.GetData(), 1, bytes.GetLength(), stderr);
        std::fputs("\n", stderr);
    } catch (const CVxException&) {
        std::fprintf(stderr, "vxxml: the error message cannot be shown\n");
    }
}

// Declares on the output's root the prefixes the input used (the default
// namespace included), so that the output reads like the input instead of
// carrying generated prefixes.
void KeepPrefixes(const CXmlDocument& document, CSerializationContext& context)
{
    std::vector<const CXmlElement*> pending{document.GetDocumentElement()};
    std::vector<std::wstring> uris;
    while (!pending.empty()) {
        const CXmlElement* element = pending.back();
        pending.pop_back();
        uris.push_back(element->GetNamespaceURI());
        for (const CXmlAttribute* attribute : element->GetAttributes()) {
            uris.push_back(attribute->GetNamespaceURI());
        }
        for (const CXmlElement* child = element->GetFirstElement(); child;
             child = child->GetNextSiblingElement()) {
            pending.push_back(child);
        }
    }
    CNamespaceAliasMap& aliases = context.GetNamespaceAliases();
    for (const std::wstring& uri : uris) {
        if (uri.empty() || aliases.DoesNamespaceExist(uri.c_str())) {
            continue;
        }
        const std::wstring alias = document.LookupAliasFromNamespace(uri.c_str());
        if (!alias.empty()) {
            aliases.Add(alias.c_str(), uri.c_str());
        } else if (context.GetDefaultNamespaceURI().empty() &&
                   document.LookupNamespaceFromAlias(L"") == uri) {
            context.SetDefaultNamespaceURI(uri.c_str());
        }
    }
}

int Convert(const vxxml_tool::ConvertOptions& options)
{
    CSerializationContext context;
    CSmartPtr<CElement> document(new CElement(L"document", L"", L"##any", L""));
    {
        CXmlDocument input(context);
        input.Load(Widen(options.input).c_str());
        KeepPrefixes(input, context);
        document->FromXmlElement(input.GetDocumentElement(), context);
    }

    if (options.output == "-") {
        const CBinaryData bytes =
            document->ToXmlStream(options.header, options.pretty, options.encoding, options.eol,
                                  context, options.compression);
        if (std::fwrite(bytes.GetData(), 1, bytes.GetLength(), stdout) != bytes.GetLength()) {
            std::fprintf(stderr, "vxxml: failed to write to standard output\n");
            return 1;
        }
        return 0;
    }
    if (options.compression == Compression_ZLib) {
        // Files take gzip; zlib framing exists for in-memory streams only, so
        // write the stream ourselves.
        const CBinaryData bytes =
            document->ToXmlStream(options.header, options.pretty, options.encoding, options.eol,
                                  context, options.compression);
        CFileBinaryStream file(Widen(options.output).c_str(), options.encoding, bytes);
        file.WriteToFile();
        return 0;
    }
    document->ToXmlFile(Widen(options.output).c_str(), options.header, options.pretty,
                        options.encoding, options.eol, context, options.compression);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // Past a file-size limit a write should fail with EFBIG, which the
    // library reports (and then removes its temporary file), instead of the
    // signal ending the process with a core dump.
    std::signal(SIGXFSZ, SIG_IGN);
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "-h" || args[0] == "--help") {
        std::fputs(vxxml_tool::Usage(), args.empty() ? stderr : stdout);
        return args.empty() ? 2 : 0;
    }
    if (args[0] != "convert") {
        std::fprintf(stderr, "vxxml: unknown command %s\n%s", args[0].c_str(), vxxml_tool::Usage());
        return 2;
    }
    try {
        args.erase(args.begin());
        return Convert(vxxml_tool::ParseConvertOptions(args));
    } catch (const std::invalid_argument& e) {
        std::fprintf(stderr, "vxxml: %s\n%s", e.what(), vxxml_tool::Usage());
        return 2;
    } catch (const CVxException& e) {
        PrintError(e.GetFullMessage());
        return 1;
    } catch (const std::bad_alloc&) {
        // Nothing that allocates: there may be no memory left to do it with.
        std::fputs("vxxml: out of memory\n", stderr);
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vxxml: %s\n", e.what());
        return 1;
    } catch (...) {
        std::fputs("vxxml: failed with an unknown error\n", stderr);
        return 1;
    }
}
