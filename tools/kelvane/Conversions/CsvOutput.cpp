#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "CsvHeader.h"
#include "CsvTypes.h"
#include "Formats.h"
#include "Interruption.h"
#include "Messages.h"
#include "Recording.h"
#include "TimeText.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr std::size_t mostPending = 64 * 1024;

/// Rows on their way out.
class CsvWriter {
public:
    CsvWriter(PendingText& target, const ConvertOptions& options)
        : output(target), separator(separatorOf(options) == '\0' ? ',' : separatorOf(options)) {}

    void field(std::string_view content) {
        auto& text = output.text();
        if (!std::exchange(isFirst, false)) text += separator;
        const bool isPlain =
            content.find_first_of(std::string_view("\"\r\n\0", 4)) == std::string_view::npos &&
            content.find(separator) == std::string_view::npos && withoutBlanks(content) == content;
        if (isPlain) {
            text += content;
            return;
        }
        text += '"';
        for (const char c : content) text.append(c == '"' ? 2 : 1, c);
        text += '"';
    }

    void endRow() {
        output.text() += '\n';
        isFirst = true;
        if (output.text().size() > mostPending) output.flush();
    }

private:
    PendingText& output;
    char separator;
    bool isFirst = true;
};

std::string cellOf(const Value& value) {
    switch (value.type()) {
        case ValueType::Float:
            return numberText(value.as<double>());
        case ValueType::String:
            return std::string(value.as<String>().view());
        case ValueType::Integer:
        case ValueType::Boolean:
            return getValueString(value);
        default:
            return jsonOf(value);
    }
}

std::size_t columnCount(ValueType type) {
    return type == ValueType::Vector ? 3 : type == ValueType::Orientation ? 4 : 1;
}

/// A row for each update: time, name, type, value.
class LongOutput final : public UpdateOutput {
public:
    LongOutput(PendingText& text, const ConvertOptions& options) : rows(text, options) {
        for (const auto* title : {"time", "name", "type", "value"}) rows.field(title);
        rows.endRow();
    }

    void take(const Update& update) override {
        rows.field(timeText(update.timestamp));
        rows.field(update.name);
        rows.field(valueTypeName(update.type));
        rows.field(update.value ? cellOf(*update.value) : "");
        rows.endRow();
    }
    void finish() override {}

private:
    CsvWriter rows;
};

/// Text that waits in a nameless file until all of it is known.
class WaitingText {
public:
    WaitingText() {
        const char* folder = std::getenv("TMPDIR");
        std::string path =
            std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/kelvane.XXXXXX";
        descriptor = ::mkostemp(path.data(), O_CLOEXEC);
        if (descriptor < 0) fail();
        try {
            file = std::make_unique<DataFile>(path);
        } catch (...) {
            ::unlink(path.c_str());
            throw;
        }
        ::unlink(path.c_str());
    }
    ~WaitingText() { ::close(descriptor); }
    WaitingText(const WaitingText&) = delete;
    WaitingText& operator=(const WaitingText&) = delete;

    std::string& text() { return pending; }
    void flush() {
        if (writeAll(descriptor, pending) < pending.size()) fail();
        pending.clear();
    }
    /// The file, to be read from its beginning; once.
    std::unique_ptr<DataFile> take() {
        flush();
        return std::move(file);
    }

private:
    [[noreturn]] static void fail() {
        throw Failure{ExitStatus::failed, "kelvane: cannot write a file that waits in TMPDIR: " +
                                              std::generic_category().message(errno)};
    }

    int descriptor = -1;
    std::unique_ptr<DataFile> file;
    std::string pending;
};

/// A row for each time, a column for each number. Which columns there are is known at the end.
class WideOutput final : public UpdateOutput {
public:
    WideOutput(PendingText& text, const ConvertOptions& options) : rows(text, options) {}

