// Internal: the adapter that turns expat's callbacks into the light tree.
#pragma once

#include <cstddef>
#include <exception>
#include <expat.h>
#include <vxxml/InstanceMonitor.h>

namespace VxXmlLib16 {

class CXmlDocument;

// Drives one expat parser for one document. The reader uses expat's UTF-8
// build: it is faster than the UTF-16 build and the tree keeps UTF-8 anyway
// (bench/README.md has the figures).
//
// Expat is C: no C++ exception may cross it. Every handler catches what the
// tree (or the caller's element callback) throws, stops the parser and the
// exception is rethrown unchanged once XML_Parse has returned.
class CExpatReader : public CInstanceMonitor
{
public:
    explicit CExpatReader(CXmlDocument& document);
    CExpatReader(const CExpatReader&) = delete;
    CExpatReader& operator=(const CExpatReader&) = delete;
    ~CExpatReader() override;

    // Creates the parser: namespace processing with '|' as separator except
    // for schema type 2; forceUtf8 overrides whatever encoding the bytes
    // declare (used for text that was wide characters).
    void Initialise(bool forceUtf8 = false);
    // Hands the document's current input bytes to expat. Parse errors raise
    // CVxException "<expat's message> at line <n>".
    void Parse(bool isFinal);
    // The same for bytes from elsewhere (a decompressor's output).
    void Parse(const unsigned char* data, size_t length, bool isFinal);

private:
    void Feed(const char* data, size_t length, bool isFinal);
    [[noreturn]] void Fail();
    void Stop();

    static void XMLCALL OnStartElement(void* userData, const XML_Char* name,
                                       const XML_Char** attributes);
    static void XMLCALL OnEndElement(void* userData, const XML_Char* name);
    static void XMLCALL OnCharacterData(void* userData, const XML_Char* text, int length);
    static void XMLCALL OnStartNamespace(void* userData, const XML_Char* prefix,
                                         const XML_Char* uri);
    static void XMLCALL OnEndNamespace(void* userData, const XML_Char* prefix);
    static void XMLCALL OnStartCdata(void* userData);
    static void XMLCALL OnEndCdata(void* userData);

    CXmlDocument& m_doc;
    XML_Parser m_parser = nullptr;
    std::exception_ptr m_pending; // thrown inside a handler, rethrown after XML_Parse
};

} // namespace VxXmlLib16
