#include <algorithm>
#include <memory>
#include <utility>

#include "KelvaneSDK/FileProcessing/QuickCursor.h"
#include "KelvaneSDK/FileProcessing/RecordingLine.h"

namespace KelvaneSDK {

namespace {

constexpr auto lineKeys = [] {
    std::array<std::string_view, 2 + inputKeyCount> keys{"timestamp", "name"};
    std::copy_n(valueKeys.begin(), inputKeyCount, keys.begin() + 2);
    return keys;
}();
constexpr std::array<std::string_view, 3> vectorKeys{"x", "y", "z"};
constexpr std::array<std::string_view, 4> orientationKeys{"x", "y", "z", "w"};
constexpr std::array<std::string_view, 2> sampleKeys{"t", "f"};

class Cursor : public QuickCursor<false> {
public:
    using QuickCursor::QuickCursor;
    using QuickCursor::read;

    bool read(String& text) {
        std::string_view view;
        if (!read(view)) return false;
        text = String(view);
        return true;
    }
    bool read(Vector& v) { return readMembers<vectorKeys>({&v.x, &v.y, &v.z}); }
    bool read(Orientation& q) { return readMembers<orientationKeys>({&q.x, &q.y, &q.z, &q.w}); }
    bool read(Sample& sample) { return readMembers<sampleKeys>({&sample.t, &sample.f}); }
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
    template <const auto& names>
    bool readMembers(const std::array<double*, names.size()>& targets) {
        if (!take('{')) return false;
        unsigned missing = (1U << names.size()) - 1;
        do {
            const auto name = takeKey<names>();
            if ((missing >> name & 1U) == 0 || !read(*targets[name])) return false;
            missing ^= 1U << name;
        } while (take(','));
        return missing == 0 && take('}');
    }
};

}  // namespace

std::size_t QuickLineReader::read(std::string_view text, InputUpdate& update, Value& value) {
    Cursor cursor(text);
    bool hasTimestamp = openingLength > 0 && text.starts_with({opening.data(), openingLength});
    bool hasName = false, hasValue = false;
    if (hasTimestamp) {
        cursor.skip(openingLength);
        update.timestamp = openingTimestamp;
    } else if (!cursor.take('{')) {
        return 0;
    }
    do {
        const auto key = cursor.takeKey<lineKeys>();
        if (key == 0 && !hasTimestamp) {
            if (!cursor.read(update.timestamp)) return 0;
            if (!hasName && !hasValue) keepOpening(text, cursor.placeIn(text), update.timestamp);
            hasTimestamp = true;
        } else if (key == 1 && !hasName) {
            if (!cursor.read(update.name)) return 0;
            hasName = true;
        } else if (key > 1 && key < lineKeys.size() && !hasValue) {
            hasValue = withTypeOfKey(key - 2, [&]<class T>() {
                T payload{};
                if (!cursor.read(payload)) return false;
                // In place, since a copy would wait for the bytes that were just written.
                std::destroy_at(&value);
                std::construct_at(&value, std::move(payload));
                return true;
            });
            if (!hasValue) return 0;
        } else {
            return 0;
        }
    } while (cursor.take(','));
    if (!hasTimestamp || !hasName || !hasValue || !cursor.take('}')) return 0;
    cursor.skipBlanks();
    return cursor.placeIn(text);
}

void QuickLineReader::keepOpening(std::string_view line, std::size_t length, double timestamp) {
    const bool isKept = length < opening.size() && length < line.size() && line[length] == ',';
    openingLength = isKept ? length + 1 : 0;
    std::copy_n(line.begin(), openingLength, opening.begin());
    openingTimestamp = timestamp;
}

}  // namespace KelvaneSDK
