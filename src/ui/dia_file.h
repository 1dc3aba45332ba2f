// Layouts of dialogs as files, ".dia": where the user has moved items to, how they look, and their keys.
//
// A header of 512 bytes and a record of 312 bytes for item 0, which is the window, and for each other item.
// A record belongs to the item of the same name, so that a layout outlives a new version of its dialog: items
// it does not know stay as coded, and its items that are gone are passed over. Numbers that make no sense
// leave what is coded; a file that cannot be read to its end changes nothing.
#pragma once
#include "ui/dialog.h"

#include <string>

namespace DiaFile {

inline constexpr std::int32_t HeaderBytes = 512, RecordBytes = 312;

enum class Report : std::uint8_t {
    Silent, // of a file that is not there
    Loud,
};

// "Trace_Fit.dia" in Setup.Settings.Files.DiaFilesPath or, where that is empty, in the folder of the
// settings.
[[nodiscard]] std::string PathOf(const Dialogs::DialogRecord& dialog);

// file: empty for the dialog's own. False after the reason has been said.
[[nodiscard]] bool Store(Dialogs::DialogRecord& dialog, const std::string& file = {});
// The layouts of all dialogs in which the user has arranged something, at the end of the program. False after
// the reason of each that could not be stored.
bool StoreArranged();
// Only before the dialog's window is opened, or when it is about to be drawn anew. A file of another
// byte order or version is loaded if the user says so.
[[nodiscard]] bool Load(Dialogs::DialogRecord& dialog, const std::string& file, Report report);

// What Store writes, and how an open dialog that closes keeps its layout for the next time. An image is of
// this machine and of the same dialog; it is taken without a question.
[[nodiscard]] std::string Image(Dialogs::DialogRecord& dialog);
void TakeImage(Dialogs::DialogRecord& dialog, std::string image);

}
