#include "ui/item_config.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "ui/dialog_events.h"
#include "ui/editing.h"
#include "ui/item_value.h"
#include "ui/key_names.h"
#include "ui/menus.h"
#include "ui/theme.h"

#include <array>
#include <map>
#include <tuple>

namespace ItemConfig {

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Rect;
using Dialogs::Role;
using Dialogs::Row;
using NumberText::Format;

constexpr std::size_t FormatCount = 5, StyleCount = 7;

// What the dialog may change of an item.
constexpr auto Fields = std::tuple{
    &DialogItem::ItemRect,   &DialogItem::TextLeft,  &DialogItem::TextBottom, &DialogItem::ItemText,
    &DialogItem::TextLength, &DialogItem::Digits,    &DialogItem::FontNumber, &DialogItem::FontSize,
    &DialogItem::LineHeight, &DialogItem::TextStyle, &DialogItem::Justify,    &DialogItem::NumberFormat,
    &DialogItem::Executable, &DialogItem::Visible,   &DialogItem::Enabled,    &DialogItem::Inverted,
    &DialogItem::BackColor,  &DialogItem::HighColor, &DialogItem::Key};

// Gives the item what differs between two states of it. False when nothing does.
bool TakeChanges(DialogItem& item, const DialogItem& from, const DialogItem& to) {
    bool any = false;
    const auto take = [&](auto field) {
        if (from.*field == to.*field) return;
        item.*field = to.*field;
        any = true;
    };
    std::apply([&](auto... field) { (take(field), ...); }, Fields);
    return any;
}

// An item that was visited: as it was, and as it was left.
struct Visited {
    DialogItem Before, After;
};

struct ConfigState {
    DialogRecord Dialog;
    DialogRecord* Target = nullptr;
    int Number = 0;
    DialogItem Shown, Edited; // the item as it was taken, and the copy at work
    std::map<int, Visited> Items;
    bool Keep = false; // Done
    // The copy in the shape of the dialog's items.
    std::string ItemName;
    std::int32_t Left = 0, Bottom = 0, Width = 0, Height = 0;
    std::array<bool, FormatCount> Formats{};
    bool Normal = true;
    std::array<bool, StyleCount> Styles{};
    bool Assigning = false; // the next key is the item's
};
ConfigState State;

enum Items : std::uint8_t {
    None,
    Title,
    ItemH,
    GotoName,
    GotoItem,
    Line1,
    RectH,
    RectLeftH,
    RectLeft,
    RectBottomH,
    RectBottom,
    RectWidthH,
    RectWidth,
    RectHeightH,
    RectHeight,
    PositionH,
    PositionLeftH,
    PositionLeft,
    PositionBottomH,
    PositionBottom,
    TextH,
    Text,
    LengthH,
    Length,
    DigitsH,
    Digits,
    SizeH,
    Size,
    FontH,
    Font,
    KeyH,
    Key,
    NoKey,
    FrontOnly,
    AnyModifier,
    Line2,
    FormatH,
    FormatInteger,
    FormatHexadecimal,
    FormatFixed,
    FormatScientific,
    FormatEngineering,
    ItemFlagsH,
    Executable,
    Visible,
    Enabled,
    Inverted,
    JustifyH,
    Justify,
    StyleH,
    StyleNormal,
    StyleBold,
    StyleItalic,
    StyleUnderline,
    StyleOutline,
    StyleShadow,
    StyleCondense,
    StyleExtend,
    ColorsH,
    BackColor,
    BackSample,
    HighColor,
    HighSample,
    PictureH,
    Picture,
    Line3,
    Update,
    Cancel,
    Done,
    ItemTotal = Done
};

// -- the copy and its shape in the dialog ----------------------------------------------------------------

// The window of a dialog stands in the place of item 0.
Rect PlaceOf(const DialogRecord& dialog, int number) {
    if (number != 0) return Dialogs::Item(dialog, number).ItemRect;
    const Platform::Area place = Platform::Ops().WindowPlace(dialog.WindowHandle);
    const Platform::Size size = Platform::Ops().ContentSize(dialog.WindowHandle);
    Rect rect{static_cast<std::int32_t>(place.Left), static_cast<std::int32_t>(place.Top), 0, 0};
    rect.Right = rect.Left + static_cast<std::int32_t>(size.Width);
    rect.Bottom = rect.Top + static_cast<std::int32_t>(size.Height);
    return rect;
}

DialogItem CopyOf(const DialogRecord& dialog, int number) {
    DialogItem item = Dialogs::Item(dialog, number);
    item.ItemRect = PlaceOf(dialog, number);
    return item;
}

void ShapeOfCopy() {
    const DialogItem& item = State.Edited;
    State.Left = item.ItemRect.Left;
    State.Bottom = item.ItemRect.Bottom;
    State.Width = item.ItemRect.Width();
    State.Height = item.ItemRect.Height();
    for (std::size_t i = 0; i < FormatCount; ++i)
        State.Formats[i] = static_cast<std::size_t>(item.NumberFormat) == i;
    for (std::size_t i = 0; i < StyleCount; ++i) State.Styles[i] = (item.TextStyle >> i & 1) != 0;
    State.Normal = item.TextStyle == 0;
}

std::string KeyText() {
    if (State.Assigning) return "Press the new key";
    const std::string name = KeyNames::Short(State.Edited.Key);
    if (!(State.Edited.Key == State.Shown.Key) && !name.empty()) return "New key: " + name;
    return name.empty() ? "none" : name;
}

void ShowKey() {
    Dialogs::SetItemText(State.Dialog, Key, KeyText());
    Dialogs::RedrawItem(State.Dialog, Key);
}

// What makes no sense for the item cannot be changed.
void ShowAbilities() {
    DialogRecord& dialog = State.Dialog;
    const DialogItem& item = State.Edited;
    const bool isItem = State.Number != 0, number = isItem && Dialogs::IsNumberItem(item);
    const auto enable = [&](int first, int last, bool can) {
        for (int n = first; n <= last; ++n) Dialogs::EnableItem(dialog, n, can);
    };
    enable(PositionH, PositionBottom, isItem);
    enable(LengthH, Length, isItem && (Dialogs::IsTextItem(item) || Dialogs::IsList(item)));
    enable(DigitsH, Digits, number);
    enable(FormatH, FormatEngineering, number);
    enable(SizeH, Font, isItem);
    enable(KeyH, AnyModifier, isItem);
    enable(ItemFlagsH, StyleExtend, isItem);
    enable(HighColor, HighSample, isItem);
}

void ShowAll() {
    ShapeOfCopy();
    State.Assigning = false;
    Dialogs::Item(State.Dialog, 0).ItemText = TitleFor(*State.Target, State.Number);
    Dialogs::SetItemText(State.Dialog, Title, TitleFor(*State.Target, State.Number));
    Dialogs::SetAside(State.Dialog, {});
    ShowAbilities();
    ShowKey();
    Dialogs::UpdateDialog(State.Dialog);
}

void TakeItem(int number) {
    State.Number = number;
    State.Shown = State.Edited = CopyOf(*State.Target, number);
    State.ItemName = State.Shown.ItemName;
}

// -- the dialog at work ------------------------------------------------------------------------------------

void TakeWindowPlace(DialogRecord& dialog, const Rect& place) {
    Platform::Ops().PlaceWindow(dialog.WindowHandle, place.Area());
    Dialogs::FitToWindow(dialog);
}

// Gives an item what differs between two states, and shows it.
void Apply(DialogRecord& dialog, int number, const DialogItem& from, const DialogItem& to) {
    DialogItem& item = Dialogs::Item(dialog, number);
    const Rect own = item.ItemRect;
    if (!TakeChanges(item, from, to)) return;
    if (number == 0) {
        item.ItemRect = own;
        if (from.ItemRect != to.ItemRect) TakeWindowPlace(dialog, to.ItemRect);
        Dialogs::SetAside(dialog, {});
    }
    if (!(from.Key == to.Key)) Dialogs::AssignKey(dialog, number, to.Key);
    Dialogs::KeepLayout(dialog);
    Dialogs::UpdateDialog(dialog);
}

void UpdateTarget() {
    if (State.Target == nullptr) return;
    const DialogItem from = State.Shown, to = State.Edited;
    State.Items.try_emplace(State.Number, Visited{.Before = from, .After = from});
    TakeChanges(State.Items[State.Number].After, from, to);
    State.Shown = to;
    Apply(*State.Target, State.Number, from, to);
}

void PutAllBack() {
    DialogRecord& dialog = *State.Target;
    for (const auto& [number, visited] : State.Items)
        if (number == 0 || Dialogs::HasItem(dialog, number))
            Apply(dialog, number, visited.After, visited.Before);
    State.Items.clear();
}

void Forget() {
    State.Target = nullptr;
    State.Items.clear();
    State.Assigning = false;
}

bool Closed(DialogRecord&, const Events::Event&) {
    DialogRecord* const target = State.Target;
    if (target != nullptr && target->IsOpen && !State.Keep) PutAllBack();
    Forget();
    return true;
}

// Another dialog goes, with what was updated in it so far.
void OneCloses(DialogRecord& dialog) {
    if (&dialog != State.Target) return;
    Forget();
    Dialogs::CloseDialog(State.Dialog);
}

// -- procedures of the items -------------------------------------------------------------------------------

void RectChanged(DialogRecord&, int) {
    if (State.Number == 0) {
        State.Width = std::max(State.Width, Dialogs::WindowWidthLeast);
        State.Height = std::max(State.Height, Dialogs::WindowHeightLeast);
    }
    State.Edited.ItemRect = {State.Left, State.Bottom - State.Height, State.Left + State.Width, State.Bottom};
}

void SizeChanged(DialogRecord&, int) {
    State.Edited.LineHeight = static_cast<std::int16_t>(State.Edited.FontSize * 13 / 10);
}

void FormatChosen(DialogRecord&, int number) {
    State.Edited.NumberFormat = static_cast<Format>(number - FormatInteger);
}

void StyleChosen(DialogRecord& dialog, int number) {
    unsigned style = 0;
    for (std::size_t i = 0; i < StyleCount && number != StyleNormal; ++i)
        style |= State.Styles[i] ? 1u << i : 0u;
    State.Edited.TextStyle = static_cast<std::uint8_t>(style);
    ShapeOfCopy();
    for (int n = StyleNormal; n <= StyleExtend; ++n) Dialogs::RedrawItem(dialog, n);
}

// A colour that is the theme's follows the theme.
void ChooseColor(std::optional<Platform::Color>& color, Platform::Color themes) {
    Platform::Color chosen = color.value_or(themes);
    if (!Platform::Ops().ColorDialog(chosen)) return;
    color.reset();
    if (!(chosen == themes)) color = chosen;
}

Platform::Color ThemesBackColor() {
    return State.Edited.Kind == ItemKind::Button || State.Edited.Kind == ItemKind::Switch
               ? Themes::Colors().Soft
               : Themes::Colors().Panel;
}

void ChooseBackColor(DialogRecord& dialog, int) {
    ChooseColor(State.Edited.BackColor, ThemesBackColor());
    Dialogs::RedrawItem(dialog, BackSample);
}

void ChooseHighColor(DialogRecord& dialog, int) {
    ChooseColor(State.Edited.HighColor, Themes::Colors().Accent);
    Dialogs::RedrawItem(dialog, HighSample);
}

void DrawSample(DialogRecord& dialog, int number, Platform::Drawing& drawing, Platform::Size size) {
    const Platform::Color color = number == BackSample
                                      ? State.Edited.BackColor.value_or(ThemesBackColor())
                                      : State.Edited.HighColor.value_or(Themes::Colors().Accent);
    const Platform::Color ground = Themes::Colors().Panel;
    const double share = Dialogs::Item(dialog, number).Enabled ? 1 : 0.45;
    const Platform::Area place{0, 0, size.Width, size.Height};
    drawing.Fill(place, Themes::Mixed(color, ground, share), Themes::Corner);
    drawing.Frame(place, Themes::Colors().Line, Themes::Corner);
}

void ToggleAssigning(DialogRecord&, int) {
    ShowKey();
}

void RemoveKey(DialogRecord&, int) {
    State.Edited.Key = {.FrontOnly = State.Edited.Key.FrontOnly};
    State.Assigning = false;
    ShowAll();
}

bool IsMenuKey(const Dialogs::Shortcut& key) {
    if (key.Class != Events::KeyClass::Printable || key.Modifiers != Platform::Control || key.Char > 127)
        return false;
    const char letter = Texts::Upper(static_cast<char>(key.Char < 32 ? key.Char + 64 : key.Char));
    for (int menu = 1; menu <= Menus::Count(); ++menu)
        for (int entry = 1; entry <= Menus::Entries(menu); ++entry)
            if (Menus::Shortcut(menu, entry) == letter) return true;
    return false;
}

// While a key is asked for, whichever comes is taken.
bool TakeKey(DialogRecord&, const Events::Event& event) {
    if (!State.Assigning || State.Target == nullptr) return false;
    State.Assigning = false;
    Dialogs::Shortcut key = State.Edited.Key;
    key.Class = event.KeyClass;
    key.Char = event.Char;
    // The toolkit does not tell caps lock, and takes shift for a part of a character.
    std::uint32_t ignored = Platform::Caps;
    if (key.Class == Events::KeyClass::Printable) ignored |= Platform::Shift;
    key.Modifiers = static_cast<std::uint8_t>(event.Modifiers & ~ignored);
    if (IsMenuKey(key)) {
        Messages::Alert("Menu Keys cannot be assigned. ");
    } else {
        State.Edited.Key = key;
    }
    ShowKey();
    return true;
}

void GoToItem(DialogRecord&, int) {
    const int number = ItemOfText(*State.Target, State.ItemName);
    if (number < 0) return;
    UpdateTarget();
    TakeItem(number);
    ShowAll();
}

void UpdateNow(DialogRecord&, int) {
    UpdateTarget();
    ShowAll();
}

void CancelAll(DialogRecord& dialog, int) {
    Dialogs::CloseDialog(dialog);
}

void KeepAll(DialogRecord& dialog, int) {
    UpdateTarget();
    State.Keep = true;
    Dialogs::CloseDialog(dialog);
}

void SaveTarget(DialogRecord&, int) {
    std::string path;
    if (Platform::Ops().FileDialog({.Use = Platform::FileUse::Save,
                                    .Title = "Name of picture file:",
                                    .Start = {},
                                    .Pattern = "*.WMF *.svg *.png",
                                    .Kind = "Picture"},
                                   path) &&
        !path.empty())
        (void)SavePicture(*State.Target, path);
}

// -- the table ---------------------------------------------------------------------------------------------

constexpr std::array<const char*, 4> Justifies = {"left", "center", "right", "last"};

// A label, and a number in the k-th of four columns.
constexpr double ColumnLeft = 84, ColumnStep = 86;
constexpr Platform::Area LabelAt(int column, double top) {
    return {ColumnLeft + column * ColumnStep, top, 16, 24};
}
constexpr Platform::Area FieldAt(int column, double top) {
    return {ColumnLeft + column * ColumnStep + 18, top, 64, 24};
}
constexpr Platform::Area HeadAt(double top) {
    return {16, top, 64, 24};
}
// Below the second line: three columns of check marks and buttons.
constexpr double ListTop = 312;
constexpr Platform::Area ListAt(int column, int row) {
    constexpr double lefts[] = {16, 158, 300};
    return {lefts[column], ListTop + 24 * row, 130, 24};
}

constexpr double PlaceMost = 30000;

// What rows of one kind have in common.
Row Label(int number, const char* name, const char* text, Platform::Area at, Role role = Role::Normal) {
    return {.Number = number, .Name = name, .Text = text, .At = at, .Role = role, .Macro = false};
}
Row Number(int number, const char* name, Platform::Area at, Dialogs::ValueRef value, double low, double high,
           const char* tip, Dialogs::ItemProcedure proc = nullptr) {
    return {.Number = number,
            .Kind = ItemKind::FramedNumber,
            .Name = name,
            .At = at,
            .Value = value,
            .Form = {.Format = Format::Integer, .Columns = 7, .Low = low, .High = high},
            .Proc = proc,
            .Tip = tip};
}
Row Entry(int number, const char* name, const char* hint, Platform::Area at, std::string& text,
          const char* tip) {
    return {.Number = number,
            .Kind = ItemKind::FramedText,
            .Name = name,
            .Text = hint,
            .At = at,
            .Value = &text,
            .Tip = tip};
}
// Named as it is labelled.
Row Check(int number, const char* name, Platform::Area at, bool& on, const char* tip,
          Dialogs::ItemProcedure proc = nullptr, ItemKind kind = ItemKind::CheckBox) {
    return {.Number = number,
            .Kind = kind,
            .Name = name,
            .Text = name,
            .At = at,
            .Value = &on,
            .Proc = proc,
            .Tip = tip};
}
Row Named(const char* name, Row row) {
    row.Name = name;
    return row;
}
Row Radio(int number, const char* name, Platform::Area at, bool& on, const char* tip) {
    return Check(number, name, at, on, tip, FormatChosen, ItemKind::RadioButton);
}
Row Button(int number, const char* name, const char* text, Platform::Area at, Dialogs::ItemProcedure proc,
           const char* tip, Role role = Role::Normal) {
    return {.Number = number,
            .Kind = ItemKind::Button,
            .Name = name,
            .Text = text,
            .At = at,
            .Proc = proc,
            .Tip = tip,
            .Role = role};
}
Row List(int number, const char* name, Platform::Area at, Dialogs::ValueRef value,
         std::span<const char* const> entries, const char* tip) {
    return {.Number = number,
            .Kind = ItemKind::List,
            .Name = name,
            .At = at,
            .Value = value,
            .Entries = entries,
            .Tip = tip};
}
Row Sample(int number, const char* name, Platform::Area at) {
    return {.Number = number,
            .Kind = ItemKind::GWindow,
            .Name = name,
            .At = at,
            .Tip = "The color that is chosen, or the theme's",
            .Macro = false,
            .Draw = DrawSample};
}

const Row Rows[] = {
    Label(Title, "Title", "", {16, 8, 408, 24}, Role::Heading),
    Label(ItemH, "ItemH", "Item", HeadAt(38)),
    Entry(GotoName, "ItemName", "name or number", {102, 38, 218, 24}, State.ItemName,
          "Name or number of the item to configure; 0 is the dialog itself"),
    Button(GotoItem, "GotoItem", "Goto Item", {326, 38, 98, 24}, GoToItem,
           "Shows what was changed, and takes the item of this name or number"),
    Label(Line1, "Line1", "", {0, 69, 440, 1}, Role::Card),

    Label(RectH, "RectH", "Rect", HeadAt(78)),
    Label(RectLeftH, "RectLeftH", "l:", LabelAt(0, 78)),
    Number(RectLeft, "RectLeft", FieldAt(0, 78), &State.Left, -PlaceMost, PlaceMost,
           "Left edge, in pixels of the window", RectChanged),
    Label(RectBottomH, "RectBottomH", "b:", LabelAt(1, 78)),
    Number(RectBottom, "RectBottom", FieldAt(1, 78), &State.Bottom, -PlaceMost, PlaceMost,
           "Bottom edge, counted from the top of the window", RectChanged),
    Label(RectWidthH, "RectWidthH", "w:", LabelAt(2, 78)),
    Number(RectWidth, "RectWidth", FieldAt(2, 78), &State.Width, 0, PlaceMost, "Width in pixels",
           RectChanged),
    Label(RectHeightH, "RectHeightH", "h:", LabelAt(3, 78)),
    Number(RectHeight, "RectHeight", FieldAt(3, 78), &State.Height, 0, PlaceMost,
           "Height in pixels; the bottom edge stays", RectChanged),

    Label(PositionH, "PositionH", "Position", HeadAt(108)),
    Label(PositionLeftH, "PositionLeftH", "l:", LabelAt(0, 108)),
    Number(PositionLeft, "PositionLeft", FieldAt(0, 108), &State.Edited.TextLeft, -2000, 2000,
           "How far the text is moved to the right"),
    Label(PositionBottomH, "PositionBottomH", "b:", LabelAt(1, 108)),
    Number(PositionBottom, "PositionBottom", FieldAt(1, 108), &State.Edited.TextBottom, -2000, 2000,
           "How far the text is moved down"),
    Label(TextH, "TextH", "Text", HeadAt(138)),
    Entry(Text, "Text", "", {102, 138, 322, 24}, State.Edited.ItemText,
          "Label of the item, or title of the dialog"),
    Label(LengthH, "LengthH", "Length", HeadAt(168)),
    Number(Length, "Length", FieldAt(0, 168), &State.Edited.TextLength, 1, Dialogs::ValueTextMax,
           "How many characters there are for the text or number"),
    Label(DigitsH, "DigitsH", "Digits", {200, 168, 70, 24}),
    Number(Digits, "Digits", FieldAt(2, 168), &State.Edited.Digits, 0, 15, "Decimals of a number"),
    Label(SizeH, "SizeH", "Size", HeadAt(198)),
    Number(Size, "Size", FieldAt(0, 198), &State.Edited.FontSize, 4, 144, "Size of the font in points",
           SizeChanged),
    Label(FontH, "FontH", "Font:  ", {200, 198, 70, 24}),
    List(Font, "Font", {274, 198, 150, 24}, &State.Edited.FontNumber, {}, "Font of the text"),

    Label(KeyH, "KeyH", "Key", HeadAt(228)),
    {.Number = Key,
     .Kind = ItemKind::Switch,
     .Name = "Key",
     .At = {102, 228, 218, 24},
     .Value = &State.Assigning,
     .Proc = ToggleAssigning,
     .Tip = "Press this, then the key that shall do what a click on the item does",
     .Macro = false},
    Button(NoKey, "NoKey", "No Key", {326, 228, 98, 24}, RemoveKey, "Takes the key away"),
    Named("FrontOnly", Check(FrontOnly, "front only", {102, 256, 112, 24}, State.Edited.Key.FrontOnly,
                             "The key works only while this window is in front")),
    Named("AnyModifier", Check(AnyModifier, "any modifier", {222, 256, 130, 24}, State.Edited.Key.AnyModifier,
                               "The key works whatever modifiers are held with it")),
    Label(Line2, "Line2", "", {0, 284, 440, 1}, Role::Card),

    Label(FormatH, "FormatH", "Number Format:", ListAt(0, -1), Role::Heading),
    Radio(FormatInteger, "integer", ListAt(0, 0), State.Formats[0], "Whole numbers"),
    Radio(FormatHexadecimal, "hexadecimal", ListAt(0, 1), State.Formats[1],
          "Whole numbers to the base of 16"),
    Radio(FormatFixed, "fixed", ListAt(0, 2), State.Formats[2], "With decimals: 12.35"),
    Radio(FormatScientific, "scientific", ListAt(0, 3), State.Formats[3], "With exponent: 1.235E+01"),
    Radio(FormatEngineering, "engineering", ListAt(0, 4), State.Formats[4], "With prefix: 12.35m"),

    Label(ItemFlagsH, "FlagsH", "Item is:", ListAt(1, -1), Role::Heading),
    Check(Executable, "executable", ListAt(1, 0), State.Edited.Executable, "It acts on mouse and keys"),
    Check(Visible, "visible", ListAt(1, 1), State.Edited.Visible, "It is shown"),
    Check(Enabled, "enabled", ListAt(1, 2), State.Edited.Enabled, "It can be used"),
    Check(Inverted, "inverted", ListAt(1, 3), State.Edited.Inverted, "Its colours are swapped"),
    Label(JustifyH, "JustifyH", "Justify:", {158, 418, 130, 24}, Role::Heading),
    List(Justify, "Justify", {158, 442, 116, 24}, &State.Edited.Justify, Justifies,
         "Where the text stands in the item"),

    Label(StyleH, "TextStyleH", "Text Style:", ListAt(2, -1), Role::Heading),
    Check(StyleNormal, "normal", ListAt(2, 0), State.Normal, "None of the styles below", StyleChosen),
    Check(StyleBold, "bold", ListAt(2, 1), State.Styles[0], "Heavier letters", StyleChosen),
    Check(StyleItalic, "italic", ListAt(2, 2), State.Styles[1], "Slanted letters", StyleChosen),
    Check(StyleUnderline, "underline", ListAt(2, 3), State.Styles[2], "A line under the text", StyleChosen),
    Check(StyleOutline, "outline", ListAt(2, 4), State.Styles[3], "Letters as outlines", StyleChosen),
    Check(StyleShadow, "shadow", ListAt(2, 5), State.Styles[4], "A shadow behind the text", StyleChosen),
    Check(StyleCondense, "condense", ListAt(2, 6), State.Styles[5], "Letters closer together", StyleChosen),
    Check(StyleExtend, "extend", ListAt(2, 7), State.Styles[6], "Letters further apart", StyleChosen),

    Label(ColorsH, "ColorsH", "Colors:", {16, 442, 130, 24}, Role::Heading),
    Button(BackColor, "BackCol", "Back Col", {16, 468, 86, 24}, ChooseBackColor,
           "Color of the item's ground; the theme's own one follows the theme"),
    Sample(BackSample, "BackSample", {108, 468, 24, 24}),
    Button(HighColor, "HighCol", "High Col", {16, 498, 86, 24}, ChooseHighColor,
           "Color of the item while it is on"),
    Sample(HighSample, "HighSample", {108, 498, 24, 24}),
    Label(PictureH, "PictureH", "Picture:", {158, 472, 130, 24}, Role::Heading),
    Button(Picture, "WMF", "WMF", {158, 498, 86, 24}, SaveTarget,
           "Saves a picture of the dialog: WMF, SVG or PNG by the extension"),

    Label(Line3, "Line3", "", {0, 532, 440, 1}, Role::Card),
    Button(Update, "Update", "Update", {16, 543, 98, 26}, UpdateNow, "Shows the changes in the dialog"),
    Button(Cancel, "Cancel", "Cancel", {222, 543, 98, 26}, CancelAll,
           "Puts back everything that was changed: Escape"),
    Button(Done, "Done", "Done", {326, 543, 98, 26}, KeepAll, "Keeps the changes: Return", Role::Primary),
};

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
    Dialogs::Item(dialog, Font).ListEntries = Themes::FontList();
}

