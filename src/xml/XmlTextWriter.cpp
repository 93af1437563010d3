#include "xml/TextWriterBuffer.h"

#include <cassert>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <vector>
#include <vxxml/Exceptions.h>
#include <vxxml/XmlTextWriter.h>

namespace VxXmlLib16 {

using detail::CTextWriterBuffer;
using namespace detail::escaping;

namespace {

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

// Element text that is exactly one CDATA section (it begins with
// "<![CDATA[", ends with "]]>" and holds no other "]]>") is written as it
// stands: it is what reading a CDATA section keeps when the context does not
// strip it. Any other text is escaped, even when it begins like a section:
// written raw, "<![CDATA[]]><evil/>" would put a real element into the
// output, and "<![CDATA[abc" would make it unreadable.
bool IsOneCDataSection(const wchar_t* text, size_t length)
{
    constexpr size_t kOpen = 9;  // <![CDATA[
    constexpr size_t kClose = 3; // ]]>
    if (length < kOpen + kClose || text[0] != L'<' ||
        std::wmemcmp(text, L"<![CDATA[", kOpen) != 0 ||
        std::wmemcmp(text + length - kClose, L"]]>", kClose) != 0) {
        return false;
    }
    const std::wstring_view content(text + kOpen, length - kOpen);
    return content.find(L"]]>") == content.size() - kClose;
}

// The tags below are written straight into the buffer by callers that
// checked its room once for the whole construct; each returns the end.
// "prefix:name", or "name" when the prefix is empty: the colon is stored
// either way and then overwritten by the name.
wchar_t* PutQualifiedNameAt(wchar_t* out, const std::wstring& prefix, const wchar_t* name,
                            size_t nameLength)
{
    const size_t prefixLength = prefix.size();
    CTextWriterBuffer::CopyShort(out, prefix.data(), prefixLength);
    out[prefixLength] = L':';
    out += prefixLength + (prefixLength != 0 ? 1 : 0);
    CTextWriterBuffer::CopyShort(out, name, nameLength);
    return out + nameLength;
}

// "</tag>", the tag copied from the start tag's characters.
wchar_t* PutEndTagAt(wchar_t* out, const wchar_t* tag, size_t tagLength)
{
    out[0] = L'<';
    out[1] = L'/';
    CTextWriterBuffer::CopyShort(out + 2, tag, tagLength);
    out[2 + tagLength] = L'>';
    return out + 3 + tagLength;
}

} // namespace

// Everything the writer keeps between events.
class CXmlTextWriter::CImpl
{
public:
    CImpl(CXmlTextWriter& writer, CTextStream* stream) : m_writer(writer), m_out(stream) {}

    void StartDocument();
    void EndDocument();
    void WriteXmlDeclaration();
    void WriteHeadedDirective(const wchar_t* text);
    void WriteComment(const wchar_t* text);
    void WriteRawBlock(const wchar_t* text);
    void WriteRawLine(const wchar_t* text);
    void StartElement(const wchar_t* localName, const wchar_t* namespaceUri);
    void WriteElementText(const wchar_t* text, bool valueIsDefault);
    void EndElement();
    void WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri,
                        const wchar_t* value);
    void WriteXsiType(const wchar_t* typeNamespaceUri, const wchar_t* typeLocalName,
                      ItemType itemType);
    void WriteNil();
    void WriteSimpleElement(const std::wstring& localName, const std::wstring& namespaceUri,
                            const std::wstring& text, ItemType itemType, bool valueIsDefault);

    // Settings.
    std::wstring m_strIndentChars = L"\t";
    // The indent characters repeated for the deepest level written so far,
    // so that an indentation is one copy whatever the depth.
    std::wstring m_strIndentRun;
    std::wstring m_strEOLChars = L"\n";
    bool m_bFormatting = true;
    bool m_bWriteDefaultElementValues = false;
    EOLType m_EOLType = EOL_LF;

private:
    CXmlWriterContext* Current() const { return m_writer.m_pContext; }
    // The innermost open element; throws when there is none.
    CXmlWriterContext& RequireOpenElement() const
    {
        if (m_writer.m_pContext == nullptr) {
            throw CVxInvalidStateException(L"No Element is open.");
        }
        return *m_writer.m_pContext;
    }
    // The same, when its start tag must still be open (for attributes).
    CXmlWriterContext& RequireOpenStartTag() const
    {
        CXmlWriterContext& context = RequireOpenElement();
        if (!context.IsStartTagOpen()) {
            throw CVxException(L"Attributes must be added before elements");
        }
        return context;
    }

