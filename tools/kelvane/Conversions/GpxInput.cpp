#include <array>
#include <deque>
#include <utility>

#include "Formats.h"
#include "Messages.h"
#include "TimeText.h"
#include "ValueText.h"
#include "XmlReader.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// The points of tracks, routes and way points in the order of the file: latitude and longitude in degrees,
/// elevation in metres, and what else has a number, such as heart rates in extensions, under its own name.
class GpxInput final : public UpdateInput {
public:
    explicit GpxInput(std::unique_ptr<DataFile> file) : xml(std::move(file)) {}

    bool next(Update& update) override {
        while (waiting.empty()) {
            if (!readPoint()) return false;
        }
        update = std::move(waiting.front());
        waiting.pop_front();
        return true;
    }

private:
    static bool isPoint(std::string_view name) { return name == "trkpt" || name == "rtept" || name == "wpt"; }

    /// Reads on to the end of a point; false at the end of the document.
    bool readPoint() {
        for (;;) {
            const auto event = xml.next();
            if (event == XmlReader::Event::documentEnd) {
                reportUntimed();
                return false;
            }
            if (event == XmlReader::Event::begin) {
                if (xml.depth() == 1 && xml.name() != "gpx")
                    xml.fail("the document is called " + inQuotes(xml.name()) + "; gpx was expected");
                if (!isPoint(xml.name()) || pointDepth > 0) continue;
                pointDepth = xml.depth();
                time.reset();
                values.clear();
                addCoordinate("lat", "latitude", 90);
                addCoordinate("lon", "longitude", 180);
            } else if (pointDepth > 0 && xml.depth() + 1 == pointDepth) {
                pointDepth = 0;
                endPoint();
                return true;
            } else if (pointDepth > 0) {
                takeChild();
            }
        }
    }

    void addCoordinate(std::string_view attribute, std::string_view label, double most) {
        const auto* const text = xml.attribute(attribute);
        const auto number = text == nullptr ? std::nullopt : numberOf(*text);
        if (!number || *number < -most || *number > most) {
            xml.fail("a point's \"" + std::string(attribute) + "\" is " +
                     (text == nullptr ? "missing" : inQuotes(*text)) + "; a number of degrees was expected");
        }
        values.emplace_back(label, *number);
    }

    void takeChild() {
        constexpr std::size_t mostValues = 256;
        const auto text = withoutBlanks(xml.text());
        if (xml.name() == "time" && xml.depth() == pointDepth) {
            time = readTime(text, TimeUnit::date);
            if (!time) xml.fail("the time " + inQuotes(text) + " is no date such as 2024-05-01T12:00:00Z");
        } else if (const auto number = numberOf(text)) {
            if (values.size() == mostValues) xml.fail("a point has too many values");
            values.emplace_back(xml.name() == "ele" ? "elevation" : xml.name(), *number);
        } else if (xml.name() == "ele" && !text.empty()) {
            xml.fail("the elevation " + inQuotes(text) + " is no number");
        }
    }

    void endPoint() {
        if (!time) {
            ++untimed;
            return;
        }
        for (auto& [label, number] : values)
            waiting.push_back({time->seconds, time->nanoseconds, std::move(label), ValueType::Float, number});
    }

    void reportUntimed() const {
        if (untimed > 0)
            report(xml.fileName() + ": " + counted(untimed, "point") + " without a time left out");
    }

    XmlReader xml;
    std::size_t pointDepth = 0, untimed = 0;
    std::optional<Instant> time;
    std::vector<std::pair<std::string, double>> values;
    std::deque<Update> waiting;
};

}  // namespace

std::unique_ptr<UpdateInput> openGpx(std::unique_ptr<DataFile> file, const ConvertOptions&) {
    return std::make_unique<GpxInput>(std::move(file));
}

}  // namespace kelvane
