#include "ui/dialog_events.h"

#include "base/text.h"
#include "ui/draw_item.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/tracking.h"

#include <algorithm>
#include <vector>

namespace Dialogs {

void (*ConfigureItem)(DialogRecord& dialog, int number) = nullptr;
bool ShowTooltips = true;
bool ShowKeys = false;

namespace {

using Events::Event;
using Events::KeyClass;
using Events::KeyKind;
using Platform::KeyCode;

constexpr int ScrollStep = 48; // pixels a step of the wheel

KeyCode CodeOf(const Event& event) {
    return event.KeyClass == KeyClass::Special ? static_cast<KeyCode>(event.Char) : KeyCode::None;
}

std::uint32_t Upper(KeyClass keyClass, std::uint32_t character) {
    const bool lower = keyClass == KeyClass::Printable && character >= 'a' && character <= 'z';
    return lower ? character - ('a' - 'A') : character;
}

// Caps lock is no modifier of a shortcut, and shift is part of a character.
bool Matches(const Shortcut& key, const Event& event) {
    if (!key.IsSet() || key.Class != event.KeyClass) return false;
    if (key.AnyModifier) return Upper(key.Class, key.Char) == Upper(key.Class, event.Char);
    if (key.Char != event.Char) return false;
    std::uint32_t ignored = Platform::Caps;
    if (key.Class == KeyClass::Printable) ignored |= Platform::Shift;
    return (event.Modifiers & ~ignored) == (key.Modifiers & ~ignored);
}

bool PressByKey(DialogRecord& dialog, const Event& event, bool isFront) {
    for (int number = dialog.LastKeyItem; number >= 1; --number) {
        if (!HasItem(dialog, number)) continue;
        const DialogItem& item = Item(dialog, number);
        const bool main = Matches(item.Key, event) && (isFront || !item.Key.FrontOnly);
        const bool second = !main && (IsToggle(item) || IsList(item)) && Matches(item.Key2, event) &&
                            (isFront || !item.Key2.FrontOnly);
        if (!main && !second) continue;
        if (!Accepts(dialog, number)) continue;
        // A locked item takes its key, and does nothing.
        PressItem(dialog, number,
                  {.KeyClass = event.KeyClass,
                   .Char = event.Char,
                   .Modifiers = event.Modifiers,
                   .Source = Source::Key},
                  second                                 ? -1
                  : IsToggle(item) && !item.Key2.IsSet() ? 0
                                                         : 1);
        return true;
    }
    return false;
}

bool TakesFocus(const DialogRecord& dialog, int number) {
    if (!Accepts(dialog, number) || ItemIsLocked(dialog, number)) return false;
    const DialogItem& item = Item(dialog, number);
    if (item.Kind == ItemKind::Text || item.Kind == ItemKind::User || item.Kind == ItemKind::GWindow ||
        item.Kind == ItemKind::Offscreen)
        return item.ItemProc != nullptr;
    return item.Kind != ItemKind::Pane || item.PaneSelects != 0;
}

bool TakesText(const DialogRecord& dialog, int number) {
    return TakesFocus(dialog, number) && IsTextItem(Item(dialog, number));
}

void Focus(DialogRecord& dialog, int number) {
    const int before = dialog.CurrentItem;
    dialog.CurrentItem = static_cast<std::int16_t>(number);
    RedrawItem(dialog, before);
    RedrawItem(dialog, number);
}

// The next item round the dialog; 0 when none will do.
int Following(const DialogRecord& dialog, int from, int step,
              bool (*fits)(const DialogRecord& dialog, int number)) {
    const int count = dialog.ItemCount;
    for (int i = 1; i <= count; ++i) {
        const int number = ((from - 1 + step * i) % count + count) % count + 1;
        if (fits(dialog, number)) return number;
    }
    return 0;
}

bool MoveFocus(DialogRecord& dialog, int step, bool toText) {
    const int from = dialog.CurrentItem != 0 ? dialog.CurrentItem : step > 0 ? dialog.ItemCount : 1;
    int number = toText ? Following(dialog, from, step, TakesText) : 0;
    if (number == 0) number = Following(dialog, from, step, TakesFocus);
    if (number == 0) return false;
    ScrollIntoView(dialog, number);
    if (toText && IsTextItem(Item(dialog, number))) {
        Editing::Begin(dialog, number);
    } else {
        Focus(dialog, number);
    }
    return true;
}

int PrimaryItem(const DialogRecord& dialog) {
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (Accepts(dialog, number) && Item(dialog, number).Kind == ItemKind::Button &&
            Item(dialog, number).Role == Role::Primary)
            return number;
    return 0;
}

bool Escaped(DialogRecord& dialog) {
    if (Editing::IsUnderWay()) {
        Editing::Cancel();
        return true;
    }
    const bool ownWindow = dialog.Spec.Window != Platform::WindowKind::Panel;
    if (!ownWindow || !dialog.Spec.CloseBox) return false;
    CloseDialog(dialog);
    return true;
}

// An item that has the focus is pressed.
void PressFocused(DialogRecord& dialog, int number, const Activation& how) {
    if (Item(dialog, number).Kind == ItemKind::List) {
        ChooseEntry(dialog, number, how);
    } else {
        PressItem(dialog, number, how);
    }
}

// The character that a key stands for; none for one that is meant for a menu.
std::string TypedBy(const Event& event) {
    constexpr std::uint32_t commanding = Platform::Command | Platform::Option | Platform::Control;
    if ((event.Modifiers & commanding) != 0) return {};
    const std::uint32_t key = event.Char;
    if (event.KeyClass == KeyClass::Printable) return key >= ' ' && key != 127 ? Texts::Utf8Of(key) : "";
    constexpr auto digits = static_cast<std::uint32_t>(KeyCode::Numeric0);
    if (key >= digits && key < digits + 10) return std::string(1, static_cast<char>('0' + (key - digits)));
    switch (CodeOf(event)) {
    case KeyCode::NumericPoint: return ".";
    case KeyCode::NumericPlus: return "+";
    case KeyCode::NumericMinus: return "-";
    default: return {};
    }
}

// Begins the entry of the item that has the focus, presses it, or flips a bit of its set.
bool HandleTyped(DialogRecord& dialog, const std::string& typed, const Activation& how) {
    const int number = dialog.CurrentItem;
    if (number == 0) return false;
    if (TakesText(dialog, number)) {
        Editing::Begin(dialog, number, typed);
        return true;
    }
    if (!TakesFocus(dialog, number)) return false;
    if (typed == " ") {
        PressFocused(dialog, number, how);
        return true;
    }
    std::uint16_t bit = 0;
    const bool digit = Item(dialog, number).Kind == ItemKind::MultiCheck && ReadSetDigits(typed, bit);
    if (!digit || bit == 0) return false;
    FlipBits(dialog, number, bit, how);
    return true;
}

bool HandleFocusKey(DialogRecord& dialog, const Event& event) {
    const Activation how{
        .KeyClass = event.KeyClass, .Char = event.Char, .Modifiers = event.Modifiers, .Source = Source::Key};
    switch (CodeOf(event)) {
    case KeyCode::Tab: return MoveFocus(dialog, (event.Modifiers & Platform::Shift) != 0 ? -1 : 1, true);
    case KeyCode::Backtab: return MoveFocus(dialog, -1, true);
    case KeyCode::CursorDown:
    case KeyCode::CursorRight: return MoveFocus(dialog, 1, false);
    case KeyCode::CursorUp:
    case KeyCode::CursorLeft: return MoveFocus(dialog, -1, false);
    case KeyCode::Escape: return Escaped(dialog);
    case KeyCode::Return:
    case KeyCode::Enter: {
        const int number = dialog.CurrentItem != 0 ? dialog.CurrentItem : PrimaryItem(dialog);
        if (number == 0 || !TakesFocus(dialog, number)) return false;
        PressFocused(dialog, number, how);
        return true;
    }
    default: break;
    }
    const std::string typed = TypedBy(event);
    return !typed.empty() && HandleTyped(dialog, typed, how);
}

// Keys that the platform's editing leaves to us.
bool HandleEntryKey(DialogRecord& dialog, const Event& event) {
    switch (CodeOf(event)) {
    case KeyCode::Escape: Editing::Cancel(); return true;
    case KeyCode::Return:
    case KeyCode::Enter: (void)Editing::Commit(); return true;
    case KeyCode::Tab:
    case KeyCode::Backtab: {
        const bool back = CodeOf(event) == KeyCode::Backtab || (event.Modifiers & Platform::Shift) != 0;
        if (Editing::Commit() && dialog.IsOpen) MoveFocus(dialog, back ? -1 : 1, true);
        return true;
    }
    default: return false;
    }
}

bool HandleKey(DialogRecord& dialog, const Event& event) {
    if (Editing::IsUnderWay() && Editing::IsUnderWay(dialog, dialog.CurrentItem) &&
        HandleEntryKey(dialog, event))
        return true;
    if (dialog.Procs.KeyProc != nullptr && dialog.Procs.KeyProc(dialog, event)) {
        if (ItemHooks.AfterKey != nullptr) ItemHooks.AfterKey(dialog, event);
        return true;
    }
    if (PressByKey(dialog, event, true)) return true;
    if (!dialog.Modal)
        for (DialogRecord* other = FirstDialog(); other != nullptr; other = other->NextDialog)
            if (other != &dialog && other->IsOpen && PressByKey(*other, event, false)) return true;
    return HandleFocusKey(dialog, event);
}

Platform::Point Local(const DialogRecord& dialog, Platform::Point at) {
    const Platform::Point origin = Platform::Ops().WindowOrigin(dialog.WindowHandle);
    return {at.X - origin.X, at.Y - origin.Y};
}

bool HandleMouse(DialogRecord& dialog, const Event& event) {
    const Platform::Point at = Local(dialog, event.At);
    const bool option = (event.Modifiers & Platform::Option) != 0;
    const bool control = (event.Modifiers & Platform::Control) != 0;
    const bool left = event.Button != Platform::MiddleButton && event.Button != Platform::RightButton;
    if (left && !dialog.Modal && option) {
        Editing::Leave(dialog);
        MoveItems(dialog, ItemAt(dialog, at, true), at, control);
        return true;
    }
    if (left && !dialog.Modal && control) {
        Editing::LeaveAny();
        if (ConfigureItem != nullptr) ConfigureItem(dialog, ItemAt(dialog, at));
        return true;
    }
    const int number = ItemAt(dialog, at);
    if (!Editing::IsUnderWay(dialog, number)) Editing::LeaveAny();
    if (!dialog.IsOpen) return true;
    if (dialog.Procs.MouseProc != nullptr && dialog.Procs.MouseProc(dialog, event)) return true;
    if (!left) return false;
    if (number == 0 || !Accepts(dialog, number) || ItemIsLocked(dialog, number)) return true;
    TrackItem(dialog, number, event, at);
    return true;
}

bool HandleWheel(DialogRecord& dialog, const Event& event) {
    const Platform::Point at = Local(dialog, event.At);
    const auto steps = static_cast<std::int32_t>(event.Parameter2) / 120.0;
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!IsVisible(dialog, number)) continue;
        if (!IsScrollFrame(dialog, number) || !Item(dialog, number).ItemRect.Area().Holds(at)) continue;
        ScrollTo(dialog, number, ScrollOffset(dialog, number) - static_cast<int>(steps * ScrollStep));
        return true;
    }
    return false;
}

