#include "ui/draw_item.h"

#include "ui/item_value.h"
#include "ui/key_names.h"
#include "ui/theme.h"

#include <algorithm>
#include <cmath>

namespace Dialogs {

namespace {

using Platform::Align;
using Platform::Area;
using Platform::Color;
using Platform::Drawing;
using Platform::Font;
using Themes::Colors;

constexpr double BoxSize = 16;     // of check boxes and radio buttons
constexpr double FramePadding = 9; // between the frame of an entry and its text
constexpr double ArrowRoom = 20;   // of a list
constexpr double DisabledShare = 0.45;

// What an item stands on.
Color GroundOf(const DialogRecord& dialog, const DialogItem& item) {
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!HasItem(dialog, number)) continue;
        const DialogItem& card = Item(dialog, number);
        if (card.Role == Role::Card && card.Kind == ItemKind::Text && IsVisible(dialog, number) &&
            card.ItemRect.Left <= item.ItemRect.Left && card.ItemRect.Right >= item.ItemRect.Right &&
            card.ItemRect.Top <= item.ItemRect.Top && card.ItemRect.Bottom >= item.ItemRect.Bottom)
            return Colors().Window;
    }
    return Item(dialog, 0).BackColor.value_or(Colors().Panel);
}

// What is needed to draw one item.
struct Look {
    const DialogRecord& Dialog;
    const DialogItem& Item;
    Area Place;
    Font Type;
    bool Enabled, Pressed, Focused;
    Drawing& Out;

    [[nodiscard]] Color Shade(Color color) const {
        return Enabled ? color : Themes::Mixed(color, GroundOf(Dialog, Item), DisabledShare);
    }
    // What a text is written on, and with; an inverted item swaps the two.
    [[nodiscard]] Color Paper(Color paper) const { return Item.Inverted ? Colors().Text : paper; }
    [[nodiscard]] Color Ink(Color ink) const { return Item.Inverted ? Colors().Panel : ink; }
};

Color Stronger(Color color, double share = 0.88) {
    return Themes::Mixed(color, Colors().Text, share);
}

Color RoleColor(const DialogItem& item) {
    switch (item.Role) {
    case Role::Secondary: return Colors().Secondary;
    case Role::Warning: return Colors().Warning;
    case Role::Good: return Colors().Good;
    default: return Colors().Text;
    }
}

Align AlignOf(const DialogItem& item, Align usual) {
    if (item.Justify == 1) return Align::Center;
    if (item.Justify == 2) return Align::Right;
    return usual;
}

Area Moved(Area place, const DialogItem& item) {
    place.Left += item.TextLeft;
    place.Top += item.TextBottom;
    return place;
}

void FocusRing(const Look& look) {
    if (!look.Focused) return;
    look.Out.Frame(look.Place.Inset(-2, -2), Colors().Accent, Themes::Corner + 2, 2);
}

void Face(const Look& look, Color fill, Color border) {
    look.Out.Fill(look.Place, look.Shade(fill), Themes::Corner);
    look.Out.Frame(look.Place, look.Shade(border), Themes::Corner, Themes::LineWidth);
    FocusRing(look);
}

// A button, or a switch that is on or off.
void DrawPush(const Look& look, std::string_view label, bool on, bool primary) {
    const bool strong = on != look.Item.Inverted || primary;
    Color fill =
        strong ? look.Item.HighColor.value_or(Colors().Accent) : look.Item.BackColor.value_or(Colors().Soft);
    if (look.Pressed) fill = Stronger(fill);
    const Color ink = strong ? Colors().OnAccent : RoleColor(look.Item);
    Face(look, fill, strong ? fill : Colors().Line);
    Font type = look.Type;
    type.Bold = type.Bold || primary;
    look.Out.Text(Moved(look.Place.Inset(6, 0), look.Item), label, type, look.Shade(ink),
                  AlignOf(look.Item, Align::Center));
}

void DrawButton(const Look& look) {
    DrawPush(look, look.Item.ItemText, false, look.Item.Role == Role::Primary);
}

void DrawSwitch(const Look& look) {
    DrawPush(look, look.Item.ItemText, BoolOf(look.Item), false);
}

Area BoxOf(Area place) {
    return {place.Left + 1, place.Top + std::floor((place.Height - BoxSize) / 2), BoxSize, BoxSize};
}

