#include "ui/dialog.h"

#include "base/messages.h"
#include "base/text.h"
#include "ui/dia_file.h"
#include "ui/dialog_events.h"
#include "ui/draw_item.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/tracking.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace Dialogs {

Activation Current;
ActivationHooks ItemHooks;
void (*EventStep)() = nullptr;
void (*AfterConfigure)(DialogRecord& dialog) = nullptr;
void (*DialogCloses)(DialogRecord& dialog) = nullptr;
std::uint8_t UserLevel = 255;
bool Tracking = false;

namespace {

DialogRecord* First = nullptr;

constexpr double FocusMargin = 5; // of a layer beyond its item: the focus ring

std::string BufferNameOf(const DialogSpec& spec) {
    std::string name = "DialBuffer" + (spec.BufferName.empty() ? spec.Title : spec.BufferName);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == ' '; }, '_');
    return name.substr(0, Buffer::NameMax);
}

bool IsListed(const DialogRecord* dialog) {
    const DialogRecord* each = First;
    while (each != nullptr && each != dialog) each = each->NextDialog;
    return each != nullptr;
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

Rect RectOf(Platform::Area area) {
    const auto whole = [](double value) { return static_cast<std::int32_t>(std::lround(value)); };
    Rect rect{whole(area.Left), whole(area.Top), whole(area.Right()), whole(area.Bottom())};
    if (rect.Top > rect.Bottom) std::swap(rect.Top, rect.Bottom);
    return rect;
}

void KeepBase(DialogRecord& dialog, Platform::Size size) {
    dialog.BaseRects.clear();
    for (const DialogItem& item : *dialog.Items) dialog.BaseRects.push_back(item.ItemRect);
    dialog.BaseSize = size;
}

Platform::Size SizeOf(const Rect& rect) {
    return {static_cast<double>(rect.Width()), static_cast<double>(rect.Height())};
}

// A shortcut for any modifier is kept in upper case.
Shortcut Folded(Shortcut key) {
    if (key.AnyModifier && key.Class == Events::KeyClass::Printable && key.Char >= 'a' && key.Char <= 'z')
        key.Char -= 'a' - 'A';
    return key;
}

void MakeItems(DialogRecord& dialog) {
    DialogItem blank;
    blank.ItemText = dialog.DialogName;
    blank.FontNumber = dialog.Spec.FontNumber;
    blank.FontSize = dialog.Spec.FontSize;
    blank.LineHeight = static_cast<std::int16_t>(blank.FontSize * 13 / 10);
    dialog.Items->assign(static_cast<std::size_t>(dialog.ItemCount) + 1, blank);
    for (std::size_t i = 1; i < dialog.Items->size(); ++i) (*dialog.Items)[i].ItemText.clear();
    dialog.ItemRegion.assign(dialog.Items->size(), false);
    dialog.LastKeyItem = 0;
    dialog.CurrentItem = 0;
    dialog.WindowRect = RectOf(dialog.Spec.Place);
    if (dialog.Spec.Define != nullptr) dialog.Spec.Define(dialog);
}

// The items as coded, with the values that they kept themselves.
void MakeItemsAgain(DialogRecord& dialog) {
    const std::vector<DialogItem> before(dialog.Items->begin(), dialog.Items->end());
    MakeItems(dialog);
    for (std::size_t i = 1; i < before.size(); ++i) {
        DialogItem& item = (*dialog.Items)[i];
        if (item.Kind != before[i].Kind || item.ItemName != before[i].ItemName) continue;
        item.OwnValue = before[i].OwnValue;
        item.OwnText = before[i].OwnText;
    }
}

void FindLastKey(DialogRecord& dialog) {
    dialog.LastKeyItem = 0;
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        const DialogItem& item = (*dialog.Items)[static_cast<std::size_t>(number)];
        if (item.Key.IsSet() || item.Key2.IsSet()) dialog.LastKeyItem = static_cast<std::int16_t>(number);
    }
}

