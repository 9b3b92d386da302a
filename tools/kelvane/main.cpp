#include <signal.h>

#include "CommandLine.h"
#include "Files.h"
#include "Interruption.h"
#include "MemoryLimit.h"

using namespace kelvane;

int main(int argc, char** argv) {
    occupyStandardStreams();
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    catchInterruptions();
    limitMemory({});
    return runTool(argc, argv);
}
