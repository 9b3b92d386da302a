#include <signal.h>

#include "CommandLine.h"
#include "Files.h"
#include "Interruption.h"
#include "KelvaneSDK/Diagnostics.h"
#include "Messages.h"

namespace {

using namespace kelvane;

void endAfterStop(std::string_view reason) {
    tell("kelvane: stopped: " + printable(reason));
    endProcess(ExitStatus::failed);
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXFSZ, SIG_IGN);
    catchInterruptions();
    KelvaneSDK::setStopHandler(endAfterStop);
    return runTool(argc, argv);
}
