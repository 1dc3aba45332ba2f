// A dialog with items of all kinds, and menus, on the desktop in memory.
#pragma once
#include "platform/headless/headless.h"
#include "setup/settings.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/events.h"
#include "ui/item_value.h"
#include "ui/macros.h"
#include "ui/menus.h"

#include <array>
#include <cstdint>
#include <string>

namespace Support {

// The numbers of the items.
inline constexpr int Go = 1, On = 2, Low = 3, Middle = 4, Top = 5, Ticked = 6, Bits = 7, HexBits = 8,
                     Name = 9, Tau = 10, Amplitude = 11, Count = 12, Mask = 13, Gain = 14, Toggle = 15,
                     Level = 16, Place = 17, Remarks = 18, Mode = 19, Pair = 20, Graph = 21, FirstPage = 22,
                     SecondPage = 23, Digits = 24, Behind = 25, Code = 26, Secret = 27, LastItem = Secret;

// What the items stand for. One desk at a time: the rows point here.
struct DeskValues {
    bool On = false, Low = true, Middle = false, Top = false, Check = false, Toggle = false;
    std::uint16_t Bits = 0, HexBits = 0;
    std::string Name, Remarks, Secret;
    double Tau = 1e-3, Amplitude = 0.02;
    float Gain = 1;
    std::int32_t Count = 5, Pair = 0, PairSecond = 0;
    std::int16_t Mask = 0;
    std::uint8_t Level = 0, Mode = 0, Code = 0;
    int Runs = 0, LastRun = 0, KeysTaken = 0, MenuRuns = 0, IndexRun = -1;
    std::uint32_t LastKey = 0;
    Dialogs::Source LastSource = Dialogs::Source::None;
    std::string Started; // a macro that Go starts
    bool MenuEnabled = true;
};
inline DeskValues Now;

inline void Ran(Dialogs::DialogRecord&, int number) {
    ++Now.Runs;
    Now.LastRun = number;
    Now.LastSource = Dialogs::Current.Source;
    if (number == Go && !Now.Started.empty()) (void)Macros::StartMacro(Now.Started);
}

inline Dialogs::Row DeskRow(int number, Dialogs::ItemKind kind, const char* name,
                            Dialogs::ValueRef value = {}, Dialogs::NumberForm form = {}) {
    return {.Number = number,
            .Kind = kind,
            .Name = name,
            .At = {10.0 + 120 * (number % 3), 10.0 + 30 * (number / 3), 110, 20},
            .Value = value,
            .Form = form,
            .Proc = Ran};
}

inline std::span<const Dialogs::Row> DeskRows() {
    using enum Dialogs::ItemKind;
    using NumberText::Format;
    static const char* const modes[] = {"Fit", "(Hold", "Off", "Off; for good"};
    static const auto rows = [] {
        std::array<Dialogs::Row, LastItem> made = {
            DeskRow(Go, Button, "Go"),
            DeskRow(On, Switch, "On", &Now.On),
            DeskRow(Low, RadioButton, "Low", &Now.Low),
            DeskRow(Middle, RadioButton, "Middle", &Now.Middle),
            DeskRow(Top, RadioButton, "Top", &Now.Top),
            DeskRow(Ticked, CheckBox, "Check Box", &Now.Check),
            DeskRow(Bits, MultiCheck, "Bits", &Now.Bits),
            DeskRow(HexBits, MultiCheck, "HexBits", &Now.HexBits, {.Format = Format::Hexadecimal}),
            DeskRow(Name, FramedText, "Name", &Now.Name),
            DeskRow(Tau, FramedNumber, "Tau", &Now.Tau,
                    {.Unit = "s", .Format = Format::Engineering, .Columns = 9}),
            DeskRow(Amplitude, FramedNumber, "Amplitude", &Now.Amplitude,
                    {.Unit = " mV", .Digits = 2, .Low = -0.1, .High = 0.1, .Scale = 1e-3, .Strict = true}),
            DeskRow(Count, FramedNumber, "Count", &Now.Count,
                    {.Format = Format::Integer, .Low = 0, .High = 100}),
            DeskRow(Mask, FramedNumber, "Mask", &Now.Mask, {.Format = Format::Hexadecimal}),
            DeskRow(Gain, Drag, "Gain", &Now.Gain, {.Low = 0, .High = 10}),
            DeskRow(Toggle, TrueFalse, "Toggle", &Now.Toggle),
            DeskRow(Level, HighLow, "Level", &Now.Level),
            DeskRow(Place, Drag2, "Place", Dialogs::ValueRef(Dialogs::ValueKind::Real64)),
            DeskRow(Remarks, EditText, "Remarks", &Now.Remarks),
            DeskRow(Mode, List, "Mode", &Now.Mode),
            DeskRow(Pair, List, "Pair", &Now.Pair),
            DeskRow(Graph, User, "Graph"),
            DeskRow(FirstPage, Pane, "First Page"),
            DeskRow(SecondPage, Pane, "Second Page"),
            DeskRow(Digits, Button, "300"),
            DeskRow(Behind, Button, "say \"it's\""),
            DeskRow(Code, FramedNumber, "Code", &Now.Code, {.Low = 0, .High = 200}),
            DeskRow(Secret, EditText, "Secret", &Now.Secret)};
        made[Remarks - 1].TextLength = 400;
        made[Remarks - 1].Lines = true;
        made[Mode - 1].Entries = made[Pair - 1].Entries = modes;
        made[FirstPage - 1].Page = 1;
        made[SecondPage - 1].Page = made[Behind - 1].Page = 2;
        made[Secret - 1].Password = true;
        return made;
    }();
    return rows;
}

inline void ConfigureDesk(Dialogs::DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, DeskRows());
    Dialogs::Item(dialog, Pair).ListSecond = &Now.PairSecond;
}
inline bool TakeDeskKey(Dialogs::DialogRecord&, const Events::Event& event) {
    ++Now.KeysTaken;
    Now.LastKey = event.Char;
    return event.Char != 'q';
}

