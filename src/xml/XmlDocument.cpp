#include "base/Nesting.h"
#include "xml/ExpatReader.h"
#include "xml/Inflater.h"
#include "xml/XmlNames.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vxxml/Encoder.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
// The one include above this layer: a document is given the caller's
// reading options (schema type, CDATA stripping, the limits of hostile
// input), and those live in the serialization context with every other
// option of a read or write.
#include <vxxml/SerializationContext.h>
#include <vxxml/XmlDocument.h>

namespace VxXmlLib16 {
namespace {

constexpr uint32_t kFileChunkBytes = 0x20000; // 128 KiB per read
const wchar_t kInvalidOrEmpty[] = L"Invalid or empty XML document";

// Whether the bytes start with a gzip or zlib header, the only inputs that
// decompression can change. Checked first so that plain XML (the usual case)
// is neither copied nor handed to zlib.
std::wstring ErrnoText(int error)
{
    std::wstring text;
    const char* narrow = std::strerror(error);
    detail::AppendUtf8(text, narrow, std::strlen(narrow));
    return text;
}

} // namespace

CXmlDocument::CXmlDocument() : CXmlDocument(nullptr, CSerializationContext::GetDefaultContext()) {}

CXmlDocument::CXmlDocument(const CSerializationContext& context) : CXmlDocument(nullptr, context) {}

CXmlDocument::CXmlDocument(ElementCallback callback)
    : CXmlDocument(callback, CSerializationContext::GetDefaultContext())
{
}

CXmlDocument::CXmlDocument(ElementCallback callback, const CSerializationContext& context)
    : CInstanceMonitor(L"CXmlDocument"), m_pContext(&context), m_pfnCallback(callback),
      m_pStore(std::make_unique<detail::DocumentStore>())
{
}

CXmlDocument::CXmlDocument(const CXmlDocument& other)
    : CInstanceMonitor(other), m_schemaType(other.m_schemaType), m_stripCDATA(other.m_stripCDATA),
      m_prefixMap(other.m_prefixMap), m_pContext(other.m_pContext),
      m_pfnCallback(other.m_pfnCallback), m_pStore(std::make_unique<detail::DocumentStore>())
{
    m_pStore->prefixesOfUri = other.m_pStore->prefixesOfUri;
    const CXmlElement* source = other.m_pDocElement;
    if (source == nullptr) {
        return;
    }
    auto nameOf = [this](const detail::XmlName* n) {
        return InternName(n->ns.c_str(), n->local.c_str());
    };
    // Copies one element's attributes and text.
    auto copyContent = [this](const CXmlElement* from, CXmlElement* to) {
        to->m_attributes.reserve(from->m_attributes.size());
        for (const CXmlAttribute* a : from->m_attributes) {
            to->AddAttributeUtf8(InternName(a->m_pName->ns.c_str(), a->m_pName->local.c_str()),
                                 a->ValueBytes(), a->m_cbValue);
        }
        to->AppendTextUtf8(from->m_pText, from->m_cbText);
    };
    NewRootElement(nameOf(source->m_pName));
    // Depth-first without recursion: pairs of (source, copy) still to fill.
    std::vector<std::pair<const CXmlElement*, CXmlElement*>> pending{{source, m_pDocElement}};
    while (!pending.empty()) {
        auto [from, to] = pending.back();
        pending.pop_back();
        copyContent(from, to);
        for (const CXmlElement* c = from->m_pFirstChild; c != nullptr; c = c->m_pNextSibling) {
            pending.emplace_back(c, to->AppendChild(nameOf(c->m_pName)));
        }
    }
}

CXmlDocument::~CXmlDocument()
{
    // Not the virtual Cleanup: a derived class is already gone here.
    CXmlDocument::Cleanup();
}

void CXmlDocument::Cleanup()
{
    ClearTree();
    m_prefixMap.clear();
    m_pStore->prefixesOfUri.clear();
    m_pStore->names.Clear();
    ReleaseInput();
    CloseFile();
}

void CXmlDocument::ClearTree()
{
    m_pElementStack.clear();
    m_previousLastChild.clear();
    CXmlElement* root = std::exchange(m_pDocElement, nullptr);
    if (root != nullptr) {
        // Every small block goes back with its chunk: skip the free lists.
        m_pStore->pool.SetDiscarding(true);
        CXmlElement::Destroy(root);
    }
    m_pStore->pool.Release();
}

void CXmlDocument::Init()
{
    m_schemaType = static_cast<int32_t>(m_pContext->GetSchemaType());
    m_stripCDATA = m_pContext->GetStripCDATA();
}

void CXmlDocument::ReleaseInput()
{
    delete[] m_pOwnedInput;
    m_pOwnedInput = nullptr;
    m_pInput = nullptr;
    m_cbInput = 0;
}

void CXmlDocument::SetOwnedInput(unsigned char* data, uint32_t length)
{
    if (data != m_pOwnedInput) {
        delete[] m_pOwnedInput;
    }
    m_pOwnedInput = data;
    m_pInput = data;
    m_cbInput = length;
}

void CXmlDocument::CloseFile()
{
    if (m_hFile >= 0) {
        ::close(m_hFile);
        m_hFile = -1;
    }
}

// ---------------------------------------------------------------------------
// Loading

void CXmlDocument::LoadXmlStream(unsigned char* const data, uint32_t length)
{
    Cleanup();
    Init();
    if (data == nullptr || length == 0) {
        throw CVxException(kInvalidOrEmpty);
    }
    m_pInput = data;
    m_cbInput = length;
    try {
        Parse();
    } catch (...) {
        ClearTree();
        ReleaseInput();
        throw;
    }
    ReleaseInput();
}

void CXmlDocument::LoadXml(const char* text)
{
    LoadXmlStream(reinterpret_cast<unsigned char*>(const_cast<char*>(text)),
                  text == nullptr ? 0 : static_cast<uint32_t>(std::strlen(text)));
}

void CXmlDocument::LoadXml(const wchar_t* text)
{
    Cleanup();
    Init();
    if (text == nullptr || *text == 0) {
        throw CVxException(kInvalidOrEmpty);
    }
    // A character that is no Unicode scalar value (a surrogate, or beyond
    // U+10FFFF) has no UTF-8 form: the encoder refuses it, naming it and its
    // position, instead of the text being read with it replaced.
    const CBinaryData bytes = Utf16ToUtf8(text);
    m_pInput = bytes.GetData();
    m_cbInput = bytes.GetLength();
    try {
        ParseText(true);
    } catch (...) {
        ClearTree();
        ReleaseInput();
        throw;
    }
    ReleaseInput();
}

void CXmlDocument::Load(const wchar_t* fileName)
{
    Cleanup();
    Init();
    m_fileName = fileName ? fileName : L"";
    std::string path;
    detail::AppendWide(path, m_fileName.data(), m_fileName.size());
    m_hFile = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    // A folder opens like a file but cannot be read: say so at once.
    struct stat status;
    if (m_hFile >= 0 && ::fstat(m_hFile, &status) == 0 && S_ISDIR(status.st_mode)) {
        CloseFile();
        errno = EISDIR;
    }
    if (m_hFile < 0) {
        const int error = errno;
        throw CVxException(FormatString(L"Failed to open the file [%s]. Error [0x%08x] %s",
                                        m_fileName.c_str(), static_cast<unsigned>(error),
                                        ErrnoText(error).c_str()));
    }
    try {
        AsyncParse();
    } catch (...) {
        ClearTree();
        ReleaseInput();
        CloseFile();
        throw;
    }
    ReleaseInput();
    CloseFile();
}

void CXmlDocument::Parse()
{
    // Compressed input is inflated as the parser consumes it; a corrupt or
    // truncated stream fails as such. Fast Infoset is not read yet: such
    // bytes fail as XML.
    if (const size_t start = detail::CompressedStart(m_pInput, m_cbInput); start != SIZE_MAX) {
        CExpatReader reader(*this);
        reader.Initialise();
        detail::CInflater inflater(m_pContext->GetMaxDecompressionRatio(),
                                   m_pContext->GetMaxDecompressedSize(),
                                   [&reader](const unsigned char* bytes, size_t length) {
                                       reader.Parse(bytes, length, false);
                                   });
        inflater.Feed(m_pInput + start, m_cbInput - start);
        inflater.Finish();
        FinishParse(reader, inflater.GetOutputLength());
        return;
    }
    ParseText();
}

void CXmlDocument::FinishParse(CExpatReader& reader, uint64_t bytesParsed)
{
    if (bytesParsed == 0) {
        throw CVxException(kInvalidOrEmpty);
    }
    reader.Parse(nullptr, 0, true);
    if (m_pDocElement == nullptr) {
        throw CVxException(kInvalidOrEmpty);
    }
}

void CXmlDocument::ParseText(bool forceUtf8)
{
    CExpatReader reader(*this);
    reader.Initialise(forceUtf8);
    reader.Parse(true);
    if (m_pDocElement == nullptr) {
        throw CVxException(kInvalidOrEmpty);
    }
}

uint32_t CXmlDocument::ReadChunkFromFile(unsigned char* buffer)
{
    return ReadChunkFromFile(buffer, kFileChunkBytes);
}

uint32_t CXmlDocument::ReadChunkFromFile(unsigned char* buffer, uint32_t capacity)
{
    for (;;) {
        const ssize_t n = ::read(m_hFile, buffer, capacity);
        if (n >= 0) {
            return static_cast<uint32_t>(n);
        }
        if (errno != EINTR) {
            const int error = errno;
            throw CVxException(FormatString(
                L"Failed to read the contents of the file. Error [0x%08x]: %s: %s",
                static_cast<unsigned>(error), m_fileName.c_str(), ErrnoText(error).c_str()));
        }
    }
}

void CXmlDocument::AsyncParse()
{
    CExpatReader reader(*this);
    reader.Initialise();
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[kFileChunkBytes]);
    std::unique_ptr<detail::CInflater> inflater;
    uint64_t total = 0;
    for (;;) {
        uint32_t n = ReadChunkFromFile(buffer.get());
        if (n == 0) {
            break;
        }
        size_t start = 0;
        if (total == 0) {
            // A pipe may deliver the first bytes one by one: the compression
            // check needs four (a byte-order mark may come first).
            while (n < 4) {
                const uint32_t more = ReadChunkFromFile(buffer.get() + n, kFileChunkBytes - n);
                if (more == 0) {
                    break;
                }
                n += more;
            }
            start = detail::CompressedStart(buffer.get(), n);
            if (start != SIZE_MAX) {
                inflater = std::make_unique<detail::CInflater>(
                    m_pContext->GetMaxDecompressionRatio(), m_pContext->GetMaxDecompressedSize(),
                    [&reader](const unsigned char* bytes, size_t length) {
                        reader.Parse(bytes, length, false);
                    });
            }
        }
        total += n;
        if (inflater) {
            inflater->Feed(buffer.get() + start, n - start);
        } else {
            reader.Parse(buffer.get(), n, false);
        }
    }
    if (inflater) {
        inflater->Finish();
        total = inflater->GetOutputLength();
    }
    FinishParse(reader, total);
}

