#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <limits>
#include <map>
#include <utility>

#include "CsvHeader.h"
#include "CsvReader.h"
#include "CsvTypes.h"
#include "Formats.h"
#include "Messages.h"
#include "TimeText.h"
#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// "0,5", and "1.234,5".
bool hasDecimalComma(std::string_view text) {
    text = withoutBlanks(text);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const auto comma = text.find(',');
    return comma != std::string_view::npos && comma > 0 && comma + 1 < text.size() &&
           text.find(',', comma + 1) == std::string_view::npos &&
           text.find_first_not_of("0123456789,.eE+-") == std::string_view::npos;
}

constexpr auto decimalCommaHint =
    "decimals are written with a comma here; a point was expected: export the table with English numbers";

class CsvInput final : public UpdateInput {
public:
    CsvInput(std::unique_ptr<DataFile> file, const ConvertOptions& chosen)
        : fileStem(stemOf(file->name())),
          options(chosen),
          types(chosen.types),
          reader(std::move(file), static_cast<std::size_t>(chosen.skippedLines), separatorOf(chosen)) {
        if (!options.timeUnit.empty()) unit = timeUnitNamed(options.timeUnit);
        readTitles();
        findTime();
        findLayout();
    }

    bool next(Update& update) override {
        while (waiting.empty()) {
            if (!reader.next(row)) return false;
            checkLength();
            const auto time = timeOfRow();
            ++rowCount;
            if (isLong()) {
                takeLong(time);
            } else {
                for (auto& stream : streams) takeWide(stream, time);
            }
        }
        update = std::move(waiting.front());
        waiting.pop_front();
        return true;
    }

private:
    void readTitles() {
        if (!options.header.empty()) {
            std::string_view rest = options.header;
            for (bool isLast = false; !isLast;) {
                const auto title = rest.substr(0, rest.find(','));
                titles.emplace_back(withoutBlanks(title));
                isLast = title.size() == rest.size();
                if (!isLast) rest.remove_prefix(title.size() + 1);
            }
            return;
        }
        if (!reader.next(row)) throw Failure{ExitStatus::failed, reader.name() + ": the table is empty"};
        constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
        if (row.front().starts_with(byteOrderMark)) row.front().erase(0, byteOrderMark.size());
        for (const auto& title : row) titles.emplace_back(withoutBlanks(title));
        const auto isNumber = [](const std::string& title) { return numberOf(title).has_value(); };
        if (std::all_of(titles.begin(), titles.end(), isNumber))
            reader.fail(
                "the first line has numbers; the columns' names were expected, or --header \"time,a,b\"");
        auto sorted = titles;
        std::sort(sorted.begin(), sorted.end());
        const auto twin = std::adjacent_find(
            sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a == b && !a.empty(); });
        if (twin != sorted.end()) reader.fail("two columns are called " + inQuotes(*twin));
    }

    void findTime() {
        if (options.rate > 0) return;
        if (!options.timeColumn.empty()) {
            timeColumn = columnNamed(options.timeColumn);
            if (timeColumn == none) {
                reader.fail(withHint("no column is called " + inQuotes(options.timeColumn) + " (--time)",
                                     nearestNameHint(options.timeColumn, titles)));
            }
        }
        for (std::size_t i = 0; i < titles.size() && timeColumn == none; ++i) {
            if (readTimeTitle(titles[i]).isTime) timeColumn = i;
        }
        if (timeColumn == none) {
            reader.fail("no column is called \"time\" or the like, but " + printable(joined(titles)) +
                        "; --time COLUMN names one, and --rate HZ does without");
        }
        titleUnit = readTimeTitle(titles[timeColumn]).unit;
    }

    std::size_t columnNamed(std::string_view name) const {
        const auto place = std::find(titles.begin(), titles.end(), name);
        return place == titles.end() ? none : static_cast<std::size_t>(place - titles.begin());
    }

    std::size_t columnOf(std::initializer_list<std::string_view> names) const {
        for (std::size_t i = 0; i < titles.size(); ++i) {
            const auto title = inSmallLetters(titles[i]);
            if (i != timeColumn && std::find(names.begin(), names.end(), title) != names.end()) return i;
        }
        return none;
    }

    void findLayout() {
        if (options.layout != "wide") {
            nameColumn = columnOf({"name", "label", "stream", "signal", "sensor", "channel", "variable"});
            valueColumn = columnOf({"value", "reading"});
            typeColumn = columnOf({"type"});
        }
        if (nameColumn != none && valueColumn != none) return;
        if (options.layout == "long")
            reader.fail("no columns are called \"name\" and \"value\", as --layout long wants them");
        nameColumn = none;
        for (auto& stream : streamsOf(titles, timeColumn, fileStem))
            streams.push_back({std::move(stream), std::nullopt});
    }

    bool isLong() const { return nameColumn != none; }

    void checkLength() const {
        const bool isLonger = row.size() > titles.size();
        const auto isEmpty = [](const std::string& field) { return withoutBlanks(field).empty(); };
        if (row.size() == titles.size() ||
            (isLonger &&
             std::all_of(row.begin() + static_cast<std::ptrdiff_t>(titles.size()), row.end(), isEmpty)))
            return;
        reader.fail("the row has " + counted(row.size(), "field") + ", the header " +
                    std::to_string(titles.size()) +
                    (isLonger && reader.separator() == ',' ? "; are decimals written with a comma?" : ""));
    }

    Instant timeOfRow() {
        if (timeColumn == none) {
            const double time = static_cast<double>(rowCount) / options.rate;
            if (!std::isfinite(time)) reader.fail("the time is no number at this rate");
            return {time};
        }
        const auto& text = row[timeColumn];
        if (!unit) chooseUnit(text);
        const auto time = unit ? readTime(text, *unit) : std::nullopt;
        if (time) return *time;
        failIn(timeColumn, text,
               hasDecimalComma(text) ? decimalCommaHint
               : unit == TimeUnit::date
                   ? "this is no time such as 2024-05-01T12:00:00.5Z"
                   : "this is no time: a number was expected, or a date such as 2024-05-01T12:00:00Z");
    }

    /// By the first time, unless an option or the column's title says it.
    void chooseUnit(const std::string& text) {
        const auto likely = likelyUnit(text);
        unit = likely == TimeUnit::date ? likely : titleUnit ? titleUnit : likely;
        if (titleUnit || !unit || *unit == TimeUnit::seconds || *unit == TimeUnit::date) return;
        constexpr std::array<std::string_view, 4> names{"s", "ms", "us", "ns"};
        report(reader.name() + ": the times in " + inQuotes(titles[timeColumn]) + " are taken for " +
               std::string(names[static_cast<std::size_t>(*unit)]) + "; --time-unit says otherwise");
    }

    struct WideStream {
        CsvStream stream;
        std::optional<ValueType> type;
    };

    void takeWide(WideStream& wide, const Instant& time) {
        const auto& [label, columns, groupType] = wide.stream;
        const auto isEmpty = [&](std::size_t column) { return withoutBlanks(row[column]).empty(); };
        if (std::all_of(columns.begin(), columns.end(), isEmpty)) return;
        if (columns.size() > 1) return add(time, label, *groupType, numbersIn(columns, *groupType));
        if (!wide.type) wide.type = typeOf(label, columns.front());
        add(time, label, *wide.type, valueIn(columns.front(), *wide.type, label));
    }

    void takeLong(const Instant& time) {
        const auto& name = row[nameColumn];
        std::optional<ValueType> type;
        if (typeColumn != none) {
            type = typeNamed(withoutBlanks(row[typeColumn]));
            if (!type) failIn(typeColumn, row[typeColumn], "this is no type such as Float or Vector");
        } else {
            constexpr std::size_t mostNames = 100'000;
            if (longTypes.size() == mostNames) longTypes.clear();
            auto& known = longTypes[name];
            if (!known && !saysNone(withoutBlanks(row[valueColumn]))) known = typeOf(name, valueColumn);
            type = known.value_or(ValueType::Float);
        }
        add(time, name, *type, valueIn(valueColumn, *type, name));
    }

    void add(const Instant& time, const std::string& name, ValueType type, std::optional<Value> value) {
        waiting.push_back({time.seconds, time.nanoseconds, name, type, std::move(value)});
    }

    /// As an option says, or as the first value looks.
    ValueType typeOf(const std::string& label, std::size_t column) const {
        if (const auto type = types.find(label)) return *type;
        const auto text = withoutBlanks(row[column]);
        const auto word = inSmallLetters(text);
        if (word == "true" || word == "false") return ValueType::Boolean;
        if (numberOf(text) || saysNone(text)) return ValueType::Float;
        if (hasDecimalComma(text)) failIn(column, row[column], decimalCommaHint);
        return ValueType::String;
    }

    std::optional<Value> valueIn(std::size_t column, ValueType type, const std::string& label) const {
        auto read = readValue(type, row[column]);
        if (read.outcome != ReadValue::Outcome::isWrong) return std::move(read.value);
        const auto kind = std::string(valueTypeName(type));
        failIn(column, row[column],
               hasDecimalComma(row[column])
                   ? std::string(decimalCommaHint)
                   : "this is no " + kind +
                         (types.find(label) ? ""
                                            : ", which the values before it are; --types " +
                                                  inQuotes(label + "=String") + " reads texts"));
    }

    std::optional<Value> numbersIn(const std::vector<std::size_t>& columns, ValueType type) const {
        std::array<double, 4> numbers{};
        bool isWhole = true;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const auto& text = row[columns[i]];
            const auto number = numberOf(text);
            isWhole &= number.has_value();
            if (!number && !saysNone(withoutBlanks(text)))
                failIn(columns[i], text, hasDecimalComma(text) ? decimalCommaHint : "this is no number");
            numbers[i] = number.value_or(0);
        }
        if (!isWhole) return std::nullopt;
        const auto& [x, y, z, w] = numbers;
        return type == ValueType::Vector ? Value(Vector{x, y, z}) : Value(Orientation{x, y, z, w});
    }

    [[noreturn]] void failIn(std::size_t column, const std::string& text, const std::string& what) const {
        reader.fail("column " + inQuotes(titles[column]) + ": " + inQuotes(text) + ": " + what);
    }
    const std::string fileStem;
    const ConvertOptions& options;
    const CsvTypes types;
    CsvReader reader;
    std::vector<std::string> titles, row;
    std::size_t timeColumn = none, nameColumn = none, valueColumn = none, typeColumn = none;
    std::optional<TimeUnit> unit, titleUnit;
    std::vector<WideStream> streams;
    std::map<std::string, std::optional<ValueType>> longTypes;
    std::size_t rowCount = 0;
    std::deque<Update> waiting;
};

}  // namespace

std::unique_ptr<UpdateInput> openCsv(std::unique_ptr<DataFile> file, const ConvertOptions& options) {
    return std::make_unique<CsvInput>(std::move(file), options);
}

}  // namespace kelvane
