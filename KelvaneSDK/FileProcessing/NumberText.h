#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KelvaneSDK {

/// The shortest decimal that reads back as the same double; integral values keep ".0" ("1.0"), magnitudes
/// below 1e-4 and from 1e16 on take an exponent of at least two digits ("1e-05", "1e+16"); "inf", "-inf" and
/// "nan".
std::string doubleText(double x);
void appendDoubleText(std::string& text, double x);

/// The C format "%g" (six significant digits) in every locale; NaN is "nan" whatever its sign.
std::string sixDigitText(double x);

/// Reads a text that is a number as a whole: an optional sign, decimal digits with optional fraction and
/// exponent, or inf, infinity or nan in any case. Too large a number is an infinity. No hexadecimal, no
/// spaces, no locale.
std::optional<double> parseDouble(std::string_view text);

/// Reads an optional sign and decimal digits that fit in 64 bits.
std::optional<std::int64_t> parseInteger(std::string_view text);

/// Reads exactly "true" or "false".
std::optional<bool> parseBoolean(std::string_view text);

}  // namespace KelvaneSDK
