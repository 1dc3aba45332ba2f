// The logbook: what the user did with the fit tools, command by command, in the notebook, in a ".log" file
// beside the data set, or in both. A line is the macro line of the command: "T:Fit", "S:Tau1[0.005]".
//
// The file only grows, by whole lines: one that cannot be written whole is cut off again, and the torn last
// line of a program that was killed is ended before the next start. One program at a time writes it. Nothing
// here stops a command: what fails is said in an alert.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace Logbook {

// The choices of Setup.Settings.FitParams.LogTarget. Any other number is Off.
enum class LogTarget : std::uint8_t { Off = 0, Notebook = 1, File = 2, NotebookAndFile = 3 };

// An opened data set is named with its user, as data sets with GLP protection ask for.
extern bool WithHeadLine;

// Which tool speaks: its letter stands before the command.
enum class Kind : std::uint8_t { TraceFit = 0, SeriesFit = 1, Other = 2 };

inline constexpr std::size_t LineMax = 160; // characters; what is longer is cut

// A command, with its argument in brackets where it has one. The bracket is closed also behind an argument
// that is cut. Line breaks become blanks.
void LogLine(Kind kind, std::string_view command, std::string_view argument);
void LogBool(Kind kind, std::string_view command, bool flag); // "on" or "off"
void LogInt(Kind kind, std::string_view command, std::int64_t value);
void LogReal(Kind kind, std::string_view command, double value); // 12 significant digits

// To be called when a data set is opened, with its path, and when it is closed. False after an alert.
bool LogOpen(const std::string& dataSet);
bool LogClose();

// To be called when the settings' target has changed: a file that is no longer wanted is closed, and one that
// is wanted now is opened, if there is a data set.
void LogTargetChanged(LogTarget former);

}
