// Support of the binding tests: structural comparison of object trees,
// random trees that obey test.xsd, and schema validation through xmllint.
#pragma once

#include "binding/TestSchema.h"

#include <random>
#include <string>
#include <vector>

namespace bt {

// Empty when the two trees hold the same content, else where they differ.
std::string Diff(const CXmlObjectBase* expected, const CXmlObjectBase* actual);

class CRandom
{
public:
    explicit CRandom(unsigned seed) : m_engine(seed) {}
    int Int(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_engine); }
    bool Chance(int percent) { return Int(1, 100) <= percent; }
    template <class T, size_t N> const T& Pick(const T (&items)[N]) { return items[Int(0, N - 1)]; }

private:
    std::mt19937 m_engine;
};

// A random document that test.xsd accepts when written with xsi:type
// attributes (CSerializationContext::SetWriteTypeAttribute).
CSmartPtr<CRoot> RandomRoot(CRandom& random);
CSmartPtr<CAllExtra> RandomAllExtra(CRandom& random);
CSmartPtr<VxXmlLib16::CElement> RandomElement(CRandom& random, const wchar_t* name,
                                              const wchar_t* namespaceUri,
                                              const wchar_t* restriction, int depth);

// A fully populated valid document, the same every time.
CSmartPtr<CRoot> SampleRoot();

// Runs xmllint on the files against test.xsd: empty when all are valid,
// else its report. Files go in batches, to keep the command lines short.
bool HaveXmllint();
std::string ValidateWithXmllint(const std::vector<std::string>& files);

std::string TestSchemaPath();

} // namespace bt
