// Macro lines: everything that a user does with a dialog item or a menu entry, as one line of text.
//
//     ID-name           item                     value        ; comment
//     @ menu            entry                                  chooses the entry
//     ID-name           item                     KEY key       gives the item a shortcut; KEY2 the second one
//     @ menu            entry                    KEY key       gives the entry a shortcut
//     ID-name KEY key                                          a key for the dialog as a whole
//     RELATIVE                                                 the value of the next line is a change
//
// Blanks part the words; a name with blanks stands in double or single quotes. An item is named by its name,
// without regard to case, or by its number; a word in quotes is never a number. What an item has no name for,
// it is named for by its number. A line that begins with ";" is a comment.
//
// Values, by the kind of the item's variable:
//     real      a number with a prefix; the item's unit may follow. As it is shown: stored divided by
//     ValueScale integer   decimal, or hexadecimal where NumberFormat says so; as it is stored set       bit
//     digits as SetDigits writes them, or hexadecimal boolean   1 to 9, or a word that begins with T: TRUE;
//     else FALSE. A button needs no value list      the entry's index from 0, with a second number in
//     parentheses where the list has one text      in double or single quotes; without them the rest of the
//     line, comment and all
//
// With RELATIVE ahead: numbers are added, a boolean is toggled, a list goes so many enabled entries on, and a
// set gets the bit n, or loses it where there is a minus sign ahead.
//
// Written values read back to the same value. Numbers take 11 columns in the item's format, more digits where
// those would lose something, and "=" where no number times ValueScale gives the last bit. Control characters
// of a text, line ends among them, are written as blanks. A text that holds both kinds of quotes, and one of
// them ahead of ";", does not read back.
#pragma once
#include "ui/dialog.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace MacroLine {

inline constexpr std::size_t LongestLine = 1023;
inline constexpr std::int16_t WholeDialog = -1, MenuTarget = -2; // of TargetItem

enum class Failure : std::uint8_t {
    None,
    LineTooLong,
    DialogUnknown,
    DialogClosed,
    ItemUnknown,
    MenuUnknown,
    EntryUnknown,
    EntryDisabled,
    KeyUnknown,
    NoSecondKey,
    ValueUnknown,
    EntryOfListUnknown,
    OutOfBounds,
    ItemLocked,
    Refused, // by the hook ahead of an activation
    Tracking,
};
// " ## target dialog not known ## "; empty for None.
[[nodiscard]] const char* Words(Failure failure);

// What the front of a line names. TargetItem 0 is the dialog's item 0.
struct Address {
    Dialogs::DialogRecord* Dialog = nullptr; // none: a menu
    std::int16_t TargetItem = 0;             // item, WholeDialog or MenuTarget
    int Menu = 0, Entry = 0;
};

// Takes the address off the line. The dialog may be closed: whoever sets a value asks for that.
[[nodiscard]] Failure ReadAddress(std::string_view& line, Address& address);

struct MacroRecord {
    std::string TargetDialog{};  // ID-name in upper case, or "@" for a menu
    double NumberValue = 0;      // for all kinds but texts, as it is stored
    std::string TextValue{};     // text, or title of the menu
    std::int32_t Second = 0;     // of a list, where HasSecond
    std::int16_t TargetItem = 0; // item, WholeDialog or MenuTarget
    std::int16_t MenuEntry = 0;
    Dialogs::Shortcut Key{};
    bool IsKeyLine = false; // gives a key instead of acting
    bool IsKey2 = false;    // the second key
    bool HasValue = false;  // false: a line that ends behind its item
    bool HasSecond = false;
    bool Relative = false;
    bool ClearsBit = false; // of a relative set: NumberValue is the bit
};

// Reads a line that is no comment. The record is only changed when it succeeds.
[[nodiscard]] Failure Read(std::string_view text, bool relative, MacroRecord& record);
[[nodiscard]] bool IsComment(std::string_view text);  // or empty
[[nodiscard]] bool IsRelative(std::string_view text); // the line RELATIVE

[[nodiscard]] std::string WithoutControls(std::string_view text); // blanks for control characters

// Lines as they are recorded, without a line end.
[[nodiscard]] std::string ValueLine(const Dialogs::DialogRecord& dialog, int number);
[[nodiscard]] std::string LineOf(const Dialogs::DialogRecord& dialog, int number, std::string_view value);
[[nodiscard]] std::string KeyLine(const Dialogs::DialogRecord& dialog, int number, bool second);
[[nodiscard]] std::string DialogKeyLine(const Dialogs::DialogRecord& dialog, const Dialogs::Shortcut& key);
[[nodiscard]] std::string MenuLine(int menu, int entry);
[[nodiscard]] std::string MenuKeyLine(int menu, int entry);
// The value of an item as a line holds it.
[[nodiscard]] std::string ValueWord(const Dialogs::DialogItem& item);
// The name by which a line finds the item, in quotes where it needs them, or its number.
[[nodiscard]] std::string ItemWord(const Dialogs::DialogRecord& dialog, int number);
[[nodiscard]] std::string Padded(std::string text, std::size_t columns); // at least one blank behind

inline constexpr std::size_t ItemColumn = 19, ValueColumn = 44;

}
