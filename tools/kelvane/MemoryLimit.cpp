#include "MemoryLimit.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

#include "Messages.h"

namespace kelvane {

namespace {

// A sanitizer's shadow memory is larger than any machine's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif
#else
constexpr bool isSanitized = false;
#endif

std::uint64_t bytesOf(const std::string& limit) {
    const auto refuse = [&] {
        refuseOption("--max-memory " + limit, "a number of bytes such as 500M or 4G was expected");
    };
    constexpr std::string_view units = "KMGT";
    std::uint64_t bytes = 0;
    const auto [end, error] = std::from_chars(limit.data(), limit.data() + limit.size(), bytes);
    std::string_view unit(end, static_cast<std::size_t>(limit.data() + limit.size() - end));
    if (error != std::errc() || unit.size() > 1) refuse();
    if (unit.empty()) return bytes;
    const auto power = units.find(unit[0]);
    if (power == std::string_view::npos) refuse();
    const auto shift = 10 * (power + 1);
    if (bytes > std::numeric_limits<std::uint64_t>::max() >> shift) refuse();
    return bytes << shift;
}

void setLimit(rlim_t bytes) {
    if (isSanitized) return;
    rlimit limits{};
    if (::getrlimit(RLIMIT_AS, &limits) != 0) return;
    limits.rlim_cur = std::min<rlim_t>(bytes, limits.rlim_max);
    ::setrlimit(RLIMIT_AS, &limits);
}

}  // namespace

void limitMemory(const std::string& limit) {
    const auto machine = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                         static_cast<std::uint64_t>(::sysconf(_SC_PAGE_SIZE));
    const std::uint64_t bytes = limit.empty() ? machine / 2 : bytesOf(limit);
    setLimit(bytes);
}

void endMemoryLimit() { setLimit(RLIM_INFINITY); }

}  // namespace kelvane