void KeepPlace(DialogRecord& dialog) {
    const Platform::Area place = Platform::Ops().WindowPlace(dialog.WindowHandle);
    const Platform::Size size = Platform::Ops().ContentSize(dialog.WindowHandle);
    dialog.WindowRect.Left = static_cast<std::int32_t>(place.Left);
    dialog.WindowRect.Top = static_cast<std::int32_t>(place.Top);
    dialog.WindowRect.Right = dialog.WindowRect.Left + static_cast<std::int32_t>(size.Width);
    dialog.WindowRect.Bottom = dialog.WindowRect.Top + static_cast<std::int32_t>(size.Height);
}

bool Call(DialogProcedure procedure, DialogRecord& dialog, const Event& event) {
    return procedure != nullptr && procedure(dialog, event);
}

// A box of lines takes the cursor without our doing: an entry beside it has been left.
void TypedInBox(DialogRecord& dialog, Platform::TextBoxId box) {
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!HasItem(dialog, number) || !Item(dialog, number).Lines || Item(dialog, number).TextBox != box)
            continue;
        Editing::LeaveAny();
        if (!dialog.IsOpen) return;
        Editing::TakeBoxText(dialog, box);
        Activate(dialog, number, {.Source = Source::Key});
        return;
    }
}

bool HandleWindow(DialogRecord& dialog, const Event& event) {
    switch (event.Kind) {
    case KeyKind::KeyUpdate:
        UpdateDialog(dialog);
        Call(dialog.Procs.UpdateProc, dialog, event);
        return true;
    case KeyKind::KeyResized:
        KeepPlace(dialog);
        FitToWindow(dialog);
        if (!Call(dialog.Procs.ResizeProc, dialog, event)) UpdateDialog(dialog);
        return true;
    case KeyKind::KeyMoved:
        KeepPlace(dialog);
        Call(dialog.Procs.MoveProc, dialog, event);
        return true;
    case KeyKind::KeyIconize:
        dialog.WindowState = event.Parameter1 != 0 ? 1 : 0;
        Call(dialog.Procs.IconizeProc, dialog, event);
        return true;
    case KeyKind::KeyActivate:
        if (!Editing::IsUnderWayIn(dialog)) Editing::LeaveAny();
        if (dialog.IsOpen) Call(dialog.Procs.ActivateProc, dialog, event);
        return true;
    case KeyKind::KeyWindowClose:
        if (!dialog.Spec.CloseBox) return true; // the desktop may have its own ways to ask
        if (dialog.Spec.Window == Platform::WindowKind::Panel) {
            ShowDialog(dialog, false);
        } else {
            CloseDialog(dialog);
        }
        return true;
    case KeyKind::KeyWindow:
        if (event.Detail == Platform::TextBoxChanged) {
            TypedInBox(dialog, event.Parameter1);
            return true;
        }
        return Call(dialog.Procs.WindowProc, dialog, event);
    default: return false;
    }
}

