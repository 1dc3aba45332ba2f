#include "windows/equation_editor.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "math/ranged_equation.h"
#include "ui/dialog.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"

#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace EquationEditor {

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Role;
using Dialogs::ToBottom;
using Dialogs::ToLeft;
using Dialogs::ToRight;
using Dialogs::ToTop;

constexpr int Strings = 9; // equations at even places, ranges at odd ones
constexpr int RowStep = 30;
constexpr double Width = 620, FirstRow = 76;
constexpr std::uint8_t Wide = ToLeft | ToRight | ToTop, AtRight = ToRight | ToTop;

enum Items : std::uint8_t {
    PromptItem = 1,
    XH,
    X,
    TotalH,
    Total,
    ResultsH,
    ErrorItem,
    Undo,
    Cancel,
    DoneItem,
    FirstString,
    FirstRangeH = FirstString + Strings,
    FirstResult = FirstRangeH + Strings,
    ItemTotal = FirstResult + Strings - 1
};

struct EditorState {
    DialogRecord Dialog;
    Spec Task;
    std::array<std::string, Strings> Text;
    std::array<double, Strings> Results{};
    std::string TextBefore;
    double ValueBefore = 0;
    double XValue = 0, TotalResult = 0;
    bool HasError = false;
    int ErrorString = 0; // which string is wrong
};
EditorState State;

// The macro names; they stand as long as the dialog does.
const std::array<std::string, Strings>& Names(const char* stem) {
    static std::array<std::string, Strings> strings, ranges, results;
    std::array<std::string, Strings>& names = stem[0] == 'S' ? strings : stem[2] == 'n' ? ranges : results;
    if (names[0].empty())
        for (std::size_t i = 0; i < names.size(); ++i) names[i] = stem + std::to_string(i);
    return names;
}

int Shown() {
    return State.Task.Ranged ? Strings : 1;
}

std::string WholeText() {
    std::string text = State.Text[0];
    for (std::size_t i = 1; i + 1 < State.Text.size() && State.Task.Ranged; i += 2) {
        if (State.Text[i].empty() && State.Text[i + 1].empty()) continue;
        text += " {" + State.Text[i] + "} " + State.Text[i + 1];
    }
    return text;
}

void Split(const std::string& text) {
    State.Text.fill({});
    const std::vector<Equation::Piece> pieces = Equation::SplitRanged(text);
    for (std::size_t i = 0; i < pieces.size() && i < State.Text.size(); ++i) State.Text[i] = pieces[i].Text;
    // What is too much for the rows stays in the last one, to be mended there.
    if (pieces.size() > State.Text.size())
        State.Text.back() = text.substr(pieces[State.Text.size() - 1].Begin);
    if (!State.Task.Ranged) State.Text[0] = text;
}

void ShowError(DialogRecord& dialog, const Equation::Error& error, int string) {
    State.HasError = !error.Message.empty();
    std::string text(error.Message);
    if (State.HasError && error.Position != Equation::NoPosition)
        text += " at pos. " + std::to_string(error.Position);
    State.ErrorString = State.HasError ? string : -1;
    Dialogs::SetItemText(dialog, ErrorItem, text);
    Dialogs::ShowItem(dialog, ErrorItem, State.HasError);
    for (int i = 0; i < Strings; ++i) {
        if (!Dialogs::HasItem(dialog, FirstString + i)) continue;
        Dialogs::Item(dialog, FirstString + i).Role = i == State.ErrorString ? Role::Warning : Role::Normal;
        Dialogs::RedrawItem(dialog, FirstString + i);
    }
}

bool EvaluateString(int string, Equation::Error& error) {
    const auto at = static_cast<std::size_t>(string);
    State.Results[at] = Equation::NoValue;
    if (State.Text[at].empty()) return true;
    const bool isRange = string % 2 == 1;
    Equation::Program program =
        Equation::Compile(State.Text[at], Equation::MaxPiece, State.Task.Words,
                          isRange ? Equation::XUse::Forbidden : Equation::XUse::Allowed);
    return program.Evaluate(State.XValue, State.Results[at], error);
}

