// How every room speaks to the user: alerts, questions, notes and the status line.
// A window installs its own hooks; a headless run installs plain ones; a test collects what was said.
// Nothing here decides anything: the callers choose the words, the hooks choose the place.
#pragma once
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace Messages {

// A question whose answers have names. An index is that of a button.
struct Choice {
    std::span<const char* const> Buttons;
    int Default; // what Return presses, and what a run without anybody to ask takes
    int Yes;     // goes on
    int No;      // stays out of it
};

struct HookTable {
    std::function<void(std::string_view text)> Alert;  // stops the user: something failed
    std::function<void(std::string_view line)> Note;   // worth reading: into the notebook
    std::function<void(std::string_view line)> Log;    // routine: into the notebook, for the record
    std::function<void(std::string_view line)> Status; // what is going on right now; empty clears it
    std::function<void(double share)> Share; // how much of long work is done, 0 to 1; -1 when it has ended
    std::function<bool(std::string_view text, bool defaultAnswer)> AskYesNo; // true for Yes
    // Shows the text with one button a choice and returns the index of the one pressed.
    std::function<int(std::string_view text, const Choice& choice)> AskChoice;
    std::function<bool()> Break; // true once the user wants long work to stop
};

// Replaces the hooks and returns the former ones. An empty hook falls back to the silent one:
// nothing is shown, and a question is answered by its default.
HookTable Install(HookTable hooks);

void Alert(std::string_view text);
void Note(std::string_view line);
void Log(std::string_view line);
void Status(std::string_view line);
[[nodiscard]] bool AskYesNo(std::string_view text, bool defaultAnswer);
[[nodiscard]] int AskChoice(std::string_view text, const Choice& choice);

[[nodiscard]] bool BreakAsked();

// Long work of a known size: shows how far it is as status line, and listens for a Break.
class Progress {
public:
    Progress(std::string title, std::int64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // More of it is done. False when the user wants it to stop.
    [[nodiscard]] bool Add(std::int64_t done);

private:
    std::string Title;
    std::int64_t Total, Done = 0, ShownPercent = -1;
};

// Collects all messages of a stretch of work; the former hooks come back at its end.
// Questions are answered by Answer, or by their default while it is empty; a choice by its Yes or No.
class Recorder {
public:
    Recorder();
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    std::string Alerts, Notes, Questions; // one line an entry; Notes hold the log as well
    std::string Buttons, Shown;           // of the choices, a line each, "|" between; all status lines
    std::function<bool(bool defaultAnswer)> Answer;

private:
    HookTable Former;
};

}
