#include "ui/editing.h"

#include "base/messages.h"
#include "ui/draw_item.h"
#include "ui/item_value.h"
#include "ui/theme.h"

namespace Editing {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;

struct EntryState {
    DialogRecord* Dialog = nullptr;
    int Number = 0;
    bool Ending = false;
    bool Refused = false;  // which the status line tells
    std::string Offered{}; // what the box began with; it may hold less than the value
};
EntryState Entry;

std::string EntryText(const DialogItem& item) {
    return Dialogs::IsNumberItem(item) ? Dialogs::NumberAsText(item, Dialogs::NumberOf(item))
                                       : Dialogs::TextOf(item);
}

Platform::TextBoxSpec BoxSpec(const DialogRecord& dialog, int number) {
    const DialogItem& item = Dialogs::Item(dialog, number);
    const bool number_ = Dialogs::IsNumberItem(item) || item.Kind == Dialogs::ItemKind::FramedNumber;
    return {.Place = Dialogs::TextPlace(dialog, number),
            .Text = EntryText(item),
            .Font = Dialogs::ItemFont(dialog, item),
            .Justify = number_ && item.Justify == 0
                           ? Platform::Align::Right
                           : static_cast<Platform::Align>(std::min<int>(item.Justify, 2)),
            .Ink = Themes::Colors().Text,
            .Paper = item.BackColor.value_or(Themes::Colors().Panel),
            .Longest =
                Dialogs::IsNumberItem(item) ? std::size_t{40} : static_cast<std::size_t>(item.TextLength),
            .Lines = item.Lines,
            .ReadOnly = item.Lines && !item.Executable,
            .Password = item.Password,
            .LineNumbers = item.LineNumbers};
}

void ShowValue(DialogItem& item) {
    item.BoxText = Dialogs::TextOf(item);
    Platform::Ops().SetTextBoxText(item.TextBox, item.BoxText);
    item.BoxShown = Platform::Ops().TextBoxText(item.TextBox);
}

void CloseEntryBox() {
    DialogItem& item = Dialogs::Item(*Entry.Dialog, Entry.Number);
    Platform::Ops().CloseTextBox(item.TextBox);
    item.TextBox = 0;
    item.Busy = false;
    DialogRecord& dialog = *Entry.Dialog;
    const int number = Entry.Number;
    if (Entry.Refused) Messages::Status("");
    Entry = {};
    Dialogs::RedrawItem(dialog, number);
}

}

void Begin(DialogRecord& dialog, int number, std::string_view typed) {
    if (IsUnderWay(dialog, number)) return;
    LeaveAny();
    if (!dialog.IsOpen || !Dialogs::Accepts(dialog, number) || Dialogs::ItemIsLocked(dialog, number)) return;
    DialogItem& item = Dialogs::Item(dialog, number);
    if (!Dialogs::IsTextItem(item)) return;
    const int before = dialog.CurrentItem;
    dialog.CurrentItem = static_cast<std::int16_t>(number);
    if (before != 0 && before != number) Dialogs::RedrawItem(dialog, before);
    if (item.Lines) {
        Platform::Ops().SelectInTextBox(item.TextBox, 0, 0);
        return;
    }
    item.Busy = true;
    Platform::TextBoxSpec spec = BoxSpec(dialog, number);
    spec.SelectAll = true;
    item.TextBox = Platform::Ops().OpenTextBox(dialog.WindowHandle, spec);
    Entry = {.Dialog = &dialog, .Number = number, .Offered = Platform::Ops().TextBoxText(item.TextBox)};
    if (!typed.empty()) {
        Platform::Ops().SetTextBoxText(item.TextBox, typed);
        Platform::Ops().SelectInTextBox(item.TextBox, 1, 0);
    }
    Dialogs::RedrawItem(dialog, number);
}

bool IsUnderWay() {
    return Entry.Dialog != nullptr;
}

bool IsUnderWay(const DialogRecord& dialog, int number) {
    return Entry.Dialog == &dialog && Entry.Number == number;
}

bool IsUnderWayIn(const DialogRecord& dialog) {
    return Entry.Dialog == &dialog;
}

