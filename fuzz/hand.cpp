// A hand that does anything: clicks, drags, keys and texts on a dialog, its configuration and a dialog beside
// it, while windows are sized, scrolled and closed, also with the mouse button down.
//
//     4 bytes an event   what it is, with the window in bits 4 and 5; two places or numbers; modifiers
//
// Promises: values stay in their bounds; an item is busy, and a text box open, only while it is edited; a
// picture of the window has nothing in it but items; nothing is tracked once the button is up.
#include "desk.h"

#include "ui/item_config.h"

#include <cstdlib>

namespace {

using Dialogs::DialogRecord;
using Fuzz::Promise;

DialogRecord Beside;

struct Hand {
    int What = 0;
    std::uint8_t X = 0, Y = 0, Modifiers = 0;
    DialogRecord* Dialog = nullptr;
};

std::array<DialogRecord*, 3> All() {
    return {&Fuzz::Desk().Dialog, Dialogs::FindDialog("ModConfig"), &Beside};
}

bool SetUp() {
    (void)Fuzz::Desk();
    std::atexit(Dialogs::DisposeAll); // ahead of the heaps that hold the items
    return ItemConfig::Initialise() &&
           Dialogs::SetupDialogBuffer(
               Beside, {.Title = "Beside",
                        .IDName = "Beside",
                        .Count = Support::LastItem,
                        .Place = {0, 0, 400, 300},
                        .Window = Platform::WindowKind::Floating,
                        .LoadDia = false,
                        .Define = [](DialogRecord& made) { Dialogs::DefineRows(made, Support::DeskRows()); },
                        .Configure = Support::ConfigureDesk});
}

void HandOn() {
    Events::Event event;
    while (Events::GetNextEvent(event)) Dialogs::HandleEvent(event);
}

void Act(const Hand& hand) {
    static constexpr const char* Texts[] = {"", "1", "-5", "1e308", "\u00b5\u00b5", "NAN", "0.5m", "Tau"};
    DialogRecord& dialog = *hand.Dialog;
    const Platform::WindowId window = dialog.WindowHandle;
    const Platform::Point at{hand.X * 2.0, hand.Y * 2.5}, back{hand.Y * 2.0, hand.X * 1.5};
    const int number = hand.X % (dialog.ItemCount + 1);
    Headless::Desktop().Answers = {hand.Y % 8, hand.X % 8};
    Headless::Desktop().Modifiers = hand.Modifiers;
    switch (hand.What) {
    case 0:
    case 1: Headless::Click(window, at, hand.Modifiers); break;
    case 2: Headless::Drag(window, {at, back, back, {at.X, back.Y}}, hand.Modifiers); break;
    case 3:
        Headless::Key(window, hand.X * 3u, hand.Modifiers | (hand.Y % 2 != 0 ? Platform::Repeated : 0));
        break;
    case 4: Headless::Key(window, static_cast<Platform::KeyCode>(hand.X % 80), hand.Modifiers); break;
    case 5: Headless::Type(Texts[hand.X % 8]); break;
    case 6: Headless::Notify(window, 5u + hand.X % 10u, hand.Y, hand.Modifiers); break;
    case 7: Headless::Resize(window, {hand.X * 4.0, hand.Y * 4.0}); break;
    case 8: Dialogs::LockItem(dialog, number, hand.Y % 2 != 0); break;
    case 9: Dialogs::EnableItem(dialog, number, hand.Y % 4 != 0); break;
    case 10: Dialogs::SelectPage(dialog, static_cast<std::int16_t>(hand.Y % 3)); break;
    case 11: (void)Dialogs::UndoMove(); break;
    case 12: ItemConfig::Show(dialog, number); break;
    case 13: Dialogs::CloseDialog(dialog); break;
    case 14: Dialogs::BringToFront(dialog); break;
    default: HandOn(); break;
    }
    if (hand.Y % 4 != 0) HandOn();
}

void Check() {
    Fuzz::CheckValues();
    std::size_t boxes = 0;
    for (const DialogRecord* dialog : All())
        for (int number = 1; number <= dialog->ItemCount; ++number) {
            const Dialogs::DialogItem& item = Dialogs::Item(*dialog, number);
            const bool edited = Editing::IsUnderWay(*dialog, number);
            boxes += item.TextBox != 0 ? 1 : 0;
            Promise(!item.Busy || edited, "an item is busy for ever");
            Promise(item.TextBox == 0 || item.Lines || edited, "a text box is left over");
            Promise(item.ItemRect.Width() >= 0 && item.ItemRect.Height() >= 0, "an item turns over");
        }
    Promise(boxes == Headless::Desktop().TextBoxes.size(), "a text box belongs to nobody");
    for (const auto& [id, window] : Headless::Desktop().Windows)
        for (const auto& [layer, drawn] : window.Layers) Promise(layer < 1000, "a rubber band is left over");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = SetUp();
    Promise(ready, "no dialog");
    for (DialogRecord* dialog : All()) Dialogs::CloseDialog(*dialog);
    Events::Clear();
    Headless::Desktop().Said.clear();
    for (DialogRecord* dialog : {&Fuzz::Desk().Dialog, &Beside}) {
        dialog->KeptLayout.clear();
        dialog->UserKeys.clear();
        Promise(Dialogs::OpenDialog(*dialog), "a dialog does not open again");
    }
    Support::Now = {};
    static DialogRecord* pulledAway;
    pulledAway = nullptr;
    Headless::Desktop().OnWait = [] {
        if (pulledAway != nullptr) Dialogs::CloseDialog(*pulledAway);
    };
    Fuzz::Input input(data, size);
    for (std::size_t left = size / 4; left > 0; --left) {
        const std::uint8_t what = input.Byte();
        Hand hand{.What = what % 16, .X = input.Byte(), .Y = input.Byte(), .Modifiers = input.Byte()};
        hand.Dialog = All()[(what >> 4) % 3u];
        // Now and then the window goes while the button is down.
        pulledAway = (hand.Modifiers & 64) != 0 ? hand.Dialog : nullptr;
        hand.Modifiers &= 31;
        Act(hand);
        Check();
    }
    return 0;
}
