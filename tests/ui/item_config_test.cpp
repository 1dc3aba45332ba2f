#include "ui/desk.h"
#include "ui/dia_file.h"
#include "ui/item_config.h"
#include "ui/menus.h"
#include "ui/theme.h"

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::Rect;
using Platform::KeyCode;
using Support::Calls;
using Support::Desk;
using Support::Names;
using enum Dialogs::ItemKind;

class ItemConfigTest : public Desk {
protected:
    ItemConfigTest() { EXPECT_TRUE(ItemConfig::Initialise()); }
    ~ItemConfigTest() override {
        Menus::Clear();
        Dialogs::ConfigureItem = nullptr;
        Dialogs::DialogCloses = nullptr;
        Dialogs::DisposeAll();
    }

    DialogRecord& Tool() {
        return Open({{.Kind = Button, .Name = "Fit", .Text = "Fit", .At = {10, 10, 60, 24}},
                     {.Kind = FramedNumber,
                      .Name = "Tau1",
                      .At = {10, 40, 80, 24},
                      .Value = &Value,
                      .Form = {.Unit = "s", .Columns = 9},
                      .Macro = false},
                     {.Kind = Text, .Name = "", .Text = "label", .At = {10, 70, 60, 24}}},
                    {.IDName = "TFit"});
    }
    static DialogRecord& Config() { return *Dialogs::FindDialog("ModConfig"); }
    static std::string ConfigTitle() { return Headless::Desktop().Windows[Config().WindowHandle].Title; }
    static int Number(std::string_view name) {
        const int number = Dialogs::FindItem(Config(), name);
        EXPECT_NE(number, 0) << name;
        return number;
    }
    static void Press(std::string_view name) { Click(Config(), Number(name)); }
    static void Put(std::string_view name, std::string_view text) { Enter(Config(), Number(name), text); }
    static bool Can(std::string_view name) { return Dialogs::Accepts(Config(), Number(name)); }
    static double Has(std::string_view name) {
        return Dialogs::NumberOf(Dialogs::Item(Config(), Number(name)));
    }

    double Value = 0.0125;
};

TEST_F(ItemConfigTest, ItShowsTheItemAndWhatCanBeChangedOfIt) {
    DialogRecord& tool = Tool();
    const struct {
        int Item;
        const char* Title;
        bool Number, Item_;
    } rows[] = {{1, "Configure: \"TFit, Fit\" (button,macro)", false, true},
                {2, "Configure: \"TFit, Tau1\" (framednumber)", true, true},
                {3, "Configure: \"TFit, unnamed\" (text,macro)", false, true},
                {0, "Dialog: TFit, Tool 0", false, false}};
    for (const auto& row : rows) {
        ItemConfig::Show(tool, row.Item);
        EXPECT_EQ(ConfigTitle(), row.Title);
        EXPECT_EQ(Can("Digits"), row.Number);
        EXPECT_EQ(Can("integer"), row.Number);
        EXPECT_EQ(Can("executable"), row.Item_);
    }
    // Itself, and what must be answered, are left alone.
    Click(tool, 1, Platform::Control);
    Click(Config(), Number("Update"), Platform::Control);
    EXPECT_EQ(ConfigTitle(), rows[0].Title);
    Click(tool, {300, 200}, Platform::Control);
    EXPECT_EQ(ConfigTitle(), rows[3].Title);
    EXPECT_EQ(Calls, Names{});
    tool.Modal = true;
    Click(tool, 1, Platform::Control);
    ItemConfig::Show(tool, 1);
    EXPECT_EQ(ConfigTitle(), rows[3].Title);
    EXPECT_EQ(Calls, Names{"Fit:1"});
}

