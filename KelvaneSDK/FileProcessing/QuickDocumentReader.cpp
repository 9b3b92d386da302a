#include "KelvaneSDK/FileProcessing/QuickDocumentReader.h"

#include "KelvaneSDK/DocumentFields.h"
#include "KelvaneSDK/FileProcessing/QuickCursor.h"

namespace KelvaneSDK {

namespace {

template <class Record, class T>
constexpr bool isRequired(const DocumentField<Record, T>&) {
    return true;
}
template <class Record, class T>
constexpr bool isRequired(const DocumentField<Record, std::optional<T>>&) {
    return false;
}

/// A bit for each key that must be there.
template <class Record>
constexpr unsigned requiredKeys = std::apply(
    [](const auto&... field) {
        unsigned bits = 0, bit = 1;
        ((bits |= isRequired(field) ? bit : 0, bit <<= 1), ...);
        return bits;
    },
    documentFields<Record>);

class QuickDocumentReader {
public:
    explicit QuickDocumentReader(std::string_view document) : text(document), cursor(document) {}

    bool readAll(DiagramInfo& info) {
        if (!read(info)) return false;
        cursor.skipBlanks();
        return cursor.placeIn(text) == text.size();
    }

private:
    template <DocumentRecord Record>
    bool read(Record& record) {
        constexpr int deepest = 16;
        if (++depth > deepest || !cursor.take('{')) return false;
        unsigned missing = (1U << documentKeys<Record>.size()) - 1;
        do {
            const std::size_t key = cursor.template takeKey<documentKeys<Record>>();
            if ((missing >> key & 1U) == 0) return false;
            missing ^= 1U << key;
            std::size_t index = 0;
            const bool isRead = eachField(
                record, [&](std::string_view, auto& field) { return index++ != key || read(field); });
            if (!isRead) return false;
        } while (cursor.take(','));
        --depth;
        return (missing & requiredKeys<Record>) == 0 && cursor.take('}');
    }
    bool read(std::int64_t& integer) { return cursor.read(integer); }
    bool read(double& number) { return cursor.read(number); }
    bool read(std::string& string) {
        std::string_view view;
        if (!cursor.read(view)) return false;
        string = view;
        return true;
    }
    template <class T>
    bool read(std::optional<T>& content) {
        return read(content.emplace());
    }
    template <class T>
    bool read(std::vector<T>& list) {
        if (!cursor.take('[')) return false;
        if (cursor.take(']')) return true;
        do {
            if (!read(list.emplace_back())) return false;
        } while (cursor.take(','));
        return cursor.take(']');
    }

    std::string_view text;
    QuickCursor<true> cursor;
    int depth = 0;
};

}  // namespace

std::optional<DiagramInfo> readDocumentQuickly(std::string_view text) {
    // The exact reader refuses texts beyond this size.
    constexpr std::size_t longest = 0xFFFFFFFF;
    DiagramInfo info;
    const bool isRead = text.size() <= longest && QuickDocumentReader(text).readAll(info);
    return isRead ? std::optional(std::move(info)) : std::nullopt;
}

}  // namespace KelvaneSDK
