#include "ByteReader.h"

#include <algorithm>
#include <utility>

#include "Interruption.h"
#include "Messages.h"

namespace kelvane {

ByteReader::ByteReader(std::unique_ptr<DataFile> opened) : file(std::move(opened)), space(64 * 1024) {}

std::string_view ByteReader::take(std::size_t count) {
    if (filled.size() - used >= count) {
        used += count;
        return filled.substr(used - count, count);
    }
    const auto begin = offset();
    piece.clear();
    while (piece.size() < count) {
        if (peek() == atEnd) {
            failAt(begin, "the file ends at byte " + std::to_string(offset()) + " within " +
                              std::to_string(count) + " bytes that begin here");
        }
        const auto part = filled.substr(used, count - piece.size());
        piece += part;
        used += part.size();
    }
    return piece;
}

void ByteReader::skip(std::uint64_t count) {
    while (count > 0) {
        if (peek() == atEnd) fail("the file ends within what it says to have");
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, filled.size() - used));
        used += part;
        count -= part;
    }
}

void ByteReader::failAt(std::uint64_t place, const std::string& what) const {
    throw Failure{ExitStatus::failed, name() + ": byte " + std::to_string(place) + ": " + what};
}

bool ByteReader::fill() {
    before += filled.size();
    used = 0;
    filled = file->read(space);
    if (interruption() != 0) throw Failure{128 + interruption(), {}};
    if (filled.empty() && !file->damage().empty()) throw Failure{ExitStatus::failed, file->damage()};
    return !filled.empty();
}

}  // namespace kelvane
