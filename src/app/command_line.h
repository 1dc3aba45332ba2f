// The program without a window: one command word, its options, and what is printed.
// Results go to standard output, messages to standard error. Exit status 0 done, 1 failed, 2 wrong use.
#pragma once
#include "data/session.h"

#include <optional>
#include <string>
#include <vector>

namespace CommandLine {

inline constexpr int Done = 0;
inline constexpr int Failed = 1;
inline constexpr int WrongUse = 2;

// Alerts and notes go to standard error; questions as Answer says; progress only to a terminal.
[[nodiscard]] bool InstallHooks();

enum class Answer { Ask, Yes, No }; // Ask: on a terminal; elsewhere the question's own default

struct MessageOptions {
    CommandLine::Answer Answer = Answer::Ask;
    bool Verbose = false;         // show the routine log as well
    std::optional<OpenMode> Mode; // how a data set is opened, instead of the command's own way
};
extern MessageOptions Options;

[[nodiscard]] int Run(const std::vector<std::string>& arguments);

// Closes the data set of a run that did not come to its end in order: nothing more is stored.
void CloseSession();

// Opens it, with room for its longest trace, in the mode that the user asked for or else in the given one.
// False when the reason has been said. What was changed is stored when the command has ended.
[[nodiscard]] bool Open(const std::string& path, OpenMode mode);
// The same for a command that can do nothing else.
[[nodiscard]] bool OpenForChanges(const std::string& path);

// Positions in the tree, from 1: "2.1.3" is group 2, series 1, sweep 3.
struct Target {
    std::vector<int> Positions;
    [[nodiscard]] std::string Text() const;
};
// False for anything but depth positions (or, with a shallower least depth, at least so many).
[[nodiscard]] bool ParseTarget(const std::string& text, int leastDepth, int mostDepth, Target& target);
// The record of a target; none, with a message, when the data set has no such record.
[[nodiscard]] void* Find(const Target& target);

// A whole text as a number; INF and NAN count.
[[nodiscard]] bool ReadNumber(std::string_view text, double& value);

// Says what was wrong with the use of a command, and returns WrongUse.
[[nodiscard]] int Misused(const std::string& text);

}
