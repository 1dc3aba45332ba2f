// A desktop in memory with a dialog made of a table of rows, and a hand that works on it.
#pragma once
#include "base/messages.h"
#include "platform/headless/headless.h"
#include "support/environment.h"
#include "support/temp_folder.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/item_value.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Support {

// Rows of the dialogs below, in the order of their making.
inline std::vector<Dialogs::Row> RowsOf[3];

// Calls of item procedures, in their order: "name:source".
inline std::vector<std::string> Calls;
inline void Called(Dialogs::DialogRecord& dialog, int number) {
    Calls.push_back(Dialogs::Item(dialog, number).ItemName + ":" +
                    std::to_string(static_cast<int>(Dialogs::Current.Source)));
}

using Names = std::vector<std::string>;

// Variables of a test are gone before its dialogs: it ends the entries that it has begun.
class Desk : public testing::Test {
protected:
    Desk() {
        Headless::Reset();
        Platform::Use(Headless::Operations());
        EXPECT_TRUE(Events::Initialise());
        Dialogs::UserLevel = 255;
        Dialogs::ItemHooks = {};
        Variables.Set("XDG_CONFIG_HOME", Folder.Path); // layouts
        Calls.clear();
    }
    ~Desk() override {
        Dialogs::DisposeAll();
        Dialogs::ItemHooks = {};
        Dialogs::EventStep = nullptr;
        Platform::Hooks = {};
        Headless::Reset();
    }

    // A dialog "Tool 0" of ID-name T0 with these rows; the second and third likewise. What a row leaves out:
    // items are numbered and stand below each other, 24 pixels each, and tell when they are called.
    Dialogs::DialogRecord& Set(std::vector<Dialogs::Row> rows, Dialogs::DialogSpec spec = {}) {
        static constexpr void (*Defines[])(Dialogs::DialogRecord&) = {
            [](Dialogs::DialogRecord& dialog) { Dialogs::DefineRows(dialog, RowsOf[0]); },
            [](Dialogs::DialogRecord& dialog) { Dialogs::DefineRows(dialog, RowsOf[1]); },
            [](Dialogs::DialogRecord& dialog) { Dialogs::DefineRows(dialog, RowsOf[2]); }};
        static constexpr void (*Configures[])(Dialogs::DialogRecord&) = {
            [](Dialogs::DialogRecord& dialog) { Dialogs::ConfigureRows(dialog, RowsOf[0]); },
            [](Dialogs::DialogRecord& dialog) { Dialogs::ConfigureRows(dialog, RowsOf[1]); },
            [](Dialogs::DialogRecord& dialog) { Dialogs::ConfigureRows(dialog, RowsOf[2]); }};
        const auto which = static_cast<std::size_t>(Made++);
        double top = 0;
        int next = 1;
        for (Dialogs::Row& row : rows) {
            if (row.Number == 0) row.Number = next;
            if (row.At == Platform::Area{}) row.At = {0, top, 80, 20};
            if (row.Proc == nullptr && row.Kind != Dialogs::ItemKind::Text) row.Proc = Called;
            top += 24;
            ++next;
        }
        RowsOf[which] = std::move(rows);
        const std::string number = std::to_string(which);
        if (spec.Title.empty()) spec.Title = "Tool " + number;
        if (spec.IDName.empty()) spec.IDName = "T" + number;
        for (const Dialogs::Row& row : RowsOf[which]) spec.Count = std::max(spec.Count, row.Number);
        if (spec.Place == Platform::Area{}) spec.Place = {100, 50, 400, 300};
        spec.Define = Defines[which];
        spec.Configure = Configures[which];
        EXPECT_TRUE(Dialogs::SetupDialogBuffer(Records[which], spec));
        return Records[which];
    }
    Dialogs::DialogRecord& Open(std::vector<Dialogs::Row> rows, Dialogs::DialogSpec spec = {}) {
        Dialogs::DialogRecord& dialog = Set(std::move(rows), std::move(spec));
        EXPECT_TRUE(Dialogs::OpenDialog(dialog));
        return dialog;
    }

    // As if nothing had been made.
    void Clear() {
        while (Made > 0) Dialogs::DisposeDialog(Records[--Made]);
    }

    // Hands all that waits to the dialogs, as the event loop does.
    static void Run() {
        Events::Event event;
        while (Events::GetNextEvent(event)) Dialogs::HandleEvent(event);
    }
    static Platform::Point Middle(const Dialogs::DialogRecord& dialog, int number) {
        const Platform::Area place = Dialogs::Item(dialog, number).ItemRect.Area();
        return {place.Left + place.Width / 2, place.Top + place.Height / 2};
    }
    static void Click(const Dialogs::DialogRecord& dialog, Platform::Point at, std::uint32_t modifiers = 0) {
        Headless::Click(dialog.WindowHandle, at, modifiers);
        Run();
    }
    static void Click(const Dialogs::DialogRecord& dialog, int number, std::uint32_t modifiers = 0) {
        Click(dialog, Middle(dialog, number), modifiers);
    }
    // Takes an entry of a list or menu, from 1.
    static void Choose(const Dialogs::DialogRecord& dialog, int number, int entry) {
        Headless::Desktop().Answers = {entry};
        Click(dialog, number);
    }
    static void Notify(const Dialogs::DialogRecord& dialog, std::uint32_t detail, std::uint32_t first = 0) {
        Headless::Notify(dialog.WindowHandle, detail, first);
        Run();
    }
    static void Resize(const Dialogs::DialogRecord& dialog, Platform::Size content) {
        Headless::Resize(dialog.WindowHandle, content);
        Run();
    }
    // Presses at one place, lets go so many pixels away.
    static void Pull(const Dialogs::DialogRecord& dialog, Platform::Point from, double right, double down,
                     std::uint32_t modifiers = 0) {
        const Platform::Point to{from.X + right, from.Y + down};
        Headless::Drag(dialog.WindowHandle, {from, to, to}, modifiers);
        Run();
    }
    template <class Code>
    static void Key(const Dialogs::DialogRecord& dialog, Code code, std::uint32_t modifiers = 0) {
        Headless::Key(dialog.WindowHandle, code, modifiers);
        Run();
    }
    // Types into an entry and ends it with Return.
    static void Enter(const Dialogs::DialogRecord& dialog, int number, std::string_view text) {
        Click(dialog, number);
        Headless::Type(text);
        Key(dialog, Platform::KeyCode::Return);
    }
    static std::string Shown(const Dialogs::DialogRecord& dialog) {
        return Headless::ShownTexts(dialog.WindowHandle);
    }

    Messages::Recorder Said;
    TempFolder Folder{Memory()};
    Environment Variables{{"XDG_CONFIG_HOME"}};
    Dialogs::DialogRecord Records[3];
    int Made = 0;
};

}
