#pragma once

namespace kelvane {

/// Runs the command that the arguments name, tells a failure and answers the exit status.
int runTool(int argc, char** argv);

}  // namespace kelvane