// ---------------------------------------------------------------------------
// Building

detail::NodePool& CXmlDocument::Pool()
{
    return m_pStore->pool;
}

CXmlElement* CXmlDocument::NewRootElement(const detail::XmlName* name)
{
    assert(m_pDocElement == nullptr && "one document element per document");
    m_pDocElement = new (m_pStore->pool.Allocate(sizeof(CXmlElement))) CXmlElement(this, name);
    return m_pDocElement;
}

const detail::XmlName* CXmlDocument::InternName(const wchar_t* namespaceUri,
                                                const wchar_t* localName)
{
    return m_pStore->names.Intern(namespaceUri, localName);
}

CXmlElement* CXmlDocument::AddDocElement(const wchar_t* namespaceUri, const wchar_t* localName)
{
    CXmlElement* root = NewRootElement(InternName(namespaceUri, localName));
    PushOpenElement(root);
    return root;
}

CXmlElement* CXmlDocument::AddChildElement(const wchar_t* namespaceUri, const wchar_t* localName)
{
    assert(!m_pElementStack.empty() && "a child needs an open parent");
    CXmlElement* parent = m_pElementStack.back();
    m_previousLastChild.back() = parent->m_pLastChild;
    CXmlElement* child = parent->AppendChild(InternName(namespaceUri, localName));
    PushOpenElement(child);
    return child;
}

