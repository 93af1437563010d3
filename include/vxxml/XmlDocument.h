// The light document tree that every reader of the library builds.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/XmlAttribute.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {

class CSerializationContext;
class CExpatReader;
namespace detail {
struct DocumentStore;
}

// Owns a parsed document: the document element with its subtree and the
// document-wide map from namespace prefix to namespace URI. There are no
// comment, processing-instruction or DTD nodes.
//
// A document can be given an element callback. It is called with every
// element as soon as its end tag has been read; when it returns true the
// element is removed from its parent and destroyed at once, so that a
// document of any size can be processed element by element in flat memory.
// The callback also sees the document element, last, when the document is
// complete; the document element is never removed, whatever the callback
// returns (its dropped children are gone by then). Memory that is not
// dropped: the name and prefix tables and the document element's own text.
//
// A document is used by one thread at a time.
class VXXML_API CXmlDocument : public CInstanceMonitor
{
public:
    using ElementCallback = bool (*)(CXmlElement*);

    // Without a context the process-wide default context is used.
    CXmlDocument();
    explicit CXmlDocument(const CSerializationContext& context);
    explicit CXmlDocument(ElementCallback callback);
    CXmlDocument(ElementCallback callback, const CSerializationContext& context);
    // Copies the tree, the prefix map, the context reference and the callback.
    CXmlDocument(const CXmlDocument& other);
    CXmlDocument& operator=(const CXmlDocument&) = delete;
    ~CXmlDocument() override;

    // Reads the file in 128 KiB chunks. A gzip or zlib compressed file is
    // inflated as it is read, within the context's limits.
    void Load(const wchar_t* fileName);
    // Wide text is already characters: any encoding named in its XML
    // declaration is ignored.
    void LoadXml(const wchar_t* text);
    // Bytes up to the terminating NUL, handled like LoadXmlStream.
    void LoadXml(const char* text);
    // Bytes in any encoding expat recognises (byte-order mark or XML
    // declaration), optionally gzip or zlib compressed. The bytes are not
    // kept after the call.
    void LoadXmlStream(unsigned char* const data, uint32_t length);

    // The root element, or null before a successful load.
    CXmlElement* GetDocumentElement() const { return m_pDocElement; }
    // The URI last declared for the prefix anywhere in the document ("" is
    // the default namespace), or an empty string.
    std::wstring LookupNamespaceFromAlias(const wchar_t* prefix) const;
    // The alphabetically first prefix bound to the URI, or an empty string.
    std::wstring LookupAliasFromNamespace(const wchar_t* uri) const;

    // Large trees take their memory in 2 MiB chunks, and up to 64 MiB of
    // chunks that finished documents gave back are kept for the next large
    // document, so that the kernel need not clear fresh pages for each one
    // (see ReleaseCachedMemory).

protected:
    // Releases the tree, the tables and any input still held.
    virtual void Cleanup();

private:
    friend class CExpatReader;
    friend class CXmlElement;

    // Building operations, the only way a tree is made.
    CXmlElement* AddDocElement(const wchar_t* namespaceUri, const wchar_t* localName);
    CXmlElement* AddChildElement(const wchar_t* namespaceUri, const wchar_t* localName);
    static void AddElementAttribute(CXmlElement* element, const wchar_t* localName,
                                    const wchar_t* value, const wchar_t* namespaceUri);
    static void AppendTextExcludingCR(CXmlElement* element, const wchar_t* text);
    static void AppendTextExcludingCR(CXmlElement* element, const wchar_t* text, size_t length);
    void EndElement();
    // Makes element the innermost open one; refuses a tree deeper than the
    // library's nesting limit.
    void PushOpenElement(CXmlElement* element);

    // The same for a reader that delivers UTF-8: names come expanded as
    // "uri|local" (or just "local"); attributes as expat lists them (name,
    // value, ..., null).
    CXmlElement* StartElementUtf8(const char* expandedName, const char** attributes);
    static void AppendTextUtf8ExcludingCR(CXmlElement* element, const char* text, size_t length);
    void AddNamespaceDeclaration(const char* prefix, const char* uri);

    void Init();
    // Decompresses when needed and parses the bytes set as input.
    void Parse();
    // Parses the input bytes in one call; forceUtf8 tells the reader that
    // the bytes are UTF-8 whatever the declaration says.
    void ParseText(bool forceUtf8 = false);
    // Parses the open file in chunks.
    void AsyncParse();
    // Ends a parse that has seen bytesParsed bytes: fails on an empty or
    // unfinished document.
    void FinishParse(CExpatReader& reader, uint64_t bytesParsed);
    // Reads the next chunk of the open file; 0 at end of file.
    uint32_t ReadChunkFromFile(unsigned char* buffer);
    uint32_t ReadChunkFromFile(unsigned char* buffer, uint32_t capacity);
    void SetOwnedInput(unsigned char* data, uint32_t length);
    void ReleaseInput();
    void CloseFile();
    void ClearTree();
    // Drops the element just closed: it is the last child of the new top.
    void DropClosedElement(CXmlElement* closed);

    const detail::XmlName* InternName(const wchar_t* namespaceUri, const wchar_t* localName);
    detail::NodePool& Pool();
    CXmlElement* NewRootElement(const detail::XmlName* name);

    // Input bytes of the current parse; owned only when m_pOwnedInput is set.
    const unsigned char* m_pInput = nullptr;
    uint32_t m_cbInput = 0;
    unsigned char* m_pOwnedInput = nullptr;
    int32_t m_schemaType = 0;
    bool m_stripCDATA = true;
    CXmlElement* m_pDocElement = nullptr;
    std::vector<CXmlElement*> m_pElementStack;
    // For each open element, its last child before the newest one was added;
    // lets a dropped child be unlinked without walking the sibling list.
    std::vector<CXmlElement*> m_previousLastChild;
    std::map<std::wstring, std::wstring> m_prefixMap;
    const CSerializationContext* m_pContext;
    ElementCallback m_pfnCallback = nullptr;
    int m_hFile = -1;
    std::wstring m_fileName;
    std::unique_ptr<detail::DocumentStore> m_pStore;
};

} // namespace VxXmlLib16
