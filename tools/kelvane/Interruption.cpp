#include "Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

namespace kelvane {

namespace {

std::atomic<int> caughtSignal = 0;
std::atomic<bool> isInterrupted = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);
// The handler writes to it, so that a signal just before poll() is not missed.
std::array<int, 2> wakePipe{-1, -1};

void onSignal(int number) {
    const int savedError = errno;
    caughtSignal = number;
    interrupt();
    errno = savedError;
}

}  // namespace

void catchInterruptions() {
    if (::pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) return;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        // A shell starts background jobs with SIGINT ignored, and it should stay so.
        if (action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = onSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        ::sigaction(number, &action, nullptr);
    }
}

int interruption() { return caughtSignal; }

const std::atomic<bool>& interrupted() { return isInterrupted; }

void interrupt() {
    isInterrupted = true;
    [[maybe_unused]] const auto written = ::write(wakePipe[1], "", 1);
}

bool waitForInput(int descriptor) {
    std::array<pollfd, 2> watched{pollfd{descriptor, POLLIN, 0}, pollfd{wakePipe[0], POLLIN, 0}};
    while (!isInterrupted) {
        // Whatever else poll() reports, read() reports in more detail.
        if (::poll(watched.data(), watched.size(), -1) < 0 ? errno != EINTR : watched[0].revents != 0)
            return true;
    }
    return false;
}

}  // namespace kelvane
