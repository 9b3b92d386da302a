#include <string>
#include <string_view>
#include <vector>

#include "Commands.h"
#include "Comparison.h"
#include "DataFile.h"
#include "Files.h"
#include "Interruption.h"
#include "KelvaneSDK/Testing/ResultComparison.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Results in a file, compressed or not, or on standard input, piece by piece.
class ResultFile {
public:
    explicit ResultFile(const std::string& path) : file(path), space(pieceSize) {}

    std::string_view nextPiece() {
        const auto piece = file.read(space);
        if (interruption() != 0) throw Failure{128 + interruption(), {}};
        if (!file.damage().empty()) throw Failure{ExitStatus::failed, file.damage()};
        return piece;
    }
    const std::string& name() const { return file.name(); }

private:
    static constexpr std::size_t pieceSize = 256 * 1024;

    DataFile file;
    std::vector<char> space;
};

}  // namespace

int diff(const DiffOptions& options) {
    if (options.first == "-" && options.second == "-") {
        throw Failure{ExitStatus::wrongUsage, "kelvane: the two results cannot both be standard input"};
    }
    ResultFile first(options.first), second(options.second);
    ResultOutput output("-");
    std::int64_t listed = 0;
    ResultComparison comparison([&] { return first.nextPiece(); }, toleranceOf(options.tolerance),
                                [&](const ResultDifference& difference) {
                                    if (listed++ >= options.mostListed) return;
                                    output.text() += differenceLine(difference, first.name(), second.name());
                                    output.flush();
                                });
    for (auto piece = second.nextPiece(); !piece.empty(); piece = second.nextPiece()) comparison.take(piece);
    comparison.finish();
    output.text() += summary(comparison, first.name(), second.name());
    output.finish();
    const auto& invalid = comparison.invalidLine();
    if (invalid) report(invalidLineText(*invalid, invalid->isExpected ? first.name() : second.name()));
    return comparison.differences() > 0 || invalid ? ExitStatus::failed : ExitStatus::done;
}

}  // namespace kelvane
