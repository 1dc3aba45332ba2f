// Text entry: the platform's text box over the item that has the cursor.
//
// One entry at a time is under way. It is stored when the user leaves it in any way but Escape: Return, Tab,
// a click elsewhere, another window, a macro, the end of the program. What is refused stays in the box, with
// the cursor in it, unless the user left for another place: then the old value stands again.
// An entry in which nothing was changed leaves the value as it is, also where the box cannot hold all of it.
// Items with Lines keep a box of their own for as long as their dialog is open.
#pragma once
#include "ui/dialog.h"

namespace Editing {

// Puts the cursor into a text item, its text selected, or replaced by the character that is typed already.
void Begin(Dialogs::DialogRecord& dialog, int number, std::string_view typed = {});
[[nodiscard]] bool IsUnderWay();
[[nodiscard]] bool IsUnderWay(const Dialogs::DialogRecord& dialog, int number);
[[nodiscard]] bool IsUnderWayIn(const Dialogs::DialogRecord& dialog);

// Stores the entry and ends it, and runs the item's procedure if the value has changed. False when it was
// refused: the entry goes on.
bool Commit();
// Ends it without storing.
void Cancel();
// Stores the entry of the dialog if there is one, or drops it where it is refused.
void Leave(Dialogs::DialogRecord& dialog);
void LeaveAny();

// Marks a place in the entry, counted in characters from 0: an error in an equation.
void Mark(int position);

// The boxes of items with Lines.
void OpenBox(Dialogs::DialogRecord& dialog, int number);
void CloseBoxes(Dialogs::DialogRecord& dialog);
void ShowBox(Dialogs::DialogRecord& dialog, int number, bool shown);
// The user has typed in a box: takes its text into the item's value.
void TakeBoxText(Dialogs::DialogRecord& dialog, Platform::TextBoxId box);

}
