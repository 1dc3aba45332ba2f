// Comma-separated text: numbers as they are printed, and points as they are read for a fit.
#pragma once
#include "series/wave_file.h"

#include <string>
#include <string_view>
#include <vector>

namespace Csv {

// The shortest text that reads back to the number; "INF", "-INF" or "NAN" where it is not finite.
void AppendNumber(std::string& text, double value);
void AppendNumber(std::string& text, float value);

// "Amplitude (A)", without what would end the field.
[[nodiscard]] std::string Heading(const SGFit::WaveLabel& label);

struct Points {
    SGFit::WaveLabel X, Y; // of the heading
    std::vector<WaveFile::Point> List;
};

// Lines of X and Y, separated by commas, semicolons or tabs, with or without a line of headings ahead of
// them. A third column that is headed "Use" takes points out by a 0; other columns are left alone, as are
// empty lines and those that begin with "#". False with the reason in message: for what is not a number, and
// for a number of a used point that is not finite.
[[nodiscard]] bool ReadPoints(std::string_view text, Points& points, std::string& message);

}
