// Writes the writer events as XML 1.0 text into a CTextStream.
#pragma once

#include <memory>
#include <string>
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
    // leaves the element empty. Text that is exactly one CDATA section
    // (begins with "<![CDATA[", ends with "]]>", no other "]]>" inside) is
    // written as it is; all other text is escaped.
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
    bool GetFormatting() const;
    void SetFormatting(bool formatting);
    const std::wstring& GetIndentChars() const;
    void SetIndentChars(const wchar_t* indentChars);
    EOLType GetEOLType() const;
    // Throws CVxException for anything but EOL_CRLF and EOL_LF.
    void SetEOLType(EOLType type);
    bool GetWriteDefaultElementValues() const;
    void SetWriteDefaultElementValues(bool write);

private:
    // The buffer, the open elements' tags and the prefix lookups live
    // behind the class, so that the writer can change how it works without
    // changing this header.
    class CImpl;
    std::unique_ptr<CImpl> m_pImpl;
};

} // namespace VxXmlLib16
