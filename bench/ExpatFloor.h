// The reference every reading benchmark is measured against: expat parsing
// the bytes with namespace processing and the same handler set as the
// library's reader (elements, character data, namespace declarations), all
// empty. No expat-based reader can be faster.
#pragma once

#include <expat.h>
#include <string>

namespace benchfloor {

inline void XMLCALL NoStart(void*, const XML_Char*, const XML_Char**) {}
inline void XMLCALL NoEnd(void*, const XML_Char*) {}
inline void XMLCALL NoText(void*, const XML_Char*, int) {}
inline void XMLCALL NoNsStart(void*, const XML_Char*, const XML_Char*) {}
inline void XMLCALL NoNsEnd(void*, const XML_Char*) {}

// False when expat rejects the document.
inline bool ParseWithEmptyHandlers(const std::string& doc)
{
    XML_Parser p = XML_ParserCreateNS(nullptr, '|');
    XML_SetElementHandler(p, NoStart, NoEnd);
    XML_SetCharacterDataHandler(p, NoText);
    XML_SetNamespaceDeclHandler(p, NoNsStart, NoNsEnd);
    const bool ok = XML_Parse(p, doc.data(), static_cast<int>(doc.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(p);
    return ok;
}

} // namespace benchfloor
