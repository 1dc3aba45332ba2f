// A dialog with items of all kinds, and menus, on the desktop in memory.
#pragma once
#include "platform/headless/headless.h"
#include "ui/dialog.h"
#include "ui/events.h"
#include "ui/item_value.h"
#include "ui/macros.h"
#include "ui/menus.h"

#include <array>
#include <cstdint>
#include <string>

namespace Support {

enum Items : int {
    Go = 1,
    On,
    Low,
    Middle,
    Top,
    Ticked,
    Bits,
    HexBits,
    Name,
    Tau,
    Amplitude,
    Count,
    Mask,
    Gain,
    Toggle,
    Level,
    Place,
    Remarks,
    Mode,
    Pair,
    Graph,
    FirstPage,
    SecondPage,
    Digits,
    Behind,
    Code,
    Secret,
    LastItem = Secret,
};

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

inline std::span<const Dialogs::Row> DeskRows() {
    using enum Dialogs::ItemKind;
    using NumberText::Format;
    static const char* const modes[] = {"Fit", "(Hold", "Off", "Off; for good"};
    static const std::array<Dialogs::Row, LastItem> rows = {{
        {.Number = Go, .Kind = Button, .Name = "Go", .Text = "Go", .At = {10, 10, 80, 20}, .Proc = Ran},
        {.Number = On, .Kind = Switch, .Name = "On", .At = {10, 40, 80, 20}, .Value = &Now.On, .Proc = Ran},
        {.Number = Low, .Kind = RadioButton, .Name = "Low", .At = {10, 70, 80, 20}, .Value = &Now.Low},
        {.Number = Middle,
         .Kind = RadioButton,
         .Name = "Middle",
         .At = {90, 70, 80, 20},
         .Value = &Now.Middle},
        {.Number = Top, .Kind = RadioButton, .Name = "Top", .At = {170, 70, 80, 20}, .Value = &Now.Top},
        {.Number = Ticked, .Kind = CheckBox, .Name = "Check Box", .Value = &Now.Check},
        {.Number = Bits, .Kind = MultiCheck, .Name = "Bits", .Value = &Now.Bits},
        {.Number = HexBits,
         .Kind = MultiCheck,
         .Name = "HexBits",
         .Value = &Now.HexBits,
         .Form = {.Format = Format::Hexadecimal}},
        {.Number = Name, .Kind = FramedText, .Name = "Name", .Value = &Now.Name, .Proc = Ran},
        {.Number = Tau,
         .Kind = FramedNumber,
         .Name = "Tau",
         .At = {10, 100, 80, 20},
         .Value = &Now.Tau,
         .Form = {.Unit = "s", .Format = Format::Engineering, .Columns = 9},
         .Proc = Ran},
        {.Number = Amplitude,
         .Kind = FramedNumber,
         .Name = "Amplitude",
         .Value = &Now.Amplitude,
         .Form = {.Unit = " mV", .Digits = 2, .Low = -0.1, .High = 0.1, .Scale = 1e-3, .Strict = true},
         .Proc = Ran},
        {.Number = Count,
         .Kind = FramedNumber,
         .Name = "Count",
         .Value = &Now.Count,
         .Form = {.Format = Format::Integer, .Low = 0, .High = 100},
         .Proc = Ran},
        {.Number = Mask,
         .Kind = FramedNumber,
         .Name = "Mask",
         .Value = &Now.Mask,
         .Form = {.Format = Format::Hexadecimal}},
        {.Number = Gain, .Kind = Drag, .Name = "Gain", .Value = &Now.Gain, .Form = {.Low = 0, .High = 10}},
        {.Number = Toggle, .Kind = TrueFalse, .Name = "Toggle", .Value = &Now.Toggle},
        {.Number = Level, .Kind = HighLow, .Name = "Level", .Value = &Now.Level},
        {.Number = Place,
         .Kind = Drag2,
         .Name = "Place",
         .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64)},
        {.Number = Remarks,
         .Kind = EditText,
         .Name = "Remarks",
         .At = {10, 130, 200, 60},
         .Value = &Now.Remarks,
         .TextLength = 400,
         .Lines = true},
        {.Number = Mode, .Kind = List, .Name = "Mode", .Value = &Now.Mode, .Entries = modes, .Proc = Ran},
        {.Number = Pair, .Kind = List, .Name = "Pair", .Value = &Now.Pair, .Entries = modes},
        {.Number = Graph, .Kind = User, .Name = "Graph", .Proc = Ran},
        {.Number = FirstPage, .Kind = Pane, .Name = "First Page", .Page = 1},
        {.Number = SecondPage, .Kind = Pane, .Name = "Second Page", .Page = 2},
        {.Number = Digits, .Kind = Button, .Name = "300", .Proc = Ran},
        {.Number = Behind, .Kind = Button, .Name = "say \"it's\"", .Proc = Ran, .Page = 2},
        {.Number = Code,
         .Kind = FramedNumber,
         .Name = "Code",
         .Value = &Now.Code,
         .Form = {.Low = 0, .High = 200}},
        {.Number = Secret, .Kind = EditText, .Name = "Secret", .Value = &Now.Secret, .Password = true},
    }};
    return rows;
}

inline void DefineDesk(Dialogs::DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, DeskRows());
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

inline void RunMenu() {
    ++Now.MenuRuns;
}
inline void RunIndex(int index) {
    Now.IndexRun = index;
}
inline bool MenuIsEnabled() {
    return Now.MenuEnabled;
}

inline void MakeMenus() {
    static const Menus::Row program[] = {{.Text = "Quit", .Shortcut = 'Q', .Proc = RunMenu}};
    static const Menus::Row edit[] = {
        {.Text = "Undo", .Shortcut = 'Z', .Proc = RunMenu, .Enabled = MenuIsEnabled},
        {},
        {.Text = "Find \"it\"", .Shortcut = 'F', .Proc = RunMenu},
        {.Text = "Unrecorded", .Proc = RunMenu, .Macro = false}};
    static const Menus::Row formats[] = {{.Text = "CR", .Shortcut = '1', .Proc = RunMenu}};
    Menus::Clear();
    Menus::Add("Program", program);
    Menus::Add("Edit", edit);
    Menus::Add("File Format", formats, false);
    Menus::AddEntry("File Format", "By index", 7, RunIndex);
    Menus::Install();
}

class MacroDesk {
public:
    // Layout files are asked for only where the test has made a folder for them.
    explicit MacroDesk(bool loadDia = false) {
        Now = {};
        Headless::Reset();
        Dialogs::UserLevel = 255;
        Ready = Events::Initialise();
        MakeMenus();
        Ready = Ready && Dialogs::SetupDialogBuffer(
                             Dialog, {.Title = "The Desk",
                                      .IDName = "Desk",
                                      .Count = LastItem,
                                      .Place = {0, 0, 400, 300},
                                      .LoadDia = loadDia,
                                      .Define = DefineDesk,
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
