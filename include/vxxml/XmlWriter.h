// The abstract writer behind every output format (XML text, JSON, Fast Infoset).
//
// Bound objects describe themselves as a stream of events (start element,
// attribute, text, end element, ...) and never know which format they produce.
// CXmlWriter owns what all formats share: the chain of open elements and the
// namespace-to-prefix bookkeeping with its generated prefixes (AA, AB, ...).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/ItemType.h>

namespace VxXmlLib16 {

class VXXML_API CXmlWriter : public CInstanceMonitor
{
public:
    // Namespace URI -> prefix, ordered by URI.
    using NamespaceMap = std::map<std::wstring, std::wstring>;

    // One open element. A context shares its parent's namespace scope until
    // the first namespace change made inside it; only then does it copy the
    // scope (copy-on-write), so deep documents without namespace changes never
    // allocate a map.
    class VXXML_API CXmlWriterContext : public CInstanceMonitor
    {
    public:
        CXmlWriterContext();
        ~CXmlWriterContext() override;
        CXmlWriterContext(const CXmlWriterContext&) = delete;
        CXmlWriterContext& operator=(const CXmlWriterContext&) = delete;

        uint32_t GetChildCount() const { return m_dwChildCount; }
        void IncrementChildCount() { ++m_dwChildCount; }
        bool IsStartTagOpen() const { return m_bStartTagOpen; }
        void SetStartTagOpen(bool open) { m_bStartTagOpen = open; }
        // 0 for the root element; writers with a different convention may
        // renumber their contexts.
        int32_t GetDepth() const { return m_lDepth; }
        void SetDepth(int32_t depth) { m_lDepth = depth; }
        // An element in its parent's namespace shares the parent's string
        // (the parent stays open longer), so the address tells the two apart.
        const std::wstring& GetNamespaceUri() const { return *m_pNamespaceUri; }
        const std::wstring& GetLocalName() const { return m_strLocalName; }
        CXmlWriterContext* GetParent() const { return m_pParent; }
        uint32_t GetContentHint() const { return m_dwContentHint; }
        void SetContentHint(uint32_t hint) { m_dwContentHint = hint; }

        // The namespace scope in effect here (own, or the nearest ancestor's).
        const std::wstring& GetDefaultNamespace() const { return *m_pEffectiveDefault; }
        const NamespaceMap& GetNamespaceMap() const { return *m_pEffectiveMap; }
        // Prefix bound to the URI in this scope, or an empty string.
        const std::wstring& GetNamespaceMapValue(const std::wstring& namespaceUri) const;
        // Prefix bound to the URI in this scope, or null.
        const std::wstring* FindPrefix(const std::wstring& namespaceUri) const;
        // True while the context answers namespace lookups from its parent.
        bool SharesParentScope() const { return m_bSharesParentScope; }
        // The context whose scope answers lookups here (this one or an open
        // ancestor), and how often that scope has changed. While both stay
        // the same, every lookup gives the answer it gave before, so a writer
        // may keep what it resolved.
        const CXmlWriterContext* GetScopeOwner() const { return m_pScopeOwner; }
        uint32_t GetScopeChanges() const { return m_pScopeOwner->m_dwScopeChanges; }

        // Change this scope (copying the parent's scope first when shared).
        void SetDefaultNamespace(const std::wstring& namespaceUri);
        void AddNamespace(const std::wstring& prefix, const std::wstring& namespaceUri);

    private:
        friend class CXmlWriter;

        // Makes a fresh context a child of parent (sharing its scope), or a
        // root when parent is null (then the scope is a copy of the given one).
        void Init(CXmlWriterContext* parent, const wchar_t* localName, size_t localNameLength,
                  const wchar_t* namespaceUri, size_t namespaceUriLength,
                  const NamespaceMap* rootMap, const std::wstring* rootDefault);
        void ReleaseScope();
        void MakeOwnScope();

        uint32_t m_dwChildCount = 0;
        bool m_bStartTagOpen = true;
        int32_t m_lDepth = 0;
        std::wstring m_strNamespaceUri;
        const std::wstring* m_pNamespaceUri = &m_strNamespaceUri; // own or an ancestor's
        std::wstring m_strLocalName;
        CXmlWriterContext* m_pParent = nullptr;
        uint32_t m_dwContentHint = 0;
        std::wstring m_strDefaultNamespace;
        NamespaceMap* m_pNamespaceMap = nullptr;
        bool m_bSharesParentScope = true;
        bool m_bOwnsMap = false;
        // Resolved once when the context is made, so that lookups do not walk
        // the chain: a parent's scope cannot change while a child is open.
        const std::wstring* m_pEffectiveDefault = nullptr;
        const NamespaceMap* m_pEffectiveMap = nullptr;
        const CXmlWriterContext* m_pScopeOwner = this;
        // Counts the changes of this context's own scope; never reset, not
        // even when the context is reused for another element.
        uint32_t m_dwScopeChanges = 0;
    };

