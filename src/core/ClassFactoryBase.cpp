#include <vxxml/ClassFactoryBase.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* const kXsiNamespace = L"http://www.w3.org/2001/XMLSchema-instance";

const std::wstring& XsiType(const CXmlElement& element)
{
    return element.GetAttribute(L"type", kXsiNamespace);
}

} // namespace

std::wstring CClassfactoryBase::GetElementType(CXmlElement* element)
{
    if (element == nullptr) {
        return {};
    }
    const std::wstring& type = XsiType(*element);
    const size_t colon = type.find(L':');
    return colon == std::wstring::npos ? type : type.substr(colon + 1);
}

std::wstring CClassfactoryBase::GetElementTypeNamespaceUri(CXmlElement* element)
{
    if (element == nullptr) {
        return {};
    }
    const std::wstring& type = XsiType(*element);
    const size_t colon = type.find(L':');
    if (colon == std::wstring::npos) {
        return element->GetNamespaceURI();
    }
    const CXmlDocument* document = element->GetDocument();
    if (document == nullptr) {
        return {};
    }
    return document->LookupNamespaceFromAlias(type.substr(0, colon).c_str());
}

} // namespace VxXmlLib16
