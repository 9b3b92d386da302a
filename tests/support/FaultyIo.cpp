// Preloaded into a process, makes one of its calls to the system fail, as its environment says:
//
//     KELVANE_FAULT="write 3 ENOSPC 9"    the third write fails, and descriptor 9 gets a byte when it does
//
// SHORT lets a read or write handle one byte only, FULL does so and lets all later ones fail with ENOSPC.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

struct Fault {
    char call[16]{}, kind[16]{};
    int countdown = 0, witness = -1;

    Fault() {
        const char* text = std::getenv("KELVANE_FAULT");
        if (text != nullptr) std::sscanf(text, "%15s %d %15s %d", call, &countdown, kind, &witness);
    }
    bool is(std::string_view name) const { return kind == name; }
    int error() const { return is("EAGAIN") ? EAGAIN : is("EINTR") ? EINTR : is("EIO") ? EIO : is("EPIPE") ? EPIPE : ENOSPC; }
};

Fault& fault() {
    static Fault only;
    return only;
}

/// Whether this call fails; `errno` then says how.
bool strikes(std::string_view call, std::size_t* size = nullptr) {
    auto& asked = fault();
    if (call != asked.call) return false;
    --asked.countdown;
    if (asked.countdown == 0) {
        ::syscall(SYS_write, asked.witness, "", 1);
        if (size != nullptr && (asked.is("SHORT") || asked.is("FULL"))) *size = *size > 1 ? 1 : *size;
        errno = asked.error();
        return !asked.is("SHORT") && !asked.is("FULL");
    }
    errno = asked.error();
    return asked.countdown < 0 && asked.is("FULL");
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t read(int descriptor, void* space, std::size_t size) {
    return strikes("read", &size) ? -1 : next<decltype(::read)>("read")(descriptor, space, size);
}

ssize_t write(int descriptor, const void* data, std::size_t size) {
    // What standard error loses cannot be reported.
    return descriptor != STDERR_FILENO && strikes("write", &size) ? -1 : next<decltype(::write)>("write")(descriptor, data, size);
}

int mkostemp(char* path, int flags) {
    // A call that fails may have filled in its template.
    const int descriptor = strikes("mkostemp") ? -1 : next<decltype(::mkostemp)>("mkostemp")(path, flags);
    if (descriptor < 0) *path = '\0';
    return descriptor;
}

int fsync(int descriptor) { return strikes("fsync") ? -1 : next<decltype(::fsync)>("fsync")(descriptor); }

int rename(const char* from, const char* to) noexcept { return strikes("rename") ? -1 : next<int(const char*, const char*)>("rename")(from, to); }

// Counts for what was written to; the descriptor is closed all the same.
int close(int descriptor) {
    const bool isForReading = (::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_RDONLY;
    const int result = next<decltype(::close)>("close")(descriptor);
    return !isForReading && strikes("close") ? -1 : result;
}
}