// All values and the total. False with the first error shown.
bool EvaluateAll(DialogRecord& dialog) {
    Equation::Error first;
    int wrong = -1;
    for (int i = 0; i < Shown(); ++i) {
        Equation::Error error;
        if (!EvaluateString(i, error) && wrong < 0) {
            first = error;
            wrong = i;
        }
        Dialogs::ShowItem(dialog, FirstResult + i, !State.Text[static_cast<std::size_t>(i)].empty());
        Dialogs::RedrawItem(dialog, FirstResult + i);
    }
    State.TotalResult = State.Results[0];
    if (State.Task.Ranged && wrong < 0) {
        std::string text = WholeText();
        Equation::Error error;
        if (!Equation::EvalRanged(text, State.Task.Longest, State.XValue, State.TotalResult, error,
                                  State.Task.Words)) {
            first = {.Message = error.Message, .Position = Equation::NoPosition};
            wrong = Strings; // of the text as a whole
        }
    }
    Dialogs::RedrawItem(dialog, Total);
    ShowError(dialog, first, wrong);
    return wrong < 0;
}

void StringChanged(DialogRecord& dialog, int number) {
    const int string = number - FirstString;
    Equation::Error error;
    if (EvaluateString(string, error)) {
        (void)EvaluateAll(dialog);
        return;
    }
    Dialogs::ShowItem(dialog, FirstResult + string, true);
    Dialogs::RedrawItem(dialog, FirstResult + string);
    ShowError(dialog, error, string);
    Editing::Begin(dialog, number);
    if (error.Position != Equation::NoPosition) Editing::Mark(error.Position);
}

void XChanged(DialogRecord& dialog, int) {
    (void)EvaluateAll(dialog);
}

void TakeBack(DialogRecord& dialog, int) {
    Editing::Cancel();
    Split(State.TextBefore);
    if (State.Task.Value != nullptr) *State.Task.Value = State.ValueBefore;
    State.XValue = State.Task.X;
    (void)EvaluateAll(dialog);
    Dialogs::UpdateDialog(dialog);
}

void CancelEdit(DialogRecord& dialog, int) {
    Editing::Cancel();
    Dialogs::CloseDialog(dialog);
}

void Finish(DialogRecord& dialog, int) {
    if (!Editing::Commit() || !EvaluateAll(dialog)) return;
    std::string text = WholeText();
    if (text.size() > State.Task.Longest) {
        ShowError(dialog, {.Message = "Input string too long"}, Strings);
        return;
    }
    *State.Task.Text = text;
    if (State.Task.Value != nullptr) *State.Task.Value = State.TotalResult;
    const std::function<void()> done = State.Task.Done;
    Dialogs::CloseDialog(dialog);
    if (done) done();
}

constexpr Dialogs::NumberForm ValueForm{.Format = NumberText::Format::Engineering, .Columns = 9};

const Dialogs::Row Rows[] = {
    {.Number = PromptItem,
     .Kind = ItemKind::Text,
     .Name = "Prompt",
     .At = {16, 12, 340, 24},
     .Anchor = Wide,
     .Role = Role::Heading},
    {.Number = XH, .Kind = ItemKind::Text, .Name = "XH", .Text = "X:", .At = {16, 42, 24, 24}},
    {.Number = X,
     .Kind = ItemKind::FramedNumber,
     .Name = "X",
     .At = {40, 42, 120, 24},
     .Value = &State.XValue,
     .Form = ValueForm,
     .Proc = XChanged,
     .Tip = "Where the equations are evaluated"},
    {.Number = TotalH,
     .Kind = ItemKind::Text,
     .Name = "TotResultH",
     .Text = "Total Result:",
     .At = {180, 42, 90, 24}},
    {.Number = Total,
     .Kind = ItemKind::FramedNumber,
     .Name = "TotResult",
     .At = {272, 42, 130, 24},
     .Value = &State.TotalResult,
     .Form = ValueForm,
     .Tip = "Value of the equation that the ranges choose at X"},
    {.Number = ResultsH,
     .Kind = ItemKind::Text,
     .Name = "Results",
     .Text = "Results:",
     .At = {484, 42, 120, 24},
     .Anchor = AtRight,
     .Role = Role::Secondary},
    {.Number = ErrorItem,
     .Kind = ItemKind::Text,
     .Name = "Error",
     .At = {16, 352, 588, 24},
     .Tip = "What is wrong, and where",
     .Anchor = ToLeft | ToRight | ToBottom,
     .Role = Role::Warning},
    {.Number = Undo,
     .Kind = ItemKind::Button,
     .Name = "Undo",
     .Text = "Undo",
     .At = {16, 384, 84, 26},
     .Proc = TakeBack,
     .Tip = "Brings back the text that stood when the editor came up",
     .Anchor = ToLeft | ToBottom},
    {.Number = Cancel,
     .Kind = ItemKind::Button,
     .Name = "Cancel",
     .Text = "Cancel",
     .At = {430, 384, 84, 26},
     .Proc = CancelEdit,
     .Tip = "Leaves without a change: Escape",
     .Key = Dialogs::EscapeKey,
     .Anchor = ToRight | ToBottom},
    {.Number = DoneItem,
     .Kind = ItemKind::Button,
     .Name = "Done",
     .Text = "Done",
     .At = {520, 384, 84, 26},
     .Proc = Finish,
     .Tip = "Stores the equation, if nothing is wrong with it: Return",
     .Anchor = ToRight | ToBottom,
     .Role = Role::Primary},
};

