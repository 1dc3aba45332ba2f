#include "ui/key_file.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/places.h"
#include "base/text.h"
#include "setup/settings.h"
#include "ui/dialog.h"
#include "ui/item_value.h"
#include "ui/macro_file.h"
#include "ui/macro_line.h"
#include "ui/macros.h"
#include "ui/menus.h"

#include <algorithm>
#include <string_view>

namespace KeyFile {

namespace {

constexpr const char* FileName = "/Qorvanite.key";
constexpr std::int64_t BytesMax = 4'000'000;
constexpr int LastEntry = 31, FirstNumber = 100, LastNumber = 199;
constexpr std::string_view StandardKeys = "ZXCV"; // of the edit menu

bool IsStandard(std::string_view menu, char key) {
    return menu == "Edit" && StandardKeys.find(key) != std::string_view::npos;
}

void AddMenuLines(int menu, std::vector<std::string>& lines) {
    const std::string title = Menus::Title(menu);
    if (title == "Edit") lines.emplace_back(";     the standard keys should not be changed:");
    for (int entry = 1; entry <= std::min(Menus::Entries(menu), LastEntry); ++entry) {
        const char key = Menus::Shortcut(menu, entry);
        if (key == 0) continue;
        std::string line = MacroLine::MenuKeyLine(menu, entry);
        if (IsStandard(title, key)) line[0] = ';';
        lines.push_back(std::move(line));
    }
}

void AddDialogLines(const Dialogs::DialogRecord& dialog, std::vector<std::string>& lines) {
    lines.emplace_back();
    lines.push_back("; " + dialog.DialogIDName + " -> " + dialog.DialogName);
    lines.emplace_back();
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!Dialogs::HasItem(dialog, number)) continue;
        const Dialogs::DialogItem& item = Dialogs::Item(dialog, number);
        if (item.Key.IsSet()) lines.push_back(MacroLine::KeyLine(dialog, number, false));
        const bool two = Dialogs::IsList(item) || Dialogs::IsToggle(item);
        if (two && item.Key2.IsSet()) lines.push_back(MacroLine::KeyLine(dialog, number, true));
    }
}

bool TakeLine(std::string_view line) {
    MacroLine::MacroRecord record;
    if (MacroLine::IsComment(line)) return true;
    if (MacroLine::Read(line, false, record) != MacroLine::Failure::None || !record.IsKeyLine) return false;
    return Macros::Execute(record, false) == MacroLine::Failure::None;
}

// The name of the first copy that is not there yet; empty when all are.
std::string CopyName(const std::string& file) {
    const char last = file.back();
    const std::string front = file.substr(0, file.size() - Files::ExtensionOf(file).size()) + ".";
    for (int number = FirstNumber; number <= LastNumber; ++number) {
        const std::string name = front + std::to_string(number) + last;
        if (!Files::Exists(name)) return name;
    }
    return {};
}

// A copy under the new name, not a rename: there is a key file at every instant.
bool KeepOld(const std::string& file) {
    if (!Files::Exists(file)) return true;
    const std::string copy = CopyName(file);
    if (copy.empty()) {
        Messages::Alert("Keys not saved. Could not rename old key file.");
        return false;
    }
    const int error = Files::CopyFile(file, copy);
    if (error == 0) return true;
    Messages::Alert("renaming Keys file:  " + Files::ErrorText(error));
    return false;
}

}

std::string Path() {
    const std::string folder = Places::ConfigFolder();
    return folder.empty() ? std::string() : folder + FileName;
}

bool Load(const std::string& file) {
    MacroFile::Source source;
    if (file.empty() || !MacroFile::Open(source, file, MacroFile::KeyVersion, MacroFile::Report::Silent))
        return false;
    int passedOver = 0;
    std::string line;
    for (MacroFile::Next next{}; source.Position <= BytesMax;) {
        next = MacroFile::NextLine(source, line);
        if (next == MacroFile::Next::Failed) return false;
        if (next == MacroFile::Next::End) break;
        if (next == MacroFile::Next::More) continue;
        if (next == MacroFile::Next::TooLong || !TakeLine(line)) ++passedOver;
    }
    MacroFile::Close(source);
    if (passedOver > 0)
        Messages::Log("Key file \"" + file + "\": " + std::to_string(passedOver) + " lines passed over");
    return true;
}

bool Save(const std::string& file) {
    const std::string end = Setup::EndOfLine();
    std::string text = MacroFile::HeadLine(MacroFile::KeyVersion) + end + end + end;
    for (const std::string& line : Lines()) text += line + end;
    int error = file.empty() ? ENOENT : 0;
    if (error == 0 && file == Path()) error = Places::EnsureFolder(Places::ConfigFolder());
    if (error == 0 && !KeepOld(file)) return false;
    if (error == 0) error = Files::WriteWhole(file, text);
    if (error == 0) return true;
    Messages::Alert("Error saving key file:  " + Files::ErrorText(error));
    return false;
}

std::vector<std::string> Lines() {
    std::vector<std::string> lines = {"; @ -> Menu Keys"};
    for (int menu = 2; menu <= Menus::Count(); ++menu) AddMenuLines(menu, lines);
    std::vector<const Dialogs::DialogRecord*> dialogs;
    for (const Dialogs::DialogRecord* each = Dialogs::FirstDialog(); each != nullptr; each = each->NextDialog)
        if (!each->DialogIDName.empty()) dialogs.insert(dialogs.begin(), each);
    for (const Dialogs::DialogRecord* const each : dialogs) AddDialogLines(*each, lines);
    return lines;
}

}
