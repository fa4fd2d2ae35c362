// In place of libFuzzer: runs each input of a folder, and some that differ from it in a few bytes, the same each time.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int, char **argv) {
    std::set<std::filesystem::path> files;
    for (const auto &file : std::filesystem::directory_iterator(argv[1])) files.insert(file.path());
    std::mt19937 random(7);
    for (const auto &file : files) {
        std::ifstream in(file, std::ios::binary);
        const std::vector<char> kept((std::istreambuf_iterator<char>(in)), {});
        std::fprintf(stderr, "%s\n", file.c_str());
        for (int variant = 0; variant < 12; ++variant) {
            std::vector<char> bytes = kept;
            for (int i = 0; i < variant && !bytes.empty(); i += 3)
                bytes[random() % bytes.size()] = static_cast<char>(random());
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
        }
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty();
}