void DrawTick(const Look& look, Area box, Color ink) {
    look.Out.Polyline(
        {{box.Left + 4, box.Top + 8.3}, {box.Left + 7, box.Top + 11.3}, {box.Left + 12.2, box.Top + 5}},
        look.Shade(ink), 1.8);
}

void DrawBox(const Look& look, Area box, bool on) {
    const Color accent = look.Item.HighColor.value_or(Colors().Accent);
    Color fill = on ? accent : Colors().Panel;
    if (look.Pressed) fill = Stronger(fill);
    look.Out.Fill(box, look.Shade(fill), 4);
    look.Out.Frame(box, look.Shade(on ? accent : Stronger(Colors().Line, 0.6)), 4);
    if (on) DrawTick(look, box, Colors().OnAccent);
}

void DrawBoxLabel(const Look& look, Area box) {
    Area label = look.Place;
    label.Left = box.Right() + 8;
    label.Width = look.Place.Right() - label.Left;
    look.Out.Text(Moved(label, look.Item), look.Item.ItemText, look.Type, look.Shade(RoleColor(look.Item)),
                  AlignOf(look.Item, Align::Left));
    if (look.Focused) look.Out.Frame(box.Inset(-3, -3), Colors().Accent, 6, 2);
}

void DrawCheckBox(const Look& look) {
    const Area box = BoxOf(look.Place);
    DrawBox(look, box, BoolOf(look.Item));
    DrawBoxLabel(look, box);
}

void DrawRadio(const Look& look) {
    const Area box = BoxOf(look.Place);
    const bool on = BoolOf(look.Item);
    const Color accent = look.Item.HighColor.value_or(Colors().Accent);
    look.Out.FillOval(box, look.Shade(look.Pressed ? Stronger(Colors().Panel) : Colors().Panel));
    look.Out.Oval(box.Inset(0.5, 0.5), look.Shade(on ? accent : Stronger(Colors().Line, 0.6)), on ? 1.5 : 1);
    if (on) look.Out.FillOval(box.Inset(4, 4), look.Shade(accent));
    DrawBoxLabel(look, box);
}

void DrawMultiCheck(const Look& look) {
    const auto set = static_cast<unsigned>(NumberOf(look.Item));
    Font small = look.Type;
    small.Size = Themes::SmallTextSize;
    for (int bit = 0; bit < CheckBoxes(look.Item); ++bit) {
        const Area box{look.Place.Left + bit * CheckBoxStep, look.Place.Top + (look.Place.Height - 20) / 2,
                       22, 20};
        const bool on = (set >> bit & 1u) != 0;
        look.Out.Fill(box, look.Shade(on ? Colors().Accent : Colors().Panel), 4);
        look.Out.Frame(box, look.Shade(on ? Colors().Accent : Stronger(Colors().Line, 0.6)), 4);
        look.Out.Text(box, std::to_string(bit), small, look.Shade(on ? Colors().OnAccent : Colors().Text),
                      Align::Center);
    }
    if (look.Focused) FocusRing(look);
}

void DrawStatic(const Look& look) {
    if (look.Item.Role == Role::Card) return; // part of the background
    Font type = look.Type;
    if (look.Item.Role == Role::Heading) type.Bold = true;
    if (look.Item.Role == Role::Secondary && look.Item.FontSize >= 10) type.Size = Themes::SmallTextSize;
    const std::string text = look.Item.ValueKind == ValueKind::String && !TextOf(look.Item).empty()
                                 ? TextOf(look.Item)
                                 : look.Item.ItemText;
    if (look.Item.BackColor || look.Item.Inverted)
        look.Out.Fill(look.Place, look.Paper(look.Item.BackColor.value_or(Colors().Panel)), Themes::Corner);
    look.Out.Text(Moved(look.Place, look.Item), text, type, look.Shade(look.Ink(RoleColor(look.Item))),
                  AlignOf(look.Item, Align::Left));
}

void EntryFace(const Look& look) {
    // What cannot be typed into stands on the ground of the buttons.
    const Color usual = look.Item.Executable ? Colors().Panel : Colors().Soft;
    Face(look, look.Paper(look.Item.BackColor.value_or(usual)),
         look.Item.Role == Role::Warning ? Colors().Warning : Colors().Line);
}

