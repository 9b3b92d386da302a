// replay COUNT FOLDER...: feeds a fuzz target the files in the folders, in the order of their names, and then
// so many inputs of random bytes, which are always the same. Folders may be missing.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    if (argc < 3) return 2;
    const int randomInputs = std::stoi(argv[1]);
    for (int i = 2; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) continue;
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::mt19937 random(1);
    for (int i = 0; i < randomInputs; ++i) {
        std::fprintf(stderr, "random input %d\n", i);
        std::vector<std::uint8_t> bytes(random() % 2048);
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::fprintf(stderr, "%zu files, %d random inputs\n", files.size(), randomInputs);
    return files.empty() ? 1 : 0;
}
