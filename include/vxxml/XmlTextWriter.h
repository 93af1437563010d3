// Writes the writer events as XML 1.0 text into a CTextStream.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/TextStream.h>
#include <vxxml/XmlWriter.h>

namespace VxXmlLib16 {

// Escaping: in element text and comments &, < and > become entity
// references and a line feed becomes the writer's line end; in attribute
// values the quotation mark becomes &quot;, a line feed &#xA; and a tab
// &#x9; as well (a raw tab or line feed would be read back as a space).
// Carriage returns are dropped everywhere: line ends in text are expected as
// single line feeds and are re-created from the EOL type. All other
// characters (apostrophe, tab in text, non-ASCII) are written as they are.
//
// After every construct the writer flushes the stream once it holds 4096 or
// more characters, so that file streams write in chunks and memory stays flat
// (a plain CTextStream, whose Flush does nothing, is not asked).
// Between flushes the writer may keep up to 2048 characters of its own before
// handing them to the stream; everything written is in the stream once
// EndDocument has been called.
class VXXML_API CXmlTextWriter : public CXmlWriter
{
public:
    // The caller owns the stream and keeps it alive longer than the writer.
    explicit CXmlTextWriter(CTextStream* stream);
    ~CXmlTextWriter() override;

    // Opens the stream.
    void StartDocument() override;
    // Hands the stream everything buffered and closes it, then fails if an
    // element is still open.
    void EndDocument() override;
    // "<!--text-->" and a line end, where the stream stands (no indentation,
    // a pending start tag stays open).
    void WriteComment(const wchar_t* text) override;
    // The text unescaped, then two line ends.
    void WriteRawBlock(const wchar_t* text) override;
    // A space, a line end, the text unescaped and a line end.
    void WriteRawLine(const wchar_t* text) override;
    void StartElement(const wchar_t* localName, const wchar_t* namespaceUri) override;
    // Empty text, or a default value while default values are not written,
    // leaves the element empty. Text beginning with "<![CDATA[" is written as
    // it is.
    void WriteElementText(const wchar_t* text, ItemType itemType, bool valueIsDefault) override;
    void EndElement() override;
    // A namespaced attribute always gets a prefix (declared on the spot when
    // the namespace has none yet), even for the default namespace.
    void WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri, const wchar_t* value,
                        ItemType itemType) override;
    void WriteXsiType(const wchar_t* typeNamespaceUri, const wchar_t* typeLocalName,
                      ItemType itemType) override;
    void WriteNil() override;
    // Written straight into the text, with no element context made for it,
    // when the element's namespace is already in scope.
    void WriteSimpleElement(const std::wstring& localName, const std::wstring& namespaceUri,
                            const std::wstring& text, ItemType itemType,
                            bool valueIsDefault) override;

    // <?xml version="1.0" encoding="..."?> and a line end; the encoding is
    // named for UTF-8 and UTF-16 streams only.
    void WriteXmlDeclaration();
    // Unescaped text and a line end, allowed only before the root element.
    void WriteHeadedDirective(const wchar_t* text);

