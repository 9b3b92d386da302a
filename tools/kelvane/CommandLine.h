#pragma once

namespace kelvane {

/// Runs the command that the arguments name, reports a failure and returns the exit status.
int runTool(int argc, char** argv);

}  // namespace kelvane
