// Lexical conversions of i4, r8 and 20-digit decimals, one million typical
// texts each way, with std::from_chars / std::to_chars on the same (narrow)
// texts as the reference for i4 and r8. After the runs the program prints
// each vxxml figure as a ratio to its reference.
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>
#include <vxxml/Conversions.h>
#if __has_include(<vxxml/Decimal.h>)
#include <vxxml/Decimal.h>
#define VXXML_BENCH_DECIMAL 1
#endif

using namespace VxXmlLib16;

namespace {

constexpr size_t kCount = 1000000;
constexpr auto kRule = CWhitespaceUtils::WhitespaceRule_Collapse; // what xs:int and xs:double use

struct Corpus
{
    std::vector<int32_t> i4;
    std::vector<std::string> i4Narrow;
    std::vector<std::wstring> i4Wide;
    std::vector<double> r8;
    std::vector<std::string> r8Narrow;
    std::vector<std::wstring> r8Wide;
    std::vector<std::wstring> decimalWide;
};

std::wstring Widen(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

const Corpus& GetCorpus()
{
    static const Corpus corpus = [] {
        Corpus c;
        std::mt19937_64 rng(20261121);
        // i4: every length from 1 to 10 digits equally often, a quarter negative.
        for (size_t i = 0; i < kCount; ++i) {
            const int digits = static_cast<int>(rng() % 10) + 1;
            int64_t bound = 1;
            for (int d = 0; d < digits; ++d) {
                bound *= 10;
            }
            int64_t v = static_cast<int64_t>(rng() % static_cast<uint64_t>(bound));
            v = std::min<int64_t>(v, INT32_MAX);
            if (rng() % 4 == 0) {
                v = -v;
            }
            c.i4.push_back(static_cast<int32_t>(v));
        }
        // r8: half amounts with two decimals (prices, measurements), half the
        // shortest form of random doubles between 1e-6 and 1e12 (what a
        // program writes back).
        std::uniform_real_distribution<double> exponent(-6.0, 12.0);
        for (size_t i = 0; i < kCount; ++i) {
            double v;
            if (i % 2 == 0) {
                v = static_cast<double>(rng() % 10000000) / 100.0;
            } else {
                v = std::pow(10.0, exponent(rng));
            }
            if (rng() % 4 == 0) {
                v = -v;
            }
            c.r8.push_back(v);
        }
        char buffer[64];
        for (int32_t v : c.i4) {
            const auto r = std::to_chars(buffer, buffer + sizeof buffer, v);
            c.i4Narrow.emplace_back(buffer, r.ptr);
            c.i4Wide.push_back(Widen(c.i4Narrow.back()));
        }
        for (double v : c.r8) {
            const auto r = std::to_chars(buffer, buffer + sizeof buffer, v);
            c.r8Narrow.emplace_back(buffer, r.ptr);
            c.r8Wide.push_back(Widen(c.r8Narrow.back()));
        }
        // 20 significant digits: 12 before the point and 8 after, some negative.
        for (size_t i = 0; i < kCount; ++i) {
            std::string s = (rng() % 4 == 0) ? "-" : "";
            s += std::to_string(100000000000ULL + rng() % 900000000000ULL);
            s += '.';
            const std::string frac = std::to_string(100000000ULL + rng() % 900000000ULL);
            s += frac.substr(1);
            c.decimalWide.push_back(Widen(s));
        }
        return c;
    }();
    return corpus;
}

// Runs perItem over every item once per iteration, summing what it returns
// so that the compiler cannot drop the work.
template <typename Items, typename PerItem>
void ForEachItem(benchmark::State& state, const Items& items, PerItem perItem)
{
    for (auto _ : state) {
        double sum = 0;
        for (const auto& item : items) {
            sum += static_cast<double>(perItem(item));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * items.size()));
}

// The references write into a stack buffer and build no string.
template <typename T> size_t ToCharsLength(T value)
{
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
    benchmark::DoNotOptimize(buffer);
    return static_cast<size_t>(r.ptr - buffer);
}

template <typename T> T FromChars(const std::string& text)
{
    T value{};
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

// ---- i4 ----

void i4_FromString_vxxml(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().i4Wide,
                [](const std::wstring& t) { return CConversions::i4FromString(t, kRule); });
}

void i4_FromString_from_chars(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().i4Narrow, FromChars<int32_t>);
}

void i4_ToString_vxxml(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().i4,
                [](int32_t v) { return CConversions::i4ToString(v).size(); });
}

