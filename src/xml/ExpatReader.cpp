#include "xml/ExpatReader.h"

#include "xml/XmlNames.h"

#include <cassert>
#include <climits>
#include <cstring>
#include <new>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/XmlDocument.h>

static_assert(sizeof(XML_Char) == 1, "the reader is written for expat's UTF-8 build");

namespace VxXmlLib16 {

CExpatReader::CExpatReader(CXmlDocument& document)
    : CInstanceMonitor(L"CExpatReader"), m_doc(document)
{
}

CExpatReader::~CExpatReader()
{
    if (m_parser != nullptr) {
        XML_ParserFree(m_parser);
    }
}

void CExpatReader::Initialise(bool forceUtf8)
{
    assert(m_parser == nullptr && "a reader parses one document");
    const XML_Char* encoding = forceUtf8 ? "UTF-8" : nullptr;
    m_parser =
        m_doc.m_schemaType == 2 ? XML_ParserCreate(encoding) : XML_ParserCreateNS(encoding, '|');
    if (m_parser == nullptr) {
        throw std::bad_alloc();
    }
    // Expat's protection against entity-expansion bombs ("billion laughs")
    // is on by default and stays on; external entities are never loaded
    // because no handler for them is registered.
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, OnStartElement, OnEndElement);
    XML_SetNamespaceDeclHandler(m_parser, OnStartNamespace, OnEndNamespace);
    XML_SetCharacterDataHandler(m_parser, OnCharacterData);
    if (!m_doc.m_stripCDATA) {
        XML_SetCdataSectionHandler(m_parser, OnStartCdata, OnEndCdata);
    }
    // Nothing else is registered: comments, processing instructions and the
    // document type declaration never reach the document.
}

void CExpatReader::Parse(bool isFinal)
{
    Feed(reinterpret_cast<const char*>(m_doc.m_pInput), m_doc.m_cbInput, isFinal);
}

void CExpatReader::Parse(const unsigned char* data, size_t length, bool isFinal)
{
    Feed(reinterpret_cast<const char*>(data), length, isFinal);
}

void CExpatReader::Feed(const char* data, size_t length, bool isFinal)
{
    assert(m_parser != nullptr && "Initialise first");
    // Expat copies what XML_Parse is given into a buffer of its own: a
    // large input handed over whole would be held twice. Slices of 1 MiB
    // keep that copy small (and the int length of XML_Parse in range).
    constexpr size_t kSlice = size_t{1} << 20;
    do {
        const size_t n = length < kSlice ? length : kSlice;
        const bool last = isFinal && n == length;
        if (XML_Parse(m_parser, data, static_cast<int>(n), last) != XML_STATUS_OK) {
            Fail();
        }
        data += n;
        length -= n;
    } while (length != 0);
    if (isFinal) {
        XML_ParserFree(m_parser);
        m_parser = nullptr;
    }
}

void CExpatReader::Fail()
{
    std::exception_ptr pending = m_pending;
    std::wstring message;
    if (!pending) {
        std::wstring text;
        const XML_LChar* expatText = XML_ErrorString(XML_GetErrorCode(m_parser));
        if (expatText != nullptr) {
            detail::AppendUtf8(text, expatText, std::strlen(expatText));
        }
        const XML_Size line = XML_GetCurrentLineNumber(m_parser);
        message = FormatString(L"%s at line %d", text.c_str(),
                               static_cast<int>(line > INT_MAX ? INT_MAX : line));
    }
    XML_ParserFree(m_parser);
    m_parser = nullptr;
    if (pending) {
        std::rethrow_exception(pending);
    }
    throw CVxException(message);
}

void CExpatReader::Stop()
{
    m_pending = std::current_exception();
    XML_StopParser(m_parser, XML_FALSE);
}

void XMLCALL CExpatReader::OnStartElement(void* userData, const XML_Char* name,
                                          const XML_Char** attributes)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    if (pThis->m_pending) {
        return;
    }
    try {
        pThis->m_doc.StartElementUtf8(name, attributes);
    } catch (...) {
        pThis->Stop();
    }
}

void XMLCALL CExpatReader::OnEndElement(void* userData, const XML_Char*)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    if (pThis->m_pending) {
        return;
    }
    try {
        pThis->m_doc.EndElement();
    } catch (...) {
        pThis->Stop();
    }
}

void XMLCALL CExpatReader::OnCharacterData(void* userData, const XML_Char* text, int length)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    assert(pThis != 0 && "pThis != 0");
    if (pThis->m_pending || length <= 0) {
        return;
    }
    assert(pThis->m_doc.m_pElementStack.size() > 0 && "pThis->m_doc.m_pElementStack.size() > 0");
    assert(pThis->m_doc.m_pElementStack.back() != 0 && "pThis->m_doc.m_pElementStack.back() != 0");
    try {
        CXmlDocument::AppendTextUtf8ExcludingCR(pThis->m_doc.m_pElementStack.back(), text,
                                                static_cast<size_t>(length));
    } catch (...) {
        pThis->Stop();
    }
}

void XMLCALL CExpatReader::OnStartNamespace(void* userData, const XML_Char* prefix,
                                            const XML_Char* uri)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    if (pThis->m_pending) {
        return;
    }
    try {
        pThis->m_doc.AddNamespaceDeclaration(prefix, uri);
    } catch (...) {
        pThis->Stop();
    }
}

// Prefixes are document-wide: an undeclaration leaves the map as it is.
void XMLCALL CExpatReader::OnEndNamespace(void*, const XML_Char*) {}

void XMLCALL CExpatReader::OnStartCdata(void* userData)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    if (pThis->m_pending) {
        return;
    }
    try {
        CXmlDocument::AppendTextUtf8ExcludingCR(pThis->m_doc.m_pElementStack.back(), "<![CDATA[",
                                                9);
    } catch (...) {
        pThis->Stop();
    }
}

void XMLCALL CExpatReader::OnEndCdata(void* userData)
{
    auto* pThis = static_cast<CExpatReader*>(userData);
    if (pThis->m_pending) {
        return;
    }
    try {
        CXmlDocument::AppendTextUtf8ExcludingCR(pThis->m_doc.m_pElementStack.back(), "]]>", 3);
    } catch (...) {
        pThis->Stop();
    }
}

} // namespace VxXmlLib16
