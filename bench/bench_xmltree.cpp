// Building the light document tree from bytes in memory, against expat
// parsing the same bytes with empty handlers (the floor: the tree cannot be
// built faster than expat tokenises); and the memory the tree takes.
//
// Memory figures come from child processes (fork), so that each starts from
// a clean heap: peak resident size (VmHWM, reset through clear_refs) minus
// the resident size just before the load.
#include "ExpatFloor.h"
#include "XmlGen.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vxxml/XmlDocument.h>

using VxXmlLib16::CXmlDocument;
using VxXmlLib16::CXmlElement;

namespace {

const std::string& Document(int megabytes)
{
    static std::string doc10;
    static std::string doc100;
    std::string& doc = megabytes == 10 ? doc10 : doc100;
    if (doc.empty()) {
        doc = vxbench::XmlGen::Make(uint64_t(megabytes) << 20);
    }
    return doc;
}

// Expat with namespace processing and the same handler set as the reader,
// all empty.
void BM_ExpatEmptyHandlers(benchmark::State& state)
{
    const std::string& doc = Document(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!benchfloor::ParseWithEmptyHandlers(doc)) {
            state.SkipWithError("expat failed");
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// The load alone: the previous tree is destroyed outside the timed part.
void BM_BuildTree(benchmark::State& state)
{
    const std::string& doc = Document(static_cast<int>(state.range(0)));
    auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(doc.data()));
    for (auto _ : state) {
        auto* xml = new CXmlDocument;
        xml->LoadXmlStream(bytes, static_cast<uint32_t>(doc.size()));
        benchmark::DoNotOptimize(xml->GetDocumentElement());
        state.PauseTiming();
        delete xml;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

// Load and destruction together: what one document costs a caller.
void BM_BuildAndDestroyTree(benchmark::State& state)
{
    const std::string& doc = Document(static_cast<int>(state.range(0)));
    auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(doc.data()));
    for (auto _ : state) {
        CXmlDocument xml;
        xml.LoadXmlStream(bytes, static_cast<uint32_t>(doc.size()));
        benchmark::DoNotOptimize(xml.GetDocumentElement());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc.size()));
}

BENCHMARK(BM_ExpatEmptyHandlers)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildTree)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildAndDestroyTree)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// Memory, measured in child processes.

long StatusKiB(const char* field)
{
    std::ifstream in("/proc/self/status");
    std::string line;
    const size_t n = std::strlen(field);
    while (std::getline(in, line)) {
        if (line.compare(0, n, field) == 0 && line.size() > n && line[n] == ':') {
            return std::atol(line.c_str() + n + 1);
        }
    }
    return -1;
}

void ResetPeak()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

// Measurements run in a fresh process (this program started again with
// --vx-child), so that no heap left over from the timing runs is reused.
struct ChildResult
{
    double v[4] = {0, 0, 0, 0};
    bool ok = false;
};

ChildResult RunChild(const char* kind, int64_t megabytes)
{
    ChildResult result;
    int fds[2];
    if (pipe(fds) != 0) {
        return result;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], STDOUT_FILENO);
        close(fds[0]);
        close(fds[1]);
        const std::string size = std::to_string(megabytes);
        execl("/proc/self/exe", "bench_xmltree", "--vx-child", kind, size.c_str(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    std::string out;
    char buf[256];
    ssize_t n;
    while ((n = read(fds[0], buf, sizeof buf)) > 0) {
        out.append(buf, static_cast<size_t>(n));
    }
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
                std::sscanf(out.c_str(), "%lf %lf %lf %lf", &result.v[0], &result.v[1],
                            &result.v[2], &result.v[3]) == 4;
    return result;
}

// Child: peak and retained resident memory of loading the document.
int ChildTree(uint64_t bytes)
{
    const std::string doc = vxbench::XmlGen::Make(bytes);
    CXmlDocument xml;
    ResetPeak();
    const long before = StatusKiB("VmRSS");
    xml.LoadXmlStream(reinterpret_cast<unsigned char*>(const_cast<char*>(doc.data())),
                      static_cast<uint32_t>(doc.size()));
    std::printf("%f %f %f 0\n", double(StatusKiB("VmHWM") - before) * 1024,
                double(StatusKiB("VmRSS") - before) * 1024, double(doc.size()));
    return 0;
}

bool DropEverything(CXmlElement*)
{
    return true;
}

// Child: a generated document streams through a pipe into Load (nothing on
// disk) while the element callback drops every element.
int ChildFlat(uint64_t bytes)
{
    int fds[2];
    if (pipe(fds) != 0) {
        return 1;
    }
    const long baseline = StatusKiB("VmRSS");
    ResetPeak();
    uint64_t produced = 0;
    std::thread writer([&] {
        vxbench::XmlGen gen(bytes);
        std::string piece;
        while (true) {
            piece.clear();
            if (!gen.Next(piece)) {
                break;
            }
            produced += piece.size();
            for (size_t off = 0; off < piece.size();) {
                const ssize_t w = write(fds[1], piece.data() + off, piece.size() - off);
                if (w <= 0) {
                    return;
                }
                off += static_cast<size_t>(w);
            }
        }
        close(fds[1]);
    });
    CXmlDocument xml(DropEverything);
    const std::string path = "/proc/self/fd/" + std::to_string(fds[0]);
    const std::wstring wpath(path.begin(), path.end());
    xml.Load(wpath.c_str());
    writer.join();
    close(fds[0]);
    // Read the peak before GetText: the wide copy of the root's text is not
    // part of the load.
    const double peak = double(StatusKiB("VmHWM") - baseline) * 1024;
    std::printf("%f %f %f 0\n", peak, double(produced),
                double(xml.GetDocumentElement()->GetText().size()));
    return 0;
}

void BM_TreeMemory(benchmark::State& state)
{
    ChildResult r;
    for (auto _ : state) {
        r = RunChild("tree", state.range(0));
    }
    if (!r.ok) {
        state.SkipWithError("child failed");
        return;
    }
    state.counters["input_MB"] = r.v[2] / 1e6;
    state.counters["peak_MB"] = r.v[0] / 1e6;
    state.counters["tree_MB"] = r.v[1] / 1e6;
    state.counters["peak_x_input"] = r.v[0] / r.v[2];
    state.counters["tree_x_input"] = r.v[1] / r.v[2];
}

void BM_CallbackFlatMemory(benchmark::State& state)
{
    ChildResult r;
    for (auto _ : state) {
        r = RunChild("flat", state.range(0));
    }
    if (!r.ok) {
        state.SkipWithError("child failed");
        return;
    }
    state.counters["input_MB"] = r.v[1] / 1e6;
    state.counters["peak_above_baseline_MiB"] = r.v[0] / (1 << 20);
    state.counters["root_text_chars"] = r.v[2];
}

BENCHMARK(BM_TreeMemory)->Arg(10)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CallbackFlatMemory)
    ->Arg(10)
    ->Arg(100)
    ->Arg(1024)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], "--vx-child") == 0) {
        const uint64_t bytes = std::strtoull(argv[3], nullptr, 10) << 20;
        return std::strcmp(argv[2], "tree") == 0 ? ChildTree(bytes) : ChildFlat(bytes);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