    CXmlWriter(const CXmlWriter&) = delete;
    CXmlWriter& operator=(const CXmlWriter&) = delete;
    ~CXmlWriter() override;

    virtual void StartDocument();
    // Throws CVxException when an element is still open.
    virtual void EndDocument();
    // Inside an element: the default namespace of that element's scope.
    // Before the root: the default namespace the root element declares.
    virtual void SetDefaultNamespace(const wchar_t* namespaceUri);
    // Inside an element: binds the prefix in that element's scope.
    // Before the root: an alias the root element declares.
    virtual void AddNamespace(const wchar_t* prefix, const wchar_t* namespaceUri);
    virtual void WriteComment(const wchar_t* text) = 0;
    virtual void WriteRawBlock(const wchar_t* text) = 0;
    virtual void WriteRawLine(const wchar_t* text) = 0;
    virtual void StartElement(const wchar_t* localName, const wchar_t* namespaceUri) = 0;
    virtual void WriteElementText(const wchar_t* text, ItemType itemType, bool valueIsDefault) = 0;
    virtual void EndElement() = 0;
    virtual void WriteAttribute(const wchar_t* localName, const wchar_t* namespaceUri,
                                const wchar_t* value, ItemType itemType) = 0;
    virtual void WriteXsiType(const wchar_t* typeNamespaceUri, const wchar_t* typeLocalName,
                              ItemType itemType) = 0;
    virtual void WriteNil() = 0;
    // An element with simple content and nothing else (no attributes, no
    // children) in one call. It means exactly StartElement, WriteElementText
    // and EndElement in a row, which is what this default does; a writer may
    // do the same work cheaper, as the text writer does. Bound objects write
    // most of their members this way. The text, like a C string, ends at a
    // zero character; names (XML names) never hold one.
    virtual void WriteSimpleElement(const std::wstring& localName, const std::wstring& namespaceUri,
                                    const std::wstring& text, ItemType itemType,
                                    bool valueIsDefault);

    // Stored in the innermost open element for writers that need it; ignored
    // when no element is open.
    void SetContentHint(uint32_t hint);

    CXmlWriterContext* GetCurrentContext() const { return m_pContext; }
    const std::wstring& GetDefaultNamespace() const { return m_strDefaultNamespace; }
    const NamespaceMap& GetNamespaceAliases() const { return m_mapNamespaceAlias; }

    static const wchar_t* const XmlNamespaceUri;   // bound to "xml" from the start
    static const wchar_t* const XsiNamespaceUri;   // XML Schema instance
    static const wchar_t* const XmlnsNamespaceUri; // namespace declarations

protected:
    // className names the concrete writer for the instance monitor.
    explicit CXmlWriter(const wchar_t* className);

    // Opens a context for a new element and makes it current: a child of the
    // current context, or the root (depth 0) with its own copy of the writer's
    // aliases and default namespace.
    CXmlWriterContext* PushContext(const wchar_t* localName, const wchar_t* namespaceUri);
    // The same with the lengths already known (neither text is measured).
    CXmlWriterContext* PushContext(const wchar_t* localName, size_t localNameLength,
                                   const wchar_t* namespaceUri, size_t namespaceUriLength);
    // Closes the current context; its parent becomes current.
    void PopContext();
    // The first of AA, AB, ..., AZ, BA, ... not yet used as a prefix in the
    // current scope (the writer's aliases when no element is open).
    std::wstring GeneratePrefix() const;

    std::wstring m_strDefaultNamespace;
    CXmlWriterContext* m_pContext = nullptr;
    NamespaceMap m_mapNamespaceAlias;

private:
    // Every context made, by nesting level: the open ones are the first
    // m_dwOpenCount, the others wait for reuse, so writing an element costs
    // no allocation once the document's depth has been reached.
    std::vector<CXmlWriterContext*> m_contexts;
    uint32_t m_dwOpenCount = 0;
};

} // namespace VxXmlLib16