bool IsInput(const Event& event) {
    return event.Kind == KeyKind::KeyCharacter || event.Kind == KeyKind::KeyMouse ||
           event.Kind == KeyKind::KeyDoubleMouse || event.Kind == KeyKind::KeyTripleMouse;
}

bool Dispatch(DialogRecord& dialog, const Event& event) {
    switch (event.Kind) {
    case KeyKind::KeyCharacter: return HandleKey(dialog, event);
    case KeyKind::KeyMouse:
    case KeyKind::KeyDoubleMouse:
    case KeyKind::KeyTripleMouse: return HandleMouse(dialog, event);
    case KeyKind::KeyOSEvent:
        return (event.Parameter1 == Platform::SystemWheel && HandleWheel(dialog, event)) ||
               Call(dialog.Procs.WindowProc, dialog, event);
    default: return HandleWindow(dialog, event);
    }
}

// The items whose values change with this one: radio buttons side by side on the same page.
std::vector<int> GroupOf(const DialogRecord& dialog, int number) {
    const auto belongs = [&](int other) {
        return HasItem(dialog, other) && Item(dialog, other).Kind == ItemKind::RadioButton &&
               Item(dialog, other).PaneNumber == Item(dialog, number).PaneNumber;
    };
    std::vector<int> group{number};
    if (Item(dialog, number).Kind != ItemKind::RadioButton) return group;
    for (int other = number - 1; belongs(other); --other) group.push_back(other);
    for (int other = number + 1; belongs(other); ++other) group.push_back(other);
    return group;
}

