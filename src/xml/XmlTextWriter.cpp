#include "xml/XmlEscaping.h"

#include <cassert>
#include <cstring>
#include <cwchar>
#include <typeinfo>
#include <vxxml/Exceptions.h>
#include <vxxml/XmlTextWriter.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace VxXmlLib16 {

using namespace detail::escaping;

namespace {

// Every message of the text writer, in one place.
constexpr const wchar_t* kMsgHeadedDirective =
    L"Headed directives must appear before an Element has been added.";
constexpr const wchar_t* kMsgAttributesFirst = L"Attributes must be added before elements";
constexpr const wchar_t* kMsgInvalidEOL = L"Invalid EOL type.";
constexpr const wchar_t* kMsgNoElementOpen = L"No Element is open.";
constexpr const wchar_t* kMsgNullStream = L"The output stream may not be NULL.";

constexpr uint32_t kFlushThreshold = 4096;

// Length of a zero-terminated text. The library's wcslen already reads in
// vector blocks; reading past a text's end ourselves would trip memory
// checkers in the applications that use us.
inline size_t TextLength(const wchar_t* text)
{
    return std::wcslen(text);
}

inline bool IsEmpty(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

inline const wchar_t* OrEmpty(const wchar_t* text)
{
    return text ? text : L"";
}

// The prefix of an element in no namespace or in the default one.
const std::wstring g_strNoPrefix;

// Element text that starts a CDATA section is written as it stands.
inline bool StartsCData(const wchar_t* text)
{
    return text[0] == L'<' && std::wcsncmp(text, L"<![CDATA[", 9) == 0;
}

} // namespace

CXmlTextWriter::CXmlTextWriter(CTextStream* stream)
    : CXmlWriter(L"CXmlTextWriter"), m_strIndentChars(L"\t"), m_strEOLChars(L"\n"),
      m_pStream(stream), m_pending(nullptr),
      m_pendingOwner(std::make_unique_for_overwrite<wchar_t[]>(kPendingCapacity + kPendingSlack))
{
    m_pending = m_pendingOwner.get();
    if (stream == nullptr) {
        throw CVxInvalidParamException(kMsgNullStream);
    }
    // The plain in-memory stream's Flush does nothing: for it the flush
    // rule need not even be checked. Any derived stream (a file, or one of
    // the caller's) gets its flushes.
    m_bStreamFlushes = typeid(*stream) != typeid(CTextStream);
}

CXmlTextWriter::~CXmlTextWriter() = default;

void CXmlTextWriter::StartDocument()
{
    CXmlWriter::StartDocument();
    m_cchPending = 0; // the stream starts empty, so does what is owed to it
    ++m_ullDrains;
    m_bFlushedOnce = false;
    m_pStream->Open();
}

void CXmlTextWriter::EndDocument()
{
    Drain();
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
    m_strIndentRun.clear();
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

void CXmlTextWriter::PutLong(const wchar_t* text, size_t length)
{
    while (m_cchPending + length > kPendingCapacity) {
        const size_t room = kPendingCapacity - m_cchPending;
        std::memcpy(m_pending + m_cchPending, text, room * sizeof(wchar_t));
        m_cchPending = kPendingCapacity;
        text += room;
        length -= room;
        Drain();
    }
    std::memcpy(m_pending + m_cchPending, text, length * sizeof(wchar_t));
    m_cchPending += length;
}

void CXmlTextWriter::PutText(const wchar_t* text)
{
    if (text) {
        Put(text, TextLength(text));
    }
}

void CXmlTextWriter::Drain()
{
    if (m_cchPending != 0) {
        const size_t count = m_cchPending;
        m_cchPending = 0;
        ++m_ullDrains;
        m_pStream->Write(m_pending, count);
    }
}

void CXmlTextWriter::FlushIfDue()
{
    // A stream that keeps its text (in memory) stays above the threshold
    // and is flushed after every construct; the buffer then goes on
    // collecting. A stream that writes out (a file) falls back to zero at
    // each flush and gets everything buffered just before the next one, so
    // it writes chunks of about 4096 characters.
    // Once a stream that keeps its text has been flushed, it is not flushed
    // again before it has received more: the call would have nothing new
    // to act on.
    const uint32_t length = m_pStream->GetLength();
    if (length < kFlushThreshold) {
        if (length + m_cchPending < kFlushThreshold) {
            return;
        }
        Drain();
    } else if (m_bFlushedOnce && length == m_cchAtLastFlush) {
        return;
    }
    m_pStream->Flush();
    m_cchAtLastFlush = m_pStream->GetLength();
    m_bFlushedOnce = true;
}

// Copies the characters from p on up to the first one the mode stops at,
// or up to end (where the text's terminating zero stands), and returns
// where it stopped. Four characters at a time while both the text and the
// buffer have four left.
template <int Mode> const wchar_t* CXmlTextWriter::PutRun(const wchar_t* p, const wchar_t* end)
{
    for (;;) {
        wchar_t* o = m_pending + m_cchPending;
        wchar_t* const full = m_pending + kPendingCapacity;
#if defined(__SSE2__)
        while (end - p >= 4 && full - o >= 4) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            // Stored before it is tested: what follows a stop is overwritten.
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
            const int mask = StopMask<Mode>(v);
            if (mask != 0) {
                const int k = __builtin_ctz(static_cast<unsigned>(mask)) / 4;
                o += k;
                p += k;
                if (IsStop<Mode>(*p)) {
                    m_cchPending = static_cast<size_t>(o - m_pending);
                    return p;
                }
                ++o; // a character the mask only flagged to be looked at
                ++p;
                continue;
            }
            o += 4;
            p += 4;
        }
#endif
        while (p != end && o != full) {
            const wchar_t c = *p;
            if (IsStop<Mode>(c)) {
                m_cchPending = static_cast<size_t>(o - m_pending);
                return p;
            }
            *o++ = c;
            ++p;
        }
        m_cchPending = static_cast<size_t>(o - m_pending);
        if (p == end) {
            return p;
        }
        Drain();
    }
}

void CXmlTextWriter::WriteEscaped(const wchar_t* text, bool attributeMode)
{
    WriteEscaped(text, TextLength(text), attributeMode);
}

// Runs of characters that need no escaping are copied as they are found.
void CXmlTextWriter::WriteEscaped(const wchar_t* text, size_t length, bool attributeMode)
{
    const unsigned char* table = attributeMode ? kEscape.attribute : kEscape.text;
    const wchar_t* p = text;
    const wchar_t* const end = text + length;
    for (;;) {
        const auto rest = static_cast<size_t>(end - p);
        if (m_cchPending + rest <= kPendingCapacity) {
            // The rest fits: one pass copies it up to the next character to
            // look at (usually to its end), with no check of the room left.
            wchar_t* const out = m_pending + m_cchPending;
            const size_t done = attributeMode ? CopyPlain<kAttribute>(out, p, rest)
                                              : CopyPlain<kText>(out, p, rest);
            m_cchPending += done;
            p += done;
        } else {
            p = attributeMode ? PutRun<kAttribute>(p, end) : PutRun<kText>(p, end);
        }
        if (p == end || *p == L'\0') {
            break;
        }
        const auto c = static_cast<uint32_t>(*p);
        ++p;
        // The copy may stop at a character that needs nothing (a tab in
        // element text, say): it is kept as it is.
        switch (c < 0x40 ? table[c] : static_cast<unsigned char>(Keep)) {
        case Keep:
            Put(static_cast<wchar_t>(c));
            break;
        case Amp:
            Put(L"&amp;", 5);
            break;
        case Lt:
            Put(L"&lt;", 4);
            break;
        case Gt:
            Put(L"&gt;", 4);
            break;
        case Quot:
            Put(L"&quot;", 6);
            break;
        case LineFeedText:
            Put(m_strEOLChars);
            break;
        case LineFeedAttr:
            Put(L"&#xA;", 5);
            break;
        case TabAttr:
            Put(L"&#x9;", 5);
            break;
        default: // Drop
            break;
        }
    }
}

void CXmlTextWriter::WriteIndent(int32_t depth)
{
    if (depth <= 0) {
        return;
    }
    const size_t length = static_cast<size_t>(depth) * m_strIndentChars.size();
    while (m_strIndentRun.size() < length) {
        m_strIndentRun += m_strIndentChars;
    }
    Put(m_strIndentRun.data(), length);
}

void CXmlTextWriter::WriteNamespaceDeclaration(const std::wstring& prefix,
                                               const std::wstring& namespaceUri)
{
    Put(L"xmlns:", 6);
    Put(prefix);
    Put(L"=\"", 2);
    WriteEscaped(namespaceUri.c_str(), true);
    Put(L'"');
}

inline void CXmlTextWriter::CloseParentStartTag()
{
    m_pContext->IncrementChildCount();
    if (m_pContext->IsStartTagOpen()) {
        m_pContext->SetStartTagOpen(false);
        if (m_cchPending + 3 <= kPendingCapacity) {
            // The line end as two characters, kept as long as it is (see
            // WriteSimpleElement).
            wchar_t* const o = m_pending + m_cchPending;
            const wchar_t* const eol = m_strEOLChars.c_str();
            o[0] = L'>';
            o[1] = eol[0];
            o[2] = eol[1];
            m_cchPending += 1 + (m_bFormatting ? m_strEOLChars.size() : 0);
        } else {
            Put(L'>');
            if (m_bFormatting) {
                Put(m_strEOLChars);
            }
        }
    }
}

void CXmlTextWriter::WriteXmlDeclaration()
{
    Put(L"<?xml version=\"1.0\"", 19);
    switch (m_pStream->GetEncoding()) {
    case XmlEncoding_UTF8:
        Put(L" encoding=\"UTF-8\"", 17);
        break;
    case XmlEncoding_UTF16:
        Put(L" encoding=\"UTF-16\"", 18);
        break;
    default: // UTF-16 without a name in the declaration, or unknown
        break;
    }
    Put(L"?>", 2);
    Put(m_strEOLChars);
    EndConstruct();
}

void CXmlTextWriter::WriteHeadedDirective(const wchar_t* text)
{
    if (m_pContext) {
        throw CVxException(kMsgHeadedDirective);
    }
    PutText(text);
    Put(m_strEOLChars);
    EndConstruct();
}

void CXmlTextWriter::WriteComment(const wchar_t* text)
{
    Put(L"<!--", 4);
    WriteEscaped(OrEmpty(text), false);
    Put(L"-->", 3);
    Put(m_strEOLChars);
    EndConstruct();
}

void CXmlTextWriter::WriteRawBlock(const wchar_t* text)
{
    PutText(text);
    Put(m_strEOLChars);
    Put(m_strEOLChars);
    EndConstruct();
}

void CXmlTextWriter::WriteRawLine(const wchar_t* text)
{
    Put(L' ');
    Put(m_strEOLChars);
    PutText(text);
    Put(m_strEOLChars);
    EndConstruct();
}

void CXmlTextWriter::StartElement(const wchar_t* localName, const wchar_t* namespaceUri)
{
    CXmlWriterContext* const parent = m_pContext;
    if (parent) {
        CloseParentStartTag();
    }
    const wchar_t* const name = OrEmpty(localName);
    const size_t nameLength = TextLength(name);
    const wchar_t* uriText = OrEmpty(namespaceUri);
    const size_t uriLength = TextLength(uriText);
    CXmlWriterContext* context = PushContext(name, nameLength, uriText, uriLength);
    // Most elements are in their parent's namespace, and then share its URI.
    const bool sameAsParent = parent && &context->GetNamespaceUri() == &parent->GetNamespaceUri();
    const auto depth = static_cast<size_t>(context->GetDepth());
    if (m_openElements.size() <= depth) {
        m_openElements.resize(depth + 1);
    }
    OpenElement& element = m_openElements[depth];
    element.tagDrains = ~uint64_t{0}; // until this element's tag is written

    const std::wstring& uri = context->GetNamespaceUri();
    const std::wstring* declare = nullptr;
    // An element in no namespace inside the scope of a default namespace has
    // to take the default away, or a reader would put it in that namespace.
    bool undeclareDefault = false;
    if (uri.empty() && !context->GetDefaultNamespace().empty()) {
        context->SetDefaultNamespace(std::wstring());
        undeclareDefault = context->GetParent() != nullptr;
    }
    const OpenElement* parentElement = sameAsParent ? &m_openElements[depth - 1] : nullptr;
    if (parentElement && parentElement->scopeOwner == context->GetScopeOwner() &&
        parentElement->scopeChanges == context->GetScopeChanges()) {
        // Same namespace, same scope: the parent's answer holds (and is
        // usually already there: no prefix, or the sibling's).
        if (element.prefix.size() != parentElement->prefix.size() ||
            element.prefix != parentElement->prefix) {
            element.prefix = parentElement->prefix;
        }
    } else if (!uri.empty() && uri != context->GetDefaultNamespace()) {
        const std::wstring* prefix = FindPrefixCached(*context, uri.data(), uri.size(), &uri);
        // An empty prefix cannot name a namespace other than the default
        // one, so it is treated as no prefix at all.
        if (prefix == nullptr || prefix->empty()) {
            context->AddNamespace(GeneratePrefix(), uri);
            prefix = context->FindPrefix(uri);
            declare = prefix;
        }
        element.prefix = *prefix;
    } else {
        element.prefix.clear();
    }
    element.scopeOwner = context->GetScopeOwner();
    element.scopeChanges = context->GetScopeChanges();
    const std::wstring& elementPrefix = element.prefix;

    const size_t prefixLength = elementPrefix.size();
    const size_t tagLength = prefixLength + (prefixLength != 0 ? 1 : 0) + nameLength;
    const size_t indentLength =
        m_bFormatting ? static_cast<size_t>(context->GetDepth()) * m_strIndentChars.size() : 0;
    if (m_cchPending + indentLength + 1 + tagLength <= kPendingCapacity &&
        indentLength <= m_strIndentRun.size()) {
        // The indentation and "<prefix:name" fit: written straight into the
        // buffer (as in WriteSimpleElement).
        wchar_t* o = m_pending + m_cchPending;
        CopyShort(o, m_strIndentRun.data(), indentLength);
        o += indentLength;
        *o++ = L'<';
        element.tagOffset = static_cast<size_t>(o - m_pending);
        element.tagLength = tagLength;
        element.tagDrains = m_ullDrains;
        o = PutQualifiedNameAt(o, elementPrefix, name, nameLength);
        m_cchPending = static_cast<size_t>(o - m_pending);
    } else {
        if (m_bFormatting) {
            WriteIndent(context->GetDepth());
        }
        Put(L'<');
        const size_t tagOffset = m_cchPending;
        const uint64_t drains = m_ullDrains;
        PutQualifiedName(elementPrefix, context->GetLocalName());
        // The end tag copies these characters while they are still buffered.
        element.tagOffset = tagOffset;
        element.tagLength = tagLength;
        element.tagDrains = m_ullDrains == drains ? drains : ~uint64_t{0};
    }
    if (declare) {
        Put(L' ');
        WriteNamespaceDeclaration(*declare, uri);
    }
    if (undeclareDefault) {
        Put(L" xmlns=\"\"", 9);
    }

    if (context->GetParent() == nullptr) {
        // Everything set up before the root is declared on the root.
        if (!context->GetDefaultNamespace().empty()) {
            Put(L" xmlns=\"", 8);
            WriteEscaped(context->GetDefaultNamespace().c_str(), true);
            Put(L'"');
        }
        const std::wstring xmlUri(XmlNamespaceUri);
        for (const auto& [aliasUri, aliasPrefix] : m_mapNamespaceAlias) {
            if (aliasUri.compare(0, xmlUri.size(), xmlUri) == 0) {
                continue; // the xml prefix is bound by XML itself
            }
            Put(L' ');
            WriteNamespaceDeclaration(aliasPrefix, aliasUri);
        }
    }
    EndConstruct();
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
        Put(L'>');
        m_pContext->SetStartTagOpen(false);
    }
    if (StartsCData(text)) {
        PutText(text);
    } else {
        WriteEscaped(text, false);
    }
    EndConstruct();
}

