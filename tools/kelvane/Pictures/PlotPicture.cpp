#include "Pictures/PlotPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include "KelvaneSDK/Value.h"
#include "Messages.h"
#include "Pictures/AxisTicks.h"
#include "Pictures/Markup.h"
#include "Pictures/PlotLines.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr double textSize = 12, smallSize = 11, titleSize = 15;
constexpr double margin = 16, headHeight = 20, panelGap = 12, axisHeight = 36;
constexpr double fileKey = 32;
constexpr std::size_t mostWrittenOut = 3;
constexpr double panelHeight = 110, bandHeight = 14, bandGap = 3, leastPanelHeight = 30;

enum class Look { line, band, texts };

Look lookOf(ValueType type) {
    return type == ValueType::Boolean ? Look::band : type == ValueType::String ? Look::texts : Look::line;
}

bool isCount(ValueType type) { return type > ValueType::Sequence && type != ValueType::SampleArray; }

std::vector<std::string_view> componentNames(ValueType type) {
    if (type == ValueType::Vector) return {"x", "y", "z"};
    if (type == ValueType::Orientation) return {"w", "x", "y", "z"};
    return {};
}

/// The same name in all files, where they look alike.
struct Panel {
    Look look = Look::line;
    std::vector<const PlotSeries*> series;
    double height = 0;
    double least = std::numeric_limits<double>::infinity(), most = -least;
    AxisTicks axis;
};

/// "1 value", "3 values, 1 missing"
std::string summaryOf(const PlotSeries& series) {
    std::string text = counted(series.times.size(), "value");
    if (series.missing > 0) text += ", " + std::to_string(series.missing) + " missing";
    if (series.ofOtherTypes > 0)
        text += ", " + std::to_string(series.ofOtherTypes) + " of another type, which are not drawn";
    return text;
}

std::string shortNumber(double number) {
    auto exact = getValueString(number);
    constexpr std::size_t longest = 9;
    if (exact.size() <= longest) return exact;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.6g", number);
    return text.data();
}

class PlotPicture {
public:
    PlotPicture(const PlotData& chosen, const PlotOptions& chosenOptions)
        : data(chosen), options(chosenOptions) {
        arrangePanels();
        chooseTimes();
        measure();
    }

    std::string text() {
        double top = writeHead(margin);
        for (const auto& panel : panels) top = writePanel(panel, top);
        const double bottom = top - panelGap;
        writeTimes(bottom);
        const double height = bottom + axisHeight;
        const auto size = pictureNumber(options.width) + "\" height=\"" + pictureNumber(height);
        return "<svg class=\"kelvane plot\" xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " +
               pictureNumber(options.width) + " " + pictureNumber(height) + "\" width=\"" + size +
               "\" role=\"img\" aria-labelledby=\"plot-title plot-desc\">\n<title id=\"plot-title\">" +
               markupText(title()) + "</title>\n<desc id=\"plot-desc\">" + markupText(description()) +
               "</desc>\n<style>\n" + styles() + "</style>\n<rect class=\"surface\" width=\"" + size +
               "\"/>\n" + body + "</svg>\n";
    }

private:
    void arrangePanels() {
        std::map<std::pair<std::string, Look>, std::size_t> places;
        for (const auto& series : data.series()) {
            if (series.times.empty()) continue;
            const auto look = lookOf(series.type);
            const auto [place, isNew] = places.try_emplace({series.name, look}, panels.size());
            if (isNew) panels.emplace_back().look = look;
            panels[place->second].series.push_back(&series);
        }
    }

    void chooseTimes() {
        from = std::numeric_limits<double>::infinity(), to = -from;
        for (const auto& panel : panels) {
            for (const auto* series : panel.series) {
                for (const double time : series->times) {
                    if (!std::isfinite(time)) continue;
                    from = std::min(from, time);
                    to = std::max(to, time);
                }
            }
        }
        from = options.from.value_or(from);
        to = options.to.value_or(to);
        constexpr double perTick = 90;
        const bool isOnce = !(to - from > std::max(1e-12, std::abs(from) * 1e-15));
        const double around = isOnce ? std::max(0.5, std::abs(from) * 1e-9) : (to / 2 - from / 2) * 0.01;
        timeAxis = timeTicks(isOnce ? from - around : from, isOnce ? to + around : to,
                             std::max(2.0, options.width / perTick));
        // So that the first and the last value do not lie on the border.
        if (!options.from || isOnce) from -= around;
        if (!options.to || isOnce) to += around;
    }

