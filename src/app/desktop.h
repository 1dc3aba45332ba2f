// The desktop program: start, event loop, end.
//
// StartUp makes the tools in their order, with a line for each on the start window; then the loop takes
// events until the user quits. The same steps run without a display on the headless platform, for runs that
// play macros.
#pragma once
#include <string>

namespace Desktop {

struct StartOptions {
    std::string SettingsFile{}; // of the command line; may be empty
    std::string DataFile{};     // opened for analysis; may be empty
    bool Visible = true;        // with a display; else in memory
    // A user is there: questions are asked, windows and theme are as they were left, and kept for the next
    // time.
    bool Attended = true;
};

// The whole run. The exit status.
[[nodiscard]] int Run(const StartOptions& options);

// Its parts, for runs without the loop and for tests.
// Platform, settings, tools. False after the reason was said.
[[nodiscard]] bool StartUp(const StartOptions& options);
// Opens the data file that was named, or brings up the dialog where the settings ask for it.
void OpenFirstFile(const StartOptions& options);
// Takes what events there are, without waiting: windows have their sizes and are drawn.
void Settle();
// One event, if there is one, and the idle step. True when there was an event.
bool EventStep();
void RunEventLoop();
// Gives all windows back. The second call does nothing.
void ShutDown();
// The same in a process that is ending, whose windows are gone or of no more use: keeps what is unsaved, and
// the places of the windows.
void Abandon();

extern bool QuitFlag;
// The command: asks where something is not stored, closes the data file. False when the user stays.
bool Quit();

// Status words and timers, the recovery copy, macros, menus: what is done when nothing else is.
void IdleStep(bool hadEvent);
// Milliseconds until the idle step has to run again; negative: not before an event.
[[nodiscard]] int IdleTime();

}
