// What happens while a mouse button is down in a dialog.
//
// The loops here ask the event layer themselves; Tracking keeps all other input out meanwhile. A window that
// closes in the middle ends them.
#pragma once
#include "ui/dialog.h"

namespace Dialogs {

// A click on an item that takes the mouse. A button acts when the mouse comes up inside of it.
//
// A drag item changes as the mouse moves, up and right for more: a pass every DragInterval ms adds StepSmall
// times DragFactor for each pixel, rounded to whole steps, and tenfold with the shift key; a second direction
// (drag2) counts DragDivisor pixels for one. A click without a move takes the cursor instead.
void TrackItem(DialogRecord& dialog, int number, const Events::Event& event, Platform::Point at);

// Moves or sizes an item with the mouse, with all that lies inside of it where all is set.
void MoveItems(DialogRecord& dialog, int number, Platform::Point at, bool all);

// Shows the entries of a list, and takes the one that the user chooses.
void ChooseEntry(DialogRecord& dialog, int number, const Activation& how);
// Changes these bits of a multicheck item.
void FlipBits(DialogRecord& dialog, int number, unsigned bits, const Activation& how);

// A dialog goes: nothing of it can be put back any more.
void Forget(const DialogRecord& dialog);

// Shows the item pressed for a moment.
void Flash(DialogRecord& dialog, int number);

}