    void measure() {
        right = options.width - margin;
        placeFiles();
        double fixed = margin + titleSize - panelGap / 2 + filesHeight() + axisHeight;
        std::size_t lines = 0;
        for (auto& panel : panels) {
            fixed += headHeight + panelGap;
            if (panel.look == Look::line) {
                ++lines;
                chooseValues(panel);
            } else {
                panel.height = static_cast<double>(panel.series.size()) * (bandHeight + bandGap) - bandGap;
                fixed += panel.height;
            }
        }
        const double height =
            options.height && lines > 0
                ? std::max(leastPanelHeight, (*options.height - fixed) / static_cast<double>(lines))
                : panelHeight;
        left = margin + 20;
        for (auto& panel : panels) {
            if (panel.look != Look::line) continue;
            panel.height = height;
            panel.axis = numberTicks(panel.least, panel.most, std::max(2.0, panel.height / 17));
            for (const auto& tick : panel.axis.ticks)
                left = std::max(left, margin + textWidth(tick.label, smallSize) + 8);
        }
        left = std::ceil(left);
    }

    // A little more than the values, so that lines do not lie on the border.
    void chooseValues(Panel& panel) const {
        for (const auto* series : panel.series) {
            for (const auto& column : series->components) {
                for (std::size_t i = 0; i < column.size(); ++i) {
                    if (!std::isfinite(column[i]) || series->times[i] < from || series->times[i] > to)
                        continue;
                    panel.least = std::min(panel.least, column[i]);
                    panel.most = std::max(panel.most, column[i]);
                }
            }
        }
        if (!(panel.least <= panel.most)) panel.least = 0, panel.most = 1;
        const double size = std::max(std::abs(panel.least), std::abs(panel.most));
        double around = (panel.most / 2 - panel.least / 2) * 0.12;
        constexpr double smallest = 1e-290;
        if (around < size * 1e-13 || around < smallest) around = size < smallest ? 1 : size * 0.1;
        constexpr double furthest = std::numeric_limits<double>::max();
        panel.least = std::max(panel.least - around, -furthest);
        panel.most = std::min(panel.most + around, furthest);
    }

    std::string title() const {
        if (!options.title.empty()) return options.title;
        return joined(data.files());
    }

    std::string description() const {
        std::string text;
        for (const auto& panel : panels) {
            for (const auto* series : panel.series) {
                text += series->name;
                if (data.files().size() > 1) text += " in " + data.files()[series->file];
                text += " (" + std::string(valueTypeName(series->type)) + "): " + summaryOf(*series);
                for (std::size_t i = 0; panel.look == Look::line && i < series->components.size(); ++i)
                    text += rangeText(*series, i);
                text += ".\n";
            }
        }
        return text;
    }

    static std::string rangeText(const PlotSeries& series, std::size_t component) {
        double least = std::numeric_limits<double>::infinity(), most = -least;
        for (const double value : series.components[component]) {
            if (!std::isfinite(value)) continue;
            least = std::min(least, value);
            most = std::max(most, value);
        }
        if (least > most) return {};
        const auto names = componentNames(series.type);
        return (names.empty() ? ", " : ", " + std::string(names[component]) + " ") + "from " +
               shortNumber(least) + " to " + shortNumber(most);
    }