// False when the press changes nothing and there is nothing to run.
bool ChangeByPress(DialogRecord& dialog, int number, const std::vector<int>& group, int steps) {
    DialogItem& item = Item(dialog, number);
    switch (item.Kind) {
    case ItemKind::Switch:
    case ItemKind::CheckBox:
    case ItemKind::FramedBool: SetBool(item, !BoolOf(item)); return true;
    case ItemKind::TrueFalse:
    case ItemKind::HighLow: return StepToggle(item, steps);
    case ItemKind::List: return StepList(item, steps < 0 ? -1 : 1);
    case ItemKind::RadioButton:
        for (const int other : group) SetBool(Item(dialog, other), other == number);
        return true;
    case ItemKind::Pane:
        if (item.PaneSelects != 0) SelectPage(dialog, item.PaneSelects);
        return true;
    case ItemKind::FramedText:
    case ItemKind::FramedNumber:
    case ItemKind::EditText:
    case ItemKind::Drag:
    case ItemKind::Drag2: Editing::Begin(dialog, number); return false;
    default: return true;
    }
}

}

void ChooseRadio(DialogRecord& dialog, int number) {
    for (const int other : GroupOf(dialog, number)) {
        SetBool(Item(dialog, other), other == number);
        RedrawItem(dialog, other);
    }
}