void DrawEntry(const Look& look) {
    // A text that fills its window needs no frame.
    if (look.Item.Role == Role::Card) {
        look.Out.Fill(look.Place, Colors().Panel);
    } else {
        EntryFace(look);
    }
    if (look.Item.TextBox != 0) return; // the platform draws what is being edited
    std::string text = TextOf(look.Item);
    if (look.Item.Password)
        text.assign(static_cast<std::size_t>(
                        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; })),
                    '*');
    const bool empty = text.empty();
    look.Out.Text(Moved(look.Place.Inset(FramePadding, 0), look.Item), empty ? look.Item.ItemText : text,
                  look.Type, look.Shade(look.Ink(empty ? Colors().Secondary : Colors().Text)),
                  AlignOf(look.Item, Align::Left));
}

void DrawNumber(const Look& look) {
    EntryFace(look);
    if (look.Item.Busy && look.Item.TextBox != 0) return;
    if (!IsNumberItem(look.Item)) {
        look.Out.Text(Moved(look.Place.Inset(FramePadding, 0), look.Item), TextOf(look.Item), look.Type,
                      look.Shade(look.Ink(Colors().Text)), AlignOf(look.Item, Align::Right));
        return;
    }
    const NumberParts parts = ShownNumber(look.Item);
    Area digits = Moved(look.Place.Inset(FramePadding, 0), look.Item);
    if (!parts.Unit.empty()) {
        Area unit = digits;
        const double width = std::ceil(Platform::Ops().MeasureText(look.Type, parts.Unit).Width) + 2;
        unit.Left = digits.Right() - width;
        unit.Width = width;
        look.Out.Text(unit, parts.Unit, look.Type, look.Shade(look.Ink(Colors().Secondary)), Align::Right);
        digits.Width -= width + 4;
    }
    look.Out.Text(digits, parts.Digits, look.Type, look.Shade(look.Ink(Colors().Text)), Align::Right);
}

void Triangle(const Look& look, double x, double y, double half, bool up) {
    const double tip = up ? -half : half;
    look.Out.Polygon({{x - half, y - tip / 2}, {x + half, y - tip / 2}, {x, y + tip / 2}},
                     look.Shade(Colors().Secondary));
}

void DrawDrag(const Look& look) {
    DrawNumber(look);
    const double x = look.Place.Left + 10, middle = look.Place.Top + look.Place.Height / 2;
    Triangle(look, x, middle - 4.5, 3.5, true);
    Triangle(look, x, middle + 4.5, 3.5, false);
}

void DrawList(const Look& look) {
    const Color usual = look.Paper(look.Item.BackColor.value_or(Colors().Panel));
    Face(look, look.Pressed ? Stronger(usual) : usual, Colors().Line);
    Area text = look.Place.Inset(FramePadding, 0);
    text.Width -= ArrowRoom - FramePadding;
    const int index = ListIndex(look.Item);
    look.Out.Text(Moved(text, look.Item), index >= 0 ? ListText(look.Item, index) : look.Item.ItemText,
                  look.Type, look.Shade(look.Ink(index >= 0 ? Colors().Text : Colors().Secondary)),
                  AlignOf(look.Item, Align::Left));
    Triangle(look, look.Place.Right() - ArrowRoom / 2 - 2, look.Place.Top + look.Place.Height / 2, 4, false);
}

void DrawToggle(const Look& look) {
    const bool on = BoolOf(look.Item);
    const char* const word =
        look.Item.Kind == ItemKind::HighLow ? (on ? "HIGH" : "LOW") : (on ? "TRUE" : "FALSE");
    const std::string own = ListText(look.Item, on ? 1 : 0);
    DrawPush(look, own.empty() ? word : own, on, false);
}

void DrawPane(const Look& look) {
    if (look.Item.PaneSelects == 0) { // the frame of a page, or of scrolled items
        look.Out.Frame(look.Place, Colors().Line, Themes::Corner);
        return;
    }
    const bool on = look.Dialog.CurrentPage == look.Item.PaneSelects;
    Font type = look.Type;
    type.Bold = on;
    if (look.Pressed) look.Out.Fill(look.Place, Colors().Soft, Themes::Corner);
    look.Out.Text(look.Place, look.Item.ItemText, type, look.Shade(on ? Colors().Text : Colors().Secondary),
                  Align::Center);
    if (on)
        look.Out.Fill({look.Place.Left + 8, look.Place.Bottom() - 3, look.Place.Width - 16, 3},
                      Colors().Accent, 1.5);
    FocusRing(look);
}

