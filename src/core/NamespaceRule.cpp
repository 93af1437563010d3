#include "core/NamespaceRule.h"

namespace VxXmlLib16::detail {
namespace {

bool IsXmlSpace(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

bool TokenAllows(std::wstring_view token, std::wstring_view ns, std::wstring_view targetNamespace)
{
    if (token == L"##any") {
        return true;
    }
    if (token == L"##other") {
        // Everything but the target namespace. Unlike a strict reading of
        // XML Schema this admits unqualified names when the target namespace
        // is not empty: untyped content without a namespace is written that
        // way under "##other", and must read back.
        return ns != targetNamespace;
    }
    if (token == L"##local") {
        return ns.empty();
    }
    if (token == L"##targetNamespace") {
        return ns == targetNamespace;
    }
    return ns == token;
}

} // namespace

bool IsNamespaceAllowed(std::wstring_view ns, std::wstring_view restriction,
                        std::wstring_view targetNamespace)
{
    // A single keyword is the usual case and just a list of one entry.
    size_t pos = 0;
    while (pos < restriction.size()) {
        while (pos < restriction.size() && IsXmlSpace(restriction[pos])) {
            ++pos;
        }
        size_t end = pos;
        while (end < restriction.size() && !IsXmlSpace(restriction[end])) {
            ++end;
        }
        if (end > pos && TokenAllows(restriction.substr(pos, end - pos), ns, targetNamespace)) {
            return true;
        }
        pos = end;
    }
    return false;
}

} // namespace VxXmlLib16::detail
