// The macro interpreter: lines of macro_line.h act as the user would.
//
// A line comes alone (a batch, a protocol) or from a macro file, of which the idle step plays one line a
// pass, so that other work goes on in between. A line that fails is reported in the notebook, with the
// reason, and stops nothing. A macro that starts another one waits for it; a line that opens a dialog which
// must be answered is followed by lines that answer it.
//
// The line RELATIVE belongs to the next value of the same file, or of the lines that come alone. Nothing is
// played while the toolkit tracks the mouse, and nothing while a macro is recorded.
#pragma once
#include "ui/macro_line.h"

#include <string>
#include <string_view>

namespace Macros {

inline constexpr int MostNested = 16; // macros that wait for one another

// Reads and does one line. False, with a note unless silent, when it was not taken; comments are.
bool ExecuteMacroLine(std::string_view text, bool silent = false);

// Does what a record says. execute: the item's procedure runs, a menu entry is chosen; else the value is only
// stored. The item must be executable, enabled and not locked, its dialog open; where the activation is
// refused, the value is as it was. A key line needs no open dialog.
[[nodiscard]] MacroLine::Failure SetItemFromMacro(Dialogs::DialogRecord& dialog,
                                                  const MacroLine::MacroRecord& record, bool execute);
// The same for any record, menus included.
[[nodiscard]] MacroLine::Failure Execute(const MacroLine::MacroRecord& record, bool execute);

// Begins to play a file. False after the reason was said; also for one that is being played already.
bool StartMacro(const std::string& file);
[[nodiscard]] bool IsPlaying();
// All lines are read, but what the last one does goes on, such as a dialog that has to be answered.
[[nodiscard]] bool IsWaiting();
// Ends all that play: "Macros playback aborted."
void StopMacro();
// One line, of the idle step. False when nothing plays, or it has to wait.
bool PlayStep();
// How many lines were not taken since the start of the program.
[[nodiscard]] int FailedLines();
// Runs event steps until nothing plays any more; called by a line that plays itself, until the macros that it
// has started have ended.
void RunToEnd();

}
