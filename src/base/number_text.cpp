#include "base/number_text.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace NumberText {

namespace {

constexpr int LeastScientific = 7, LeastEngineering = 6, MostColumns = 300;
constexpr std::string_view Overflow = "***";
constexpr std::array<std::string_view, 17> Prefixes = {"y", "z", "a", "f", "p", "n", "µ", "m", " ",
                                                       "k", "M", "G", "T", "P", "E", "Z", "Y"};
constexpr int NoPrefix = 8;

std::string RightAligned(std::string text, int columns) {
    const auto width = static_cast<std::size_t>(std::clamp(columns, 0, MostColumns));
    if (text.size() < width) text.insert(0, width - text.size(), ' ');
    return text;
}

// Digits of a finite value: the first one stands ahead of the point.
struct Parts {
    bool Negative = false;
    std::string Digits;
    int Exponent = 0;
};

Parts Split(double value, int digits) {
    char text[MostColumns + 16] = {};
    const auto [end, error] =
        std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific, digits - 1);
    const std::string_view written(text, static_cast<std::size_t>(end - text));
    const std::size_t e = written.find('e');
    Parts parts;
    parts.Negative = std::signbit(value);
    for (const char c : written.substr(0, e))
        if (c != '.') parts.Digits += c;
    parts.Exponent = std::atoi(text + e + 1);
    return parts;
}

std::string WithPoint(const Parts& parts, std::size_t ahead) {
    std::string text(1, parts.Negative ? '-' : ' ');
    text += parts.Digits.substr(0, ahead);
    text += '.';
    text += parts.Digits.substr(ahead);
    return text;
}

std::string NotFinite(double value, int columns) {
    if (std::isnan(value)) return RightAligned("NAN", columns);
    return RightAligned(value < 0 ? "-INF" : "INF", columns);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view WithoutBlanksAhead(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

// The index of the prefix that the whole text is; -1 for none.
int PrefixOf(std::string_view text) {
    if (text == "u" || text == "\xB5") return NoPrefix - 2;
    for (std::size_t i = 0; i < Prefixes.size(); ++i)
        if (text == Prefixes[i]) return static_cast<int>(i);
    return -1;
}

// How much of the text is digits, one point, and an exponent; 0 without a digit.
std::size_t LengthOfReal(std::string_view text, bool commaToo) {
    std::size_t at = 0, digits = 0;
    bool point = false;
    for (; at < text.size(); ++at) {
        if (IsDigit(text[at]))
            ++digits;
        else if (!point && (text[at] == '.' || (commaToo && text[at] == ',')))
            point = true;
        else
            break;
    }
    if (digits == 0) return 0;
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        std::size_t next = at + 1;
        if (next < text.size() && (text[next] == '+' || text[next] == '-')) ++next;
        const std::size_t first = next;
        while (next < text.size() && IsDigit(text[next])) ++next;
        if (next > first) at = next;
    }
    return at;
}

// Digits beyond the range of a real are infinity or zero, as in arithmetic.
double RealOf(std::string text) {
    std::replace(text.begin(), text.end(), ',', '.');
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) value = std::strtod(text.c_str(), nullptr);
    return value;
}

}

std::string Integer(std::int64_t value, int columns) {
    return RightAligned(std::to_string(value), columns);
}

std::string Hexadecimal(std::uint64_t value, int columns) {
    char text[20];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, 16);
    std::transform(text, end, text, Texts::Upper);
    return RightAligned(std::string(text, end), columns);
}

std::string Fixed(double value, int decimals, int columns) {
    if (!std::isfinite(value)) return NotFinite(value, columns);
    const int most = std::clamp(columns, 0, MostColumns);
    char text[2 * MostColumns + 64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed,
                                            std::clamp(decimals, 0, MostColumns));
    if (error != std::errc() || end - text > most) return Scientific(value, std::min(columns, 12));
    return RightAligned(std::string(text, end), columns);
}

std::string Scientific(double value, int columns) {
    if (columns < LeastScientific) return std::string(Overflow);
    if (!std::isfinite(value)) return NotFinite(value, columns);
    const Parts parts = Split(value, std::min(columns, MostColumns) - 6);
    std::string exponent = std::to_string(std::abs(parts.Exponent));
    if (exponent.size() < 2) exponent.insert(0, 1, '0');
    return WithPoint(parts, 1) + (parts.Exponent < 0 ? "E-" : "E+") + exponent;
}

std::string Engineering(double value, int columns) {
    if (columns < LeastEngineering) return std::string(Overflow);
    if (!std::isfinite(value)) return NotFinite(value, columns);
    const Parts parts = Split(value, std::min(columns, MostColumns) - 3);
    if (std::abs(parts.Exponent) > 24) return Scientific(value, columns);
    const int prefix = (parts.Exponent + 24) / 3;
    const int rest = (parts.Exponent + 24) % 3;
    return WithPoint(parts, static_cast<std::size_t>(rest + 1)) +
           std::string(Prefixes[static_cast<std::size_t>(prefix)]);
}

std::string_view Trimmed(std::string_view text) {
    text = WithoutBlanksAhead(text);
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

bool ReadInteger(std::string_view text, std::int64_t& value) {
    text = Trimmed(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    std::int64_t read = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    if (error != std::errc() || end != text.data() + text.size()) return false;
    value = read;
    return true;
}

bool ReadHexadecimal(std::string_view text, std::uint64_t& value) {
    text = Trimmed(text);
    std::uint64_t read = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read, 16);
    if (error != std::errc() || end != text.data() + text.size()) return false;
    value = read;
    return true;
}

bool ReadEngineering(std::string_view text, double& value, bool commaToo) {
    text = WithoutBlanksAhead(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text = WithoutBlanksAhead(text.substr(1));
    }
    const std::size_t length = LengthOfReal(text, commaToo);
    if (length == 0) return false;
    double read = RealOf(std::string(text.substr(0, length)));
    text.remove_prefix(length);
    if (!Trimmed(text).empty()) {
        if (text.front() == ' ') text.remove_prefix(1);
        const int prefix = PrefixOf(text.substr(0, text.find_last_not_of(' ') + 1));
        if (prefix < 0) return false;
        for (int i = prefix; i > NoPrefix; --i) read *= 1000.0;
        for (int i = prefix; i < NoPrefix; ++i) read *= 0.001;
    }
    value = negative ? -read : read;
    return true;
}

}