void CXmlDocument::PushOpenElement(CXmlElement* element)
{
    m_pElementStack.push_back(element);
    m_previousLastChild.push_back(nullptr);
    if (m_pElementStack.size() > static_cast<size_t>(detail::kMaxNestingDepth)) {
        // Refused here, while the document is read, so that no tree deeper
        // than the object walks can take is ever built; reported at the
        // element that goes too deep, as reading it into objects would.
        try {
            detail::ThrowNestedTooDeeply();
        } catch (const CVxException& e) {
            throw CVxValidationException(L"Failed to process the element.", element->GetXPath(), e);
        }
    }
}

CXmlElement* CXmlDocument::StartElementUtf8(const char* expandedName, const char** attributes)
{
    const detail::XmlName* name = m_pStore->names.Intern(expandedName);
    CXmlElement* element;
    if (m_pDocElement == nullptr) {
        element = NewRootElement(name);
    } else {
        CXmlElement* parent = m_pElementStack.back();
        m_previousLastChild.back() = parent->m_pLastChild;
        element = parent->AppendChild(name);
    }
    PushOpenElement(element);

    size_t count = 0;
    while (attributes[2 * count] != nullptr) {
        ++count;
    }
    if (count != 0) {
        element->m_attributes.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            const char* value = attributes[2 * i + 1];
            element->AddAttributeUtf8(m_pStore->names.Intern(attributes[2 * i]), value,
                                      std::strlen(value));
        }
    }
    return element;
}