TEST_F(ItemConfigTest, EveryFieldReachesTheItemWithUpdate) {
    DialogRecord& tool = Tool();
    Click(tool, 2, Platform::Control);
    const struct {
        const char* Name;
        const char* Text;
        double Former;
    } entries[] = {{"RectLeft", "20", 10},   {"RectBottom", "100", 64}, {"RectWidth", "120", 80},
                   {"RectHeight", "30", 24}, {"PositionLeft", "3", 0},  {"PositionBottom", "-2", 0},
                   {"Text", "time", 0},      {"Length", "12", 10},      {"Digits", "3", 1},
                   {"Size", "12", 10}};
    for (const auto& row : entries) {
        EXPECT_EQ(Has(row.Name), row.Former) << row.Name;
        Put(row.Name, row.Text);
    }
    for (const char* const list : {"Font", "Justify"}) Choose(Config(), Number(list), 2);
    for (const char* const flag : {"engineering", "executable", "visible", "enabled", "inverted", "FrontOnly",
                                   "AnyModifier", "bold", "extend"})
        Press(flag);
    Headless::Desktop().Colors = {Platform::FromHex(0x112233), Platform::FromHex(0x445566)};
    Press("BackCol");
    Press("HighCol");
    const DialogItem& item = Dialogs::Item(tool, 2);
    EXPECT_EQ(item.ItemRect, (Rect{10, 40, 90, 64})) << "nothing is shown before";
    EXPECT_TRUE(item.Visible);
    Press("Update");
    EXPECT_EQ(item.ItemRect, (Rect{20, 70, 140, 100}));
    EXPECT_EQ(std::tuple(item.TextLeft, item.TextBottom, item.TextLength, item.Digits, item.FontSize,
                         item.LineHeight, item.FontNumber, item.Justify, item.TextStyle),
              std::tuple(3, -2, 12, 3, 12, 15, 1, 1, Dialogs::Bold | Dialogs::Extend));
    EXPECT_EQ(item.ItemText, "time");
    EXPECT_EQ(item.NumberFormat, NumberText::Format::Engineering);
    EXPECT_FALSE(item.Executable || item.Visible || item.Enabled || item.Key.FrontOnly);
    EXPECT_TRUE(item.Inverted && item.Key.AnyModifier);
    EXPECT_EQ(item.BackColor, Platform::FromHex(0x112233));
    EXPECT_EQ(item.HighColor, Platform::FromHex(0x445566));
    Press("normal");
    // A colour of the theme's own follows the theme.
    Headless::Desktop().Colors = {Themes::Colors().Panel};
    Press("BackCol");
    Press("Done");
    EXPECT_EQ(item.TextStyle, 0);
    EXPECT_FALSE(item.BackColor);
    EXPECT_FALSE(Config().IsOpen);
    // It outlives the window.
    Dialogs::CloseDialog(tool);
    ASSERT_TRUE(Dialogs::OpenDialog(tool));
    EXPECT_EQ(item.ItemRect, (Rect{20, 70, 140, 100}));
    EXPECT_FALSE(item.Visible);
}

TEST_F(ItemConfigTest, CancelPutsBackEveryItemThatWasVisited) {
    DialogRecord& tool = Tool();
    const std::string before = DiaFile::Image(tool);
    const std::function<void()> ways[] = {[] { Press("Cancel"); }, [] { Key(Config(), KeyCode::Escape); },
                                          [] { Notify(Config(), Platform::CloseRequested); }};
    const auto& window = Headless::Desktop().Windows[tool.WindowHandle];
    for (const auto& leave : ways) {
        ItemConfig::Show(tool, 1);
        Put("RectLeft", "50");
        Press("bold");
        Put("ItemName", "Tau1");
        Press("GotoItem");
        EXPECT_EQ(Dialogs::Item(tool, 1).ItemRect.Left, 50) << "shown on the way";
        Press("enabled");
        Press("Update");
        Click(tool, 1, Platform::Control); // the first one once more
        Put("RectLeft", "70");
        Put("ItemName", "0");
        Press("GotoItem");
        Put("Text", "My fit");
        Put("RectWidth", "5"); // smaller than can be used
        Press("Update");
        EXPECT_EQ(window.Title, "My fit");
        EXPECT_EQ(window.Place.Width, 40);
        EXPECT_NE(DiaFile::Image(tool), before);
        leave();
        EXPECT_FALSE(Config().IsOpen);
        EXPECT_EQ(DiaFile::Image(tool), before);
        EXPECT_EQ(window.Title, "Tool 0");
        EXPECT_EQ(window.Place.Width, 400);
    }
}

