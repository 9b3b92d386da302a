// Measures the engine beside its references, round by round, and prints a table of the ratios.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Benchmark.h"

namespace KelvaneBenchmarks {

namespace {

struct Options {
    std::size_t rounds = 5;
    bool isJson = false;
    std::string filter;
};

struct Range {
    double median, least, most;
};

struct Result {
    Row row;
    Range ours, reference, ratio;

    const char* verdict() const {
        if (std::isnan(row.must)) return "";
        if (ratio.median <= row.aim) return "aim";
        return ratio.median <= row.must ? "must" : "MISSED";
    }
};

Range rangeOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto middle = values.size() / 2;
    const double median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

std::optional<Result> resultOf(const Row& row, const std::vector<Trial>& rounds) {
    std::vector<double> ours, references, ratios;
    for (const auto& round : rounds) {
        const auto& figures = round.figures;
        const auto figure = figures.find(row.ours), reference = figures.find(row.reference);
        if (figure == figures.end() || (reference == figures.end() && !row.reference.empty()))
            return std::nullopt;
        ours.push_back(figure->second);
        references.push_back(row.reference.empty() ? noFigure : reference->second);
        ratios.push_back(row.reference.empty() ? ours.back() : ours.back() / references.back());
    }
    return Result{row, rangeOf(ours), rangeOf(references), rangeOf(ratios)};
}

std::vector<Result> measure(const Options& options) {
    std::vector<Subject> subjects;
    for (auto list : {evaluationSubjects, recordingSubjects, loadingSubjects}) {
        for (auto& subject : list()) {
            std::erase_if(subject.rows,
                          [&](const Row& row) { return row.work.find(options.filter) == std::string::npos; });
            if (!subject.rows.empty()) subjects.push_back(std::move(subject));
        }
    }
    std::vector<std::vector<Contestant>> contestants;
    for (const auto& subject : subjects) contestants.push_back(subject.prepare());
    std::vector<std::vector<Trial>> trials(subjects.size(), std::vector<Trial>(options.rounds));
    for (std::size_t round = 0; round < options.rounds; ++round) {
        std::fprintf(stderr, "round %zu of %zu\n", round + 1, options.rounds);
        for (std::size_t s = 0; s < subjects.size(); ++s) {
            for (auto& contestant : contestants[s]) contestant(trials[s][round]);
        }
    }
    std::vector<Result> results;
    for (std::size_t s = 0; s < subjects.size(); ++s) {
        for (const auto& row : subjects[s].rows) {
            if (auto result = resultOf(row, trials[s])) results.push_back(std::move(*result));
        }
    }
    return results;
}

// A number as the table shows it, or as JSON holds it.
std::string numberText(double value, const char* format, const char* ifNone) {
    if (!std::isfinite(value)) return ifNone;
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), format, value);
    return digits.data();
}

void printTable(const std::vector<Result>& results) {
    const auto text = [](double x) {
        return numberText(x, x < 99.95 ? "%.3g" : "%.0f", std::isnan(x) ? "" : "no end");
    };
    const auto line = "%-50s %8s %-8s %8s  %-26s %7s %-17s %5s %5s  %s\n";
    std::printf(line, "work", "kelvane", "", "", "reference", "ratio", "(least - most)", "must", "aim", "");
    for (const auto& result : results) {
        const auto& [row, ours, reference, ratio] = result;
        const bool isAlone = row.reference.empty();
        std::printf(line, row.work.c_str(), text(ours.median).c_str(), row.unit.c_str(),
                    text(reference.median).c_str(), row.reference.c_str(),
                    isAlone ? "" : text(ratio.median).c_str(),
                    isAlone ? "" : ('(' + text(ratio.least) + " - " + text(ratio.most) + ')').c_str(),
                    text(row.must).c_str(), text(row.aim).c_str(), result.verdict());
    }
}

void printJson(const std::vector<Result>& results) {
    const auto json = [](double x) { return numberText(x, "%.6g", "null"); };
    const char* separator = "[\n";
    for (const auto& result : results) {
        const auto& [row, ours, reference, ratio] = result;
        std::printf(
            R"(%s {"work": "%s", "unit": "%s", "kelvane": %s, "reference": "%s", "referenceFigure": %s, )"
            R"("ratio": %s, "least": %s, "most": %s, "must": %s, "aim": %s, "verdict": "%s"})",
            std::exchange(separator, ",\n"), row.work.c_str(), row.unit.c_str(), json(ours.median).c_str(),
            row.reference.c_str(), json(reference.median).c_str(), json(ratio.median).c_str(),
            json(ratio.least).c_str(), json(ratio.most).c_str(), json(row.must).c_str(),
            json(row.aim).c_str(), result.verdict());
    }
    std::printf("\n]\n");
}

int main(std::vector<std::string> arguments) {
    if (arguments.size() == 3 && arguments[0] == "--count") {
        const auto times = std::strtoul(arguments[2].c_str(), nullptr, 10);
        arguments[1] == "reader" ? runReader(times) : runEvaluation(arguments[1], times);
        return 0;
    }
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--json") {
            options.isJson = true;
        } else if (arguments[i] == "--rounds" && i + 1 < arguments.size()) {
            options.rounds = std::max(1ul, std::strtoul(arguments[++i].c_str(), nullptr, 10));
        } else if (arguments[i].rfind('-', 0) != 0 && options.filter.empty()) {
            options.filter = arguments[i];
        } else {
            std::fprintf(stderr, "usage: ./bench [--rounds N] [--json] [WORDS OF A WORK'S NAME]\n");
            return 2;
        }
    }
    const auto results = measure(options);
    options.isJson ? printJson(results) : printTable(results);
    return 0;
}

}  // namespace

void Trial::result(const std::string& name, const std::string& contestant, std::uint64_t digest) {
    const auto& [first, expected] = results.try_emplace(name, contestant, digest).first->second;
    if (digest != expected) fail(contestant + " and " + first + " differ in their " + name);
}

void fail(const std::string& reason) { throw std::runtime_error(reason); }

}  // namespace KelvaneBenchmarks

int main(int count, char** arguments) {
    try {
        return KelvaneBenchmarks::main({arguments + 1, arguments + count});
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bench: %s\n", failure.what());
        return 1;
    }
}
