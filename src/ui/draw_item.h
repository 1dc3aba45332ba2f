// How each kind of item looks.
#pragma once
#include "ui/dialog.h"

namespace Dialogs {

// The item with its value, in coordinates of the window.
void DrawItem(const DialogRecord& dialog, int number, Platform::Drawing& drawing);
// The ground of the window, and the cards of items with that role.
void DrawBackground(const DialogRecord& dialog, Platform::Size size, Platform::Drawing& drawing);

// Where the item's text or number stands: place of a text box, and what a drag moves.
[[nodiscard]] Platform::Area TextPlace(const DialogRecord& dialog, int number);
[[nodiscard]] Platform::Font ItemFont(const DialogRecord& dialog, const DialogItem& item);

// The item's shortcut, in its upper right corner.
void DrawKey(const DialogItem& item, Platform::Drawing& drawing);

// The boxes of a multicheck item, by bit.
inline constexpr int CheckBoxStep = 26;
[[nodiscard]] int CheckBoxes(const DialogItem& item); // how many there is room for

}