    std::string styles() const {
        std::string text =
            themeStyles(options.theme) +
            ".plot text{fill:var(--text);font-size:12px}\n"
            ".plot .title{font-size:15px;font-weight:bold}\n.plot .name{font-weight:bold}\n"
            ".plot .label,.plot .value{font-size:11px}\n"
            ".plot .faint{fill:var(--faint);font-size:11px}\n.plot .surface{fill:var(--surface)}\n"
            ".plot .panel>.box{fill:var(--box)}\n.plot .grid{stroke:var(--grid);fill:none}\n\n"
            ".plot .line{fill:none;stroke:var(--type);stroke-width:1.3;stroke-linejoin:round}\n"
            ".plot .points{fill:none;stroke:var(--type);stroke-width:3.4;stroke-linecap:round}\n"
            ".plot .true,.plot .mark{fill:var(--type)}\n.plot .mixed{fill:var(--type);opacity:.55}\n"
            ".plot .known{fill:var(--type);opacity:.4}\n.plot .span{fill:var(--type);opacity:.16}\n"
            ".plot .other{opacity:.3}\n";
        // Components have the colours of types that are far apart; of later files, lines are broken.
        constexpr std::array<const char*, 4> components = {"float", "sequence", "vector", "boolean"};
        for (std::size_t i = 0; i < components.size(); ++i)
            text += ".plot .c" + std::to_string(i) + "{--type:var(--" + components[i] + ")}\n";
        constexpr std::array<const char*, 3> dashes = {"5 3", "1.5 2.5", "9 3 2 3"};
        for (std::size_t i = 0; i < dashes.size() && i + 1 < data.files().size(); ++i)
            text += ".plot .f" + std::to_string(i + 1) + "{stroke-dasharray:" + dashes[i] + "}\n";
        if (data.files().size() > 1) text += ".plot .later{stroke-opacity:.75;fill-opacity:.75}\n";
        return text;
    }

    std::string fileClass(std::size_t file) const {
        constexpr std::size_t dashes = 3;
        return file == 0 ? "" : " later f" + std::to_string((file - 1) % dashes + 1);
    }

    void writeText(std::string_view style, double x, double y, std::string_view content,
                   std::string_view anchor = "start") {
        body.append("<text class=\"").append(style).append("\" x=\"" + pictureNumber(x));
        body.append("\" y=\"" + pictureNumber(y) + "\"");
        if (anchor != "start") body.append(" text-anchor=\"").append(anchor).append("\"");
        body.append(">" + markupText(content) + "</text>\n");
    }

    void writePath(const std::string& style, const std::string& path) {
        if (!path.empty()) body += "<path class=\"" + style + "\" d=\"" + path + "\"/>\n";
    }

    double writeHead(double top) {
        top += titleSize;
        writeText("title", margin, top - 2, fittingText(title(), titleSize, (right - margin) * 0.95));
        for (std::size_t i = 0; i < data.files().size() && hasFiles(); ++i) {
            const double x = filePlaces[i].first, y = top + filePlaces[i].second;
            body += "<g class=\"any\">";
            writePath("line" + fileClass(i), "M" + pictureNumber(x) + " " + pictureNumber(y - 4) + "h26");
            body += "</g>";
            writeText("faint", x + fileKey, y, fittingText(data.files()[i], smallSize, right - x - fileKey));
        }
        return top + filesHeight() + panelGap / 2;
    }

    bool hasFiles() const { return data.files().size() > 1; }
    double filesHeight() const { return hasFiles() ? filePlaces.back().second : 0; }

    // The key of the files, in as many rows as it needs.
    void placeFiles() {
        double x = margin, y = headHeight;
        for (const auto& name : data.files()) {
            const double width = fileKey + textWidth(name, smallSize);
            if (x > margin && x + width > right) x = margin, y += headHeight;
            filePlaces.emplace_back(x, y);
            x += width + 20;
        }
    }