    // Indentation and line breaks between elements; change it only while no
    // element is open.
    bool GetFormatting() const { return m_bFormatting; }
    void SetFormatting(bool formatting);
    const std::wstring& GetIndentChars() const { return m_strIndentChars; }
    void SetIndentChars(const wchar_t* indentChars);
    EOLType GetEOLType() const { return m_EOLType; }
    // Throws CVxException for anything but EOL_CRLF and EOL_LF.
    void SetEOLType(EOLType type);
    bool GetWriteDefaultElementValues() const { return m_bWriteDefaultElementValues; }
    void SetWriteDefaultElementValues(bool write) { m_bWriteDefaultElementValues = write; }

private:
    // Text is collected in a buffer of the writer's own and handed to the
    // stream in pieces of up to kPendingCapacity characters: the pieces of a
    // tag cost a copy each, not a call into the stream each.
    void Put(wchar_t c)
    {
        if (m_cchPending == kPendingCapacity) {
            Drain();
        }
        m_pending[m_cchPending++] = c;
    }
    void Put(const wchar_t* text, size_t length)
    {
        if (m_cchPending + length <= kPendingCapacity) {
            CopyShort(m_pending + m_cchPending, text, length);
            m_cchPending += length;
        } else {
            PutLong(text, length);
        }
    }
    // Copies length characters, Half <= length <= 2 * Half, as a first and a
    // last block of Half characters (both read before either is stored).
    template <size_t Half>
    static void CopyOverlapping(wchar_t* out, const wchar_t* text, size_t length)
    {
        unsigned char head[Half * sizeof(wchar_t)];
        unsigned char tail[Half * sizeof(wchar_t)];
        std::memcpy(head, text, sizeof head);
        std::memcpy(tail, text + length - Half, sizeof tail);
        std::memcpy(out, head, sizeof head);
        std::memcpy(out + length - Half, tail, sizeof tail);
    }
    // Names, prefixes and line ends are a few characters long. Up to
    // sixteen characters are copied as two overlapping blocks that together
    // cover exactly the text (no call, no loop); longer texts go to memcpy,
    // as would a loop, which the compiler vectorizes with more set-up than
    // these short texts take to copy.
    static void CopyShort(wchar_t* out, const wchar_t* text, size_t length)
    {
        static_assert(sizeof(wchar_t) == 4, "four-byte characters");
        if (length > 8 && length <= 16) {
            CopyOverlapping<8>(out, text, length);
        } else if (length >= 4 && length <= 8) {
            CopyOverlapping<4>(out, text, length);
        } else if (length >= 2 && length < 4) {
            CopyOverlapping<2>(out, text, length);
        } else if (length == 1) {
            *out = *text;
        } else if (length != 0) {
            std::memcpy(out, text, length * sizeof(wchar_t));
        }
    }
    // The tags below are written straight into the buffer by callers that
    // checked its room once for the whole construct; each returns the end.
    // "prefix:name", or "name" when the prefix is empty: the colon is stored
    // either way and then overwritten by the name.
    static wchar_t* PutQualifiedNameAt(wchar_t* out, const std::wstring& prefix,
                                       const wchar_t* name, size_t nameLength)
    {
        const size_t prefixLength = prefix.size();
        CopyShort(out, prefix.data(), prefixLength);
        out[prefixLength] = L':';
        out += prefixLength + (prefixLength != 0 ? 1 : 0);
        CopyShort(out, name, nameLength);
        return out + nameLength;
    }
    // "</tag>", the tag copied from the start tag's characters.
    static wchar_t* PutEndTagAt(wchar_t* out, const wchar_t* tag, size_t tagLength)
    {
        out[0] = L'<';
        out[1] = L'/';
        CopyShort(out + 2, tag, tagLength);
        out[2 + tagLength] = L'>';
        return out + 3 + tagLength;
    }
    // Text that does not fit: passes through in pieces of the buffer's size.
    VXXML_WRITER_INTERNAL void PutLong(const wchar_t* text, size_t length);
    void Put(const std::wstring& text) { Put(text.data(), text.size()); }
    // Up to the terminating zero; null puts nothing.
    VXXML_WRITER_INTERNAL void PutText(const wchar_t* text);
    // Copies text up to end (its terminating zero) or the first character
    // the escaping mode must change, whichever comes first, and returns
    // where it stopped.
    template <int Mode>
    VXXML_WRITER_INTERNAL const wchar_t* PutRun(const wchar_t* text, const wchar_t* end);
    VXXML_WRITER_INTERNAL void Drain();
    // Ends every writing operation: flushes the stream once it holds 4096
    // characters or more, handing it the buffered text first when only the
    // two together reach that.
    void EndConstruct()
    {
        if (m_bStreamFlushes) {
            FlushIfDue();
        }
    }
    VXXML_WRITER_INTERNAL void FlushIfDue();

