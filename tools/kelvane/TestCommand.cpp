#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "Interruption.h"
#include "Messages.h"
#include "Pictures/Markup.h"
#include "Progress.h"
#include "TestCase.h"

namespace kelvane {

namespace {

using std::filesystem::path;
using Kind = CaseOutcome::Kind;

/// Adds the folder, if it is a case, or else those below.
void findCases(const path& folder, std::vector<path>& cases) {
    if (isCase(folder)) return cases.push_back(folder.lexically_normal());
    std::vector<path> below;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code unknown;
        const bool isHidden = entry->path().filename().string().starts_with('.');
        if (!isHidden && !entry->is_symlink(unknown) && entry->is_directory(unknown))
            below.push_back(entry->path());
    }
    if (error) {
        throw Failure{ExitStatus::failed,
                      "kelvane: cannot read " + nameOf(folder.string()) + ": " + error.message()};
    }
    std::sort(below.begin(), below.end());
    for (const auto& inner : below) findCases(inner, cases);
}

std::vector<path> casesOf(std::vector<std::string> folders) {
    if (folders.empty()) folders.emplace_back(".");
    std::vector<path> cases;
    for (const auto& folder : folders) {
        const auto before = cases.size();
        findCases(folder, cases);
        if (cases.size() > before) continue;
        throw Failure{ExitStatus::failed,
                      "kelvane: there are no cases in " + nameOf(folder) +
                          " (folders with diagram.kelvane or diagram.json, and recording.jsonl)"};
    }
    return cases;
}

/// Runs the cases on several threads and hands on the outcomes in the order of the cases.
class CaseRuns {
public:
    CaseRuns(const std::vector<path>& folders, bool blessed) : cases(folders), blesses(blessed) {
        outcomes.resize(cases.size());
    }
    ~CaseRuns() {
        next = cases.size();
        for (auto& thread : threads) thread.join();
    }
    CaseRuns(const CaseRuns&) = delete;
    CaseRuns& operator=(const CaseRuns&) = delete;

    void start(std::size_t jobs) {
        try {
            while (threads.size() < std::min(jobs, cases.size())) threads.emplace_back([this] { work(); });
        } catch (const std::system_error&) {
            // Those that there are do it all.
            if (threads.empty()) work();
        }
    }

    /// Shows meanwhile how far it is.
    CaseOutcome await(std::size_t place, Progress& progress) {
        std::unique_lock lock(mutex);
        while (
            !done.wait_for(lock, std::chrono::milliseconds(200), [&] { return outcomes[place].has_value(); }))
            progress.show(place);
        return *outcomes[place];
    }

private:
    void work() {
        for (auto place = next++; place < cases.size(); place = next++) {
            auto outcome = runCase(cases[place], blesses);
            const std::lock_guard lock(mutex);
            outcomes[place] = std::move(outcome);
            done.notify_all();
        }
    }

    const std::vector<path>& cases;
    const bool blesses;
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::condition_variable done;
    std::vector<std::optional<CaseOutcome>> outcomes;
    std::vector<std::thread> threads;
};

/// How people read an outcome.
std::string plainText(const std::string& name, const CaseOutcome& outcome) {
    const auto first = outcome.lines.empty() ? std::string() : ": " + outcome.lines.front();
    std::string text = name;
    switch (outcome.kind) {
        case Kind::asExpected:
            return text + ": as expected\n";
        case Kind::skipped:
            return text + ": skipped" + first + "\n";
        case Kind::blessed:
            return text + ": blessed" + first + "\n";
        case Kind::failed:
            break;
    }
    text += ": NOT as expected\n";
    for (const auto& line : outcome.lines) text += "  " + line + "\n";
    return text;
}

/// An outcome in the Test Anything Protocol.
std::string tapText(std::size_t number, std::string name, const CaseOutcome& outcome) {
    for (auto at = name.find('#'); at != std::string::npos; at = name.find('#', at + 2))
        name.insert(at, "\\");
    std::string text = outcome.kind == Kind::failed ? "not ok " : "ok ";
    text += std::to_string(number) + " - " + name;
    if (outcome.kind == Kind::skipped) text += " # SKIP " + outcome.lines.front();
    text += "\n";
    if (outcome.kind != Kind::skipped) {
        for (const auto& line : outcome.lines) text += "# " + line + "\n";
    }
    return text;
}

std::string junitCase(const std::string& name, const CaseOutcome& outcome) {
    std::string text = "  <testcase classname=\"kelvane\" name=\"" + markupText(name) + "\"";
    if (outcome.kind != Kind::failed && outcome.kind != Kind::skipped) return text + "/>\n";
    const auto* const element = outcome.kind == Kind::failed ? "failure" : "skipped";
    text += std::string("><") + element + " message=\"" + markupText(outcome.lines.front()) + "\">";
    for (const auto& line : outcome.lines) text += markupText(line) + "\n";
    return text + "</" + element + "></testcase>\n";
}

}  // namespace

int test(const TestOptions& options) {
    const auto cases = casesOf(options.folders);
    ResultOutput output("-");
    std::optional<ResultOutput> junit;
    if (!options.junit.empty()) junit.emplace(options.junit);
    CaseRuns runs(cases, options.blesses);
    runs.start(static_cast<std::size_t>(options.jobs));
    std::size_t failed = 0, skipped = 0, blessed = 0;
    std::string xml;
    if (options.asTap) output.text() = "TAP version 13\n1.." + std::to_string(cases.size()) + "\n";
    std::size_t finished = 0;
    Progress progress(
        "kelvane test", "case",
        [&] { return static_cast<double>(finished) / static_cast<double>(cases.size()); }, !isTerminal("-"));
    for (std::size_t i = 0; i < cases.size(); ++i) {
        progress.show(finished);
        const auto outcome = runs.await(i, progress);
        ++finished;
        if (interruption() != 0) return 128 + interruption();
        const auto name = nameOf(cases[i].string());
        failed += outcome.kind == Kind::failed ? 1 : 0;
        skipped += outcome.kind == Kind::skipped ? 1 : 0;
        blessed += outcome.kind == Kind::blessed ? 1 : 0;
        output.text() += options.asTap ? tapText(i + 1, name, outcome) : plainText(name, outcome);
        output.flush();
        xml += junitCase(name, outcome);
    }
    if (!options.asTap) {
        auto& text = output.text();
        text += counted(cases.size(), "case") + ": ";
        text += std::to_string(cases.size() - failed - skipped - blessed) + " as expected";
        if (failed > 0) text += ", " + std::to_string(failed) + " failed";
        if (skipped > 0) text += ", " + std::to_string(skipped) + " skipped";
        if (blessed > 0) text += ", " + std::to_string(blessed) + " blessed";
        text += "\n";
    }
    output.finish();
    if (junit) {
        junit->text() = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuite name=\"kelvane\" tests=\"" +
                        std::to_string(cases.size()) + "\" failures=\"" + std::to_string(failed) +
                        "\" skipped=\"" + std::to_string(skipped) + "\">\n" + xml + "</testsuite>\n";
        junit->finish();
    }
    return failed > 0 ? ExitStatus::failed : ExitStatus::done;
}

}  // namespace kelvane
