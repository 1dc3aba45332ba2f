// Changes of the methods and functions of an online analysis. All return false after an alert, or after a No
// to their question, and then nothing has changed.
//
// Records move in memory: a reference to a method or function holds until the next change.
#pragma once
#include "online/online_file.h"

#include <string_view>

namespace OnlineEdit {

// False, with an alert, while the analysis must not be changed. A field that is edited by hand asks this too.
[[nodiscard]] bool MayModify(const OnlineAnalysis& analysis);

// Adds a method "OA-n" at the end and makes it the one in use. Where the method in use has functions, a Yes
// to "Copy settings from previous method ?" copies them and the graphs.
[[nodiscard]] bool AppendMethod(OnlineAnalysis& analysis);
// Adds a copy at the end, under the next free name.
[[nodiscard]] bool CopyMethod(OnlineAnalysis& analysis, int index);
[[nodiscard]] bool RenameMethod(OnlineAnalysis& analysis, int index, std::string_view name);
[[nodiscard]] bool MoveMethod(OnlineAnalysis& analysis, int from, int to);
// Asks first. The last method is followed by a new default one.
[[nodiscard]] bool DeleteMethod(OnlineAnalysis& analysis, int index);

// Below, the functions of one method. What names functions by their position follows them: operands,
// equations, and the curves of graphs (see function_refs.h).

// Position from 1; one more than there are functions appends. The new function takes the whole segment of the
// first trace.
[[nodiscard]] bool InsertFunction(OnlineAnalysis& analysis, OnlineMethod* method, int position);
// Adds a copy at the end.
[[nodiscard]] bool CopyFunction(OnlineAnalysis& analysis, OnlineMethod* method, int index);
// Refuses to move a function before one that it computes with, or behind one that computes with it.
[[nodiscard]] bool MoveFunction(OnlineAnalysis& analysis, OnlineMethod* method, int from, int to);
// Refuses the first function, and one that another one computes with.
[[nodiscard]] bool DeleteFunction(OnlineAnalysis& analysis, OnlineMethod* method, int index);

}