void PutKey(DialogItem& item, const Shortcut& key, bool second) {
    (second ? item.Key2 : item.Key) = Folded(key);
}

void TakeUserKeys(DialogRecord& dialog) {
    for (const UserKey& each : dialog.UserKeys)
        if (HasItem(dialog, each.Number)) PutKey(Item(dialog, each.Number), each.Key, each.Second);
    FindLastKey(dialog);
}

void OpenTextBoxes(DialogRecord& dialog) {
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (HasItem(dialog, number) && Item(dialog, number).Lines) Editing::OpenBox(dialog, number);
}

void SetPanes(DialogRecord& dialog) {
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        DialogItem& item = Item(dialog, number);
        item.PaneHidden = item.PaneNumber != 0 && item.PaneNumber != dialog.CurrentPage;
    }
}

// The item with what its tool draws in it, cut to the frame that scrolls it.
void DrawWhole(DialogRecord& dialog, int number, Platform::Drawing& drawing) {
    const DialogItem& item = Item(dialog, number);
    const Platform::Area place = item.ItemRect.Area();
    const bool clipped = HasItem(dialog, item.ScrollFrame);
    if (clipped) drawing.Clip(Item(dialog, item.ScrollFrame).ItemRect.Area());
    DrawItem(dialog, number, drawing);
    if (item.DrawProc != nullptr) {
        Platform::Drawing own;
        item.DrawProc(dialog, number, own, {place.Width, place.Height});
        drawing.Inside(place, own);
    }
    if (ShowKeys && item.Key.IsSet()) DrawKey(item, drawing);
    if (clipped) drawing.Unclip();
}

bool OpenWindow(DialogRecord& dialog) {
    const DialogSpec& spec = dialog.Spec;
    const Platform::Size content = SizeOf(dialog.WindowRect);
    const bool hasLeast = spec.Least.Width > 0 && spec.Least.Height > 0;
    Platform::WindowSpec window{
        .Kind = spec.Window,
        .Title = TitleOf(dialog),
        .Name = dialog.DialogIDName.empty() ? dialog.DialogName : dialog.DialogIDName,
        .Content = content,
        .Least = hasLeast ? spec.Least : Platform::Size{spec.Place.Width, spec.Place.Height},
        .At = {static_cast<double>(dialog.WindowRect.Left), static_cast<double>(dialog.WindowRect.Top)},
        .Dock = spec.Dock,
        .Sizable = spec.Growable,
        .CloseBox = spec.CloseBox,
        .Shown = spec.Shown};
    dialog.WindowHandle = Platform::Ops().OpenWindow(window);
    return dialog.WindowHandle != 0;
}

}

bool SetupDialogBuffer(DialogRecord& dialog, const DialogSpec& spec) {
    const std::string name = BufferNameOf(spec);
    if (dialog.IsOpen) {
        Messages::Alert("Cannot initialize " + Quoted(spec.Title) + ": already open!");
        return false;
    }
    if (dialog.Items || Buffer::Exists(name)) {
        Messages::Alert("Dialog buffer " + Quoted(dialog.Items ? dialog.BufferName : name) +
                        " already exists!");
        return false;
    }
    if (spec.Count < 0 || spec.Count > 32766) return false;
    Buffer::Heap* heap = Buffer::Create(name, Buffer::Kind::Unique);
    if (heap == nullptr) return false;
    dialog = {};
    dialog.Spec = spec;
    dialog.BufferName = name;
    dialog.DialogMemory = heap;
    dialog.ItemCount = static_cast<std::int16_t>(spec.Count);
    dialog.Version = spec.Version;
    dialog.Modal = spec.Modal;
    dialog.NamesRequired = spec.NamesRequired;
    dialog.Storable = spec.Storable;
    dialog.DialogName = Texts::CutUtf8(spec.Title, TextMax);
    try {
        dialog.Items = std::make_unique<std::pmr::vector<DialogItem>>(heap);
        dialog.Items->reserve(static_cast<std::size_t>(spec.Count) + 1);
    } catch (const std::bad_alloc&) {
        dialog.Items.reset();
        Buffer::Release(heap);
        dialog.DialogMemory = nullptr;
        return false;
    }
    dialog.NextDialog = First;
    First = &dialog;
    SetDialogProcs(dialog, spec.Procs, spec.IDName);
    MakeItems(dialog);
    KeepBase(dialog, SizeOf(dialog.WindowRect));
    return true;
}