inline void MakeMenus() {
    constexpr auto RunMenu = [] { ++Now.MenuRuns; };
    static const Menus::Row program[] = {{.Text = "Quit", .Shortcut = 'Q', .Proc = RunMenu}};
    static const Menus::Row edit[] = {
        {.Text = "Undo", .Shortcut = 'Z', .Proc = RunMenu, .Enabled = [] { return Now.MenuEnabled; }},
        {},
        {.Text = "Find \"it\"", .Shortcut = 'F', .Proc = RunMenu},
        {.Text = "Unrecorded", .Proc = RunMenu, .Macro = false}};
    static const Menus::Row formats[] = {{.Text = "CR", .Shortcut = '1', .Proc = RunMenu}};
    Menus::Clear();
    Menus::Add("Program", program);
    Menus::Add("Edit", edit);
    Menus::Add("File Format", formats, false);
    Menus::AddEntry("File Format", "By index", 7, [](int index) { Now.IndexRun = index; });
    Menus::Install();
}

class MacroDesk {
public:
    // Layout files are asked for only where the test has made a folder for them.
    explicit MacroDesk(bool loadDia = false) {
        Now = {};
        Setup::SetDefaults();
        Setup::Settings.Export.LineEndMode = 2;
        Headless::Reset();
        Dialogs::UserLevel = 255;
        Ready = Events::Initialise();
        MakeMenus();
        Ready =
            Ready &&
            Dialogs::SetupDialogBuffer(
                Dialog, {.Title = "The Desk",
                         .IDName = "Desk",
                         .Count = LastItem,
                         .Place = {0, 0, 400, 300},
                         .LoadDia = loadDia,
                         .Define = [](Dialogs::DialogRecord& made) { Dialogs::DefineRows(made, DeskRows()); },
                         .Configure = ConfigureDesk,
                         .Procs = {.KeyProc = TakeKey, .MacroKeyProc = TakeDeskKey}});
        Ready = Ready && Dialogs::OpenDialog(Dialog);
    }
    ~MacroDesk() {
        Dialogs::DisposeDialog(Dialog);
        Dialogs::ItemHooks = {};
        Dialogs::Current = {};
        Menus::Clear();
        Headless::Reset();
    }
    MacroDesk(MacroDesk&&) = delete;

    Dialogs::DialogItem& Item(int number) { return Dialogs::Item(Dialog, number); }
    static void TakeEvents() {
        Events::Event event;
        while (Events::GetNextEvent(event))
            if (!Menus::HandleEvent(event)) (void)Dialogs::HandleEvent(event);
    }
    void Click(int number) {
        const Platform::Area place = Item(number).ItemRect.Area();
        Headless::Click(Dialog.WindowHandle, {place.Left + 5, place.Top + 5});
        TakeEvents();
    }
    template <class Code>
    void Key(Code code, std::uint32_t modifiers = 0) {
        Headless::Key(Dialog.WindowHandle, static_cast<Platform::KeyCode>(code), modifiers);
        TakeEvents();
    }

    Dialogs::DialogRecord Dialog;
    bool Ready = false;

private:
    // The dialog takes its own F5.
    static bool TakeKey(Dialogs::DialogRecord& dialog, const Events::Event& event) {
        return event.KeyClass == Events::KeyClass::Special &&
               event.Char == static_cast<std::uint32_t>(Platform::KeyCode::F1) + 4 &&
               TakeDeskKey(dialog, event);
    }
};

}
