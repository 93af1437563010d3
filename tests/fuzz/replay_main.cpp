// Runs a fuzz target over saved inputs without libFuzzer, so that the corpus
// is an ordinary regression test (also under the sanitizer build).
//
//   fuzz_replay_<target> DIR_OR_FILE...
//
// Every regular file of a directory (recursively, in name order) is one
// input. A finding aborts inside the target; reaching the end means every
// input passed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

namespace {

bool RunFile(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    // A copy of exactly the input's size, so that reading past the end is
    // caught by the address sanitizer as it is under libFuzzer.
    std::vector<uint8_t> exact(bytes);
    exact.shrink_to_fit();
    // Named first, so that a finding shows which input it came from.
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DIR_OR_FILE...\n", argv[0]);
        return 2;
    }
    size_t count = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        const fs::path arg(argv[i]);
        std::vector<fs::path> files;
        if (fs::is_directory(arg)) {
            for (const auto& entry : fs::recursive_directory_iterator(arg)) {
                if (entry.is_regular_file()) {
                    files.push_back(entry.path());
                }
            }
            std::sort(files.begin(), files.end());
        } else if (fs::is_regular_file(arg)) {
            files.push_back(arg);
        } else {
            std::fprintf(stderr, "no such file or directory: %s\n", argv[i]);
            ok = false;
        }
        for (const auto& file : files) {
            ok = RunFile(file) && ok;
            ++count;
        }
    }
    // An empty input is always worth a run: every target must cope with it.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("%zu inputs replayed\n", count);
    if (count == 0) {
        std::fprintf(stderr, "no inputs found\n");
        return 1;
    }
    return ok ? 0 : 1;
}
