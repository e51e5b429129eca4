// Runs a target over the files of its corpus without a fuzzer, so that targets and
// corpora stay sound in ordinary builds.
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzTarget.h"

namespace {

void Replay(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes(std::istreambuf_iterator<char>(in), {});
    // An exact copy, so that a sanitizer sees a read past the end.
    std::vector<uint8_t> input(bytes.begin(), bytes.end());
    input.shrink_to_fit();
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            fprintf(stderr, "%s\n", entry.path().c_str());
            Replay(entry.path());
            ++count;
        }
    }
    printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
