// Runs a fuzz target over the files of its corpus, where libFuzzer is not at hand.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<uint8_t> readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; i++) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            const std::vector<uint8_t> bytes = readFile(entry.path());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            replayed++;
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
