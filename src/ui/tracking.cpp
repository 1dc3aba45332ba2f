#include "ui/tracking.h"

#include "ui/dialog_events.h"
#include "ui/draw_item.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/theme.h"

#include <algorithm>
#include <cmath>

namespace Dialogs {

namespace {

constexpr int RubberLayer = 1'000'000; // above all items
constexpr int FlashTime = 60;          // ms
constexpr int PassTime = 100;          // ms between two looks at a moving mouse, at most
constexpr double DragSlop = 3;         // pixels that a click may move

struct TrackingGuard {
    const bool Before = Tracking;
    TrackingGuard() { Tracking = true; }
    ~TrackingGuard() { Tracking = Before; }
    TrackingGuard(const TrackingGuard&) = delete;
    TrackingGuard& operator=(const TrackingGuard&) = delete;
};

// What was moved last, and by how much, to put it back; the window may be sized or scrolled meanwhile.
struct MoveRecord {
    DialogRecord* Dialog = nullptr;
    std::vector<int> Items;
    Rect Change; // of each edge
};
MoveRecord LastMove;

Platform::Point MouseIn(const DialogRecord& dialog) {
    const Platform::Point mouse = Events::GetMouse();
    const Platform::Point origin = Platform::Ops().WindowOrigin(dialog.WindowHandle);
    return {mouse.X - origin.X, mouse.Y - origin.Y};
}

void SetBusy(DialogRecord& dialog, int number, bool busy) {
    DialogItem& item = Item(dialog, number);
    if (item.Busy == busy) return;
    item.Busy = busy;
    RedrawItem(dialog, number);
}

// True when the mouse came up inside of the item.
bool TrackPress(DialogRecord& dialog, int number) {
    const TrackingGuard guard;
    SetBusy(dialog, number, true);
    while (dialog.IsOpen && Events::StillDown()) {
        SetBusy(dialog, number, Item(dialog, number).ItemRect.Area().Holds(MouseIn(dialog)));
        Platform::Ops().Wait(PassTime);
    }
    if (!dialog.IsOpen) return false;
    const bool inside = Item(dialog, number).ItemRect.Area().Holds(MouseIn(dialog));
    SetBusy(dialog, number, false);
    return inside;
}

// What was changed counts only if nobody refuses it.
void Finish(DialogRecord& dialog, int number, const HeldValue& before, const Activation& how) {
    if (Activate(dialog, number, how) || !HasItem(dialog, number)) return;
    PutBack(Item(dialog, number), before);
    RedrawItem(dialog, number);
}

// Where a drag begins: a value that is no number has no neighbours.
double StartOf(const DialogItem& item, double value) {
    return std::isfinite(value) ? value : std::max(item.ValueLow, std::min(item.ValueHigh, 0.0));
}

// The value after a drag by so many pixels; within the bounds.
double Dragged(const DialogItem& item, double start, double right, double up, bool fast) {
    const double pixels =
        item.Kind == ItemKind::Drag2 && item.DragDivisor > 0 ? up + right / item.DragDivisor : up + right;
    const double steps = std::trunc(pixels * item.DragFactor) * (fast ? 10 : 1);
    return std::max(item.ValueLow, std::min(item.ValueHigh, start + steps * item.StepSmall));
}

void TrackDrag(DialogRecord& dialog, int number, Platform::Point from, const Activation& how) {
    DialogItem& item = Item(dialog, number);
    const HeldValue before = Hold(item);
    const double start = StartOf(item, before.Number);
    bool moved = false;
    {
        const TrackingGuard guard;
        while (dialog.IsOpen && Events::StillDown()) {
            const Platform::Point now = MouseIn(dialog);
            const double right = now.X - from.X, up = from.Y - now.Y;
            if (std::max(std::fabs(right), std::fabs(up)) > DragSlop) moved = true;
            const double value =
                Dragged(item, start, right, up, (Platform::Ops().Modifiers() & Platform::Shift) != 0);
            if (moved && value != NumberOf(item)) {
                SetNumber(item, value);
                RedrawItem(dialog, number);
                if (item.TrackProc != nullptr) item.TrackProc(dialog, number);
                if (!dialog.IsOpen) return;
            }
            Platform::Ops().Wait(std::clamp<int>(item.DragInterval, 1, PassTime));
        }
    }
    if (!dialog.IsOpen) return;
    if (!moved) {
        Editing::Begin(dialog, number);
    } else if (!(Hold(item) == before)) {
        Finish(dialog, number, before, how);
    }
}

// All items inside of a rectangle, and the one that spans it.
std::vector<int> Inside(const DialogRecord& dialog, int number) {
    const Rect outer = Item(dialog, number).ItemRect;
    std::vector<int> inside;
    for (int n = 1; n <= dialog.ItemCount; ++n) {
        if (!IsVisible(dialog, n)) continue;
        const Rect rect = Item(dialog, n).ItemRect;
        if (rect.Left >= outer.Left && rect.Right <= outer.Right && rect.Top >= outer.Top &&
            rect.Bottom <= outer.Bottom)
            inside.push_back(n);
    }
    return inside;
}

// How far the edges of an item may go: it stays in the window, and as large as a hand can take. What is
// smaller, or partly outside, can only become better.
struct MoveRange {
    std::int32_t Least, Most;
    [[nodiscard]] std::int32_t Of(double pixels) const {
        return std::clamp(static_cast<std::int32_t>(std::lround(pixels)), Least, Most);
    }
};
MoveRange RangeOf(std::int32_t start, std::int32_t end, double window, bool sizing) {
    constexpr std::int32_t LeastSide = 8;
    const std::int32_t room = static_cast<std::int32_t>(window) - end;
    return {std::min(0, sizing ? LeastSide - (end - start) : -start), std::max(0, room)};
}

void MoveEdges(Rect& rect, const Rect& change) {
    rect.Left += change.Left;
    rect.Top += change.Top;
    rect.Right += change.Right;
    rect.Bottom += change.Bottom;
}

}

void TrackItem(DialogRecord& dialog, int number, const Events::Event& event, Platform::Point at) {
    const Activation how{.Modifiers = event.Modifiers, .Source = Source::Mouse};
    DialogItem& item = Item(dialog, number);
    const int before = dialog.CurrentItem;
    if (before != number && before != 0 && !IsTextItem(item)) {
        dialog.CurrentItem = 0;
        RedrawItem(dialog, before);
    }
    switch (item.Kind) {
    case ItemKind::List: ChooseEntry(dialog, number, how); return;
    case ItemKind::Drag:
    case ItemKind::Drag2: TrackDrag(dialog, number, at, how); return;
    case ItemKind::MultiCheck:
        if (TrackPress(dialog, number)) {
            const int bit = static_cast<int>((at.X - item.ItemRect.Left) / CheckBoxStep);
            if (bit >= 0 && bit < CheckBoxes(item)) FlipBits(dialog, number, 1u << bit, how);
        }
        return;
    case ItemKind::FramedText:
    case ItemKind::FramedNumber:
    case ItemKind::EditText: Editing::Begin(dialog, number); return;
    case ItemKind::User:
    case ItemKind::GWindow:
    case ItemKind::Offscreen:
    case ItemKind::Text:
        if (item.ItemProc != nullptr) Activate(dialog, number, how);
        return;
    default:
        if (TrackPress(dialog, number)) PressItem(dialog, number, how);
        return;
    }
}

void MoveItems(DialogRecord& dialog, int number, Platform::Point at, bool all) {
    if (!HasItem(dialog, number)) return;
    const Rect start = Item(dialog, number).ItemRect;
    const double corner = start.Width() < 24 || start.Height() < 24 ? 4 : 8;
    const bool sizing = !all && at.X >= start.Right - corner && at.Y >= start.Bottom - corner;
    const Platform::Size window = Platform::Ops().ContentSize(dialog.WindowHandle);
    const MoveRange across = RangeOf(start.Left, start.Right, window.Width, sizing),
                    along = RangeOf(start.Top, start.Bottom, window.Height, sizing);
    std::int32_t right = 0, down = 0;
    {
        const TrackingGuard guard;
        bool looking = true;
        while (looking && dialog.IsOpen) {
            looking = Events::StillDown();
            const Platform::Point now = MouseIn(dialog);
            right = across.Of(now.X - at.X);
            down = along.Of(now.Y - at.Y);
            Rect rubber = start;
            MoveEdges(rubber, {sizing ? 0 : right, sizing ? 0 : down, right, down});
            Platform::Drawing band;
            band.Frame(rubber.Area(), Themes::Colors().Accent, 0, 1, true);
            Platform::Ops().DrawLayer(dialog.WindowHandle, RubberLayer, rubber.Area().Inset(-1, -1),
                                      std::move(band));
            if (looking) Platform::Ops().Wait(PassTime);
        }
    }
    if (!dialog.IsOpen) return;
    Platform::Ops().DropLayer(dialog.WindowHandle, RubberLayer);
    if (right == 0 && down == 0) return;
    LastMove = {&dialog,
                all ? Inside(dialog, number) : std::vector<int>{number},
                {sizing ? 0 : right, sizing ? 0 : down, right, down}};
    for (const int n : LastMove.Items) MoveEdges(Item(dialog, n).ItemRect, LastMove.Change);
    KeepLayout(dialog);
    UpdateDialog(dialog);
}

void ChooseEntry(DialogRecord& dialog, int number, const Activation& how) {
    DialogItem& item = Item(dialog, number);
    std::vector<Platform::MenuEntry> entries;
    for (int i = 0; i < static_cast<int>(item.ListEntries.size()); ++i)
        entries.push_back({.Text = ListText(item, i), .Enabled = EntryEnabled(item, i)});
    if (entries.empty()) return;
    int chosen = 0;
    {
        const TrackingGuard guard;
        SetBusy(dialog, number, true);
        chosen = Platform::Ops().PopupMenu(dialog.WindowHandle, item.ItemRect.Area(), entries,
                                           ListIndex(item) + 1);
        if (!dialog.IsOpen) return;
        SetBusy(dialog, number, false);
    }
    if (chosen < 1 || !EntryEnabled(item, chosen - 1) || chosen - 1 == ListIndex(item)) return;
    const HeldValue before = Hold(item);
    SetNumber(item, chosen - 1);
    Finish(dialog, number, before, how);
}

void FlipBits(DialogRecord& dialog, int number, unsigned bits, const Activation& how) {
    DialogItem& item = Item(dialog, number);
    const HeldValue before = Hold(item);
    SetNumber(item, static_cast<double>(static_cast<unsigned>(before.Number) ^ bits));
    Finish(dialog, number, before, how);
}

void Forget(const DialogRecord& dialog) {
    if (LastMove.Dialog == &dialog) LastMove = {};
}

bool CanUndoMove() {
    return LastMove.Dialog != nullptr && LastMove.Dialog->IsOpen;
}

bool UndoMove() {
    if (!CanUndoMove()) return false;
    DialogRecord& dialog = *LastMove.Dialog;
    Editing::Leave(dialog);
    Rect& change = LastMove.Change;
    change = {-change.Left, -change.Top, -change.Right, -change.Bottom};
    for (const int number : LastMove.Items)
        if (HasItem(dialog, number)) MoveEdges(Item(dialog, number).ItemRect, change);
    KeepLayout(dialog);
    UpdateDialog(dialog);
    return true;
}

void Flash(DialogRecord& dialog, int number) {
    if (!dialog.IsOpen || !HasItem(dialog, number) || IsTextItem(Item(dialog, number))) return;
    const TrackingGuard guard;
    SetBusy(dialog, number, true);
    Platform::Ops().Wait(FlashTime);
    if (dialog.IsOpen && HasItem(dialog, number)) SetBusy(dialog, number, false);
}

}
