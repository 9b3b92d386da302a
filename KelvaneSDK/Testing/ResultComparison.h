#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/Kelvane/Kelvane.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// How far two numbers may be apart and count as equal: by `absolute`, or by `relative` times the larger
/// magnitude of the two, whichever allows more.
///
/// {1e-9, 1e-6} lets 0 and 1e-9 pass, and 1000 and 1000.0009.
struct Tolerance {
    double absolute = 0, relative = 0;
};

/// One value in which two results differ: of another size or type, or given by only one of them.
struct ResultDifference {
    /// In seconds, and the label of the output or stream.
    double timestamp = 0;
    std::string label;
    /// Where in the value the first difference is: ".x", "[3]", "[0].t"; empty where the value itself is it.
    std::string place;
    /// What stands there, as JSON or in words ("3 elements"); absent where there is no such value.
    std::optional<std::string> expected, found;

    /// `at 12.5, "heart rate": 71.2 in expected.jsonl, nothing in b.jsonl`, by the names of the two results.
    std::string text(std::string_view expectedName, std::string_view foundName) const;
};

/// How the values of a label compare. Before the first difference, all of it is zero but `compared`.
struct LabelComparison {
    /// Values in both, and those of them that differ; values that only one of the two results has.
    std::size_t compared = 0, differing = 0, missing = 0, unexpected = 0;
    /// When the first difference is, in seconds.
    std::optional<double> firstDifference;
    /// The largest distance of two numbers that count as different.
    double largestDistance = 0;

    /// Of all three kinds.
    std::size_t differences() const { return differing + missing + unexpected; }
};

/// Compares two results, which are JSON Lines as the tool and appendJsonLines() write them, in their order:
/// by time, by label and by value. Values are equal when they are of one type and all their elements are:
/// numbers, however spelled, that are the same double or integer (0.0 and -0.0 are not), or lie within the
/// tolerance; null, which stands for NaN and infinities, equals null. A value that one of the two lacks is
/// noticed by its time and label, so that the comparison goes on behind it, in memory that does not grow.
///
///     ResultComparison comparison([&] { return file.nextPiece(); });
///     comparison.take(results);
///     comparison.finish();
///     if (comparison.differences() > 0) ...
///
/// One thread at a time. Operations throw std::bad_alloc when memory runs out.
class ResultComparison {
public:
    /// Gives the expected results in pieces, cut anywhere, each good until the next call; empty at their end.
    using Source = std::function<std::string_view()>;
    /// Takes the differences in their order.
    using Receiver = std::function<void(const ResultDifference&)>;
    /// A line that is no result, at which the comparison ended.
    struct InvalidLine {
        /// It is one of the expected results.
        bool isExpected = false;
        /// From 1.
        std::size_t number = 0;
        /// What was expected and found.
        std::string reason;
    };

    /// Without a tolerance, numbers are compared exactly.
    explicit ResultComparison(Source expected, const std::optional<Tolerance>& tolerance = {},
                              Receiver receiver = {});
    ~ResultComparison();

    /// Takes the next piece of the results found, cut anywhere.
    void take(std::string_view found);
    /// Takes their end. To be called once.
    void finish();

    /// How many values differ, are missing or unexpected so far.
    std::size_t differences() const;
    /// The same by label, in byte order, with the labels that agree.
    const std::map<std::string, LabelComparison, std::less<>>& labels() const;
    /// Why the comparison ended early, if it did; what stands before it has been compared.
    const std::optional<InvalidLine>& invalidLine() const;

private:
    class State;
    const std::unique_ptr<State> state;
};

/// Evaluates a recording with an engine that has just read its diagram, and compares the results with the
/// expected ones: the first ten differences, or what went wrong, a line each; empty when all is as expected.
/// For an application's tests:
///
///     EXPECT_EQ(differencesFromExpected(engine, fileText("walk.jsonl"), fileText("expected.jsonl")), "");
std::string differencesFromExpected(Kelvane& engine, std::string_view recording, std::string_view expected,
                                    const std::optional<Tolerance>& tolerance = {});

}  // namespace KelvaneSDK