TEST_F(ItemConfigTest, WhatTheUserLeavesAloneIsNotTouched) {
    DialogRecord& tool = Tool();
    const DialogItem& item = Dialogs::Item(tool, 1);
    ItemConfig::Show(tool, 1);
    Press("bold");
    // Meanwhile the tool works on.
    Dialogs::SetItemText(tool, 1, "Stop");
    Dialogs::EnableItem(tool, 1, false);
    Dialogs::Item(tool, 1).ItemRect = {20, 10, 80, 34};
    for (const char* const way : {"Update", "Cancel"}) {
        Press(way);
        EXPECT_EQ(item.TextStyle, way == std::string("Update") ? Dialogs::Bold : 0);
        EXPECT_EQ(item.ItemText, "Stop");
        EXPECT_FALSE(item.Enabled);
        EXPECT_EQ(item.ItemRect.Left, 20);
    }
    // Opened and done without a change: the layout is still the coded one.
    tool.Arranged = false;
    ItemConfig::Show(tool, 2);
    Press("Done");
    EXPECT_FALSE(tool.Arranged);
}

TEST_F(ItemConfigTest, AnItemIsFoundByItsNumberOrName) {
    const DialogRecord& tool = Tool();
    const struct {
        const char* Text;
        int Item;
    } rows[] = {{"2", 2},    {"Fit", 1}, {" tau1 ", 2}, {"0", 0}, {"4", -1}, {"99999999999999999999", -1},
                {"Tau", -1}, {"", -1}};
    for (const auto& row : rows) EXPECT_EQ(ItemConfig::ItemOfText(tool, row.Text), row.Item) << row.Text;
    EXPECT_EQ(Said.Notes, "## Error converting \"4\" to index of target item. ## \n"
                          "## Error converting \"99999999999999999999\" to index of target item. ## \n"
                          "#  Error: Item with name \"Tau\" not found. ## \n"
                          "#  Error: Item with name \"\" not found. ## \n");
}

TEST_F(ItemConfigTest, TheNextKeyIsTheItems) {
    static constexpr Menus::Row File[] = {{.Text = "Open", .Shortcut = 'O', .Proc = [] {}}};
    Menus::Add("File", File);
    DialogRecord& tool = Tool();
    ItemConfig::Show(tool, 1);
    const auto shown = [] { return Dialogs::Item(Config(), Number("Key")).ItemText; };
    EXPECT_EQ(shown(), "none");
    const struct {
        std::uint32_t Char, Modifiers;
        const char* Shown;
    } rows[] = {{'X', Platform::Shift | Platform::Caps, "New key: X"},
                {'x', Platform::Control, "New key: ctr-x"},
                {Platform::SpecialKey + static_cast<std::uint32_t>(KeyCode::Escape), 0, "New key: esc"},
                {Platform::SpecialKey + 68, Platform::Shift | Platform::Option, "New key: sh-op-F5"}};
    for (const auto& row : rows) {
        Press("Key");
        EXPECT_EQ(shown(), "Press the new key");
        Key(Config(), row.Char, row.Modifiers);
        EXPECT_EQ(shown(), row.Shown);
        EXPECT_EQ(Has("Key"), 0);
    }
    // A menu has its keys for itself.
    Press("Key");
    Key(Config(), 'o', Platform::Control);
    EXPECT_EQ(Said.Alerts, "Menu Keys cannot be assigned. \n");
    EXPECT_EQ(shown(), "New key: sh-op-F5");
    Press("Done");
    Key(tool, Platform::SpecialKey + 68, Platform::Shift | Platform::Option);
    EXPECT_EQ(Calls, std::vector<std::string>{"Fit:2"});
    EXPECT_EQ(tool.LastKeyItem, 1);
    ItemConfig::Show(tool, 1);
    EXPECT_EQ(shown(), "sh-op-F5");
    Press("NoKey");
    EXPECT_EQ(shown(), "none");
    Press("Update");
    EXPECT_EQ(tool.LastKeyItem, 0);
    Press("Cancel");
    EXPECT_EQ(tool.LastKeyItem, 1);
}