    VXXML_WRITER_INTERNAL void WriteEscaped(const wchar_t* text, bool attributeMode);
    // The same for a text of known length; it ends at a zero character, as
    // the zero-terminated text would.
    VXXML_WRITER_INTERNAL void WriteEscaped(const wchar_t* text, size_t length, bool attributeMode);
    // The prefix an element in namespaceUri takes as a child of parent when
    // writing it needs no namespace declaration; null when it needs one.
    VXXML_WRITER_INTERNAL const std::wstring* PrefixInScope(const CXmlWriterContext& parent,
                                                            const std::wstring& namespaceUri);
    // The prefix bound to the URI in the context's scope, or null, as
    // FindPrefix answers; the last answers are kept for scopes that have not
    // changed since. uriString, when given, holds the same URI.
    VXXML_WRITER_INTERNAL const std::wstring* FindPrefixCached(const CXmlWriterContext& context,
                                                               const wchar_t* uri, size_t length,
                                                               const std::wstring* uriString);
    VXXML_WRITER_INTERNAL void PutQualifiedName(const std::wstring& prefix,
                                                const std::wstring& localName);
    // "</prefix:name>": copied from the start tag when that still lies in
    // the buffer at tagOffset (no hand-over since drains), else put anew.
    VXXML_WRITER_INTERNAL void PutEndTag(size_t tagOffset, size_t tagLength, uint64_t drains,
                                         const std::wstring& prefix, const std::wstring& localName);
    // WriteSimpleElement one piece at a time, for an element that may not
    // fit into the buffer as a whole.
    VXXML_WRITER_INTERNAL void WriteSimpleElementPiecewise(CXmlWriterContext& parent,
                                                           const std::wstring& prefix,
                                                           const std::wstring& localName,
                                                           const std::wstring& text, bool empty);
    VXXML_WRITER_INTERNAL void WriteIndent(int32_t depth);
    VXXML_WRITER_INTERNAL void CloseParentStartTag();
    VXXML_WRITER_INTERNAL void WriteNamespaceDeclaration(const std::wstring& prefix,
                                                         const std::wstring& namespaceUri);

    static constexpr size_t kPendingCapacity = 2048;
    // Room past the capacity: runs are copied four characters at a time and
    // may store up to three characters beyond what they keep.
    static constexpr size_t kPendingSlack = 8;

    // What the start tag of an open element used, by depth.
    struct OpenElement
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
        // (tagDrains == m_ullDrains).
        size_t tagOffset = 0;
        size_t tagLength = 0;
        uint64_t tagDrains = ~uint64_t{0};
    };

    std::wstring m_strIndentChars;
    // The indent characters repeated for the deepest level written so far,
    // so that an indentation is one copy whatever the depth.
    std::wstring m_strIndentRun;
    std::wstring m_strEOLChars;
    CTextStream* m_pStream;
    bool m_bFormatting = true;
    bool m_bWriteDefaultElementValues = false;
    EOLType m_EOLType = EOL_LF;
    std::vector<OpenElement> m_openElements;
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
    PrefixLookup m_prefixLookups[2];
    unsigned m_nextPrefixLookup = 0;
    // Reused for every attribute, so the hot path does not allocate once its
    // capacity suffices.
    std::wstring m_strScratchUri;
    size_t m_cchPending = 0;
    uint64_t m_ullDrains = 0; // times the buffer was handed on or emptied
    // The stream's length when it was last flushed: a stream that keeps its
    // text is not flushed again until it has received more.
    uint32_t m_cchAtLastFlush = 0;
    bool m_bFlushedOnce = false;
    bool m_bStreamFlushes = true;              // false for a plain CTextStream
    wchar_t* m_pending;                        // kPendingCapacity + kPendingSlack characters
    std::unique_ptr<wchar_t[]> m_pendingOwner; // owns m_pending
};

} // namespace VxXmlLib16
