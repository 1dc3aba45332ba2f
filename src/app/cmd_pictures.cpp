// pictures: every window of the desktop as a picture, in both themes, for manuals and for looking over a
// change.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/desktop.h"
#include "app/tools.h"
#include "base/messages.h"
#include "ui/dialog.h"
#include "ui/menus.h"
#include "ui/theme.h"
#include "windows/data_files.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <utility>

namespace Commands {

namespace {

constexpr Platform::Area FramePlace{0, 0, 1440, 900};

struct Arguments {
    std::string File, Folder;
};

struct PictureState {
    std::string Folder, Theme;
    std::set<std::string> Written;
    bool Failed = false;
};
PictureState State;

// "Qorvanite Configuration" is "qorvanite-configuration".
std::string FileNameOf(const std::string& title) {
    std::string name;
    for (const char c : title) {
        const auto letter = static_cast<unsigned char>(c);
        if (std::isalnum(letter) != 0) {
            name += static_cast<char>(std::tolower(letter));
        } else if (!name.empty() && name.back() != '-') {
            name += '-';
        }
    }
    return name;
}

void Save(Platform::WindowId window, const std::string& name) {
    Desktop::Settle();
    const std::string path =
        (std::filesystem::path(State.Folder) / (State.Theme + "-" + name + ".png")).string();
    std::string reason;
    if (!State.Written.insert(path).second) return;
    if (Platform::Ops().SaveWindowPicture(window, path, reason)) {
        std::printf("%s\n", path.c_str());
    } else {
        Messages::Alert("The picture \"" + path + "\" could not be written: " + reason);
        State.Failed = true;
    }
}

// Each page of a dialog has a picture of its own.
void SavePages(Dialogs::DialogRecord& dialog) {
    const std::string name = FileNameOf(dialog.DialogName);
    std::set<std::int16_t> pages;
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (Dialogs::HasItem(dialog, number) && Dialogs::Item(dialog, number).PaneSelects != 0)
            pages.insert(Dialogs::Item(dialog, number).PaneSelects);
    if (pages.size() < 2) {
        Save(dialog.WindowHandle, name);
        return;
    }
    for (const std::int16_t page : pages) {
        Dialogs::SelectPage(dialog, page);
        Save(dialog.WindowHandle, name + "-" + std::to_string(page));
    }
}

// Takes what stands outside of the frame, and closes it: this is also what runs while a dialog waits for its
// answer.
void TakeDialogs() {
    for (Dialogs::DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr;
         dialog = dialog->NextDialog) {
        if (!dialog->IsOpen || dialog->Spec.Window == Platform::WindowKind::Panel) continue;
        SavePages(*dialog);
        Dialogs::CloseDialog(*dialog);
    }
}

struct MenuRow {
    const char *Menu, *Entry;
};
constexpr MenuRow DialogEntries[] = {{"File", "Open..."}, {"Help", "Help"}, {"Windows", "Configure Item..."}};

void TakeAll(Themes::Choice theme) {
    State.Theme = theme == Themes::Choice::Dark ? "dark" : "light";
    Themes::Apply(theme);
    Dialogs::UpdateAll();
    Save(Platform::FrameWindow, "frame");
    for (const Tools::WindowRow& row : Tools::MenuOrder()) {
        row.Show();
        TakeDialogs();
    }
    for (const MenuRow& row : DialogEntries) {
        const int menu = Menus::FindMenu(row.Menu);
        (void)Menus::Select(menu, Menus::FindEntry(menu, row.Entry));
        TakeDialogs();
    }
    Save(Platform::FrameWindow, "all-windows");
}

int Pictures(const Arguments& arguments) {
    std::error_code error;
    std::filesystem::create_directories(arguments.Folder, error);
    if (error) {
        Messages::Alert("Cannot make the folder \"" + arguments.Folder + "\": " + error.message());
        return CommandLine::Failed;
    }
    // Without any display, and at the scale of the drawings.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_SCALE_FACTOR", "1", 1);
    setenv("QT_LOGGING_RULES", "*.warning=false", 0); // what that platform cannot do, and need not
    Desktop::StartOptions options;
    options.Attended = false;
    if (!Desktop::StartUp(options)) return CommandLine::Failed;
    State = {};
    State.Folder = arguments.Folder;
    Platform::Ops().PlaceWindow(Platform::FrameWindow, FramePlace);
    if (!DataFiles::Open(arguments.File, OpenMode::Read)) {
        Desktop::ShutDown();
        return CommandLine::Failed;
    }
    const auto step = std::exchange(Dialogs::EventStep, TakeDialogs);
    for (const Themes::Choice theme : {Themes::Choice::Light, Themes::Choice::Dark}) TakeAll(theme);
    Dialogs::EventStep = step;
    Desktop::ShutDown();
    return State.Failed ? CommandLine::Failed : CommandLine::Done;
}

}

Procedure DeclarePictures(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file (.dat) that the windows show").Needed();
    words.Add("DIR", arguments->Folder, "Folder of the pictures").Needed();
    return [arguments] { return Pictures(*arguments); };
}

}