    void take(const Update& update) override {
        const auto known = columns.find(update.name);
        if (known == columns.end()) {
            columns.emplace(update.name, Columns{titles.size(), update.type});
            addTitles(update.name, update.type);
        } else if (known->second.type != update.type) {
            throw Failure{ExitStatus::failed,
                          "kelvane: the values of " + inQuotes(update.name) + " are of type " +
                              std::string(valueTypeName(known->second.type)) + ", and from time " +
                              numberText(update.timestamp) + " on " +
                              std::string(valueTypeName(update.type)) +
                              ", which no column holds; --layout long writes a row for each value"};
        }
        appendLine(waiting.text(), update.timestamp, update.name, update.type,
                   update.value ? &*update.value : nullptr);
        if (waiting.text().size() > mostPending) waiting.flush();
    }

    void finish() override {
        requireReadable();
        for (const auto& title : titles) rows.field(title);
        rows.endRow();
        Recording recording(waiting.take());
        std::vector<std::string> cells(titles.size());
        std::vector<bool> isFilled(titles.size());
        double time = 0;
        bool hasRow = false;
        const auto endRow = [&] {
            if (!std::exchange(hasRow, false)) return;
            cells.front() = timeText(time);
            for (auto& cell : cells) {
                rows.field(cell);
                cell.clear();
            }
            isFilled.assign(titles.size(), false);
            rows.endRow();
        };
        while (recording.readPiece()) {
            while (const auto* update = recording.nextUpdate()) {
                const auto [first, type] = columns.find(update->name)->second;
                if (hasRow && (update->timestamp != time || isFilled[first])) endRow();
                time = update->timestamp;
                hasRow = isFilled[first] = true;
                if (update->value != nullptr) fill(std::span(cells).subspan(first), *update->value);
            }
        }
        if (interruption() != 0) throw Failure{128 + interruption(), {}};
        endRow();
    }

private:
    struct Columns {
        std::size_t first;
        ValueType type;
    };

    void addTitles(const std::string& name, ValueType type) {
        constexpr std::size_t mostColumns = 16'384;
        const auto count = columnCount(type);
        if (titles.size() + count > mostColumns) {
            throw Failure{ExitStatus::failed, "kelvane: there are more than " + std::to_string(mostColumns) +
                                                  " columns; --layout long writes a row for each value"};
        }
        for (std::size_t i = 0; i < count; ++i) titles.push_back(count == 1 ? name : name + "." + "xyzw"[i]);
    }

    static void fill(std::span<std::string> cells, const Value& value) {
        if (value.type() == ValueType::Vector) {
            const auto v = value.as<Vector>();
            for (std::size_t i = 0; i < 3; ++i) cells[i] = numberText(std::array{v.x, v.y, v.z}[i]);
        } else if (value.type() == ValueType::Orientation) {
            const auto q = value.as<Orientation>();
            for (std::size_t i = 0; i < 4; ++i) cells[i] = numberText(std::array{q.x, q.y, q.z, q.w}[i]);
        } else {
            cells.front() = cellOf(value);
        }
    }

    /// What is read back must be the same streams.
    void requireReadable() const {
        std::string culprit;
        std::set<std::string_view> distinct;
        for (const auto& title : titles) {
            if (!distinct.insert(title).second || withoutBlanks(title) != title) culprit = title;
        }
        for (const auto& stream : streamsOf(titles, 0, "")) {
            const auto known = columns.find(stream.label);
            if (known == columns.end() || columnCount(known->second.type) != stream.columns.size())
                culprit = titles[stream.columns.front()];
        }
        if (culprit.empty()) return;
        throw Failure{ExitStatus::failed,
                      "kelvane: a column called " + inQuotes(culprit) +
                          " would read back as another stream; --layout long has no such columns"};
    }

    CsvWriter rows;
    WaitingText waiting;
    std::vector<std::string> titles{"time"};
    std::map<std::string, Columns, std::less<>> columns;
};

}  // namespace

std::unique_ptr<UpdateOutput> createCsv(PendingText& text, const ConvertOptions& options) {
    if (options.layout == "long") return std::make_unique<LongOutput>(text, options);
    return std::make_unique<WideOutput>(text, options);
}

}  // namespace kelvane