void DisposeDialog(DialogRecord& dialog) {
    CloseDialog(dialog);
    Forget(dialog);
    for (DialogRecord** link = &First; *link != nullptr; link = &(*link)->NextDialog) {
        if (*link != &dialog) continue;
        *link = dialog.NextDialog;
        break;
    }
    dialog.Items.reset();
    if (dialog.DialogMemory != nullptr) Buffer::Release(dialog.DialogMemory);
    if (Current.Dialog == &dialog) Current = {};
    dialog = {};
}

void DisposeAll() {
    while (First != nullptr) DisposeDialog(*First);
}

bool SetItem(DialogRecord& dialog, int number, ItemKind kind, std::string_view name, bool macroFlag,
             std::string_view text, int left, int top, int width, int height) {
    if (!dialog.Items || number < 1 || number > dialog.ItemCount) return false;
    const std::string where = dialog.DialogName + "[" + std::to_string(number) + "]: ";
    if (name.empty() && dialog.NamesRequired) {
        Messages::Note(where + "ItemName cannot be empty.");
        return false;
    }
    for (int other = 1; other < number && !name.empty(); ++other) {
        if (Item(dialog, other).ItemName != name) continue;
        Messages::Note(where + "same name as item[" + std::to_string(other) + "]: " + Quoted(name));
        return false;
    }
    DialogItem item = (*dialog.Items)[0];
    item.Kind = kind;
    item.ItemName = Texts::CutUtf8(name, TextMax);
    item.ItemText = Texts::CutUtf8(text, TextMax);
    item.MacroEnabled = macroFlag;
    item.ItemRect = RectOf({static_cast<double>(left), static_cast<double>(top), static_cast<double>(width),
                            static_cast<double>(height)});
    (*dialog.Items)[static_cast<std::size_t>(number)] = std::move(item);
    return true;
}

void SetItemNumber(DialogRecord& dialog, int number, const NumberForm& form, ValueKind kind) {
    if (!HasItem(dialog, number)) return;
    DialogItem& item = Item(dialog, number);
    item.UnitText = Texts::CutUtf8(form.Unit, UnitMax);
    item.NumberFormat = form.Format;
    item.ValueKind = kind;
    item.TextLength = form.Columns < static_cast<std::int16_t>(TextMax)
                          ? static_cast<std::int16_t>(form.Columns + 1)
                          : form.Columns;
    item.Digits = form.Digits;
    item.ValueLow = form.Low;
    item.ValueHigh = form.High;
    item.ValueScale = form.Scale;
    item.StepSmall = form.Step;
    item.Strict = form.Strict;
}

void SetItemProc(DialogRecord& dialog, int number, ValueRef value, ItemProcedure itemProc,
                 ItemProcedure updateProc) {
    if (!HasItem(dialog, number)) return;
    DialogItem& item = Item(dialog, number);
    item.ValueKind = value.Kind;
    item.ValuePointer = value.Place;
    item.ItemProc = itemProc;
    item.UpdateProc = updateProc;
}

void SetItemKey(DialogRecord& dialog, int number, const Shortcut& key) {
    if (!HasItem(dialog, number)) return;
    PutKey(Item(dialog, number), key, false);
    FindLastKey(dialog);
}

void SetItemKey2(DialogRecord& dialog, int number, const Shortcut& key) {
    if (!HasItem(dialog, number)) return;
    PutKey(Item(dialog, number), key, true);
    FindLastKey(dialog);
}

