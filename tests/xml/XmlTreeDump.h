// Test helpers shared by the document-tree tests.
#pragma once

#include <string>
#include <vector>
#include <vxxml/XmlDocument.h>

namespace xmltest {

inline std::vector<VxXmlLib16::CXmlElement*> Children(const VxXmlLib16::CXmlElement* e)
{
    std::vector<VxXmlLib16::CXmlElement*> out;
    for (auto* c = e->GetFirstElement(); c; c = c->GetNextSiblingElement()) {
        out.push_back(c);
    }
    return out;
}

// A compact rendering of a subtree: {ns}name[@{ns}a=v...]"text"(children).
inline std::wstring Dump(const VxXmlLib16::CXmlElement* e)
{
    std::wstring s = L"{" + e->GetNamespaceURI() + L"}" + e->GetLocalName();
    for (const auto* a : e->GetAttributes()) {
        s += L"[@{" + a->GetNamespaceURI() + L"}" + a->GetLocalName() + L"=" + a->GetValue() + L"]";
    }
    s += L"\"" + e->GetText() + L"\"(";
    for (const auto* c : Children(e)) {
        s += Dump(c);
    }
    return s + L")";
}

} // namespace xmltest