void i4_ToString_to_chars(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().i4, ToCharsLength<int32_t>);
}

// The same, widened into the std::wstring the library's interface returns:
// shows how much of the difference is the string itself.
void i4_ToString_to_chars_wstring(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().i4, [](int32_t v) {
        char buffer[16];
        const auto r = std::to_chars(buffer, buffer + sizeof buffer, v);
        return std::wstring(buffer, r.ptr).size();
    });
}

// ---- r8 ----

void r8_FromString_vxxml(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().r8Wide,
                [](const std::wstring& t) { return CConversions::r8FromString(t, kRule); });
}

void r8_FromString_from_chars(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().r8Narrow, FromChars<double>);
}

void r8_ToString_vxxml(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().r8, [](double v) { return CConversions::r8ToString(v).size(); });
}

void r8_ToString_to_chars(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().r8, ToCharsLength<double>);
}

#ifdef VXXML_BENCH_DECIMAL
// ---- 20-digit decimals (no standard reference: absolute figures) ----

void decimal_FromString_vxxml(benchmark::State& state)
{
    ForEachItem(state, GetCorpus().decimalWide, [](const std::wstring& t) {
        return CConversions::decimalFromString(t, kRule).GetFractionDivider();
    });
}

void decimal_ToString_vxxml(benchmark::State& state)
{
    static const std::vector<CDecimal> values = [] {
        std::vector<CDecimal> v;
        for (const auto& t : GetCorpus().decimalWide) {
            v.push_back(CConversions::decimalFromString(t, kRule));
        }
        return v;
    }();
    ForEachItem(state, values,
                [](const CDecimal& d) { return CConversions::decimalToString(d).size(); });
}
#endif

// Remembers each run's CPU time per iteration so that main can print ratios
// (CPU time, because the machines we measure on are shared).
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    std::map<std::string, double> seconds;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const auto& run : runs) {
            // With repetitions, the median stands for the benchmark.
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") {
                continue;
            }
            seconds[run.run_name.str()] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
};

} // namespace

BENCHMARK(i4_FromString_vxxml)->Unit(benchmark::kMillisecond);
BENCHMARK(i4_FromString_from_chars)->Unit(benchmark::kMillisecond);
BENCHMARK(i4_ToString_vxxml)->Unit(benchmark::kMillisecond);
BENCHMARK(i4_ToString_to_chars)->Unit(benchmark::kMillisecond);
BENCHMARK(i4_ToString_to_chars_wstring)->Unit(benchmark::kMillisecond);
BENCHMARK(r8_FromString_vxxml)->Unit(benchmark::kMillisecond);
BENCHMARK(r8_FromString_from_chars)->Unit(benchmark::kMillisecond);
BENCHMARK(r8_ToString_vxxml)->Unit(benchmark::kMillisecond);
BENCHMARK(r8_ToString_to_chars)->Unit(benchmark::kMillisecond);
#ifdef VXXML_BENCH_DECIMAL
BENCHMARK(decimal_FromString_vxxml)->Unit(benchmark::kMillisecond);
BENCHMARK(decimal_ToString_vxxml)->Unit(benchmark::kMillisecond);
#endif

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    GetCorpus(); // build the texts outside the timed runs
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nvxxml time / reference time (1,000,000 texts each):\n");
    const char* pairs[][3] = {
        {"i4 from text", "i4_FromString_vxxml", "i4_FromString_from_chars"},
        {"i4 to text", "i4_ToString_vxxml", "i4_ToString_to_chars"},
        {"  (ref. + wstring)", "i4_ToString_vxxml", "i4_ToString_to_chars_wstring"},
        {"r8 from text", "r8_FromString_vxxml", "r8_FromString_from_chars"},
        {"r8 to text", "r8_ToString_vxxml", "r8_ToString_to_chars"},
    };
    for (const auto& p : pairs) {
        const auto a = reporter.seconds.find(p[1]);
        const auto b = reporter.seconds.find(p[2]);
        if (a != reporter.seconds.end() && b != reporter.seconds.end() && b->second > 0) {
            std::printf("  %-19s %5.2fx\n", p[0], a->second / b->second);
        }
    }
    benchmark::Shutdown();
    return 0;
}