void AssignKey(DialogRecord& dialog, int number, const Shortcut& key, bool second) {
    if (!HasItem(dialog, number)) return;
    std::erase_if(dialog.UserKeys,
                  [&](const UserKey& each) { return each.Number == number && each.Second == second; });
    dialog.UserKeys.push_back({number, second, key});
    PutKey(Item(dialog, number), key, second);
    FindLastKey(dialog);
}

void SetList(DialogRecord& dialog, int number, std::span<const char* const> entries) {
    if (!HasItem(dialog, number)) return;
    Item(dialog, number).ListEntries.assign(entries.begin(), entries.end());
}

void SetDialogProcs(DialogRecord& dialog, const DialogProcs& procs, std::string_view idName) {
    if (idName.find_first_of(" \"") != std::string_view::npos)
        Messages::Note("ID-name " + Quoted(idName) + " should not contain quotes or spaces!");
    dialog.Procs = procs;
    dialog.DialogIDName.clear();
    if (FindDialog(idName) == nullptr) {
        dialog.DialogIDName = Texts::CutUtf8(idName, TextMax);
        return;
    }
    std::string text = "ID-name " + Quoted(idName) + " (" + dialog.DialogName + ") is already taken: ";
    for (const DialogRecord* each = First; each != nullptr; each = each->NextDialog)
        if (!each->DialogIDName.empty()) text += "\n  " + each->DialogIDName + " -> " + each->DialogName;
    Messages::Note(text);
}

void DefineRows(DialogRecord& dialog, std::span<const Row> rows) {
    for (const Row& row : rows) {
        if (!SetItem(dialog, row.Number, row.Kind, row.Name, row.Macro, row.Text,
                     static_cast<int>(row.At.Left), static_cast<int>(row.At.Top),
                     static_cast<int>(row.At.Width), static_cast<int>(row.At.Height)))
            continue;
        DialogItem& item = Item(dialog, row.Number);
        SetItemNumber(dialog, row.Number, row.Form, row.Value.Kind);
        if (row.Value.Kind == ValueKind::String)
            item.TextLength = row.TextLength > 0 ? row.TextLength : static_cast<std::int16_t>(TextMax);
        item.Justify = static_cast<std::uint8_t>(row.Justify);
        item.PaneNumber = row.Kind == ItemKind::Pane ? std::int16_t{0} : row.Page;
        item.PaneSelects = row.Kind == ItemKind::Pane ? row.Page : std::int16_t{0};
        item.UserLevel = row.Level;
        item.Password = row.Password;
        if (row.FontNumber != 0) item.FontNumber = row.FontNumber;
        if (row.FontSize != 0) item.FontSize = row.FontSize;
        item.Key = Folded(row.Key);
        item.Key2 = Folded(row.Key2);
        item.Role = row.Role;
        item.Lines = row.Lines;
    }
    FindLastKey(dialog);
}

void ConfigureRows(DialogRecord& dialog, std::span<const Row> rows) {
    for (const Row& row : rows) {
        if (!HasItem(dialog, row.Number)) continue;
        DialogItem& item = Item(dialog, row.Number);
        SetItemProc(dialog, row.Number, row.Value, row.Proc, row.Update);
        item.ValueLow = row.Form.Low;
        item.ValueHigh = row.Form.High;
        item.Strict = row.Form.Strict;
        item.Anchor = row.Anchor;
        item.Tip = row.Tip;
        item.DrawProc = row.Draw;
        if (!row.Entries.empty()) SetList(dialog, row.Number, row.Entries);
    }
}