void StringRows(DialogRecord& dialog, void (*apply)(DialogRecord&, std::span<const Dialogs::Row>)) {
    for (int i = 0; i < Shown(); ++i) {
        const auto at = static_cast<std::size_t>(i);
        const bool isRange = i % 2 == 1;
        const double top = FirstRow + RowStep * i, left = isRange ? 60 : 16;
        const Dialogs::Row rows[] = {
            {.Number = FirstString + i,
             .Kind = ItemKind::FramedText,
             .Name = Names("String")[at].c_str(),
             .Text = isRange ? "no further range" : "",
             .At = {left, top, 458 - left, 26},
             .Value = &State.Text[at],
             .Proc = StringChanged,
             .Tip = isRange ? "Up to this value of X, it included, the equation above holds"
                            : "An equation, such as V[1]*exp(-x/2m)",
             .Anchor = Wide,
             .TextLength = static_cast<std::int16_t>(Equation::MaxPiece),
             .FontNumber = 1},
            {.Number = FirstResult + i,
             .Kind = ItemKind::FramedNumber,
             .Name = Names("Result")[at].c_str(),
             .At = {464, top, 140, 26},
             .Value = &State.Results[at],
             .Form = ValueForm,
             .Tip = "Value of this string at X",
             .Anchor = AtRight},
            {.Number = FirstRangeH + i,
             .Kind = ItemKind::Text,
             .Name = Names("RangeH")[at].c_str(),
             .Text = "   <=",
             .At = {16, top, 42, 26},
             .Role = Role::Secondary},
        };
        apply(dialog, std::span(rows).first(isRange ? 3 : 2));
    }
}

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
    StringRows(dialog, Dialogs::DefineRows);
    for (int number = XH; number <= Total; ++number)
        Dialogs::Item(dialog, number).Visible = State.Task.Ranged;
    if (State.Task.Ranged) return;
    // One row: what stands below the rows moves up.
    for (const int number : {static_cast<int>(ErrorItem), static_cast<int>(Undo), static_cast<int>(Cancel),
                             static_cast<int>(DoneItem)}) {
        Dialogs::Rect& rect = Dialogs::Item(dialog, number).ItemRect;
        rect.Top -= RowStep * (Strings - 1);
        rect.Bottom -= RowStep * (Strings - 1);
    }
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
    StringRows(dialog, Dialogs::ConfigureRows);
    for (int i = 0; i < Shown(); ++i) Dialogs::Item(dialog, FirstResult + i).Executable = false;
    Dialogs::Item(dialog, Total).Executable = false;
    Dialogs::Item(dialog, ErrorItem).Visible = false;
    Dialogs::SetItemText(dialog, PromptItem, State.Task.Prompt);
}

bool SetUp() {
    const double height = State.Task.Ranged ? 422 : 422 - RowStep * (Strings - 1);
    // The keys that the user has given belong to both sizes.
    std::vector<Dialogs::UserKey> keys = std::move(State.Dialog.UserKeys);
    Dialogs::DisposeDialog(State.Dialog);
    const Dialogs::DialogSpec dialog{.Title = "Equation Editor",
                                     .IDName = "EquationEditor",
                                     .BufferName = "EquationEditor",
                                     .Count = ItemTotal,
                                     .Place = {-1, -1, Width, height},
                                     .Storable = false, // of two sizes
                                     .Window = Platform::WindowKind::Floating,
                                     .LoadDia = false,
                                     .Define = Define,
                                     .Configure = Configure};
    if (!Dialogs::SetupDialogBuffer(State.Dialog, dialog)) return false;
    State.Dialog.UserKeys = std::move(keys);
    return true;
}

}

bool Initialise() {
    State.Task = {};
    return SetUp();
}

bool Open(const Spec& spec) {
    if (spec.Text == nullptr) return false;
    Dialogs::CloseDialog(State.Dialog);
    State.Task = spec;
    State.TextBefore = *spec.Text;
    State.ValueBefore = spec.Value != nullptr ? *spec.Value : 0;
    State.XValue = spec.X;
    Split(*spec.Text);
    if (!SetUp() || !Dialogs::OpenDialog(State.Dialog)) return false;
    (void)EvaluateAll(State.Dialog);
    return true;
}

}
