// The road from main to shutdown: units come up in the order of their imports, the starter runs the program,
// and the shutdown chain gives everything back, also after a fatal abort.
#pragma once
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace Start {

inline constexpr int QorvaniteKind = 1;
inline constexpr std::size_t CommandLineMax = 1023;

// What the process knows of itself.
struct ProgramState {
    int ProgramKind = 0;
    int MiniMode = 0;
    bool NoHardware = false; // true in this program: no amplifier or interface is ever opened
    bool FitEnabled = false; // true in this program
    std::string ProgramName;
    std::string ProgramVersion;
    std::string CommandLine; // at most 1023 characters
    int Progress = 0;        // of the start, for the report of a fatal abort
};

[[nodiscard]] const ProgramState& Program();

// "Qorvanite v0.1.0", as files name their writer.
[[nodiscard]] std::string VersionName();

// What the product is called and can do; the first step of every start.
bool SetProductDefaults();

void SetProgress(int code);

// Runs the process: everything from the unit initialisers to the shutdown chain. Returns the exit status:
// 0 done, 1 failed, 2 wrong use.
[[nodiscard]] int Main(const std::vector<std::string>& arguments);

// Gives back all memory and files; the second call does nothing.
void Shutdown();

}
