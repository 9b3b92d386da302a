#include "Recording.h"

#include <algorithm>

#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

bool Recording::readPiece() {
    if (ended) return false;
    const auto text = file.read(piece);
    if (interruption() != 0) return false;
    lineTooLong = isLineTooLong(text);
    if (!lineTooLong) reader.append(text);
    ended = text.empty() || lineTooLong || reader.failure();
    if (ended) reader.finish();
    return true;
}

bool Recording::isLineTooLong(std::string_view text) {
    const auto lineBreak = text.rfind('\n');
    if (lineBreak == std::string_view::npos) {
        unfinishedBytes += text.size();
    } else {
        completeLines += static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
        unfinishedBytes = text.size() - lineBreak - 1;
    }
    return unfinishedBytes > longestLine;
}

std::string Recording::failure() const {
    if (lineTooLong) {
        return file.name() + ":" + std::to_string(completeLines + 1) + ": the line is longer than 64 MiB";
    }
    // No byte at all is a recording without lines, such as a run without results leaves.
    const bool isEmpty = completeLines == 0 && unfinishedBytes == 0;
    if (!reader.failure() || isEmpty) return {};
    const auto& failed = *reader.failure();
    const bool isUnfinished = failed.line == completeLines && unfinishedBytes > 0;
    return file.name() + ":" + std::to_string(failed.line + 1) + ": " +
           (isUnfinished ? "the recording ends within this line: " : "") + printable(failed.reason) + " (" +
           failed.diagnostic() + ")";
}

}  // namespace kelvane
