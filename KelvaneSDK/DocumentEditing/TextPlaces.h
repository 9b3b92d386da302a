#pragma once

#include <string_view>

#include "KelvaneSDK/DocumentEditing/TextSplicing.h"
#include "KelvaneSDK/TextForm/TextSyntax.h"

namespace KelvaneSDK {

// Where things stand in a text of the text form that has no faults.

/// The name, id, value or list that begins here.
TextSpan wordSpan(std::string_view text, std::size_t offset);
/// The name, id, call or value that begins here, with its type.
TextSpan expressionSpan(std::string_view text, std::size_t offset);
/// The line, or lines, on which a node is defined whose call, value or name stands here; without blanks and
/// comments around it.
TextSpan statementSpan(std::string_view text, std::size_t offset);
/// What an argument says behind the name of its input.
std::vector<TextSpan> sourceSpans(std::string_view text, const TextArgument& argument);
/// The boxes and subdiagrams, from their first word to their closing brace, in the order in which they begin.
std::vector<TextSpan> groupSpans(std::string_view text);
/// A line without its last word, or with a member less; the line goes when nothing else stands on it.
TextSpan removalSpan(std::string_view text, TextSpan span);

}  // namespace KelvaneSDK
