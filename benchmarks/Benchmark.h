#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace KelvaneBenchmarks {

/// A target or a figure that there is none of.
inline constexpr double noFigure = std::numeric_limits<double>::quiet_NaN();
/// The figure of a work that did not end within its time.
inline constexpr double noEnd = std::numeric_limits<double>::infinity();

/// A line of the table: one figure over another of the same round. Without a reference, the targets are for
/// the figure itself. A row whose figures nobody measured is left out.
struct Row {
    std::string work, unit, ours, reference;
    double must = noFigure, aim = noFigure;
};

/// What the contestants of one subject bring in one round.
class Trial {
public:
    void figure(const std::string& name, double value) { figures[name] = value; }
    /// All results that are given under one name must be equal; else the benchmark fails.
    void result(const std::string& name, const std::string& contestant, std::uint64_t digest);

    std::map<std::string, double> figures;

private:
    std::map<std::string, std::pair<std::string, std::uint64_t>> results;
};

using Contestant = std::function<void(Trial&)>;

/// Contestants that do the same work. Each runs once a round; made only when one of the rows is wanted.
struct Subject {
    std::vector<Row> rows;
    std::function<std::vector<Contestant>()> prepare;
};

std::vector<Subject> evaluationSubjects();
std::vector<Subject> recordingSubjects();
std::vector<Subject> loadingSubjects();

/// Runs our side alone, for counting instructions: `batches` batches of a shape, or reads of a fixed
/// recording.
void runEvaluation(const std::string& shape, std::size_t batches);
void runReader(std::size_t reads);

/// Ends the benchmark with an error, such as that somebody computes something else.
[[noreturn]] void fail(const std::string& reason);

template <class Work>
double secondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace KelvaneBenchmarks