void CXmlDocument::AddElementAttribute(CXmlElement* element, const wchar_t* localName,
                                       const wchar_t* value, const wchar_t* namespaceUri)
{
    element->AddAttribute(localName, value, namespaceUri);
}

void CXmlDocument::AppendTextExcludingCR(CXmlElement* element, const wchar_t* text)
{
    AppendTextExcludingCR(element, text, SIZE_MAX);
}

void CXmlDocument::AppendTextExcludingCR(CXmlElement* element, const wchar_t* text, size_t length)
{
    if (text == nullptr) {
        return;
    }
    std::string bytes;
    for (size_t i = 0; i < length && text[i] != 0;) {
        const size_t start = i;
        while (i < length && text[i] != 0 && text[i] != L'\r') {
            ++i;
        }
        detail::AppendWide(bytes, text + start, i - start);
        while (i < length && text[i] == L'\r') {
            ++i;
        }
    }
    element->AppendTextUtf8(bytes.data(), bytes.size());
}

void CXmlDocument::AppendTextUtf8ExcludingCR(CXmlElement* element, const char* text, size_t length)
{
    // Expat already turns line ends into line feeds; a carriage return can
    // only come from a character reference.
    const char* end = text + length;
    while (text < end) {
        const auto* cr = static_cast<const char*>(std::memchr(text, '\r', end - text));
        const char* runEnd = cr ? cr : end;
        element->AppendTextUtf8(text, static_cast<size_t>(runEnd - text));
        text = cr ? cr + 1 : end;
    }
}

void CXmlDocument::AddNamespaceDeclaration(const char* prefix, const char* uri)
{
    std::wstring widePrefix;
    std::wstring wideUri;
    if (prefix != nullptr) {
        detail::AppendUtf8(widePrefix, prefix, std::strlen(prefix));
    }
    if (uri != nullptr) {
        detail::AppendUtf8(wideUri, uri, std::strlen(uri));
    }
    auto [it, inserted] = m_prefixMap.try_emplace(std::move(widePrefix));
    auto& reverse = m_pStore->prefixesOfUri;
    if (!inserted) {
        if (it->second == wideUri) {
            return;
        }
        auto old = reverse.find(it->second);
        old->second.erase(it->first);
        if (old->second.empty()) {
            reverse.erase(old);
        }
    }
    reverse[wideUri].insert(it->first);
    it->second = std::move(wideUri);
}

void CXmlDocument::EndElement()
{
    assert(!m_pElementStack.empty() && "EndElement without an open element");
    CXmlElement* closed = m_pElementStack.back();
    m_pElementStack.pop_back();
    m_previousLastChild.pop_back();
    closed->ShrinkText();
    if (m_pfnCallback != nullptr && m_pfnCallback(closed) && !m_pElementStack.empty()) {
        DropClosedElement(closed);
    }
}

void CXmlDocument::DropClosedElement(CXmlElement* closed)
{
    CXmlElement* parent = m_pElementStack.back();
    assert(parent->m_pLastChild == closed && "the closed element is the newest child");
    CXmlElement* before = m_previousLastChild.back();
    if (before == nullptr) {
        parent->m_pFirstChild = nullptr;
    } else {
        before->m_pNextSibling = nullptr;
    }
    parent->m_pLastChild = before;
    closed->m_pParent = nullptr;
    CXmlElement::Destroy(closed);
}

// ---------------------------------------------------------------------------
// Prefix map

std::wstring CXmlDocument::LookupNamespaceFromAlias(const wchar_t* prefix) const
{
    auto it = m_prefixMap.find(prefix ? prefix : L"");
    return it == m_prefixMap.end() ? std::wstring() : it->second;
}

std::wstring CXmlDocument::LookupAliasFromNamespace(const wchar_t* uri) const
{
    const auto& reverse = m_pStore->prefixesOfUri;
    auto it = reverse.find(uri ? uri : L"");
    return it == reverse.end() ? std::wstring() : *it->second.begin();
}

} // namespace VxXmlLib16
