// The namespace-constraint rule of schema wildcards, shared by the bound-object
// base and the attribute metadata.
#pragma once

#include <string_view>

namespace VxXmlLib16::detail {

// Whether ns satisfies restriction ("##any", "##other", "##local",
// "##targetNamespace" or a whitespace-separated list of URIs and of those
// keywords) judged against targetNamespace.
bool IsNamespaceAllowed(std::wstring_view ns, std::wstring_view restriction,
                        std::wstring_view targetNamespace);

} // namespace VxXmlLib16::detail