bool OpenDialog(DialogRecord& dialog) {
    if (dialog.IsOpen) {
        ShowDialog(dialog, true);
        BringToFront(dialog);
        return true;
    }
    if (!dialog.Items || dialog.Closing) return false;
    const Rect former = dialog.WindowRect;
    MakeItemsAgain(dialog);
    // A layout that does not load changes nothing: the coded one stands.
    if (!dialog.KeptLayout.empty()) {
        DiaFile::TakeImage(dialog, dialog.KeptLayout);
    } else if (dialog.Spec.LoadDia && dialog.Storable) {
        (void)DiaFile::Load(dialog, {}, DiaFile::Report::Silent);
    }
    KeepBase(dialog, SizeOf(dialog.WindowRect));
    if (dialog.WasOpen) dialog.WindowRect = former;
    if (dialog.Spec.Configure != nullptr) dialog.Spec.Configure(dialog);
    if (AfterConfigure != nullptr) AfterConfigure(dialog);
    TakeUserKeys(dialog);
    SetPanes(dialog);
    if (!OpenWindow(dialog)) return false;
    dialog.IsOpen = true;
    dialog.WasOpen = true;
    static int opened = 0;
    dialog.OpenOrder = ++opened;
    FitToWindow(dialog);
    OpenTextBoxes(dialog);
    UpdateDialog(dialog);
    return true;
}

void CloseDialog(DialogRecord& dialog) {
    if (!dialog.IsOpen || dialog.Closing) return;
    Editing::Leave(dialog);
    if (!dialog.IsOpen) return; // the procedure of what was entered has closed it
    if (Editing::IsUnderWay(dialog, dialog.CurrentItem)) Editing::Cancel(); // or has begun it anew
    dialog.Closing = true;
    if (dialog.Procs.CloseProc != nullptr) dialog.Procs.CloseProc(dialog, {});
    if (DialogCloses != nullptr) DialogCloses(dialog);
    dialog.Closing = false;
    Editing::CloseBoxes(dialog);
    if (dialog.Arranged) dialog.KeptLayout = DiaFile::Image(dialog);
    Platform::Ops().CloseWindow(dialog.WindowHandle);
    dialog.WindowHandle = 0;
    dialog.IsOpen = false;
    dialog.CurrentItem = 0;
}

void RunModal(DialogRecord& dialog) {
    while (dialog.IsOpen && EventStep != nullptr) EventStep();
}

void ShowDialog(DialogRecord& dialog, bool shown) {
    if (!dialog.IsOpen) return;
    if (!shown) Editing::Leave(dialog);
    Platform::Ops().ShowWindow(dialog.WindowHandle, shown);
    if (shown) UpdateDialog(dialog);
}

void BringToFront(DialogRecord& dialog) {
    if (dialog.IsOpen) Platform::Ops().BringToFront(dialog.WindowHandle);
}

void SetAside(DialogRecord& dialog, std::string_view aside) {
    if (dialog.IsOpen) Platform::Ops().SetTitle(dialog.WindowHandle, TitleOf(dialog), aside);
}

std::string TitleOf(const DialogRecord& dialog) {
    const bool own = dialog.Items && !Item(dialog, 0).ItemText.empty();
    return own ? Item(dialog, 0).ItemText : dialog.DialogName;
}

void UpdateAll() {
    for (DialogRecord* dialog = FirstDialog(); dialog != nullptr; dialog = dialog->NextDialog)
        UpdateDialog(*dialog);
}

void UpdateDialog(DialogRecord& dialog) {
    if (!dialog.IsOpen) return;
    const Platform::Size size = Platform::Ops().ContentSize(dialog.WindowHandle);
    Platform::Drawing ground;
    DrawBackground(dialog, size, ground);
    Platform::Ops().DrawLayer(dialog.WindowHandle, 0, {0, 0, size.Width, size.Height}, std::move(ground));
    for (int number = 1; number <= dialog.ItemCount; ++number) RedrawItem(dialog, number);
}

void RedrawItem(DialogRecord& dialog, int number) {
    if (!dialog.IsOpen || !HasItem(dialog, number)) return;
    DialogItem& item = Item(dialog, number);
    if (!IsVisible(dialog, number)) {
        Platform::Ops().DropLayer(dialog.WindowHandle, number);
        Editing::ShowBox(dialog, number, false);
        return;
    }
    if (item.UpdateProc != nullptr) item.UpdateProc(dialog, number);
    if (!dialog.IsOpen) return;
    const Platform::Area place = item.ItemRect.Area();
    Platform::Drawing drawing;
    DrawWhole(dialog, number, drawing);
    Platform::Ops().DrawLayer(dialog.WindowHandle, number, place.Inset(-FocusMargin, -FocusMargin),
                              std::move(drawing));
    Editing::ShowBox(dialog, number, true);
}