TEST_F(ItemConfigTest, ItClosesWithTheDialogAtWork) {
    DialogRecord& tool = Tool();
    DialogRecord& other = Open({{.Kind = Button, .Name = "B"}});
    ItemConfig::Show(tool, 1);
    Press("bold");
    Press("Update");
    Press("italic");
    Dialogs::CloseDialog(other);
    EXPECT_TRUE(Config().IsOpen);
    Dialogs::CloseDialog(tool);
    EXPECT_FALSE(Config().IsOpen);
    ASSERT_TRUE(Dialogs::OpenDialog(tool));
    EXPECT_EQ(Dialogs::Item(tool, 1).TextStyle, Dialogs::Bold) << "what was updated is kept";
    // Another dialog takes its place: what was changed in the first one stays.
    ASSERT_TRUE(Dialogs::OpenDialog(other));
    ItemConfig::Show(tool, 1);
    Press("outline");
    Click(other, 1, Platform::Control);
    EXPECT_EQ(ConfigTitle(), "Configure: \"T1, B\" (button,macro)");
    Press("shadow");
    Press("Cancel");
    EXPECT_EQ(Dialogs::Item(tool, 1).TextStyle, Dialogs::Bold | Dialogs::Outline);
    EXPECT_EQ(Dialogs::Item(other, 1).TextStyle, 0);
    ItemConfig::Show(other, 1);
    Dialogs::DisposeDialog(tool);
    EXPECT_TRUE(Config().IsOpen);
    Dialogs::DisposeDialog(other);
    EXPECT_FALSE(Config().IsOpen);
}

TEST_F(ItemConfigTest, PicturesShowWhatTheDialogShows) {
    ItemConfig::Show(Tool(), 1);
    for (const char* const name : {"", "fit", "fit.svg", "no/such/folder.svg"}) { // turned away at first
        if (*name != 0) Headless::Desktop().Texts = {Folder.At(name)};
        EXPECT_EQ(Said.Alerts, "");
        Press("WMF");
    }
    EXPECT_TRUE(Said.Alerts.starts_with("Error storing '")) << Said.Alerts;
    EXPECT_EQ(Support::ReadWhole(Folder.At("fit.WMF")).substr(0, 4), "\xD7\xCD\xC6\x9A");
    const std::string svg = Support::ReadWhole(Folder.At("fit.svg"));
    for (const char* const text : {"Fit", "label", "0.0"})
        EXPECT_NE(svg.find(text), std::string::npos) << text;
}

TEST_F(ItemConfigTest, EveryTextHasRoomAndNoItemCoversAnother) {
    ItemConfig::Show(Tool(), 2);
    const DialogRecord& dialog = Config();
    for (int i = Number("Title") + 1; i <= dialog.ItemCount; ++i) {
        const DialogItem& item = Dialogs::Item(dialog, i);
        const double box = item.Kind == CheckBox || item.Kind == RadioButton ? 25
                           : item.Kind == Text                               ? 0
                                                                             : 12;
        EXPECT_LE(Platform::Ops().MeasureText({}, item.ItemText).Width + box, item.ItemRect.Width())
            << item.ItemName;
        for (int j = i + 1; j <= dialog.ItemCount; ++j) {
            const Rect a = item.ItemRect, b = Dialogs::Item(dialog, j).ItemRect;
            EXPECT_TRUE(a.Right <= b.Left || b.Right <= a.Left || a.Bottom <= b.Top || b.Bottom <= a.Top)
                << item.ItemName << " over " << Dialogs::Item(dialog, j).ItemName;
        }
    }
}

}
