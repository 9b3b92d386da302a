#include "TestCase.h"

#include <array>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "CommandLine.h"
#include "Comparison.h"
#include "Diagram.h"
#include "EngineOptions.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "ReadAhead.h"
#include "Replay.h"
#include "ValueOrigin.h"

namespace kelvane {

using namespace KelvaneSDK;
using std::filesystem::path;

namespace {

constexpr auto expectedName = "expected.jsonl", optionsName = "options";
constexpr std::array diagramNames{"diagram.kelvane", "diagram.json"};
constexpr std::array recordingNames{"recording.jsonl", "recording.jsonl.gz", "recording.jsonl.zst"};

bool isThere(const path& file) {
    std::error_code error;
    return std::filesystem::exists(file, error);
}

/// The first of the files that is in the folder.
template <std::size_t count>
std::optional<path> firstOf(const path& folder, const std::array<const char*, count>& names) {
    for (const auto* const name : names) {
        if (isThere(folder / name)) return folder / name;
    }
    return std::nullopt;
}

/// A file that stands in the folder, or in one of those above.
std::optional<path> findUpwards(const path& folder, const path& file) {
    std::error_code error;
    auto place = std::filesystem::absolute(folder, error).lexically_normal();
    if (place.filename().empty()) place = place.parent_path();
    for (;; place = place.parent_path()) {
        if (isThere(place / file)) return place / file;
        if (!place.has_relative_path()) return std::nullopt;
    }
}

/// Results that are compared as they come.
class ComparedText final : public PendingText {
public:
    explicit ComparedText(ResultComparison& with) : comparison(with) {}
    void flush() override {
        comparison.take(pending);
        pending.clear();
    }

private:
    ResultComparison& comparison;
};

class TestCase {
public:
    explicit TestCase(const path& ownFolder) : folder(ownFolder) {}

    CaseOutcome outcome(bool blesses) {
        try {
            return run(blesses);
        } catch (const Failure& failure) {
            note(failure.message);
        } catch (const std::bad_alloc&) {
            note("out of memory");
        }
        return failed();
    }

private:
    CaseOutcome run(bool blesses) {
        diagramPath = firstOf(folder, diagramNames).value_or(folder).string();
        if (const auto file = folder / optionsName; isThere(file))
            options = readCaseOptions(nameOf(file), readWholeFile(file));
        const auto recording = options.recording.empty() ? firstOf(folder, recordingNames)
                                                         : findUpwards(folder, options.recording);
        if (!recording && !options.recording.empty()) {
            return {CaseOutcome::Kind::skipped,
                    {"the recording " + nameOf(options.recording) + " is not here, nor in a folder above"}};
        }
        if (!recording) return failure("recording.jsonl is missing");
        recordingPath = recording->string();

        const bool hasExpected = isThere(folder / expectedName);
        if (!hasExpected && !blesses)
            return failure(std::string(expectedName) + " is missing; kelvane test --bless writes it");
        const bool isAsExpected = hasExpected && compare();
        if (!errors.empty()) return failed();
        if (isAsExpected) return {CaseOutcome::Kind::asExpected, {}};
        if (blesses) return bless();
        return {CaseOutcome::Kind::failed, findings};
    }

    static CaseOutcome failure(const std::string& line) { return {CaseOutcome::Kind::failed, {line}}; }

    /// Of what went wrong, as it was noted.
    CaseOutcome failed() {
        if (noted > errors.size()) errors.push_back("and " + std::to_string(noted - errors.size()) + " more");
        return {CaseOutcome::Kind::failed, errors};
    }

    void note(const std::string& line) {
        if (noted++ < mostErrors) errors.push_back(line);
    }

    Diagram prepared() {
        auto diagram = loadDiagram(diagramPath, [this](const std::string& line) { note(line); });
        applyOptions(*diagram.engine, options.run);
        diagram.engine->setDiagnosticSink([this](std::string_view line) {
            if (isError(line)) note(printable(line));
        });
        return diagram;
    }

    void evaluate(PendingText& results) {
        auto diagram = prepared();
        ReadAhead recording(recordingPath, options.run.keepsGoing, false);
        Replay replay(*diagram.engine, options.run, recording, &results,
                      [this](const std::string& line) { note(line); });
        replay.run();
        if (const auto why = replay.failure(diagram); !why.empty()) note(why);
    }

    /// True when the results are as expected. Finds out why not.
    bool compare() {
        const auto file = (folder / expectedName).string();
        InputFile expected(file);
        std::vector<char> piece(pieceSize);
        std::optional<ResultDifference> first;
        ResultComparison comparison([&] { return expected.read(piece); }, toleranceOf(options.tolerance),
                                    [&](const ResultDifference& difference) {
                                        if (!first) first = difference;
                                    });
        ComparedText results(comparison);
        evaluate(results);
        results.flush();
        comparison.finish();
        if (const auto& invalid = comparison.invalidLine()) {
            findings = {invalidLineText(*invalid, nameOf(file))};
        } else if (first && errors.empty()) {
            explain(*first);
            add(summary(comparison, expectedName, resultsName));
        }
        return findings.empty();
    }

    /// Appends the lines of a text.
    void add(const std::string& text) {
        for (std::size_t begin = 0; begin < text.size();) {
            const auto end = text.find('\n', begin);
            findings.push_back(text.substr(begin, end - begin));
            begin = end + 1;
        }
    }

    void explain(const ResultDifference& difference) {
        add(differenceLine(difference, expectedName, resultsName));
        auto diagram = prepared();
        diagram.name = path(diagramPath).filename().string();
        Recording recording(recordingPath, Recording::InvalidLine::isSkipped, [](const std::string&) {});
        KelvaneInput batch;
        auto initial = initialValues(*diagram.engine, options.run.initial);
        while (recording.readPiece()) {
            while (recording.next(batch)) {
                diagram.engine->evaluate(initial.appliedTo(batch));
                if (batch.timestamp != difference.timestamp) continue;
                for (auto& line : originOf(diagram, difference.label))
                    findings.push_back("  " + std::move(line));
                return;
            }
        }
    }

    CaseOutcome bless() {
        ResultOutput file((folder / expectedName).string());
        evaluate(file);
        if (!errors.empty() || interrupted()) return failed();
        file.finish();
        return {CaseOutcome::Kind::blessed, {std::string(expectedName) + " was written"}};
    }

    static constexpr std::size_t pieceSize = 64 * 1024, mostErrors = 10;
    static constexpr auto resultsName = "the results";

    const path folder;
    std::string diagramPath, recordingPath;
    CaseOptions options;
    std::vector<std::string> errors, findings;
    std::size_t noted = 0;
};

}  // namespace

bool isCase(const path& folder) {
    return firstOf(folder, diagramNames) && (firstOf(folder, recordingNames) ||
                                             isThere(folder / expectedName) || isThere(folder / optionsName));
}

CaseOutcome runCase(const path& folder, bool blesses) { return TestCase(folder).outcome(blesses); }

}  // namespace kelvane
