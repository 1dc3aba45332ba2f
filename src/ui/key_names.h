// Names of keys: long ones, as they stand in macro and key files, and short ones for dialogs.
//
// A long name is a word for the key and words for its modifiers behind it: "CursorLeft shift control",
// `Char  "a" any`. A printable character is the word Char with the character in double quotes, a control
// character "^ A"; a key without a name of its own is Code with its number. Case does not matter, but in the
// character itself; a word of one character is that character.
// Whether a shortcut works in the front window only is no part of its name.
#pragma once
#include "ui/dialog.h"

#include <string>
#include <string_view>

namespace KeyNames {

// second: of a toggle or list, for its other direction; the word " back" behind the modifiers.
[[nodiscard]] std::string Long(const Dialogs::Shortcut& key, bool second = false);
// Up to the end or a ";". second is set where the word "back" is found, and left as it is elsewhere. False,
// with nothing changed, when the text is no key.
[[nodiscard]] bool ReadLong(std::string_view text, Dialogs::Shortcut& key, bool& second);

// "sh-ctr-left"; empty for no key.
[[nodiscard]] std::string Short(const Dialogs::Shortcut& key);

}
