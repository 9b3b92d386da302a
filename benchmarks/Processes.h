#pragma once

#include <functional>
#include <string>
#include <vector>

namespace KelvaneBenchmarks {

struct ProcessResult {
    double seconds = 0;
    int status = 0;
    std::string output;
};

/// Runs a shell command and returns what it wrote to standard output.
ProcessResult runCommand(const std::string& command);

using Report = std::function<void(double)>;

/// Runs `work` in a process of its own, on a fresh heap, and returns what it reported until it ended or its
/// time was up.
std::vector<double> inChild(unsigned seconds, const std::function<void(const Report&)>& work);

/// A file that exists as long as the object.
class TemporaryFile {
public:
    TemporaryFile(const std::string& suffix, const std::string& content);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string path;
};

}  // namespace KelvaneBenchmarks