    double writePanel(const Panel& panel, double top) {
        const auto& first = *panel.series.front();
        const auto style = std::string(typeStyle(first.type));
        body += "<g class=\"panel " + style + "\" data-name=\"" + markupText(first.name) + "\">\n";
        writePanelHead(panel, top + headHeight - 6);
        top += headHeight;
        const auto down = "v" + pictureNumber(panel.height);
        writePath("box", "M" + pictureNumber(left) + " " + pictureNumber(top) + "H" + pictureNumber(right) +
                             down + "H" + pictureNumber(left) + "z");
        std::string grid;
        for (const auto& tick : timeAxis.ticks)
            grid += "M" + pictureNumber(placeOf(tick)) + " " + pictureNumber(top) + down;
        writePath("grid", grid);
        if (panel.look == Look::line) {
            writeLines(panel, top);
        } else {
            double y = top;
            for (const auto* series : panel.series) {
                panel.look == Look::band ? writeBand(*series, y) : writeTexts(*series, y);
                y += bandHeight + bandGap;
            }
        }
        body += "</g>\n";
        return top + panel.height + panelGap;
    }

    void writePanelHead(const Panel& panel, double y) {
        const auto& first = *panel.series.front();
        const auto names = componentNames(first.type);
        double end = right;
        for (std::size_t i = names.size(); i-- > 0;) {
            end -= textWidth(names[i], smallSize);
            writeText("faint", end, y, names[i]);
            end -= 18;
            writePath("line c" + std::to_string(i),
                      "M" + pictureNumber(end) + " " + pictureNumber(y - 4) + "h14");
            end -= 14;
        }
        const auto note = noteOf(panel);
        const auto name = fittingText(first.name, textSize, (end - left) * (note.empty() ? 0.9 : 0.6));
        writeText("name", left, y, name);
        const double x = left + textWidth(name, textSize) * 1.1 + 8;
        if (!note.empty()) writeText("faint", x, y, fittingText(note, smallSize, end - x));
    }

    static std::string noteOf(const Panel& panel) {
        std::string note(isCount(panel.series.front()->type) ? "number of elements" : "");
        std::size_t missing = 0, ofOtherTypes = 0;
        for (const auto* series : panel.series) {
            missing += series->missing;
            ofOtherTypes += series->ofOtherTypes;
        }
        const auto add = [&](const std::string& text) { note += (note.empty() ? "" : ", ") + text; };
        if (!panel.axis.caption.empty()) add(panel.axis.caption);
        if (missing > 0) add(counted(missing, "value") + " missing");
        if (ofOtherTypes > 0) add(counted(ofOtherTypes, "value") + " of another type not drawn");
        return note;
    }

    PlotFrame frameAt(double top, double height) const {
        return {left, top, right - left, height, from, to, 0, 1};
    }

    void writeLines(const Panel& panel, double top) {
        auto frame = frameAt(top, panel.height);
        frame.least = panel.least, frame.most = panel.most;
        std::string lines;
        for (const auto& tick : panel.axis.ticks) {
            const double y = std::round(frame.y(tick.place)) + 0.5;
            lines += "M" + pictureNumber(left) + " " + pictureNumber(y) + "h" + pictureNumber(right - left);
            writeText("faint", left - 6, y + 3.5, tick.label, "end");
        }
        writePath("grid", lines);
        for (const auto* series : panel.series) {
            const double pause = longestPause(series->times);
            const auto join = series->type == ValueType::Integer || isCount(series->type)
                                  ? PlotJoin::steps
                                  : PlotJoin::straight;
            for (std::size_t i = 0; i < series->components.size(); ++i) {
                const auto drawn = plotLine(frame, series->times, series->components[i], pause, join);
                const std::string component = series->components.size() > 1 ? " c" + std::to_string(i) : "";
                writePath("line" + component + fileClass(series->file), drawn.line);
                writePath("points" + component + (series->file > 0 ? " later" : ""), drawn.points);
                if (series->times.size() <= mostWrittenOut && panel.series.size() == 1)
                    writeOut(frame, series->times, series->components[i]);
            }
        }
    }

    // Few values can be read beside their points.
    void writeOut(const PlotFrame& frame, const std::vector<double>& times,
                  const std::vector<double>& values) {
        for (std::size_t i = 0; i < times.size(); ++i) {
            const auto label = std::isfinite(values[i]) ? shortNumber(values[i]) : std::string();
            const double x = frame.x(times[i]), y = frame.y(values[i]) + 4;
            const bool isLate = x + 8 + textWidth(label, smallSize) > right;
            if (!label.empty() && x >= left && x <= right)
                writeText("value", x + (isLate ? -7 : 7), y, label, isLate ? "end" : "start");
        }
    }