Platform::Drawing PictureOf(DialogRecord& dialog) {
    Platform::Drawing drawing;
    if (!dialog.IsOpen) return drawing;
    DrawBackground(dialog, Platform::Ops().ContentSize(dialog.WindowHandle), drawing);
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (IsVisible(dialog, number)) DrawWhole(dialog, number, drawing);
    return drawing;
}

void KeepLayout(DialogRecord& dialog) {
    if (!dialog.IsOpen) return;
    KeepBase(dialog, Platform::Ops().ContentSize(dialog.WindowHandle));
    dialog.Arranged = true;
}

void FitToWindow(DialogRecord& dialog) {
    if (!dialog.IsOpen || dialog.BaseRects.size() != dialog.Items->size()) return;
    std::vector<std::pair<int, int>> scrolled;
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (const int offset = IsScrollFrame(dialog, number) ? ScrollOffset(dialog, number) : 0; offset != 0)
            scrolled.emplace_back(number, offset);
    const Platform::Size size = Platform::Ops().ContentSize(dialog.WindowHandle);
    const auto more = [](double now, double before) {
        return static_cast<std::int32_t>(std::lround(now - before));
    };
    const std::int32_t wider = more(size.Width, dialog.BaseSize.Width);
    const std::int32_t taller = more(size.Height, dialog.BaseSize.Height);
    for (std::size_t i = 1; i < dialog.Items->size(); ++i) {
        DialogItem& item = (*dialog.Items)[i];
        Rect rect = dialog.BaseRects[i];
        if ((item.Anchor & ToRight) != 0) {
            rect.Right += wider;
            if ((item.Anchor & ToLeft) == 0) rect.Left += wider;
        }
        if ((item.Anchor & ToBottom) != 0) {
            rect.Bottom += taller;
            if ((item.Anchor & ToTop) == 0) rect.Top += taller;
        }
        rect.Right = std::max(rect.Right, rect.Left);
        rect.Bottom = std::max(rect.Bottom, rect.Top);
        item.ItemRect = rect;
    }
    for (const auto& [frame, offset] : scrolled) ScrollTo(dialog, frame, offset);
}

bool HasItem(const DialogRecord& dialog, int number) {
    return dialog.Items && number >= 1 && number <= dialog.ItemCount &&
           (*dialog.Items)[static_cast<std::size_t>(number)].Kind != ItemKind::NotKnown;
}

DialogItem& Item(DialogRecord& dialog, int number) {
    return (*dialog.Items)[static_cast<std::size_t>(number)];
}

const DialogItem& Item(const DialogRecord& dialog, int number) {
    return (*dialog.Items)[static_cast<std::size_t>(number)];
}

int FindItem(const DialogRecord& dialog, std::string_view name) {
    for (int number = 1; number <= dialog.ItemCount; ++number)
        if (HasItem(dialog, number) && Item(dialog, number).ItemName == name) return number;
    return 0;
}

int FindItemFolded(const DialogRecord& dialog, std::string_view name) {
    for (int number = 1; number <= dialog.ItemCount && !name.empty(); ++number)
        if (HasItem(dialog, number) && Texts::SameFolded(Item(dialog, number).ItemName, name)) return number;
    return 0;
}

DialogRecord* FirstDialog() {
    return First;
}

DialogRecord* FindDialog(std::string_view idName) {
    for (DialogRecord* dialog = First; dialog != nullptr && !idName.empty(); dialog = dialog->NextDialog)
        if (Texts::SameFolded(dialog->DialogIDName, idName)) return dialog;
    return nullptr;
}