void CXmlTextWriter::EndElement()
{
    CXmlWriterContext* const context = m_pContext;
    if (context == nullptr) {
        throw CVxInvalidStateException(kMsgNoElementOpen);
    }
    // Line ends are stored two characters at a time (see WriteSimpleElement).
    const wchar_t* const eol = m_strEOLChars.c_str();
    const size_t eolLength = m_bFormatting ? m_strEOLChars.size() : 0;
    if (context->IsStartTagOpen()) {
        if (m_cchPending + 4 <= kPendingCapacity) {
            wchar_t* const o = m_pending + m_cchPending;
            o[0] = L'/';
            o[1] = L'>';
            o[2] = eol[0];
            o[3] = eol[1];
            m_cchPending += 2 + eolLength;
        } else {
            Put(L"/>", 2);
            Put(eol, eolLength);
        }
    } else {
        // Text-only elements get their end tag right after the text.
        const int32_t depth = context->GetDepth();
        const size_t indentLength = m_bFormatting && context->GetChildCount() > 0
                                        ? static_cast<size_t>(depth) * m_strIndentChars.size()
                                        : 0;
        const OpenElement& element = m_openElements[static_cast<size_t>(depth)];
        if (element.tagDrains == m_ullDrains &&
            m_cchPending + indentLength + element.tagLength + 5 <= kPendingCapacity &&
            indentLength <= m_strIndentRun.size()) {
            // "prefix:name" of the start tag is still in the buffer.
            wchar_t* o = m_pending + m_cchPending;
            CopyShort(o, m_strIndentRun.data(), indentLength);
            o += indentLength;
            o = PutEndTagAt(o, m_pending + element.tagOffset, element.tagLength);
            o[0] = eol[0];
            o[1] = eol[1];
            m_cchPending = static_cast<size_t>(o + eolLength - m_pending);
        } else {
            if (indentLength != 0) {
                WriteIndent(depth);
            }
            PutEndTag(element.tagOffset, element.tagLength, element.tagDrains, element.prefix,
                      context->GetLocalName());
            Put(eol, eolLength);
        }
    }
    EndConstruct();
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
    const std::wstring* prefix = &g_strNoPrefix;
    if (!IsEmpty(namespaceUri)) {
        prefix = FindPrefixCached(*m_pContext, namespaceUri, TextLength(namespaceUri), nullptr);
        if (prefix == nullptr || prefix->empty()) {
            // Declared on the spot, before the attribute.
            m_strScratchUri.assign(namespaceUri);
            m_pContext->AddNamespace(GeneratePrefix(), m_strScratchUri);
            prefix = m_pContext->FindPrefix(m_strScratchUri);
            Put(L' ');
            WriteNamespaceDeclaration(*prefix, m_strScratchUri);
        }
    }
    const wchar_t* const name = OrEmpty(localName);
    const size_t nameLength = TextLength(name);
    const wchar_t* const text = OrEmpty(value);
    const size_t textLength = TextLength(text);
    const size_t prefixLength = prefix->size();
    const size_t tagLength = prefixLength + (prefixLength != 0 ? 1 : 0) + nameLength;
    if (m_cchPending + tagLength + textLength + 4 <= kPendingCapacity) {
        // ' prefix:name="value"' fits: written straight into the buffer, the
        // value copied in one pass unless something in it needs escaping.
        wchar_t* o = m_pending + m_cchPending;
        *o++ = L' ';
        o = PutQualifiedNameAt(o, *prefix, name, nameLength);
        o[0] = L'=';
        o[1] = L'"';
        o += 2;
        const size_t done = CopyPlain<kAttribute>(o, text, textLength);
        o += done;
        if (done == textLength) {
            *o++ = L'"';
            m_cchPending = static_cast<size_t>(o - m_pending);
        } else {
            m_cchPending = static_cast<size_t>(o - m_pending);
            WriteEscaped(text + done, textLength - done, true);
            Put(L'"');
        }
    } else {
        Put(L' ');
        if (prefixLength != 0) {
            Put(*prefix);
            Put(L':');
        }
        Put(name, nameLength);
        Put(L"=\"", 2);
        WriteEscaped(text, textLength, true);
        Put(L'"');
    }
    EndConstruct();
}