    void WriteEscaped(const wchar_t* text, bool attributeMode)
    {
        m_out.PutEscaped(text, TextLength(text), attributeMode, m_strEOLChars);
    }
    // The same for a text of known length; it ends at a zero character, as
    // the zero-terminated text would.
    void WriteEscaped(const wchar_t* text, size_t length, bool attributeMode)
    {
        m_out.PutEscaped(text, length, attributeMode, m_strEOLChars);
    }
    // The prefix an element in namespaceUri takes as a child of parent when
    // writing it needs no namespace declaration; null when it needs one.
    const std::wstring* PrefixInScope(const CXmlWriterContext& parent,
                                      const std::wstring& namespaceUri);
    // The prefix bound to the URI in the context's scope, or null, as
    // FindPrefix answers; the last answers are kept for scopes that have not
    // changed since. uriString, when given, holds the same URI.
    const std::wstring* FindPrefixCached(const CXmlWriterContext& context, const wchar_t* uri,
                                         size_t length, const std::wstring* uriString);
    void PutQualifiedName(const std::wstring& prefix, const std::wstring& localName);
    // "</prefix:name>": copied from the start tag when that still lies in
    // the buffer at tagOffset (no hand-over since drains), else put anew.
    void PutEndTag(size_t tagOffset, size_t tagLength, uint64_t drains, const std::wstring& prefix,
                   const std::wstring& localName);
    // WriteSimpleElement one piece at a time, for an element that may not
    // fit into the buffer as a whole.
    void WriteSimpleElementPiecewise(CXmlWriterContext& parent, const std::wstring& prefix,
                                     const std::wstring& localName, const std::wstring& text,
                                     bool empty);
    void WriteIndent(int32_t depth);
    void CloseParentStartTag();
    void WriteNamespaceDeclaration(const std::wstring& prefix, const std::wstring& namespaceUri);

    // What the start tag of an open element used, by depth.
    struct OpenElementTag
    {
        // The prefix of the element's name; the end tag repeats it even if
        // the scope changed in between.
        std::wstring prefix;
        // The scope the prefix was resolved in: a child in the same
        // namespace reuses the prefix while that scope is unchanged.
        const CXmlWriterContext* scopeOwner = nullptr;
        uint32_t scopeChanges = 0;
        // Where "prefix:name" of the start tag lies in the buffer; valid
        // while the buffer has not been handed on since
        // (tagDrains == m_out.Drains()).
        size_t tagOffset = 0;
        size_t tagLength = 0;
        uint64_t tagDrains = ~uint64_t{0};
    };

    // Prefixes found for a URI in a scope: valid while that scope is
    // unchanged (its owner and change count identify it; a context is never
    // freed while the writer lives, and any change counts). Documents mix a
    // few namespaces, so two entries serve most lookups.
    struct PrefixLookup
    {
        const CXmlWriterContext* scopeOwner = nullptr;
        uint32_t scopeChanges = 0;
        std::wstring uri;
        const std::wstring* prefix = nullptr;
    };

    CXmlTextWriter& m_writer;
    CTextWriterBuffer m_out;
    std::vector<OpenElementTag> m_openElements;
    PrefixLookup m_prefixLookups[2];
    unsigned m_nextPrefixLookup = 0;
    // Reused for every attribute, so the hot path does not allocate once its
    // capacity suffices.
    std::wstring m_strScratchUri;
};

void CXmlTextWriter::CImpl::StartDocument()
{
    m_out.Reset(); // the stream starts empty, so does what is owed to it
    m_out.Stream()->Open();
}

void CXmlTextWriter::CImpl::EndDocument()
{
    m_out.Drain();
    m_out.Stream()->Close();
}

void CXmlTextWriter::CImpl::WriteIndent(int32_t depth)
{
    if (depth <= 0) {
        return;
    }
    const size_t length = static_cast<size_t>(depth) * m_strIndentChars.size();
    while (m_strIndentRun.size() < length) {
        m_strIndentRun += m_strIndentChars;
    }
    m_out.Put(m_strIndentRun.data(), length);
}

