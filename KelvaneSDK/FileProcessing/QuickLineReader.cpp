#include <simdjson.h>

#include <utility>

#include "KelvaneSDK/FileProcessing/JsonNumber.h"
#include "KelvaneSDK/FileProcessing/RecordingLine.h"

namespace KelvaneSDK {

namespace {

constexpr std::array<bool, 256> plainCharacters = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0x20; c < 0x80; ++c) plain[c] = c != '"' && c != '\\';
    return plain;
}();

class Cursor {
public:
    explicit Cursor(std::string_view text) : at(text.data()), end(text.data() + text.size()) {}

    const char* place() const { return at; }

    void skipBlanks() {
        while (at < end && (*at == ' ' || *at == '\t' || *at == '\r')) ++at;
    }
    bool take(char c) {
        if (at == end || *at != c) {
            skipBlanks();
            if (at == end || *at != c) return false;
        }
        ++at;
        return true;
    }

    /// The index of the key that comes next, with its colon; `count` for any other text.
    template <class Keys>
    std::size_t takeKey(const Keys& keys) {
        constexpr std::size_t count = std::tuple_size_v<Keys>;
        if (!take('"')) return count;
        const auto key = [&]<std::size_t... indices>(std::index_sequence<indices...>) {
            std::size_t index = count;
            static_cast<void>(((startsWith(keys[indices]) && (index = indices, true)) || ...));
            return index;
        }
        (std::make_index_sequence<count>());
        if (key == count) return count;
        at += keys[key].size() + 1;
        return take(':') ? key : count;
    }

    bool read(double& number) {
        skipBlanks();
        return moveTo(readJsonDouble(at, end, number));
    }
    bool read(std::int64_t& integer) {
        skipBlanks();
        return moveTo(readJsonInteger(at, end, integer));
    }
    bool read(bool& truth) {
        skipBlanks();
        const std::string_view rest(at, static_cast<std::size_t>(end - at));
        truth = rest.starts_with("true");
        if (!truth && !rest.starts_with("false")) return false;
        at += truth ? 4 : 5;
        return true;
    }
    bool read(std::string_view& text) {
        if (!take('"')) return false;
        const char* const begin = at;
        while (at < end && plainCharacters[static_cast<unsigned char>(*at)]) ++at;
        const bool isAscii = at < end && *at == '"';
        if (!isAscii) {
            while (at < end &&
                   (static_cast<signed char>(*at) < 0 || plainCharacters[static_cast<unsigned char>(*at)]))
                ++at;
            if (at == end || *at != '"') return false;
        }
        text = {begin, static_cast<std::size_t>(at++ - begin)};
        return isAscii || simdjson::validate_utf8(text.data(), text.size());
    }
    bool read(String& text) {
        std::string_view view;
        if (!read(view)) return false;
        text = String(view);
        return true;
    }
    bool read(Vector& v) {
        return readMembers(std::array<std::string_view, 3>{"x", "y", "z"}, std::array{&v.x, &v.y, &v.z});
    }
    bool read(Orientation& q) {
        return readMembers(std::array<std::string_view, 4>{"x", "y", "z", "w"},
                           std::array{&q.x, &q.y, &q.z, &q.w});
    }
    bool read(Sample& sample) {
        return readMembers(std::array<std::string_view, 2>{"t", "f"}, std::array{&sample.t, &sample.f});
    }
    bool read(Sequence& sequence) {
        List<Sample> samples;
        if (!read(samples)) return false;
        sequence = Sequence(std::move(samples));
        return true;
    }
    template <class T>
    bool read(List<T>& list) {
        if (!take('[')) return false;
        ListBuilder<T> items;
        if (!take(']')) {
            do {
                T item{};
                if (!read(item)) return false;
                items.append(item);
            } while (take(','));
            if (!take(']')) return false;
        }
        // Copied, since a list may be kept for long and must not hold more memory than it needs.
        list = List<T>(std::span<const T>(items.items()));
        return true;
    }

private:
    bool startsWith(std::string_view key) const {
        return static_cast<std::size_t>(end - at) > key.size() && at[key.size()] == '"' &&
               std::string_view(at, key.size()) == key;
    }
    bool moveTo(const char* place) {
        if (place == nullptr) return false;
        at = place;
        return true;
    }
    template <std::size_t count>
    bool readMembers(const std::array<std::string_view, count>& names,
                     const std::array<double*, count>& targets) {
        if (!take('{')) return false;
        unsigned missing = (1U << count) - 1;
        do {
            const auto name = takeKey(names);
            if ((missing >> name & 1U) == 0 || !read(*targets[name])) return false;
            missing ^= 1U << name;
        } while (take(','));
        return missing == 0 && take('}');
    }

    const char* at;
    const char* end;
};

constexpr auto lineKeys = [] {
    std::array<std::string_view, 2 + valueKeys.size()> keys{"timestamp", "name"};
    std::copy(valueKeys.begin(), valueKeys.end(), keys.begin() + 2);
    return keys;
}();

}  // namespace

std::size_t QuickLineReader::read(std::string_view text, InputUpdate& update) {
    Cursor cursor(text);
    if (!cursor.take('{')) return 0;
    bool hasTimestamp = false, hasName = false, hasValue = false;
    do {
        const auto key = cursor.takeKey(lineKeys);
        if (key == lineKeys.size()) return 0;
        bool& isThere = key == 0 ? hasTimestamp : key == 1 ? hasName : hasValue;
        if (std::exchange(isThere, true)) return 0;
        const bool isRead = key == 0   ? cursor.read(update.timestamp)
                            : key == 1 ? cursor.read(update.name)
                                       : withTypeOfKey(key - 2, [&]<class T>() {
                                             T payload{};
                                             if (!cursor.read(payload)) return false;
                                             update.value = Value(std::move(payload));
                                             return true;
                                         });
        if (!isRead) return 0;
    } while (cursor.take(','));
    if (!hasTimestamp || !hasName || !hasValue || !cursor.take('}')) return 0;
    cursor.skipBlanks();
    return static_cast<std::size_t>(cursor.place() - text.data());
}

}  // namespace KelvaneSDK