const std::wstring* CXmlTextWriter::FindPrefixCached(const CXmlWriterContext& context,
                                                     const wchar_t* uri, size_t length,
                                                     const std::wstring* uriString)
{
    const CXmlWriterContext* const owner = context.GetScopeOwner();
    const uint32_t changes = context.GetScopeChanges();
    for (const PrefixLookup& lookup : m_prefixLookups) {
        if (lookup.scopeOwner == owner && lookup.scopeChanges == changes &&
            lookup.uri.size() == length && std::wmemcmp(lookup.uri.data(), uri, length) == 0) {
            return lookup.prefix;
        }
    }
    if (uriString == nullptr) {
        m_strScratchUri.assign(uri, length);
        uriString = &m_strScratchUri;
    }
    const std::wstring* prefix = context.FindPrefix(*uriString);
    if (prefix != nullptr && !prefix->empty()) {
        PrefixLookup& lookup = m_prefixLookups[m_nextPrefixLookup];
        m_nextPrefixLookup ^= 1;
        lookup.scopeOwner = owner;
        lookup.scopeChanges = changes;
        lookup.uri.assign(uri, length);
        lookup.prefix = prefix;
    }
    return prefix;
}

inline const std::wstring* CXmlTextWriter::PrefixInScope(const CXmlWriterContext& parent,
                                                         const std::wstring& namespaceUri)
{
    const std::wstring& noPrefix = g_strNoPrefix;
    if (namespaceUri.empty()) {
        // Inside a default namespace the element would have to undeclare it.
        return parent.GetDefaultNamespace().empty() ? &noPrefix : nullptr;
    }
    const std::wstring& parentUri = parent.GetNamespaceUri();
    const OpenElement& parentElement = m_openElements[static_cast<size_t>(parent.GetDepth())];
    if (namespaceUri.size() == parentUri.size() &&
        std::wmemcmp(namespaceUri.data(), parentUri.data(), parentUri.size()) == 0 &&
        parentElement.scopeOwner == parent.GetScopeOwner() &&
        parentElement.scopeChanges == parent.GetScopeChanges()) {
        return &parentElement.prefix; // the parent's namespace, resolved in this very scope
    }
    if (namespaceUri == parent.GetDefaultNamespace()) {
        return &noPrefix;
    }
    const std::wstring* prefix =
        FindPrefixCached(parent, namespaceUri.data(), namespaceUri.size(), &namespaceUri);
    return prefix != nullptr && !prefix->empty() ? prefix : nullptr;
}