bool SetUp() {
    static const Dialogs::DialogSpec Spec{.Title = "Dialog Configuration",
                                          .IDName = "ModConfig",
                                          .BufferName = "ModConfig",
                                          .Count = ItemTotal,
                                          .Place = {-1, -1, 440, 582},
                                          .Window = Platform::WindowKind::Floating,
                                          .Growable = false,
                                          .Define = Define,
                                          .Configure = Configure,
                                          .Procs = {.KeyProc = TakeKey, .CloseProc = Closed}};
    return Dialogs::SetupDialogBuffer(State.Dialog, Spec);
}

std::string NameOr(const std::string& name) {
    return name.empty() ? "unnamed" : name;
}

}

bool Initialise() {
    if (!State.Dialog.Items && !SetUp()) return false;
    Dialogs::ConfigureItem = Show;
    Dialogs::DialogCloses = OneCloses;
    return true;
}

void Show(DialogRecord& dialog, int number) {
    if (!dialog.IsOpen || dialog.Modal || &dialog == &State.Dialog) return;
    if (number != 0 && !Dialogs::HasItem(dialog, number)) return;
    Editing::LeaveAny();
    // Changes of the item before stay, and can still be cancelled while the dialog is the same.
    UpdateTarget();
    if (State.Target != &dialog) State.Items.clear();
    State.Target = &dialog;
    State.Keep = false;
    TakeItem(number);
    if (Dialogs::OpenDialog(State.Dialog)) {
        ShowAll();
    } else {
        Forget();
    }
}

