#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace KelvaneSDK::testing_support {

/// A directory of a test's own, removed with all in it.
class TestDirectory {
public:
    TestDirectory() {
        std::string path = (std::filesystem::temp_directory_path() / "kelvane-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory");
        directory = path;
    }
    ~TestDirectory() { std::filesystem::remove_all(directory); }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    std::string path(const std::string& name) const { return (directory / name).string(); }
    /// How many files are there.
    std::ptrdiff_t size() const { return std::distance(std::filesystem::directory_iterator(directory), {}); }
    void write(const std::string& name, const std::string& text) const { std::ofstream(path(name), std::ios::binary) << text; }
    std::string content(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path directory;
};

}  // namespace KelvaneSDK::testing_support
