#pragma once

#include <string>
#include <vector>

namespace kelvane {

struct ListedRecording {
    std::string path;
    /// Where its results go; empty: to the common stream.
    std::string resultPath;
};

/// The recordings that arguments name: files, folders (for their files *.jsonl, compressed or not, in the
/// order of the names, not those of folders within) and "@LIST" (for the files and folders that a text names,
/// one a line).
std::vector<ListedRecording> listRecordings(const std::vector<std::string>& arguments);

/// Gives every recording a file in the folder, which is made unless it exists: walk.jsonl for a walk.jsonl,
/// a walk.jsonl.gz and a walk. Refuses two recordings that would share one, and files that are read.
void chooseResultPaths(std::vector<ListedRecording>& recordings, const std::string& folder,
                       const std::string& diagram);

}  // namespace kelvane
