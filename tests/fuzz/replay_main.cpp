// Runs a fuzz target once over each file of a corpus, in builds without a fuzzer.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const char* directory)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path& path)
{
    // Before the run: where it crashes, this is the line that tells what did it.
    (void)std::fprintf(stderr, "%s\n", path.c_str());
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    // A buffer of exactly this size, so that a sanitizer sees what reads beyond it.
    std::vector<uint8_t> input(bytes.begin(), bytes.end());
    (void)LLVMFuzzerTestOneInput(input.data(), input.size());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: %s CORPUS-DIRECTORY\n", argv[0]);
        return EXIT_FAILURE;
    }
    const std::vector<std::filesystem::path> files = filesIn(argv[1]);
    for (const std::filesystem::path& file : files) {
        replay(file);
    }
    if (files.empty()) {
        (void)std::fprintf(stderr, "no inputs in %s\n", argv[1]);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
