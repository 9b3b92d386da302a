#pragma once

#include <string>
#include <string_view>

#include "Commands.h"

namespace kelvane {

/// What a case of `kelvane test` says about its run.
struct CaseOptions {
    RunOptions run;
    ToleranceOptions tolerance;
    /// Where the recording is, if not in the case; empty: it is there.
    std::string recording;
};

/// Reads options, one a line as `run` takes them; blank lines and those that begin with # say nothing. Throws
/// a `Failure` that names the line for what is none.
CaseOptions readCaseOptions(const std::string& fileName, std::string_view text);

/// Runs the command that the arguments name, reports a failure and returns the exit status.
int runTool(int argc, char** argv);

}  // namespace kelvane