std::string TitleFor(const DialogRecord& dialog, int number) {
    const std::string id = NameOr(dialog.DialogIDName);
    if (number == 0) return "Dialog: " + id + ", " + dialog.DialogName;
    const DialogItem& item = Dialogs::Item(dialog, number);
    return "Configure: \"" + id + ", " + NameOr(item.ItemName) + "\" (" + Dialogs::KindWord(item.Kind) +
           (item.MacroEnabled ? ",macro)" : ")");
}

int ItemOfText(const DialogRecord& dialog, std::string_view text) {
    const std::string name(NumberText::Trimmed(text));
    const bool digits = !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
    std::int64_t number = -1;
    if (digits && NumberText::ReadInteger(name, number) && number <= dialog.ItemCount &&
        (number == 0 || Dialogs::HasItem(dialog, static_cast<int>(number))))
        return static_cast<int>(number);
    int found = Dialogs::FindItem(dialog, name);
    if (found == 0) found = Dialogs::FindItemFolded(dialog, name);
    if (found != 0 && !name.empty()) return found;
    Messages::Note(digits ? "## Error converting \"" + name + "\" to index of target item. ## "
                          : "#  Error: Item with name \"" + name + "\" not found. ## ");
    return -1;
}

bool SavePicture(DialogRecord& dialog, std::string path) {
    std::string extension = Files::ExtensionOf(path);
    if (extension.empty()) path += extension = ".WMF";
    extension = Texts::UpperCase(extension);
    const Platform::PictureFormat format = extension == ".SVG"   ? Platform::PictureFormat::Svg
                                           : extension == ".PNG" ? Platform::PictureFormat::Png
                                                                 : Platform::PictureFormat::Wmf;
    std::string reason;
    if (Platform::Ops().SavePicture(path, format, Platform::Ops().ContentSize(dialog.WindowHandle),
                                    Dialogs::PictureOf(dialog), reason))
        return true;
    Messages::Alert("Error storing '" + path + "':   " + reason);
    return false;
}

}