void CXmlTextWriter::CImpl::WriteNamespaceDeclaration(const std::wstring& prefix,
                                                      const std::wstring& namespaceUri)
{
    m_out.Put(L"xmlns:", 6);
    m_out.Put(prefix);
    m_out.Put(L"=\"", 2);
    WriteEscaped(namespaceUri.c_str(), true);
    m_out.Put(L'"');
}

inline void CXmlTextWriter::CImpl::CloseParentStartTag()
{
    CXmlWriterContext* const parent = Current();
    parent->IncrementChildCount();
    if (parent->IsStartTagOpen()) {
        parent->SetStartTagOpen(false);
        if (m_out.Fits(3)) {
            // The line end as two characters, kept as long as it is (see
            // WriteSimpleElement).
            wchar_t* const o = m_out.End();
            const wchar_t* const eol = m_strEOLChars.c_str();
            o[0] = L'>';
            o[1] = eol[0];
            o[2] = eol[1];
            m_out.Commit(o + 1 + (m_bFormatting ? m_strEOLChars.size() : 0));
        } else {
            m_out.Put(L'>');
            if (m_bFormatting) {
                m_out.Put(m_strEOLChars);
            }
        }
    }
}

void CXmlTextWriter::CImpl::WriteXmlDeclaration()
{
    m_out.Put(L"<?xml version=\"1.0\"", 19);
    switch (m_out.Stream()->GetEncoding()) {
    case XmlEncoding_UTF8:
        m_out.Put(L" encoding=\"UTF-8\"", 17);
        break;
    case XmlEncoding_UTF16:
        m_out.Put(L" encoding=\"UTF-16\"", 18);
        break;
    default: // UTF-16 without a name in the declaration, or unknown
        break;
    }
    m_out.Put(L"?>", 2);
    m_out.Put(m_strEOLChars);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteHeadedDirective(const wchar_t* text)
{
    if (Current()) {
        throw CVxException(L"Headed directives must appear before an Element has been added.");
    }
    m_out.PutText(text);
    m_out.Put(m_strEOLChars);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteComment(const wchar_t* text)
{
    m_out.Put(L"<!--", 4);
    WriteEscaped(OrEmpty(text), false);
    m_out.Put(L"-->", 3);
    m_out.Put(m_strEOLChars);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteRawBlock(const wchar_t* text)
{
    m_out.PutText(text);
    m_out.Put(m_strEOLChars);
    m_out.Put(m_strEOLChars);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteRawLine(const wchar_t* text)
{
    m_out.Put(L' ');
    m_out.Put(m_strEOLChars);
    m_out.PutText(text);
    m_out.Put(m_strEOLChars);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::StartElement(const wchar_t* localName, const wchar_t* namespaceUri)
{
    CXmlWriterContext* const parent = Current();
    if (parent) {
        CloseParentStartTag();
    }
    const wchar_t* const name = OrEmpty(localName);
    const size_t nameLength = TextLength(name);
    const wchar_t* uriText = OrEmpty(namespaceUri);
    const size_t uriLength = TextLength(uriText);
    CXmlWriterContext* context = m_writer.PushContext(name, nameLength, uriText, uriLength);
    // Most elements are in their parent's namespace, and then share its URI.
    const bool sameAsParent = parent && &context->GetNamespaceUri() == &parent->GetNamespaceUri();
    const auto depth = static_cast<size_t>(context->GetDepth());
    if (m_openElements.size() <= depth) {
        m_openElements.resize(depth + 1);
    }
    OpenElementTag& element = m_openElements[depth];
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
    const OpenElementTag* parentElement = sameAsParent ? &m_openElements[depth - 1] : nullptr;
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
            context->AddNamespace(m_writer.GeneratePrefix(), uri);
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
    if (m_out.Fits(indentLength + 1 + tagLength) && indentLength <= m_strIndentRun.size()) {
        // The indentation and "<prefix:name" fit: written straight into the
        // buffer (as in WriteSimpleElement).
        wchar_t* o = m_out.End();
        CTextWriterBuffer::CopyShort(o, m_strIndentRun.data(), indentLength);
        o += indentLength;
        *o++ = L'<';
        element.tagOffset = static_cast<size_t>(o - m_out.At(0));
        element.tagLength = tagLength;
        element.tagDrains = m_out.Drains();
        o = PutQualifiedNameAt(o, elementPrefix, name, nameLength);
        m_out.Commit(o);
    } else {
        if (m_bFormatting) {
            WriteIndent(context->GetDepth());
        }
        m_out.Put(L'<');
        const size_t tagOffset = m_out.Size();
        const uint64_t drains = m_out.Drains();
        PutQualifiedName(elementPrefix, context->GetLocalName());
        // The end tag copies these characters while they are still buffered.
        element.tagOffset = tagOffset;
        element.tagLength = tagLength;
        element.tagDrains = m_out.Drains() == drains ? drains : ~uint64_t{0};
    }
    if (declare) {
        m_out.Put(L' ');
        WriteNamespaceDeclaration(*declare, uri);
    }
    if (undeclareDefault) {
        m_out.Put(L" xmlns=\"\"", 9);
    }

    if (context->GetParent() == nullptr) {
        // Everything set up before the root is declared on the root.
        if (!context->GetDefaultNamespace().empty()) {
            m_out.Put(L" xmlns=\"", 8);
            WriteEscaped(context->GetDefaultNamespace().c_str(), true);
            m_out.Put(L'"');
        }
        const std::wstring xmlUri(XmlNamespaceUri);
        for (const auto& [aliasUri, aliasPrefix] : m_writer.m_mapNamespaceAlias) {
            if (aliasUri.compare(0, xmlUri.size(), xmlUri) == 0) {
                continue; // the xml prefix is bound by XML itself
            }
            m_out.Put(L' ');
            WriteNamespaceDeclaration(aliasPrefix, aliasUri);
        }
    }
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteElementText(const wchar_t* text, bool valueIsDefault)
{
    CXmlWriterContext& context = RequireOpenElement();
    if (IsEmpty(text)) {
        return;
    }
    if (valueIsDefault && !m_bWriteDefaultElementValues) {
        return;
    }
    if (context.IsStartTagOpen()) {
        m_out.Put(L'>');
        context.SetStartTagOpen(false);
    }
    const size_t length = TextLength(text);
    if (IsOneCDataSection(text, length)) {
        m_out.Put(text, length);
    } else {
        WriteEscaped(text, length, false);
    }
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::EndElement()
{
    CXmlWriterContext* const context = &RequireOpenElement();
    // Line ends are stored two characters at a time (see WriteSimpleElement).
    const wchar_t* const eol = m_strEOLChars.c_str();
    const size_t eolLength = m_bFormatting ? m_strEOLChars.size() : 0;
    if (context->IsStartTagOpen()) {
        if (m_out.Fits(4)) {
            wchar_t* const o = m_out.End();
            o[0] = L'/';
            o[1] = L'>';
            o[2] = eol[0];
            o[3] = eol[1];
            m_out.Commit(o + 2 + eolLength);
        } else {
            m_out.Put(L"/>", 2);
            m_out.Put(eol, eolLength);
        }
    } else {
        // Text-only elements get their end tag right after the text.
        const int32_t depth = context->GetDepth();
        const size_t indentLength = m_bFormatting && context->GetChildCount() > 0
                                        ? static_cast<size_t>(depth) * m_strIndentChars.size()
                                        : 0;
        const OpenElementTag& element = m_openElements[static_cast<size_t>(depth)];
        if (element.tagDrains == m_out.Drains() &&
            m_out.Fits(indentLength + element.tagLength + 5) &&
            indentLength <= m_strIndentRun.size()) {
            // "prefix:name" of the start tag is still in the buffer.
            wchar_t* o = m_out.End();
            CTextWriterBuffer::CopyShort(o, m_strIndentRun.data(), indentLength);
            o += indentLength;
            o = PutEndTagAt(o, m_out.At(element.tagOffset), element.tagLength);
            o[0] = eol[0];
            o[1] = eol[1];
            m_out.Commit(o + eolLength);
        } else {
            if (indentLength != 0) {
                WriteIndent(depth);
            }
            PutEndTag(element.tagOffset, element.tagLength, element.tagDrains, element.prefix,
                      context->GetLocalName());
            m_out.Put(eol, eolLength);
        }
    }
    m_out.EndConstruct();
    m_writer.PopContext();
}

void CXmlTextWriter::CImpl::WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri,
                                           const wchar_t* value)
{
    CXmlWriterContext& context = RequireOpenStartTag();
    const std::wstring* prefix = &g_strNoPrefix;
    if (!IsEmpty(namespaceUri)) {
        prefix = FindPrefixCached(context, namespaceUri, TextLength(namespaceUri), nullptr);
        if (prefix == nullptr || prefix->empty()) {
            // Declared on the spot, before the attribute.
            m_strScratchUri.assign(namespaceUri);
            context.AddNamespace(m_writer.GeneratePrefix(), m_strScratchUri);
            prefix = context.FindPrefix(m_strScratchUri);
            m_out.Put(L' ');
            WriteNamespaceDeclaration(*prefix, m_strScratchUri);
        }
    }
    const wchar_t* const name = OrEmpty(localName);
    const size_t nameLength = TextLength(name);
    const wchar_t* const text = OrEmpty(value);
    const size_t textLength = TextLength(text);
    const size_t prefixLength = prefix->size();
    const size_t tagLength = prefixLength + (prefixLength != 0 ? 1 : 0) + nameLength;
    if (m_out.Fits(tagLength + textLength + 4)) {
        // ' prefix:name="value"' fits: written straight into the buffer, the
        // value copied in one pass unless something in it needs escaping.
        wchar_t* o = m_out.End();
        *o++ = L' ';
        o = PutQualifiedNameAt(o, *prefix, name, nameLength);
        o[0] = L'=';
        o[1] = L'"';
        o += 2;
        const size_t done = CopyPlain<kAttribute>(o, text, textLength);
        o += done;
        if (done == textLength) {
            *o++ = L'"';
            m_out.Commit(o);
        } else {
            m_out.Commit(o);
            WriteEscaped(text + done, textLength - done, true);
            m_out.Put(L'"');
        }
    } else {
        m_out.Put(L' ');
        if (prefixLength != 0) {
            m_out.Put(*prefix);
            m_out.Put(L':');
        }
        m_out.Put(name, nameLength);
        m_out.Put(L"=\"", 2);
        WriteEscaped(text, textLength, true);
        m_out.Put(L'"');
    }
    m_out.EndConstruct();
}

const std::wstring* CXmlTextWriter::CImpl::FindPrefixCached(const CXmlWriterContext& context,
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

inline const std::wstring* CXmlTextWriter::CImpl::PrefixInScope(const CXmlWriterContext& parent,
                                                                const std::wstring& namespaceUri)
{
    const std::wstring& noPrefix = g_strNoPrefix;
    if (namespaceUri.empty()) {
        // Inside a default namespace the element would have to undeclare it.
        return parent.GetDefaultNamespace().empty() ? &noPrefix : nullptr;
    }
    const std::wstring& parentUri = parent.GetNamespaceUri();
    const OpenElementTag& parentElement = m_openElements[static_cast<size_t>(parent.GetDepth())];
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

void CXmlTextWriter::CImpl::PutQualifiedName(const std::wstring& prefix,
                                             const std::wstring& localName)
{
    if (!prefix.empty()) {
        m_out.Put(prefix);
        m_out.Put(L':');
    }
    m_out.Put(localName);
}

void CXmlTextWriter::CImpl::PutEndTag(size_t tagOffset, size_t tagLength, uint64_t drains,
                                      const std::wstring& prefix, const std::wstring& localName)
{
    if (drains == m_out.Drains() && m_out.Fits(tagLength + 3)) {
        m_out.Commit(PutEndTagAt(m_out.End(), m_out.At(tagOffset), tagLength));
    } else {
        m_out.Put(L"</", 2);
        PutQualifiedName(prefix, localName);
        m_out.Put(L'>');
    }
}

void CXmlTextWriter::CImpl::WriteSimpleElement(const std::wstring& localName,
                                               const std::wstring& namespaceUri,
                                               const std::wstring& text, ItemType itemType,
                                               bool valueIsDefault)
{
    CXmlWriterContext* const parent = Current();
    const std::wstring* prefix = parent ? PrefixInScope(*parent, namespaceUri) : nullptr;
    if (prefix == nullptr) {
        // The root element, or one that declares a namespace: the general
        // path knows how.
        m_writer.CXmlWriter::WriteSimpleElement(localName, namespaceUri, text, itemType,
                                                valueIsDefault);
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
    if (!m_out.Fits(most) || indentLength > m_strIndentRun.size()) {
        WriteSimpleElementPiecewise(*parent, *prefix, localName, text, empty);
        return;
    }
    // Everything goes straight into the buffer, whose room was checked once.
    // A line end is stored as two characters (the second is the string's
    // terminator for a one-character line end) and the position advances by
    // its length, zero when not formatting.
    const wchar_t* const eol = m_strEOLChars.c_str();
    const size_t eolLength = m_bFormatting ? m_strEOLChars.size() : 0;
    wchar_t* o = m_out.End();
    parent->IncrementChildCount();
    if (parent->IsStartTagOpen()) {
        parent->SetStartTagOpen(false);
        o[0] = L'>';
        o[1] = eol[0];
        o[2] = eol[1];
        o += 1 + eolLength;
    }
    CTextWriterBuffer::CopyShort(o, m_strIndentRun.data(), indentLength);
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
            m_out.Commit(o);
            const auto tagOffset = static_cast<size_t>(tag - m_out.At(0));
            const uint64_t drains = m_out.Drains();
            if (done == 0 && IsOneCDataSection(text.c_str(), TextLength(text.c_str()))) {
                m_out.PutText(text.c_str());
            } else {
                WriteEscaped(text.data() + done, text.size() - done, false);
            }
            PutEndTag(tagOffset, tagLength, drains, *prefix, localName);
            if (m_bFormatting) {
                m_out.Put(m_strEOLChars);
            }
            m_out.EndConstruct();
            return;
        }
        o = PutEndTagAt(o, tag, tagLength);
    }
    o[0] = eol[0];
    o[1] = eol[1];
    o += eolLength;
    m_out.Commit(o);
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteSimpleElementPiecewise(CXmlWriterContext& parent,
                                                        const std::wstring& prefix,
                                                        const std::wstring& localName,
                                                        const std::wstring& text, bool empty)
{
    CloseParentStartTag();
    if (m_bFormatting) {
        WriteIndent(parent.GetDepth() + 1);
    }
    m_out.Put(L'<');
    const size_t tagOffset = m_out.Size();
    const uint64_t drains = m_out.Drains();
    PutQualifiedName(prefix, localName);
    const size_t tagLength = m_out.Size() - tagOffset;
    if (empty) {
        m_out.Put(L"/>", 2);
    } else {
        m_out.Put(L'>');
        if (IsOneCDataSection(text.c_str(), TextLength(text.c_str()))) {
            m_out.PutText(text.c_str());
        } else {
            WriteEscaped(text.data(), text.size(), false);
        }
        PutEndTag(tagOffset, tagLength, drains, prefix, localName);
    }
    if (m_bFormatting) {
        m_out.Put(m_strEOLChars);
    }
    m_out.EndConstruct();
}

void CXmlTextWriter::CImpl::WriteXsiType(const wchar_t* typeNamespaceUri,
                                         const wchar_t* typeLocalName, ItemType itemType)
{
    CXmlWriterContext& context = RequireOpenStartTag();
    const std::wstring typeUri(OrEmpty(typeNamespaceUri));
    if (!typeUri.empty() && typeUri != context.GetDefaultNamespace()) {
        std::wstring prefix = context.GetNamespaceMapValue(typeUri);
        if (prefix.empty()) {
            prefix = m_writer.GeneratePrefix();
            context.AddNamespace(prefix, typeUri);
            // The attribute below brings its own leading space, so two
            // spaces separate this declaration from it.
            m_out.Put(L' ');
            WriteNamespaceDeclaration(prefix, typeUri);
            m_out.Put(L' ');
        }
        std::wstring value = prefix + L':' + OrEmpty(typeLocalName);
        m_writer.WriteAttribute(L"type", XsiNamespaceUri, value.c_str(), itemType);
    } else {
        m_writer.WriteAttribute(L"type", XsiNamespaceUri, OrEmpty(typeLocalName), itemType);
    }
}

void CXmlTextWriter::CImpl::WriteNil()
{
    RequireOpenStartTag();
    m_writer.WriteAttribute(L"nil", XsiNamespaceUri, L"true", ItemType_boolean);
}

// --- The public class hands every event to its state ---------------------

namespace {
CTextStream* RequireStream(CTextStream* stream)
{
    if (stream == nullptr) {
        throw CVxInvalidParamException(L"The output stream may not be NULL.");
    }
    return stream;
}
} // namespace

CXmlTextWriter::CXmlTextWriter(CTextStream* stream)
    : CXmlWriter(L"CXmlTextWriter"), m_pImpl(std::make_unique<CImpl>(*this, RequireStream(stream)))
{
}

CXmlTextWriter::~CXmlTextWriter() = default;

void CXmlTextWriter::StartDocument()
{
    CXmlWriter::StartDocument();
    m_pImpl->StartDocument();
}

void CXmlTextWriter::EndDocument()
{
    m_pImpl->EndDocument();
    CXmlWriter::EndDocument();
}

void CXmlTextWriter::WriteXmlDeclaration()
{
    m_pImpl->WriteXmlDeclaration();
}

void CXmlTextWriter::WriteHeadedDirective(const wchar_t* text)
{
    m_pImpl->WriteHeadedDirective(text);
}

void CXmlTextWriter::WriteComment(const wchar_t* text)
{
    m_pImpl->WriteComment(text);
}

void CXmlTextWriter::WriteRawBlock(const wchar_t* text)
{
    m_pImpl->WriteRawBlock(text);
}

void CXmlTextWriter::WriteRawLine(const wchar_t* text)
{
    m_pImpl->WriteRawLine(text);
}

void CXmlTextWriter::StartElement(const wchar_t* localName, const wchar_t* namespaceUri)
{
    m_pImpl->StartElement(localName, namespaceUri);
}

void CXmlTextWriter::WriteElementText(const wchar_t* text, ItemType /*itemType*/,
                                      bool valueIsDefault)
{
    m_pImpl->WriteElementText(text, valueIsDefault);
}

void CXmlTextWriter::EndElement()
{
    m_pImpl->EndElement();
}

void CXmlTextWriter::WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri,
                                    const wchar_t* value, ItemType /*itemType*/)
{
    m_pImpl->WriteAttribute(localName, namespaceUri, value);
}

void CXmlTextWriter::WriteXsiType(const wchar_t* typeNamespaceUri, const wchar_t* typeLocalName,
                                  ItemType itemType)
{
    m_pImpl->WriteXsiType(typeNamespaceUri, typeLocalName, itemType);
}

void CXmlTextWriter::WriteNil()
{
    m_pImpl->WriteNil();
}

void CXmlTextWriter::WriteSimpleElement(const std::wstring& localName,
                                        const std::wstring& namespaceUri, const std::wstring& text,
                                        ItemType itemType, bool valueIsDefault)
{
    m_pImpl->WriteSimpleElement(localName, namespaceUri, text, itemType, valueIsDefault);
}

bool CXmlTextWriter::GetFormatting() const
{
    return m_pImpl->m_bFormatting;
}

void CXmlTextWriter::SetFormatting(bool formatting)
{
    assert(m_pContext == nullptr && "m_pContext == 0");
    m_pImpl->m_bFormatting = formatting;
}

const std::wstring& CXmlTextWriter::GetIndentChars() const
{
    return m_pImpl->m_strIndentChars;
}

void CXmlTextWriter::SetIndentChars(const wchar_t* indentChars)
{
    m_pImpl->m_strIndentChars = OrEmpty(indentChars);
    m_pImpl->m_strIndentRun.clear();
}

EOLType CXmlTextWriter::GetEOLType() const
{
    return m_pImpl->m_EOLType;
}

void CXmlTextWriter::SetEOLType(EOLType type)
{
    switch (type) {
    case EOL_CRLF:
        m_pImpl->m_strEOLChars = L"\r\n";
        break;
    case EOL_LF:
        m_pImpl->m_strEOLChars = L"\n";
        break;
    default:
        throw CVxException(L"Invalid EOL type.");
    }
    m_pImpl->m_EOLType = type;
}

bool CXmlTextWriter::GetWriteDefaultElementValues() const
{
    return m_pImpl->m_bWriteDefaultElementValues;
}

void CXmlTextWriter::SetWriteDefaultElementValues(bool write)
{
    m_pImpl->m_bWriteDefaultElementValues = write;
}

} // namespace VxXmlLib16
