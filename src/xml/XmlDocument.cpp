#include "xml/ExpatReader.h"
#include "xml/XmlNames.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
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
#include <vxxml/VxZip.h>
#include <vxxml/XmlDocument.h>

namespace VxXmlLib16 {
namespace {

constexpr uint32_t kFileChunkBytes = 0x20000; // 128 KiB per read
const wchar_t kInvalidOrEmpty[] = L"Invalid or empty XML document";

// Whether the bytes start with a gzip or zlib header, the only inputs that
// decompression can change. Checked first so that plain XML (the usual case)
// is neither copied nor handed to zlib.
bool LooksCompressed(const unsigned char* data, size_t length)
{
    if (length < 2) {
        return false;
    }
    if (data[0] == 0x1F && data[1] == 0x8B) {
        return true; // gzip member
    }
    // zlib: deflate method, window of at most 32 KiB, header check bits.
    return (data[0] & 0x0F) == 8 && (data[0] >> 4) <= 7 && ((data[0] << 8) | data[1]) % 31 == 0;
}

// Where a compressed stream starts in data: at 0, or at 2 behind the UTF-16
// byte-order mark that a gzip-compressed UTF-16 file is written with (no
// XML text can begin with the characters those bytes would make); npos for
// data that is not compressed.
size_t CompressedStart(const unsigned char* data, size_t length)
{
    if (LooksCompressed(data, length)) {
        return 0;
    }
    if (length > 2 && data[0] == 0xFF && data[1] == 0xFE && LooksCompressed(data + 2, length - 2)) {
        return 2;
    }
    return std::string::npos;
}

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
    // Compressed input is decompressed first; anything else, including a
    // truncated or corrupt compressed stream, is left as it is and then
    // fails as XML. Fast Infoset is not read yet: such bytes fail as XML too.
    if (const size_t start = CompressedStart(m_pInput, m_cbInput); start != std::string::npos) {
        // CVxZip replaces (and frees) the buffer it is given: hand it a
        // copy we own, never the caller's bytes.
        if (m_pInput != m_pOwnedInput || start != 0) {
            const uint32_t length = m_cbInput - static_cast<uint32_t>(start);
            auto* buffer = new unsigned char[length];
            std::memcpy(buffer, m_pInput + start, length);
            SetOwnedInput(buffer, length);
        }
        CVxZip().Decompress(m_pOwnedInput, m_cbInput);
        m_pInput = m_pOwnedInput;
        if (m_cbInput == 0) {
            throw CVxException(kInvalidOrEmpty);
        }
    }
    ParseText();
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

void CXmlDocument::ReadCompressedFile(const unsigned char* firstChunk, uint32_t firstLength)
{
    std::vector<unsigned char> bytes(firstChunk, firstChunk + firstLength);
    for (;;) {
        const size_t at = bytes.size();
        bytes.resize(at + kFileChunkBytes);
        const uint32_t n = ReadChunkFromFile(bytes.data() + at);
        bytes.resize(at + n);
        if (n == 0) {
            break;
        }
        if (bytes.size() > UINT32_MAX) {
            throw CVxException(
                FormatString(L"The compressed file [%s] is larger than 4 GiB", m_fileName.c_str()));
        }
    }
    auto* owned = new unsigned char[bytes.size()];
    std::memcpy(owned, bytes.data(), bytes.size());
    SetOwnedInput(owned, static_cast<uint32_t>(bytes.size()));
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
            throw CVxException(
                FormatString(L"Failed to read the contents of the file. Error [0x%08x]",
                             static_cast<unsigned>(errno)));
        }
    }
}

void CXmlDocument::AsyncParse()
{
    CExpatReader reader(*this);
    reader.Initialise();
    const std::unique_ptr<unsigned char[]> buffer(new unsigned char[kFileChunkBytes]);
    uint64_t total = 0;
    for (;;) {
        uint32_t n = ReadChunkFromFile(buffer.get());
        if (n == 0) {
            break;
        }
        // A pipe may deliver the first bytes one by one: the compression
        // check needs four (a byte-order mark may come first).
        while (total == 0 && n < 4) {
            const uint32_t more = ReadChunkFromFile(buffer.get() + n, kFileChunkBytes - n);
            if (more == 0) {
                break;
            }
            n += more;
        }
        if (total == 0 && CompressedStart(buffer.get(), n) != std::string::npos) {
            // Decompression needs the whole stream: read the rest of the
            // file and parse it as one buffer.
            ReadCompressedFile(buffer.get(), n);
            Parse();
            return;
        }
        total += n;
        m_pInput = buffer.get();
        m_cbInput = n;
        reader.Parse(false);
    }
    m_pInput = nullptr;
    m_cbInput = 0;
    if (total == 0) {
        throw CVxException(kInvalidOrEmpty);
    }
    reader.Parse(true);
    if (m_pDocElement == nullptr) {
        throw CVxException(kInvalidOrEmpty);
    }
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
    m_pElementStack.push_back(root);
    m_previousLastChild.push_back(nullptr);
    return root;
}

CXmlElement* CXmlDocument::AddChildElement(const wchar_t* namespaceUri, const wchar_t* localName)
{
    assert(!m_pElementStack.empty() && "a child needs an open parent");
    CXmlElement* parent = m_pElementStack.back();
    m_previousLastChild.back() = parent->m_pLastChild;
    CXmlElement* child = parent->AppendChild(InternName(namespaceUri, localName));
    m_pElementStack.push_back(child);
    m_previousLastChild.push_back(nullptr);
    return child;
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
    m_pElementStack.push_back(element);
    m_previousLastChild.push_back(nullptr);

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
    m_prefixMap.insert_or_assign(std::move(widePrefix), std::move(wideUri));
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
    const wchar_t* wanted = uri ? uri : L"";
    for (const auto& [prefix, namespaceUri] : m_prefixMap) {
        if (namespaceUri == wanted) {
            return prefix;
        }
    }
    return std::wstring();
}

} // namespace VxXmlLib16