bool Commit() {
    if (!IsUnderWay()) return true;
    // An alert about the entry lets events through, which may try to end it once more.
    if (Entry.Ending) return false;
    Entry.Ending = true;
    DialogRecord& dialog = *Entry.Dialog;
    const int number = Entry.Number;
    DialogItem& item = Dialogs::Item(dialog, number);
    const Dialogs::HeldValue before = Dialogs::Hold(item);
    const std::string typed = Platform::Ops().TextBoxText(item.TextBox);
    const bool taken = typed == Entry.Offered || Dialogs::EnterText(item, typed);
    if (!IsUnderWay(dialog, number)) return taken;
    Entry.Ending = false;
    if (!taken) {
        Entry.Refused = true;
        Messages::Status("\"" + typed + "\" cannot be stored here.");
        Platform::Ops().SelectInTextBox(item.TextBox, 0, 1'000'000);
        return false;
    }
    CloseEntryBox();
    if (Dialogs::Hold(item) == before) return true;
    if (!Dialogs::Activate(dialog, number, {.Source = Dialogs::Source::Key})) {
        Dialogs::PutBack(item, before);
        Dialogs::RedrawItem(dialog, number);
    }
    return true;
}

void Cancel() {
    if (IsUnderWay()) CloseEntryBox();
}

void Leave(DialogRecord& dialog) {
    if (Entry.Dialog == &dialog && !Commit()) Cancel();
}

void LeaveAny() {
    if (IsUnderWay()) Leave(*Entry.Dialog);
}

void Mark(int position) {
    if (!IsUnderWay()) return;
    Platform::Ops().SelectInTextBox(Dialogs::Item(*Entry.Dialog, Entry.Number).TextBox, position, 1);
}

void OpenBox(DialogRecord& dialog, int number) {
    DialogItem& item = Dialogs::Item(dialog, number);
    if (item.TextBox != 0 || !Dialogs::IsVisible(dialog, number)) return;
    item.TextBox = Platform::Ops().OpenTextBox(dialog.WindowHandle, BoxSpec(dialog, number));
    item.BoxText = EntryText(item);
    item.BoxShown = Platform::Ops().TextBoxText(item.TextBox);
}

void CloseBoxes(DialogRecord& dialog) {
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!Dialogs::HasItem(dialog, number)) continue;
        DialogItem& item = Dialogs::Item(dialog, number);
        item.Busy = false;
        if (item.TextBox == 0) continue;
        if (item.Lines) TakeBoxText(dialog, item.TextBox);
        Platform::Ops().CloseTextBox(item.TextBox);
        item.TextBox = 0;
    }
}

void ShowBox(DialogRecord& dialog, int number, bool shown) {
    DialogItem& item = Dialogs::Item(dialog, number);
    if (item.Lines && shown && item.TextBox == 0) OpenBox(dialog, number);
    if (item.TextBox == 0) return;
    if (!shown) {
        if (IsUnderWay(dialog, number)) {
            Cancel();
        } else {
            TakeBoxText(dialog, item.TextBox);
            Platform::Ops().CloseTextBox(item.TextBox);
            item.TextBox = 0;
        }
        return;
    }
    Platform::Ops().ChangeTextBox(item.TextBox, BoxSpec(dialog, number));
    // The tool has changed the value under a box that stays open.
    if (!item.Lines || item.ValueKind != Dialogs::ValueKind::String || Dialogs::TextOf(item) == item.BoxText)
        return;
    ShowValue(item);
}

void TakeBoxText(DialogRecord& dialog, Platform::TextBoxId box) {
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!Dialogs::HasItem(dialog, number)) continue;
        DialogItem& item = Dialogs::Item(dialog, number);
        if (item.TextBox != box || !item.Lines || item.ValueKind != Dialogs::ValueKind::String) continue;
        if (Dialogs::TextOf(item) != item.BoxText) continue; // what the tool has put there since counts
        const std::string typed = Platform::Ops().TextBoxText(box);
        if (typed == item.BoxShown) continue;
        Dialogs::SetText(item, typed);
        item.BoxText = Dialogs::TextOf(item);
        item.BoxShown = typed;
        if (item.BoxText != typed) ShowValue(item); // nobody shall take it for stored
    }
}

}
