#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace KelvaneFuzz {

/// The fuzzer's bytes as a series of choices. When the bytes are used up, every choice is the first one.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : rest(reinterpret_cast<const char*>(data), size) {}

    bool flag() { return (byte() & 1) != 0; }
    /// True in one of `count` cases; not when the bytes are used up.
    bool oneIn(unsigned count) { return byte() % count == count - 1; }
    template <class Integer>
    Integer any() {
        std::make_unsigned_t<Integer> bits = 0;
        for (std::size_t i = 0; i < sizeof bits; ++i) {
            bits = static_cast<std::make_unsigned_t<Integer>>(bits | std::uint64_t{byte()} << 8 * i);
        }
        return static_cast<Integer>(bits);
    }
    /// From `low` to `high`, which differ by less than 256.
    template <class Integer>
    Integer between(Integer low, Integer high) {
        return static_cast<Integer>(low +
                                    static_cast<Integer>(byte() % static_cast<unsigned>(high - low + 1)));
    }
    /// An element of a container that is not empty; of the first 256.
    template <class Items>
    decltype(auto) oneOf(const Items& items) {
        const auto count = std::min<std::size_t>(std::size(items), 256);
        return *std::next(std::begin(items), static_cast<std::ptrdiff_t>(byte() % count));
    }
    std::string_view text(std::size_t longest) {
        const std::size_t length = byte() % (longest + 1);
        const auto taken = rest.substr(0, length);
        rest.remove_prefix(taken.size());
        return taken;
    }

private:
    std::uint8_t byte() {
        if (rest.empty()) return 0;
        const auto first = static_cast<std::uint8_t>(rest.front());
        rest.remove_prefix(1);
        return first;
    }

    std::string_view rest;
};

}  // namespace KelvaneFuzz
