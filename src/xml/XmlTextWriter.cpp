#include <cassert>
#include <cstring>
#include <cwchar>
#include <vxxml/Exceptions.h>
#include <vxxml/XmlTextWriter.h>

namespace VxXmlLib16 {

namespace {

// Every message of the text writer, in one place.
constexpr const wchar_t* kMsgHeadedDirective =
    L"Headed directives must appear before an Element has been added.";
constexpr const wchar_t* kMsgAttributesFirst = L"Attributes must be added before elements";
constexpr const wchar_t* kMsgInvalidEOL = L"Invalid EOL type.";
constexpr const wchar_t* kMsgNoElementOpen = L"No Element is open.";
constexpr const wchar_t* kMsgNullStream = L"The output stream may not be NULL.";

constexpr uint32_t kFlushThreshold = 4096;

// What the escaper does with a character below 0x40; everything from 0x40
// up is written as it is, so one comparison skips almost every character.
enum EscapeAction : unsigned char {
    Keep = 0,
    Amp,
    Lt,
    Gt,
    Quot,
    LineFeedText, // the writer's line end
    LineFeedAttr, // &#xA;
    Drop,         // carriage return
};

struct EscapeTables
{
    unsigned char text[0x40] = {};
    unsigned char attribute[0x40] = {};
    constexpr EscapeTables()
    {
        text[L'&'] = attribute[L'&'] = Amp;
        text[L'<'] = attribute[L'<'] = Lt;
        text[L'>'] = attribute[L'>'] = Gt;
        text[L'\r'] = attribute[L'\r'] = Drop;
        text[L'\n'] = LineFeedText;
        attribute[L'\n'] = LineFeedAttr;
        attribute[L'"'] = Quot;
    }
};
constexpr EscapeTables kEscape;

inline void Put(CTextStream* stream, const wchar_t* begin, const wchar_t* end)
{
    if (end != begin) {
        stream->Write(begin, static_cast<uint32_t>(end - begin));
    }
}

inline bool IsEmpty(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

inline const wchar_t* OrEmpty(const wchar_t* text)
{
    return text ? text : L"";
}

} // namespace

CXmlTextWriter::CXmlTextWriter(CTextStream* stream)
    : CXmlWriter(L"CXmlTextWriter"), m_strIndentChars(L"\t"), m_strEOLChars(L"\n"),
      m_pStream(stream)
{
    if (stream == nullptr) {
        throw CVxInvalidParamException(kMsgNullStream);
    }
}

CXmlTextWriter::~CXmlTextWriter() = default;

void CXmlTextWriter::StartDocument()
{
    CXmlWriter::StartDocument();
    m_pStream->Open();
}

void CXmlTextWriter::EndDocument()
{
    m_pStream->Close();
    CXmlWriter::EndDocument();
}

void CXmlTextWriter::SetFormatting(bool formatting)
{
    assert(m_pContext == nullptr && "m_pContext == 0");
    m_bFormatting = formatting;
}

void CXmlTextWriter::SetIndentChars(const wchar_t* indentChars)
{
    m_strIndentChars = OrEmpty(indentChars);
}

void CXmlTextWriter::SetEOLType(EOLType type)
{
    switch (type) {
    case EOL_CRLF:
        m_strEOLChars = L"\r\n";
        break;
    case EOL_LF:
        m_strEOLChars = L"\n";
        break;
    default:
        throw CVxException(kMsgInvalidEOL);
    }
    m_EOLType = type;
}

void CXmlTextWriter::FlushIfFull()
{
    if (m_pStream->GetLength() >= kFlushThreshold) {
        m_pStream->Flush();
    }
}

// Copies runs of characters that need no escaping in one append each, so the
// cost per character is one table test, not a call into the stream.
void CXmlTextWriter::WriteEscaped(const wchar_t* text, bool attributeMode)
{
    const unsigned char* table = attributeMode ? kEscape.attribute : kEscape.text;
    const wchar_t* run = text;
    const wchar_t* p = text;
    for (;; ++p) {
        const wchar_t c = *p;
        if (static_cast<uint32_t>(c) >= 0x40) {
            continue;
        }
        if (c == L'\0') {
            break;
        }
        const unsigned char action = table[c];
        if (action == Keep) {
            continue;
        }
        Put(m_pStream, run, p);
        run = p + 1;
        switch (action) {
        case Amp:
            m_pStream->Write(L"&amp;", 5);
            break;
        case Lt:
            m_pStream->Write(L"&lt;", 4);
            break;
        case Gt:
            m_pStream->Write(L"&gt;", 4);
            break;
        case Quot:
            m_pStream->Write(L"&quot;", 6);
            break;
        case LineFeedText:
            m_pStream->Write(m_strEOLChars);
            break;
        case LineFeedAttr:
            m_pStream->Write(L"&#xA;", 5);
            break;
        default: // Drop
            break;
        }
    }
    Put(m_pStream, run, p);
}

void CXmlTextWriter::WriteIndent(int32_t depth)
{
    for (int32_t i = 0; i < depth; ++i) {
        m_pStream->Write(m_strIndentChars);
    }
}

void CXmlTextWriter::WriteNamespaceDeclaration(const std::wstring& prefix,
                                               const std::wstring& namespaceUri)
{
    m_pStream->Write(L"xmlns:", 6);
    m_pStream->Write(prefix);
    m_pStream->Write(L"=\"", 2);
    WriteEscaped(namespaceUri.c_str(), true);
    m_pStream->Write(L'"');
}

void CXmlTextWriter::CloseParentStartTag()
{
    m_pContext->IncrementChildCount();
    if (m_pContext->IsStartTagOpen()) {
        m_pContext->SetStartTagOpen(false);
        m_pStream->Write(L'>');
        if (m_bFormatting) {
            m_pStream->Write(m_strEOLChars);
        }
    }
}

void CXmlTextWriter::WriteXmlDeclaration()
{
    m_pStream->Write(L"<?xml version=\"1.0\"");
    switch (m_pStream->GetEncoding()) {
    case XmlEncoding_UTF8:
        m_pStream->Write(L" encoding=\"UTF-8\"");
        break;
    case XmlEncoding_UTF16:
        m_pStream->Write(L" encoding=\"UTF-16\"");
        break;
    default: // UTF-16 without a name in the declaration, or unknown
        break;
    }
    m_pStream->Write(L"?>", 2);
    m_pStream->Write(m_strEOLChars);
    FlushIfFull();
}

void CXmlTextWriter::WriteHeadedDirective(const wchar_t* text)
{
    if (m_pContext) {
        throw CVxException(kMsgHeadedDirective);
    }
    m_pStream->Write(OrEmpty(text));
    m_pStream->Write(m_strEOLChars);
    FlushIfFull();
}

void CXmlTextWriter::WriteComment(const wchar_t* text)
{
    m_pStream->Write(L"<!--", 4);
    WriteEscaped(OrEmpty(text), false);
    m_pStream->Write(L"-->", 3);
    m_pStream->Write(m_strEOLChars);
    FlushIfFull();
}

void CXmlTextWriter::WriteRawBlock(const wchar_t* text)
{
    m_pStream->Write(OrEmpty(text));
    m_pStream->Write(m_strEOLChars);
    m_pStream->Write(m_strEOLChars);
    FlushIfFull();
}

void CXmlTextWriter::WriteRawLine(const wchar_t* text)
{
    m_pStream->Write(L' ');
    m_pStream->Write(m_strEOLChars);
    m_pStream->Write(OrEmpty(text));
    m_pStream->Write(m_strEOLChars);
    FlushIfFull();
}

void CXmlTextWriter::StartElement(const wchar_t* localName, const wchar_t* namespaceUri)
{
    if (m_pContext) {
        CloseParentStartTag();
    }
    CXmlWriterContext* context = PushContext(localName, namespaceUri);
    const auto depth = static_cast<size_t>(context->GetDepth());
    if (m_endTags.size() <= depth) {
        m_endTags.resize(depth + 1);
    }
    std::wstring& endTag = m_endTags[depth];

    const std::wstring& uri = context->GetNamespaceUri();
    const std::wstring& local = context->GetLocalName();
    const std::wstring* prefix = nullptr;
    const std::wstring* declare = nullptr;
    if (!uri.empty() && uri != context->GetDefaultNamespace()) {
        prefix = context->FindPrefix(uri);
        // An empty prefix cannot name a namespace other than the default
        // one, so it is treated as no prefix at all.
        if (prefix == nullptr || prefix->empty()) {
            context->AddNamespace(GeneratePrefix(), uri);
            prefix = context->FindPrefix(uri);
            declare = prefix;
        }
    }
    // "</" [prefix ":"] name ">" in one pass over a buffer that keeps its
    // capacity from element to element.
    const size_t prefixLength = prefix ? prefix->size() + 1 : 0;
    endTag.resize(3 + prefixLength + local.size());
    wchar_t* out = endTag.data();
    *out++ = L'<';
    *out++ = L'/';
    if (prefix) {
        out = std::wmemcpy(out, prefix->data(), prefix->size()) + prefix->size();
        *out++ = L':';
    }
    out = std::wmemcpy(out, local.data(), local.size()) + local.size();
    *out = L'>';

    if (m_bFormatting) {
        WriteIndent(context->GetDepth());
    }
    m_pStream->Write(L'<');
    // The qualified name is the end tag without "</" and ">".
    m_pStream->Write(endTag.data() + 2, static_cast<uint32_t>(endTag.size() - 3));
    if (declare) {
        m_pStream->Write(L' ');
        WriteNamespaceDeclaration(*declare, uri);
    }

    if (context->GetParent() == nullptr) {
        // Everything set up before the root is declared on the root.
        if (!m_strDefaultNamespace.empty()) {
            m_pStream->Write(L" xmlns=\"", 8);
            WriteEscaped(m_strDefaultNamespace.c_str(), true);
            m_pStream->Write(L'"');
        }
        const std::wstring xmlUri(XmlNamespaceUri);
        for (const auto& [aliasUri, aliasPrefix] : m_mapNamespaceAlias) {
            if (aliasUri.compare(0, xmlUri.size(), xmlUri) == 0) {
                continue; // the xml prefix is bound by XML itself
            }
            m_pStream->Write(L' ');
            WriteNamespaceDeclaration(aliasPrefix, aliasUri);
        }
    }
    FlushIfFull();
}

void CXmlTextWriter::WriteElementText(const wchar_t* text, ItemType /*itemType*/,
                                      bool valueIsDefault)
{
    if (m_pContext == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    if (IsEmpty(text)) {
        return;
    }
    if (valueIsDefault && !m_bWriteDefaultElementValues) {
        return;
    }
    if (m_pContext->IsStartTagOpen()) {
        m_pStream->Write(L'>');
        m_pContext->SetStartTagOpen(false);
    }
    if (text[0] == L'<' && std::wcsncmp(text, L"<![CDATA[", 9) == 0) {
        m_pStream->Write(text);
    } else {
        WriteEscaped(text, false);
    }
    FlushIfFull();
}

void CXmlTextWriter::EndElement()
{
    if (m_pContext == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    if (m_pContext->IsStartTagOpen()) {
        m_pStream->Write(L"/>", 2);
    } else {
        if (m_bFormatting && m_pContext->GetChildCount() > 0) {
            WriteIndent(m_pContext->GetDepth());
        }
        m_pStream->Write(m_endTags[static_cast<size_t>(m_pContext->GetDepth())]);
    }
    if (m_bFormatting) {
        m_pStream->Write(m_strEOLChars);
    }
    FlushIfFull();
    PopContext();
}

void CXmlTextWriter::WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri,
                                    const wchar_t* value, ItemType /*itemType*/)
{
    if (m_pContext == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    if (!m_pContext->IsStartTagOpen()) {
        throw CVxException(kMsgAttributesFirst);
    }
    // ' [prefix:]name="' is put together first and appended in one piece.
    m_strScratch.assign(1, L' ');
    if (!IsEmpty(namespaceUri)) {
        m_strScratchUri.assign(namespaceUri);
        const std::wstring* known = m_pContext->FindPrefix(m_strScratchUri);
        if (known == nullptr || known->empty()) {
            m_pContext->AddNamespace(GeneratePrefix(), m_strScratchUri);
            known = m_pContext->FindPrefix(m_strScratchUri);
            m_pStream->Write(L' ');
            WriteNamespaceDeclaration(*known, m_strScratchUri);
        }
        m_strScratch += *known;
        m_strScratch += L':';
    }
    m_strScratch += OrEmpty(localName);
    m_strScratch += L"=\"";
    m_pStream->Write(m_strScratch);
    WriteEscaped(OrEmpty(value), true);
    m_pStream->Write(L'"');
    FlushIfFull();
}

void CXmlTextWriter::WriteXsiType(const wchar_t* typeNamespaceUri, const wchar_t* typeLocalName,
                                  ItemType itemType)
{
    if (m_pContext == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    if (!m_pContext->IsStartTagOpen()) {
        throw CVxException(kMsgAttributesFirst);
    }
    const std::wstring typeUri(OrEmpty(typeNamespaceUri));
    if (!typeUri.empty() && typeUri != m_pContext->GetDefaultNamespace()) {
        std::wstring prefix = m_pContext->GetNamespaceMapValue(typeUri);
        if (prefix.empty()) {
            prefix = GeneratePrefix();
            m_pContext->AddNamespace(prefix, typeUri);
            // The attribute below brings its own leading space, so two
            // spaces separate this declaration from it.
            m_pStream->Write(L' ');
            WriteNamespaceDeclaration(prefix, typeUri);
            m_pStream->Write(L' ');
        }
        std::wstring value = prefix + L':' + OrEmpty(typeLocalName);
        WriteAttribute(L"type", XsiNamespaceUri, value.c_str(), itemType);
    } else {
        WriteAttribute(L"type", XsiNamespaceUri, OrEmpty(typeLocalName), itemType);
    }
}

void CXmlTextWriter::WriteNil()
{
    if (m_pContext == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    if (!m_pContext->IsStartTagOpen()) {
        throw CVxException(kMsgAttributesFirst);
    }
    WriteAttribute(L"nil", XsiNamespaceUri, L"true", ItemType_boolean);
}

} // namespace VxXmlLib16