void DrawOwn(const Look& look) {
    if (look.Item.BackColor) look.Out.Fill(look.Place, *look.Item.BackColor);
    if (look.Item.OffscreenHandle != 0) look.Out.Bitmap(look.Place, look.Item.OffscreenHandle);
    FocusRing(look);
}

void DrawNothing(const Look&) {}

struct KindRow {
    const char* Word;
    void (*Draw)(const Look& look);
};
constexpr KindRow Kinds[] = {
    {"notknown", DrawNothing},  {"button", DrawButton},     {"switch", DrawSwitch},
    {"radiobutton", DrawRadio}, {"checkbox", DrawCheckBox}, {"multicheck", DrawMultiCheck},
    {"text", DrawStatic},       {"framedtext", DrawEntry},  {"framednumber", DrawNumber},
    {"framedbool", DrawSwitch}, {"drag", DrawDrag},         {"truefalse", DrawToggle},
    {"highlow", DrawToggle},    {"drag2", DrawDrag},        {"edittext", DrawEntry},
    {"list", DrawList},         {"offscreen", DrawOwn},     {"gwindow", DrawOwn},
    {"user", DrawOwn},          {"pane", DrawPane},
};

}

const char* KindWord(ItemKind kind) {
    const auto index = static_cast<std::size_t>(kind);
    return index < std::size(Kinds) ? Kinds[index].Word : "illegal";
}

Platform::Font ItemFont(const DialogRecord&, const DialogItem& item) {
    return Themes::FontOf(item.FontNumber, item.FontSize, item.TextStyle);
}

void DrawItem(const DialogRecord& dialog, int number, Drawing& drawing) {
    if (!HasItem(dialog, number) || !IsVisible(dialog, number)) return;
    const DialogItem& item = Item(dialog, number);
    const auto index = static_cast<std::size_t>(item.Kind);
    if (index >= std::size(Kinds)) return;
    const Look look{.Dialog = dialog,
                    .Item = item,
                    .Place = item.ItemRect.Area(),
                    .Type = ItemFont(dialog, item),
                    .Enabled = item.Enabled && item.UserLevel <= UserLevel && !ItemIsLocked(dialog, number),
                    .Pressed = item.Busy && !IsTextItem(item),
                    .Focused = dialog.CurrentItem == number && !item.Busy,
                    .Out = drawing};
    Kinds[index].Draw(look);
}

void DrawKey(const DialogItem& item, Drawing& drawing) {
    const std::string key = KeyNames::Short(item.Key);
    const Font type{.Size = 10, .Bold = true};
    const double width = std::ceil(Platform::Ops().MeasureText(type, key).Width) + 8;
    const Area place = item.ItemRect.Area();
    const Area badge{place.Right() - width + 2, place.Top - 2, width, 14};
    drawing.Fill(badge, Colors().Accent, 4);
    drawing.Text(badge, key, type, Colors().OnAccent, Align::Center);
}

void DrawBackground(const DialogRecord& dialog, Platform::Size size, Drawing& drawing) {
    drawing.Fill({0, 0, size.Width, size.Height}, Item(dialog, 0).BackColor.value_or(Colors().Panel));
    for (int number = 1; number <= dialog.ItemCount; ++number) {
        if (!HasItem(dialog, number) || !IsVisible(dialog, number)) continue;
        const DialogItem& item = Item(dialog, number);
        if (item.Role != Role::Card || item.Kind != ItemKind::Text) continue;
        const Area place = item.ItemRect.Area();
        if (place.Height <= 1) {
            drawing.Fill(place, Colors().Line);
        } else {
            drawing.Fill(place, Colors().Window, Themes::Corner);
            drawing.Frame(place, Colors().Line, Themes::Corner);
        }
    }
}

int CheckBoxes(const DialogItem& item) {
    return std::clamp(item.ItemRect.Width() / CheckBoxStep, 0, 16);
}

Area TextPlace(const DialogRecord& dialog, int number) {
    const DialogItem& item = Item(dialog, number);
    Area place = item.ItemRect.Area();
    if (item.Lines) return place.Inset(2, 2);
    place = place.Inset(FramePadding - 3, 2);
    if (item.Kind == ItemKind::Drag || item.Kind == ItemKind::Drag2) {
        place.Left += 12;
        place.Width -= 12;
    }
    return place;
}

}
