// xs:pattern checks on 10,000 typical values (product codes and e-mail-like
// texts). Three ways to check the same values against the same pattern:
//  - the string facet check of the object base, which finds the compiled
//    pattern in the process-wide cache for every value;
//  - the same lookup and match without the exceptions of failing values;
//  - the pattern compiled once and held by the caller (the floor of the
//    cached path: same translation, same PCRE2 program);
//  - std::wregex_match with an equivalent ECMAScript pattern, the regular
//    expression engine every C++ program has, as the outside reference.
#include "core/XsdPattern.h"

#include <benchmark/benchmark.h>
#include <random>
#include <regex>
#include <string>
#include <vector>
#include <vxxml/Exceptions.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/XmlObjectBase.h>

using namespace VxXmlLib16;

namespace {

// Opens the protected check to the benchmark; never instantiated.
class CChecks : public CXmlObjectBase
{
public:
    using CXmlObjectBase::Throw_IfInvalid_string;
};

struct Case
{
    const wchar_t* xsd;
    const wchar_t* ecma;
};

const Case kCode = {L"[A-Z]{2}\\d{4}-[a-z]{1,8}", L"[A-Z]{2}[0-9]{4}-[a-z]{1,8}"};
const Case kMail = {L"[a-z][a-z0-9._-]*@[a-z0-9-]+(\\.[a-z0-9-]+)+",
                    L"[a-z][a-z0-9._-]*@[a-z0-9-]+(\\.[a-z0-9-]+)+"};

std::vector<std::wstring> Values(const Case& c)
{
    std::mt19937 rng(20261122);
    auto letters = [&](wchar_t base, int n) {
        std::wstring s;
        for (int i = 0; i < n; ++i) {
            s += static_cast<wchar_t>(base + rng() % 26);
        }
        return s;
    };
    std::vector<std::wstring> out;
    for (int i = 0; i < 10000; ++i) {
        if (&c == &kCode) {
            out.push_back(letters(L'A', 2) + std::to_wstring(1000 + rng() % 9000) + L"-" +
                          letters(L'a', 1 + static_cast<int>(rng() % 8)));
        } else {
            out.push_back(letters(L'a', 6) + L"@" + letters(L'a', 7) + L".example.org");
        }
        if (i % 10 == 0) {
            out.back() += L"!"; // one value in ten fails
        }
    }
    return out;
}

void CheckCached(benchmark::State& state, const Case& c)
{
    const auto values = Values(c);
    const VxXmlLib16Data::CPrimitiveRestrictions r(c.xsd, -1, -1, nullptr, nullptr, nullptr,
                                                   nullptr, -1, -1, -1);
    for (auto _ : state) {
        int failed = 0;
        for (const std::wstring& v : values) {
            try {
                CChecks::Throw_IfInvalid_string(L"v", v, r);
            } catch (const CVxException&) {
                ++failed;
            }
        }
        benchmark::DoNotOptimize(failed);
    }
}

void MatchPrecompiled(benchmark::State& state, const Case& c)
{
    const auto values = Values(c);
    const detail::CXsdPattern pattern(c.xsd);
    for (auto _ : state) {
        int failed = 0;
        for (const std::wstring& v : values) {
            failed += pattern.Matches(v) ? 0 : 1;
        }
        benchmark::DoNotOptimize(failed);
    }
}

// The cached path without the exceptions of failing values.
void MatchCached(benchmark::State& state, const Case& c)
{
    const auto values = Values(c);
    const std::wstring pattern(c.xsd);
    for (auto _ : state) {
        int failed = 0;
        for (const std::wstring& v : values) {
            failed += detail::CXsdPattern::Get(pattern)->Matches(v) ? 0 : 1;
        }
        benchmark::DoNotOptimize(failed);
    }
}

void MatchStdRegex(benchmark::State& state, const Case& c)
{
    const auto values = Values(c);
    const std::wregex pattern(c.ecma);
    for (auto _ : state) {
        int failed = 0;
        for (const std::wstring& v : values) {
            failed += std::regex_match(v, pattern) ? 0 : 1;
        }
        benchmark::DoNotOptimize(failed);
    }
}

BENCHMARK_CAPTURE(CheckCached, code, kCode);
BENCHMARK_CAPTURE(MatchCached, code, kCode);
BENCHMARK_CAPTURE(MatchPrecompiled, code, kCode);
BENCHMARK_CAPTURE(MatchStdRegex, code, kCode);
BENCHMARK_CAPTURE(CheckCached, mail, kMail);
BENCHMARK_CAPTURE(MatchCached, mail, kMail);
BENCHMARK_CAPTURE(MatchPrecompiled, mail, kMail);
BENCHMARK_CAPTURE(MatchStdRegex, mail, kMail);

} // namespace

BENCHMARK_MAIN();
