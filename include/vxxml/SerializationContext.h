// The options of every read and write.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/NamespaceAliasMap.h>
#include <vxxml/SmartPtr.h>

namespace VxXmlLib16 {

class CAttributeCol;

// The kind of schema the generated classes came from. Only two values change
// the library's behaviour: SchemaType_XSD (the default) and SchemaType_DTD,
// for which element names are matched without namespaces, since a DTD has
// none.
enum SchemaType : int32_t {
    SchemaType_XSD = 0,
    SchemaType_XDR = 1,
    SchemaType_DTD = 2,
};

// A plain value, usually made on the stack and passed by const reference to
// each read or write. It is not locked: one thread at a time.
//
// Copying is memberwise on purpose: every member that refers to a separate
// object (sub-contexts, collections) must be a shared owner, so that a copy
// and its source share that object and whichever is destroyed last frees it.
class VXXML_API CSerializationContext
{
public:
    // Every option at its default: see the individual accessors.
    CSerializationContext();
    CSerializationContext(const CSerializationContext&);
    CSerializationContext& operator=(const CSerializationContext&);
    virtual ~CSerializationContext();

    // The process-wide instance used by callers that do not make their own.
    // Changes to it affect every later call that uses it; it is not locked.
    static CSerializationContext& GetDefaultContext();

    // Declared as the default namespace on the root when not empty. Default
    // empty; null sets it empty.
    const std::wstring& GetDefaultNamespaceURI() const { return m_strDefaultNamespaceURI; }
    void SetDefaultNamespaceURI(const wchar_t* uri);

    // Writing adds xsi:type to an element whose class is a derived type.
    // Default true.
    bool GetWriteTypeAttribute() const { return m_bWriteTypeAttribute; }
    void SetWriteTypeAttribute(bool value) { m_bWriteTypeAttribute = value; }

    // Prefixes declared on the root, in ascending order of namespace URI.
    CNamespaceAliasMap& GetNamespaceAliases() { return m_namespaceAliases; }
    const CNamespaceAliasMap& GetNamespaceAliases() const { return m_namespaceAliases; }

    // Processing instructions written before the root element, in order.
    std::vector<std::wstring>& GetProcessingInstructions() { return m_processingInstructions; }
    const std::vector<std::wstring>& GetProcessingInstructions() const
    {
        return m_processingInstructions;
    }

    // Extra attributes written on the root element, in order. The collection
    // (namespace restriction "##any") is created empty on the first call,
    // also on a const context, since writing only has a const one; later
    // calls return the same collection, and copies of the context made after
    // that share it. Include <vxxml/Attribute.h> to use it.
    CSmartPtr<CAttributeCol> GetAdditionalRootAttributes() const;
    // The collection when it has been asked for, else null; writing uses
    // this so that it never creates one.
    const CAttributeCol* FindAdditionalRootAttributes() const
    {
        return m_pAdditionalRootAttributes.Get();
    }

    // Written as the first content of the root when not empty. Default empty;
    // null sets it empty.
    const std::wstring& GetInLineSchema() const { return m_strInLineSchema; }
    void SetInLineSchema(const wchar_t* schema);

    // Reading and writing accept collections holding fewer or more items
    // than their minOccurs/maxOccurs. Default false.
    bool GetIgnoreInvalidCollectionCounts() const { return m_bIgnoreInvalidCollectionCounts; }
    void SetIgnoreInvalidCollectionCounts(bool value) { m_bIgnoreInvalidCollectionCounts = value; }

    // Reading accepts a choice with no member present. Default false.
    bool GetIgnoreMissingChoice() const { return m_bIgnoreMissingChoice; }
    void SetIgnoreMissingChoice(bool value) { m_bIgnoreMissingChoice = value; }

    // Reading accepts an absent mandatory child element. Default false.
    // Cannot be set together with IgnoreUnknownElements: with both, a
    // misspelt element would silently read as a missing one. Setting it to
    // true while IgnoreUnknownElements is set throws
    // CVxInvalidStateException and changes nothing.
    bool GetIgnoreMissingMandatoryElements() const { return m_bIgnoreMissingMandatoryElements; }
    void SetIgnoreMissingMandatoryElements(bool value);

