#include "series/wave_text.h"

#include "base/number_text.h"
#include "base/text.h"

#include <charconv>
#include <cstdlib>
#include <limits>

namespace WaveText {

namespace {

constexpr int IntegerColumns = 5, RealColumns = 12;

bool IsNotFiniteText(std::string_view text, double& value) {
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    constexpr double Infinity = std::numeric_limits<double>::infinity();
    if (Texts::SameFolded(text, "INF"))
        value = negative ? -Infinity : Infinity;
    else if (Texts::SameFolded(text, "NAN"))
        value = std::numeric_limits<double>::quiet_NaN();
    else
        return false;
    return true;
}

}

std::string IntegerField(int value) {
    return NumberText::Integer(value, IntegerColumns);
}

std::string RealField(double value) {
    return NumberText::Scientific(value, RealColumns);
}

bool ReadReal(std::string_view text, double& value) {
    text = NumberText::Trimmed(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    if (IsNotFiniteText(text, value)) return true;
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    if (first == text.size() || std::string_view("0123456789.").find(text[first]) == std::string_view::npos)
        return false; // words that from_chars would take
    double read = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) return false;
    if (error == std::errc::result_out_of_range) read = std::strtod(std::string(text).c_str(), nullptr);
    value = read;
    return true;
}

bool Fields::Next(std::string_view& field) {
    if (Done) return false;
    const std::size_t at = Rest.find(Between);
    Done = at == std::string_view::npos;
    field = Rest.substr(0, at);
    if (!Done) Rest.remove_prefix(at + Between.size());
    return true;
}

bool Fields::NextReal(double& value) {
    std::string_view field;
    return Next(field) && ReadReal(field, value);
}

bool Fields::NextInteger(int& value) {
    std::string_view field;
    std::int64_t read = 0;
    if (!Next(field) || !NumberText::ReadInteger(field, read)) return false;
    if (read < std::numeric_limits<int>::min() || read > std::numeric_limits<int>::max()) return false;
    value = static_cast<int>(read);
    return true;
}

bool Fields::NextFlag(bool& value) {
    int read = 0;
    if (!NextInteger(read)) return false;
    value = read != 0;
    return true;
}

}
