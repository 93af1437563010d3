// Which expat build should the reader use: libexpat (UTF-8 callbacks) or
// libexpatw (UTF-16 callbacks)? Both export the same symbol names, so they
// cannot be linked into one program; each is opened with dlopen and driven
// through function pointers on the same generated 10 MB document.
//
// For each flavour three handler sets are timed:
//   Empty - handlers registered but doing nothing (the parser's own cost);
//   Copy  - names, attribute values and text copied as delivered (what a
//           tree that stores the callback's code units pays);
//   Wide  - everything converted to std::wstring (UTF-32), which is what
//           the library's interface hands out in the end.
#include "XmlGen.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>

namespace {

using XML_Parser = void*;

// The parts of expat's API the benchmark needs, with the character type of
// the flavour. The handler signatures take XML_Char pointers.
template <typename Ch> struct ExpatApi
{
    using StartFn = void (*)(void*, const Ch*, const Ch**);
    using EndFn = void (*)(void*, const Ch*);
    using CharFn = void (*)(void*, const Ch*, int);

    XML_Parser (*ParserCreateNS)(const Ch*, Ch) = nullptr;
    void (*SetUserData)(XML_Parser, void*) = nullptr;
    void (*SetElementHandler)(XML_Parser, StartFn, EndFn) = nullptr;
    void (*SetCharacterDataHandler)(XML_Parser, CharFn) = nullptr;
    int (*Parse)(XML_Parser, const char*, int, int) = nullptr;
    void (*ParserFree)(XML_Parser) = nullptr;

    bool Open(const char* soname)
    {
        void* h = dlopen(soname, RTLD_NOW | RTLD_LOCAL);
        if (!h) {
            std::fprintf(stderr, "cannot open %s: %s\n", soname, dlerror());
            return false;
        }
        ParserCreateNS = reinterpret_cast<decltype(ParserCreateNS)>(dlsym(h, "XML_ParserCreateNS"));
        SetUserData = reinterpret_cast<decltype(SetUserData)>(dlsym(h, "XML_SetUserData"));
        SetElementHandler =
            reinterpret_cast<decltype(SetElementHandler)>(dlsym(h, "XML_SetElementHandler"));
        SetCharacterDataHandler = reinterpret_cast<decltype(SetCharacterDataHandler)>(
            dlsym(h, "XML_SetCharacterDataHandler"));
        Parse = reinterpret_cast<decltype(Parse)>(dlsym(h, "XML_Parse"));
        ParserFree = reinterpret_cast<decltype(ParserFree)>(dlsym(h, "XML_ParserFree"));
        return ParserCreateNS && SetUserData && SetElementHandler && SetCharacterDataHandler &&
               Parse && ParserFree;
    }
};

ExpatApi<char>& Utf8Api()
{
    static ExpatApi<char> api;
    static bool ok = api.Open("libexpat.so.1");
    if (!ok) {
        std::abort();
    }
    return api;
}

ExpatApi<char16_t>& Utf16Api()
{
    static ExpatApi<char16_t> api;
    static bool ok = api.Open("libexpatw.so.1");
    if (!ok) {
        std::abort();
    }
    return api;
}

const std::string& Document()
{
    static const std::string doc = vxbench::XmlGen::Make(10u << 20);
    return doc;
}

// Sinks that keep the work observable without growing memory.
struct Sink
{
    std::string bytes;
    std::u16string units;
    std::wstring wide;
    size_t total = 0;
};

size_t Len(const char* s)
{
    return std::strlen(s);
}
size_t Len(const char16_t* s)
{
    return std::char_traits<char16_t>::length(s);
}

void AppendWide(std::wstring& out, const char* s, size_t n)
{
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    const auto* e = p + n;
    while (p < e) {
        unsigned c = *p++;
        if (c >= 0x80) {
            if (c < 0xE0) {
                c = ((c & 0x1F) << 6) | (p[0] & 0x3F);
                p += 1;
            } else if (c < 0xF0) {
                c = ((c & 0x0F) << 12) | ((p[0] & 0x3F) << 6) | (p[1] & 0x3F);
                p += 2;
            } else {
                c = ((c & 0x07) << 18) | ((p[0] & 0x3F) << 12) | ((p[1] & 0x3F) << 6) |
                    (p[2] & 0x3F);
                p += 3;
            }
        }
        out += static_cast<wchar_t>(c);
    }
}

void AppendWide(std::wstring& out, const char16_t* s, size_t n)
{
    for (size_t i = 0; i < n; ++i) {
        unsigned c = s[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < n) {
            c = 0x10000 + ((c - 0xD800) << 10) + (s[++i] - 0xDC00);
        }
        out += static_cast<wchar_t>(c);
    }
}

template <typename Ch> void CopyAppend(Sink& k, const Ch* s, size_t n)
{
    if constexpr (sizeof(Ch) == 1) {
        k.bytes.assign(s, n);
        k.total += k.bytes.size();
    } else {
        k.units.assign(s, n);
        k.total += k.units.size();
    }
}

enum class Mode { Empty, Copy, Wide };

template <typename Ch, Mode M> struct Handlers
{
    static void Start(void* ud, const Ch* name, const Ch** atts)
    {
        if constexpr (M != Mode::Empty) {
            Sink& k = *static_cast<Sink*>(ud);
            auto take = [&](const Ch* s) {
                if constexpr (M == Mode::Copy) {
                    CopyAppend(k, s, Len(s));
                } else {
                    k.wide.clear();
                    AppendWide(k.wide, s, Len(s));
                    k.total += k.wide.size();
                }
            };
            take(name);
            for (; *atts; atts += 2) {
                take(atts[0]);
                take(atts[1]);
            }
        }
    }
    static void End(void*, const Ch*) {}
    static void Text(void* ud, const Ch* s, int n)
    {
        if constexpr (M != Mode::Empty) {
            Sink& k = *static_cast<Sink*>(ud);
            if constexpr (M == Mode::Copy) {
                CopyAppend(k, s, static_cast<size_t>(n));
            } else {
                k.wide.clear();
                AppendWide(k.wide, s, static_cast<size_t>(n));
                k.total += k.wide.size();
            }
        }
    }
};

template <typename Ch, Mode M> void Run(benchmark::State& state, ExpatApi<Ch>& api)
{
    const std::string& doc = Document();
    Sink sink;
    for (auto _ : state) {
        XML_Parser p = api.ParserCreateNS(nullptr, static_cast<Ch>('|'));
        api.SetUserData(p, &sink);
        api.SetElementHandler(p, &Handlers<Ch, M>::Start, &Handlers<Ch, M>::End);
        api.SetCharacterDataHandler(p, &Handlers<Ch, M>::Text);
        if (api.Parse(p, doc.data(), static_cast<int>(doc.size()), 1) != 1) {
            state.SkipWithError("parse failed");
        }
        api.ParserFree(p);
    }
    benchmark::DoNotOptimize(sink.total);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

void BM_Utf8_Empty(benchmark::State& s)
{
    Run<char, Mode::Empty>(s, Utf8Api());
}
void BM_Utf16_Empty(benchmark::State& s)
{
    Run<char16_t, Mode::Empty>(s, Utf16Api());
}
void BM_Utf8_Copy(benchmark::State& s)
{
    Run<char, Mode::Copy>(s, Utf8Api());
}
void BM_Utf16_Copy(benchmark::State& s)
{
    Run<char16_t, Mode::Copy>(s, Utf16Api());
}
void BM_Utf8_Wide(benchmark::State& s)
{
    Run<char, Mode::Wide>(s, Utf8Api());
}
void BM_Utf16_Wide(benchmark::State& s)
{
    Run<char16_t, Mode::Wide>(s, Utf16Api());
}

BENCHMARK(BM_Utf8_Empty)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf16_Empty)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf8_Copy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf16_Copy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf8_Wide)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf16_Wide)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