    void writeBand(const PlotSeries& series, double top) {
        const auto band = plotBand(frameAt(top, bandHeight), series.times, series.components.front(),
                                   longestPause(series.times));
        const std::string later = series.file > 0 ? " later" : "";
        writePath("known", band.known);
        writePath("true" + later, band.trues);
        writePath("mixed", band.mixed);
    }

    std::string bar(double begin, double width, double top) const {
        return "M" + pictureNumber(begin) + " " + pictureNumber(top) + "h" + pictureNumber(width) + "v" +
               pictureNumber(bandHeight) + "h-" + pictureNumber(width) + "z";
    }

    // As labelled stretches; where they are too short, as marks.
    void writeTexts(const PlotSeries& series, double top) {
        constexpr double narrowest = 4;
        constexpr std::size_t mostStretches = 1000;
        const auto frame = frameAt(top, bandHeight);
        std::vector<PlotSpan> spans;
        forEachSpan(series.times, series.components.front(), longestPause(series.times), [&](PlotSpan span) {
            span.from = std::clamp(frame.x(span.from), left, right);
            span.to = std::clamp(frame.x(span.to), left, right);
            spans.push_back(span);
        });
        const bool areFew = spans.size() <= mostStretches;
        double marked = -1;
        std::string marks;
        for (std::size_t i = 0; i < spans.size(); ++i) {
            const auto& [begin, end, value] = spans[i];
            if (areFew) {
                const double before = i > 0 ? spans[i - 1].to : left;
                const double after = i + 1 < spans.size() ? spans[i + 1].from : right;
                const auto& content = series.texts[static_cast<std::size_t>(value)];
                body += "<g><title>" + markupText(content) + "</title>";
                if (end - begin >= narrowest)
                    writePath(i % 2 == 0 ? "span" : "span other", bar(begin, end - begin, top));
                writePath("mark", bar(begin, 1.5, top));
                writeLabel(printable(content), begin, end - begin < narrowest ? after : end, before, top);
                body += "</g>\n";
            } else if (std::floor(begin) != marked) {
                marked = std::floor(begin);
                marks += bar(marked, 1, top);
            }
        }
        writePath("mark", marks);
    }

    // Behind the mark, or before it where that has no space.
    void writeLabel(const std::string& content, double begin, double end, double before, double top) {
        constexpr double narrowest = 24;
        const double y = top + bandHeight - 3.5;
        if (end - begin >= narrowest)
            writeText("label", begin + 5, y, fittingText(content, smallSize, end - begin - 8));
        else if (begin - before >= narrowest * 2)
            writeText("label", begin - 4, y, fittingText(content, smallSize, begin - before - 8), "end");
    }

    double placeOf(const AxisTick& time) const { return std::round(frameAt(0, 0).x(time.place) - 0.5) + 0.5; }

    // Without those that would lie on each other.
    void writeTimes(double bottom) {
        double free = 0;
        for (const auto& tick : timeAxis.ticks) {
            const double half = textWidth(tick.label, smallSize) / 2;
            const double x = std::min(placeOf(tick), options.width - half - 2);
            if (x - half < free) continue;
            writeText("faint", x, bottom + 15, tick.label, "middle");
            free = x + half + 6;
        }
        writeText("faint", right, bottom + 30, timeAxis.caption, "end");
    }

    const PlotData& data;
    const PlotOptions& options;
    std::vector<Panel> panels;
    std::vector<std::pair<double, double>> filePlaces;
    AxisTicks timeAxis;
    double from = 0, to = 1, left = 0, right = 0;
    std::string body;
};

}  // namespace

std::string plotPicture(const PlotData& data, const PlotOptions& options) {
    return PlotPicture(data, options).text();
}

}  // namespace kelvane