DialogRecord* DialogOf(Platform::WindowId window) {
    for (DialogRecord* dialog = First; dialog != nullptr && window != 0; dialog = dialog->NextDialog)
        if (dialog->IsOpen && dialog->WindowHandle == window) return dialog;
    return nullptr;
}

DialogRecord* FrontDialog() {
    return DialogOf(Platform::Ops().FrontWindow());
}

void LockItem(DialogRecord& dialog, int number, bool locked) {
    if (!HasItem(dialog, number) || ItemIsLocked(dialog, number) == locked) return;
    dialog.ItemRegion[static_cast<std::size_t>(number)] = locked;
    RedrawItem(dialog, number);
}

bool ItemIsLocked(const DialogRecord& dialog, int number) {
    return number >= 0 && static_cast<std::size_t>(number) < dialog.ItemRegion.size() &&
           dialog.ItemRegion[static_cast<std::size_t>(number)];
}

void EnableItem(DialogRecord& dialog, int number, bool enabled) {
    if (!HasItem(dialog, number) || Item(dialog, number).Enabled == enabled) return;
    Item(dialog, number).Enabled = enabled;
    RedrawItem(dialog, number);
}

void ShowItem(DialogRecord& dialog, int number, bool visible) {
    if (!HasItem(dialog, number) || Item(dialog, number).Visible == visible) return;
    Item(dialog, number).Visible = visible;
    RedrawItem(dialog, number);
}

void SetItemText(DialogRecord& dialog, int number, std::string_view text) {
    if (!HasItem(dialog, number) || Item(dialog, number).ItemText == text) return;
    Item(dialog, number).ItemText = Texts::CutUtf8(text, ValueTextMax);
    RedrawItem(dialog, number);
}

bool IsVisible(const DialogRecord& dialog, int number) {
    return HasItem(dialog, number) && Item(dialog, number).Visible && !Item(dialog, number).PaneHidden;
}

bool Accepts(const DialogRecord& dialog, int number) {
    if (!IsVisible(dialog, number)) return false;
    const DialogItem& item = Item(dialog, number);
    return item.Executable && item.Enabled && item.UserLevel <= UserLevel;
}

void SelectPage(DialogRecord& dialog, std::int16_t page) {
    if (dialog.CurrentPage == page) return;
    Editing::Leave(dialog);
    dialog.CurrentPage = page;
    SetPanes(dialog);
    if (dialog.CurrentItem != 0 && !IsVisible(dialog, dialog.CurrentItem)) dialog.CurrentItem = 0;
    UpdateDialog(dialog);
}

bool BeginActivation(DialogRecord& dialog, int number, const Activation& how) {
    if (!HasItem(dialog, number)) return false;
    const Activation former = Current;
    Current = how;
    Current.Dialog = &dialog;
    Current.Item = number;
    if (ItemHooks.Before == nullptr || ItemHooks.Before(dialog, number)) return true;
    Current = former;
    return false;
}

void FinishActivation(DialogRecord& dialog, int number, bool execute) {
    RedrawItem(dialog, number);
    if (execute && HasItem(dialog, number) && Item(dialog, number).ItemProc != nullptr)
        Item(dialog, number).ItemProc(dialog, number);
    if (dialog.Items && ItemHooks.After != nullptr) ItemHooks.After(dialog, number);
}

bool Activate(DialogRecord& dialog, int number, const Activation& how) {
    const Activation outer = Current; // of the procedure that presses another item
    if (!BeginActivation(dialog, number, how)) return false;
    FinishActivation(dialog, number);
    Current = IsListed(outer.Dialog) ? outer : Activation{};
    return true;
}

DialogRecord* ModalDialog() {
    DialogRecord* found = nullptr;
    for (DialogRecord* dialog = First; dialog != nullptr; dialog = dialog->NextDialog)
        if (dialog->IsOpen && dialog->Modal && (found == nullptr || dialog->OpenOrder > found->OpenOrder))
            found = dialog;
    return found;
}

}