    // Reading skips child elements that no element metadata takes. Default
    // false. Exclusive with IgnoreMissingMandatoryElements, as above.
    bool GetIgnoreUnknownElements() const { return m_bIgnoreUnknownElements; }
    void SetIgnoreUnknownElements(bool value);

    // Reading skips attributes that no attribute metadata takes. Default false.
    bool GetIgnoreUnknownAttributes() const { return m_bIgnoreUnknownAttributes; }
    void SetIgnoreUnknownAttributes(bool value) { m_bIgnoreUnknownAttributes = value; }

    // Element names are matched on their local name only. True when the flag
    // is set or when the schema type is SchemaType_DTD; the flag itself is
    // not changed by the schema type.
    bool GetIgnoreNamespaces() const;
    void SetIgnoreNamespaces(bool value) { m_bIgnoreNamespaces = value; }

    // Default SchemaType_XSD.
    SchemaType GetSchemaType() const { return m_schemaType; }
    void SetSchemaType(SchemaType value) { m_schemaType = value; }

    // Writing leaves out optional attributes that hold their default value.
    // Default false.
    bool GetNoOptionalAttributeDefaultOutput() const { return m_bNoOptionalAttributeDefaultOutput; }
    void SetNoOptionalAttributeDefaultOutput(bool value)
    {
        m_bNoOptionalAttributeDefaultOutput = value;
    }

    // Writing emits elements that hold their schema default. Default false.
    bool GetWriteDefaultElementValues() const { return m_bWriteDefaultElementValues; }
    void SetWriteDefaultElementValues(bool value) { m_bWriteDefaultElementValues = value; }

    // CDATA sections are read as plain text. Default true.
    bool GetStripCDATA() const { return m_bStripCDATA; }
    void SetStripCDATA(bool value) { m_bStripCDATA = value; }

    // Limits on compressed input, against decompression bombs. Compressed
    // input is inflated as it is read; past 16 MiB of output it may expand
    // to at most MaxDecompressionRatio times the compressed bytes read so far
    // (real XML compresses 5 to 30 times, a bomb about 1000), and never to
    // more than MaxDecompressedSize bytes. Past either limit reading stops
    // with CVxException. 0 turns a limit off. Defaults 100 and 4 GiB.
    uint32_t GetMaxDecompressionRatio() const { return m_dwMaxDecompressionRatio; }
    void SetMaxDecompressionRatio(uint32_t ratio) { m_dwMaxDecompressionRatio = ratio; }
    uint64_t GetMaxDecompressedSize() const { return m_ullMaxDecompressedSize; }
    void SetMaxDecompressedSize(uint64_t bytes) { m_ullMaxDecompressedSize = bytes; }

    // The unit of indentation for pretty-printed output. Default one tab.
    // Only spaces and tabs are allowed; anything else throws
    // CVxInvalidParamException and leaves the indentation as it was. Null
    // sets it empty.
    const std::wstring& GetIndentChars() const { return m_strIndentChars; }
    void SetIndentChars(const wchar_t* chars);

private:
    std::wstring m_strDefaultNamespaceURI;
    bool m_bWriteTypeAttribute = true;
    CNamespaceAliasMap m_namespaceAliases;
    mutable CSmartPtr<CAttributeCol> m_pAdditionalRootAttributes;
    std::vector<std::wstring> m_processingInstructions;
    std::wstring m_strInLineSchema;
    bool m_bIgnoreInvalidCollectionCounts = false;
    bool m_bIgnoreMissingChoice = false;
    bool m_bIgnoreMissingMandatoryElements = false;
    bool m_bIgnoreUnknownElements = false;
    bool m_bIgnoreUnknownAttributes = false;
    bool m_bIgnoreNamespaces = false;
    SchemaType m_schemaType = SchemaType_XSD;
    bool m_bNoOptionalAttributeDefaultOutput = false;
    bool m_bWriteDefaultElementValues = false;
    bool m_bStripCDATA = true;
    uint32_t m_dwMaxDecompressionRatio = 100;
    uint64_t m_ullMaxDecompressedSize = uint64_t{4} << 30;
    std::wstring m_strIndentChars = L"\t";
};

} // namespace VxXmlLib16