void PressItem(DialogRecord& dialog, int number, Activation how, int steps) {
    if (!Editing::IsUnderWay(dialog, number)) Editing::LeaveAny();
    if (!dialog.IsOpen || !Accepts(dialog, number) || ItemIsLocked(dialog, number)) return;
    const std::vector<int> group = GroupOf(dialog, number);
    std::vector<HeldValue> before;
    for (const int n : group) before.push_back(Hold(Item(dialog, n)));
    const std::int16_t pageBefore = dialog.CurrentPage;
    if (!ChangeByPress(dialog, number, group, steps)) return;
    if (how.Source == Source::Key) Flash(dialog, number);
    const bool done = dialog.IsOpen && Activate(dialog, number, how);
    if (!dialog.IsOpen) return;
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (!done) PutBack(Item(dialog, group[i]), before[i]);
        if (!done || group[i] != number) RedrawItem(dialog, group[i]);
    }
    if (!done) SelectPage(dialog, pageBefore);
}

bool HandleEvent(DialogRecord& dialog, const Event& event) {
    if (!dialog.IsOpen) return false;
    if (Tracking && IsInput(event)) return true;
    if (Dispatch(dialog, event)) return true;
    return dialog.IsOpen && Call(dialog.Procs.DefaultProc, dialog, event);
}

bool HandleEvent(const Event& event) {
    DialogRecord* const dialog = DialogOf(event.Window);
    if (dialog == nullptr) return false;
    DialogRecord* const modal = ModalDialog();
    if (modal != nullptr && modal != dialog && IsInput(event)) {
        BringToFront(*modal);
        return true;
    }
    return HandleEvent(*dialog, event);
}

int ItemAt(const DialogRecord& dialog, Platform::Point at, bool fromTop) {
    const int count = dialog.ItemCount;
    for (int i = 1; i <= count; ++i) {
        const int number = fromTop ? count + 1 - i : i;
        if (!IsVisible(dialog, number) || !Item(dialog, number).Enabled) continue;
        const DialogItem& item = Item(dialog, number);
        if (item.Role == Role::Card && item.Kind == ItemKind::Text && !fromTop) continue;
        if (IsScrollFrame(dialog, number) && !fromTop) continue;
        if (!item.ItemRect.Area().Holds(at)) continue;
        if (item.ScrollFrame != 0 && HasItem(dialog, item.ScrollFrame) &&
            !Item(dialog, item.ScrollFrame).ItemRect.Area().Holds(at))
            continue;
        return number;
    }
    return 0;
}