void CXmlTextWriter::PutQualifiedName(const std::wstring& prefix, const std::wstring& localName)
{
    if (!prefix.empty()) {
        Put(prefix);
        Put(L':');
    }
    Put(localName);
}

void CXmlTextWriter::PutEndTag(size_t tagOffset, size_t tagLength, uint64_t drains,
                               const std::wstring& prefix, const std::wstring& localName)
{
    if (drains == m_ullDrains && m_cchPending + tagLength + 3 <= kPendingCapacity) {
        PutEndTagAt(m_pending + m_cchPending, m_pending + tagOffset, tagLength);
        m_cchPending += tagLength + 3;
    } else {
        Put(L"</", 2);
        PutQualifiedName(prefix, localName);
        Put(L'>');
    }
}

void CXmlTextWriter::WriteSimpleElement(const std::wstring& localName,
                                        const std::wstring& namespaceUri, const std::wstring& text,
                                        ItemType itemType, bool valueIsDefault)
{
    CXmlWriterContext* const parent = m_pContext;
    const std::wstring* prefix = parent ? PrefixInScope(*parent, namespaceUri) : nullptr;
    if (prefix == nullptr) {
        // The root element, or one that declares a namespace: the general
        // path knows how.
        CXmlWriter::WriteSimpleElement(localName, namespaceUri, text, itemType, valueIsDefault);
        return;
    }
    const bool empty =
        text.empty() || text[0] == L'\0' || (valueIsDefault && !m_bWriteDefaultElementValues);
    const size_t prefixLength = prefix->size();
    const size_t tagLength = prefixLength + (prefixLength != 0 ? 1 : 0) + localName.size();
    const size_t indentLength =
        m_bFormatting ? static_cast<size_t>(parent->GetDepth() + 1) * m_strIndentChars.size() : 0;
    // The most the element can take when its text needs no escaping: the
    // parent's ">" and line end, the indentation, both tags with their
    // brackets, the text and a line end. Line ends are stored two
    // characters at a time.
    const size_t most = 3 + indentLength + 2 * tagLength + 5 + text.size() + 2;
    if (m_cchPending + most > kPendingCapacity || indentLength > m_strIndentRun.size()) {
        WriteSimpleElementPiecewise(*parent, *prefix, localName, text, empty);
        return;
    }
    // Everything goes straight into the buffer, whose room was checked once.
    // A line end is stored as two characters (the second is the string's
    // terminator for a one-character line end) and the position advances by
    // its length, zero when not formatting.
    const wchar_t* const eol = m_strEOLChars.c_str();
    const size_t eolLength = m_bFormatting ? m_strEOLChars.size() : 0;
    wchar_t* o = m_pending + m_cchPending;
    parent->IncrementChildCount();
    if (parent->IsStartTagOpen()) {
        parent->SetStartTagOpen(false);
        o[0] = L'>';
        o[1] = eol[0];
        o[2] = eol[1];
        o += 1 + eolLength;
    }
    CopyShort(o, m_strIndentRun.data(), indentLength);
    o += indentLength;
    *o++ = L'<';
    wchar_t* const tag = o;
    o = PutQualifiedNameAt(o, *prefix, localName.data(), localName.size());
    if (empty) {
        o[0] = L'/';
        o[1] = L'>';
        o += 2;
    } else {
        *o++ = L'>';
        const size_t done = CopyPlain<kText>(o, text.data(), text.size());
        o += done;
        if (done != text.size()) {
            // Something to escape, or CDATA: the rest goes the general way.
            m_cchPending = static_cast<size_t>(o - m_pending);
            const auto tagOffset = static_cast<size_t>(tag - m_pending);
            const uint64_t drains = m_ullDrains;
            if (done == 0 && StartsCData(text.c_str())) {
                PutText(text.c_str());
            } else {
                WriteEscaped(text.data() + done, text.size() - done, false);
            }
            PutEndTag(tagOffset, tagLength, drains, *prefix, localName);
            if (m_bFormatting) {
                Put(m_strEOLChars);
            }
            EndConstruct();
            return;
        }
        o = PutEndTagAt(o, tag, tagLength);
    }
    o[0] = eol[0];
    o[1] = eol[1];
    o += eolLength;
    m_cchPending = static_cast<size_t>(o - m_pending);
    EndConstruct();
}

void CXmlTextWriter::WriteSimpleElementPiecewise(CXmlWriterContext& parent,
                                                 const std::wstring& prefix,
                                                 const std::wstring& localName,
                                                 const std::wstring& text, bool empty)
{
    CloseParentStartTag();
    if (m_bFormatting) {
        WriteIndent(parent.GetDepth() + 1);
    }
    Put(L'<');
    const size_t tagOffset = m_cchPending;
    const uint64_t drains = m_ullDrains;
    PutQualifiedName(prefix, localName);
    const size_t tagLength = m_cchPending - tagOffset;
    if (empty) {
        Put(L"/>", 2);
    } else {
        Put(L'>');
        if (StartsCData(text.c_str())) {
            PutText(text.c_str());
        } else {
            WriteEscaped(text.data(), text.size(), false);
        }
        PutEndTag(tagOffset, tagLength, drains, prefix, localName);
    }
    if (m_bFormatting) {
        Put(m_strEOLChars);
    }
    EndConstruct();
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
            Put(L' ');
            WriteNamespaceDeclaration(prefix, typeUri);
            Put(L' ');
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
