// Feeds the files in the folders given to a fuzz target, in the order of their names; folders may be missing.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
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
    std::fprintf(stderr, "%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