std::string TipAt(Platform::WindowId window, Platform::Point at, Platform::Area& place) {
    const DialogRecord* const dialog = DialogOf(window);
    if (dialog == nullptr || !ShowTooltips) return {};
    const int number = ItemAt(*dialog, at);
    if (number == 0) return {};
    const DialogItem& item = Item(*dialog, number);
    place = item.ItemRect.Area();
    if (!item.Tip.empty()) return item.Tip;
    // A text that is cut off is shown whole.
    const bool cut = Platform::Ops().MeasureText(ItemFont(*dialog, item), item.ItemText).Width > place.Width;
    return cut ? item.ItemText : std::string();
}

Platform::Cursor CursorAt(Platform::WindowId window, Platform::Point at) {
    const DialogRecord* const dialog = DialogOf(window);
    if (dialog == nullptr) return Platform::Cursor::Arrow;
    const int number = ItemAt(*dialog, at);
    if (number == 0 || !TakesFocus(*dialog, number)) return Platform::Cursor::Arrow;
    const DialogItem& item = Item(*dialog, number);
    if (item.Kind == ItemKind::Drag || item.Kind == ItemKind::Drag2) return Platform::Cursor::SizeAll;
    if (IsTextItem(item)) return Platform::Cursor::Text;
    return Platform::Cursor::Arrow;
}

bool IsScrollFrame(const DialogRecord& dialog, int number) {
    return HasItem(dialog, number) && Item(dialog, number).Kind == ItemKind::Pane &&
           Item(dialog, number).PaneSelects == 0;
}

void ScrollIntoView(DialogRecord& dialog, int number) {
    const int frame = HasItem(dialog, number) ? Item(dialog, number).ScrollFrame : 0;
    if (!HasItem(dialog, frame)) return;
    const Rect place = Item(dialog, number).ItemRect, room = Item(dialog, frame).ItemRect;
    const int above = room.Top - place.Top, below = place.Bottom - room.Bottom;
    if (above > 0) ScrollTo(dialog, frame, ScrollOffset(dialog, frame) - above);
    if (above <= 0 && below > 0) ScrollTo(dialog, frame, ScrollOffset(dialog, frame) + below);
}

int ScrollOffset(const DialogRecord& dialog, int frame) {
    if (!HasItem(dialog, frame)) return 0;
    const Rect place = Item(dialog, frame).ItemRect;
    std::int32_t top = place.Top;
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (HasItem(dialog, number) && Item(dialog, number).ScrollFrame == frame)
            top = std::min(top, Item(dialog, number).ItemRect.Top);
    return place.Top - top;
}

void ScrollTo(DialogRecord& dialog, int frame, int offset) {
    if (!HasItem(dialog, frame)) return;
    const Rect place = Item(dialog, frame).ItemRect;
    std::int32_t top = place.Bottom, bottom = place.Top;
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!HasItem(dialog, number) || Item(dialog, number).ScrollFrame != frame) continue;
        top = std::min(top, Item(dialog, number).ItemRect.Top);
        bottom = std::max(bottom, Item(dialog, number).ItemRect.Bottom);
    }
    if (top >= bottom) return;
    const int most = std::max(0, bottom - top - place.Height());
    const std::int32_t move = place.Top - std::clamp(offset, 0, most) - top;
    if (move == 0) return;
    if (dialog.IsOpen) Editing::Leave(dialog);
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!HasItem(dialog, number) || Item(dialog, number).ScrollFrame != frame) continue;
        Rect& rect = Item(dialog, number).ItemRect;
        rect.Top += move;
        rect.Bottom += move;
        RedrawItem(dialog, number);
    }
}

}
