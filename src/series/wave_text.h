// The texts that wave files and point selections are made of: fields separated by a comma and a blank,
// integers 5 and reals 12 wide.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace WaveText {

inline constexpr std::string_view Separator = ", ";

// Right-aligned. A real has a blank or a minus sign, six significant digits and an exponent of two digits or
// three; infinities are "INF" and "-INF", other non-numbers "NAN".
[[nodiscard]] std::string IntegerField(int value);
[[nodiscard]] std::string RealField(double value);

// The whole text as a number, blanks around it apart; also what RealField makes of values that are not
// finite. Digits beyond the range of a real are infinity or 0. False leaves the value.
[[nodiscard]] bool ReadReal(std::string_view text, double& value);

// Cuts the text up to the next comma off, and the comma with it. False when no text is left: behind the last
// field. An empty text has one empty field.
class Fields {
public:
    explicit Fields(std::string_view line, std::string_view separator = ",")
        : Rest(line), Between(separator) {}
    [[nodiscard]] bool Next(std::string_view& field);
    [[nodiscard]] bool NextReal(double& value);
    [[nodiscard]] bool NextInteger(int& value); // within 32 bits
    [[nodiscard]] bool NextFlag(bool& value);   // an integer: 0 or not

private:
    std::string_view Rest, Between;
    bool Done = false;
};

}
