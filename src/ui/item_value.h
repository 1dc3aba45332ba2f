// Values of items: from and to the variable they stand for, and from and to the text that a user sees.
//
// Shown is the stored value divided by ValueScale; what is typed is multiplied by it. So what is shown, typed
// again, gives the stored value back, as far as the digits that are shown go.
#pragma once
#include "ui/dialog.h"

#include <string>
#include <string_view>

namespace Dialogs {

// The value as a number, whatever its kind; 0 for a text.
[[nodiscard]] double NumberOf(const DialogItem& item);
// Rounded and cut to the range of its kind. Bounds are not looked at.
void SetNumber(DialogItem& item, double value);
[[nodiscard]] bool BoolOf(const DialogItem& item); // a number other than 0
void SetBool(DialogItem& item, bool value);
[[nodiscard]] std::string TextOf(const DialogItem& item); // of ValueKind::String, else empty
void SetText(DialogItem& item, std::string_view text);    // cut to TextLength

// A value to be put back, uncut and unrounded: of an activation that was refused, a dialog that was
// cancelled.
struct HeldValue {
    double Number = 0;
    std::string Text{};
    bool operator==(const HeldValue& other) const { // NAN is no change of NAN
        const bool neither = Number != Number && other.Number != other.Number;
        return (Number == other.Number || neither) && Text == other.Text;
    }
};
[[nodiscard]] HeldValue Hold(const DialogItem& item);
void PutBack(DialogItem& item, const HeldValue& held);
// The same for a value without an item: as a variable of the kind would keep it.
[[nodiscard]] double Kept(ValueKind kind, double value);

[[nodiscard]] bool IsNumberItem(const DialogItem& item); // its value is shown and typed as a number
[[nodiscard]] bool IsTextItem(const DialogItem& item);   // takes the text cursor, numbers included
[[nodiscard]] bool IsToggle(const DialogItem& item);     // two states
[[nodiscard]] bool IsList(const DialogItem& item);

// A number in the item's format, without blanks around it and without the unit.
[[nodiscard]] std::string NumberAsText(const DialogItem& item, double stored);
// The same parted for a column of numbers: digits, and prefix with unit.
struct NumberParts {
    std::string Digits, Unit;
};
[[nodiscard]] NumberParts ShownNumber(const DialogItem& item);

// Parses a typed number: whole for Integer and Hexadecimal, else with a prefix. False with the number
// unchanged when the text is none, or when a strict entry is out of bounds (after an alert). A value out of
// bounds that is not strict becomes the nearest bound.
[[nodiscard]] bool CheckNumberEntry(std::string_view text, double low, double high, double scale,
                                    NumberText::Format format, bool strict, double& stored);

// "Number must be >= 0 and <= 10!": the refusal of a strict entry. Bounds are of the stored value.
[[nodiscard]] std::string BoundsText(double low, double high, double scale, NumberText::Format format);
// A typed number without the unit that may stand behind it.
[[nodiscard]] std::string_view WithoutUnit(std::string_view typed, std::string_view unit);

// Stores what was typed into a text or number item; a number may have the item's unit behind it. False when
// it was refused: the value is as it was.
[[nodiscard]] bool EnterText(DialogItem& item, std::string_view typed);

// Bits of a set as digits: "0", "15" for bits 1 and 5, "A" to "F" for bits 10 to 15.
[[nodiscard]] std::string SetDigits(std::uint16_t set);
[[nodiscard]] bool ReadSetDigits(std::string_view text, std::uint16_t& set);

// The entry of a list, -1 when the value is none of its entries.
[[nodiscard]] int ListIndex(const DialogItem& item);
[[nodiscard]] std::string ListText(const DialogItem& item, int index); // without the mark of a disabled one
[[nodiscard]] bool EntryEnabled(const DialogItem& item, int index);
// Goes so many enabled entries forward or back; stops at the ends. False when it stayed where it was.
bool StepList(DialogItem& item, int steps);
// A toggle to its second word (steps above 0), its first one (below), or to the other one (0). False
// likewise, or when the word is disabled.
bool StepToggle(DialogItem& item, int steps);

}
