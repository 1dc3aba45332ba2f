// Numbers as texts: the one formatter and reader of every number that a user sees or types.
//
// Written texts are as wide as asked, in characters, with a blank or "-" ahead of the digits. Where a value
// cannot be shown in that width, "***" stands for it; a three-digit exponent makes its text wider instead.
// Values that are not finite read "INF", "-INF" and "NAN", at the right. Texts are UTF-8: the micro sign
// takes one character and two bytes.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace NumberText {

enum class Format : std::uint8_t { Integer, Hexadecimal, Fixed, Scientific, Engineering };

[[nodiscard]] std::string Integer(std::int64_t value, int columns);
[[nodiscard]] std::string Hexadecimal(std::uint64_t value, int columns);

// With so many decimals; scientific, in at most 12 columns, where that does not fit.
[[nodiscard]] std::string Fixed(double value, int decimals, int columns);

// "-2.50E-12"; at least 7 columns.
[[nodiscard]] std::string Scientific(double value, int columns);

// As many significant digits as there are columns less 3, and one of the prefixes "yzafpnµm kMGTPEZY" behind
// them, a blank for none: " 12.346m". Scientific for exponents beyond -24 to 24. At least 6 columns.
[[nodiscard]] std::string Engineering(double value, int columns);

[[nodiscard]] std::string_view Trimmed(std::string_view text);

// The readers pass over blanks around the number, and take nothing else around it. False leaves the value.
[[nodiscard]] bool ReadInteger(std::string_view text, std::int64_t& value);
[[nodiscard]] bool ReadHexadecimal(std::string_view text, std::uint64_t& value);

// A real with an optional prefix letter, one blank at most ahead of it; "u" is micro too. The prefix
// multiplies by exactly 1000.0 or 0.001 as often as it says. A comma counts as point only where asked.
[[nodiscard]] bool ReadEngineering(std::string_view text, double& value, bool commaToo = false);

}
