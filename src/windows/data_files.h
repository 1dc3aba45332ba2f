// What the user does with data files: open in one of the modes, update, close, merge, store the analysis.
// Whoever shows something of the data set is told when another one is open.
#pragma once
#include "data/session.h"

#include <string>

namespace DataFiles {

// Opens the data set in place of the one that is open; a name without an extension takes ".dat". False when
// the reason has been said; what was open before is closed by then, unless the user wanted to keep it, or the
// name cannot be that of a data file.
bool Open(const std::string& path, OpenMode mode);
// Asks for the file first, beginning with the folder of the last one.
bool AskAndOpen(OpenMode mode);
// Asks for a data file, again where its name cannot be that of one; false when the user turned away.
[[nodiscard]] bool AskFile(const std::string& title, std::string& path);

// Closes the data set in an orderly way; an analysis that is not stored yet is asked about. False when the
// user kept it open.
bool Close();
bool Update();
bool Merge();
bool SaveAnalysis();

[[nodiscard]] bool IsOpen();
[[nodiscard]] bool CanModify();
[[nodiscard]] bool HasUnsavedAnalysis();
[[nodiscard]] std::string BaseName();  // "cell-07.dat"
[[nodiscard]] const char* ModeWords(); // "read-only", "analysis only", "open for changes"

// Called after each opening and closing.
void OnChange(void (*proc)());

}
