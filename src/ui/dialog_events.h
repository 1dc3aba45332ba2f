// What keys and mouse do in a dialog.
//
// Keys. A key goes to the item whose shortcut it is, the front dialog's items first, from LastKeyItem down;
// then to items of other open dialogs whose shortcut works there. A button runs, a switch changes, a toggle
// or list goes one entry forward (back on its second key), an entry takes the cursor. What is no shortcut
// moves the focus: Tab from one entry to the next, the cursor keys to any item, and Return or the space bar
// presses it. Return without focus presses the dialog's primary button; Escape leaves an entry, then closes a
// dialog that has a close box.
//
// Mouse. A click activates the first item under the pointer. In a dialog that is not modal, a click with the
// control key opens the item's configuration; with the option key it moves the item, or sizes it at its lower
// right corner; with both, everything inside the item moves along. What was moved last can be put back.
#pragma once
#include "ui/dialog.h"

namespace Dialogs {

// True when the event belonged to a dialog and was dealt with.
bool HandleEvent(const Events::Event& event);
// The same for one dialog.
bool HandleEvent(DialogRecord& dialog, const Events::Event& event);

// As if the user pressed the item: a switch changes, a list steps forward, an entry takes the cursor.
// steps: -1 for the second key.
void PressItem(DialogRecord& dialog, int number, Activation how, int steps = 1);

// Sets a radio button and clears the others of its group: the radio buttons next to it by number.
void ChooseRadio(DialogRecord& dialog, int number);

// The first item under a point of the window that takes the mouse, from the back when fromTop; 0 for none.
[[nodiscard]] int ItemAt(const DialogRecord& dialog, Platform::Point at, bool fromTop = false);

// Opens the configuration of an item, or with item 0 of the dialog; the configuration dialog installs it.
extern void (*ConfigureItem)(DialogRecord& dialog, int number);

// Puts what was moved or sized last back to where it was, or forward again. False when there is nothing.
bool UndoMove();
[[nodiscard]] bool CanUndoMove();

// Tip and pointer for a point; installed as the platform's hooks.
[[nodiscard]] std::string TipAt(Platform::WindowId window, Platform::Point at, Platform::Area& place);
[[nodiscard]] Platform::Cursor CursorAt(Platform::WindowId window, Platform::Point at);
extern bool ShowTooltips;

// Moves the items of a scroll frame so that so many pixels of them are above it, as far as there are items.
void ScrollTo(DialogRecord& dialog, int frame, int offset);
[[nodiscard]] int ScrollOffset(const DialogRecord& dialog, int frame);

}
