#include "base/bytes.h"
#include "support/failing_files.h"
#include "ui/desk.h"
#include "ui/dia_file.h"

#include <cmath>
#include <random>

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::Rect;
using Dialogs::Row;
using Support::Desk;
using Support::ReadWhole;
using Support::WriteWhole;
using enum Dialogs::ItemKind;

constexpr std::size_t Head = 512, Each = 312;

const std::vector<Row>& Rows() {
    static constexpr const char* Entries[] = {"a", "b"};
    using Dialogs::ValueKind;
    using Dialogs::ValueRef;
    static const std::vector<Row> rows{
        {.Kind = Button, .Name = "Go", .Text = "Go"},
        {.Kind = FramedNumber, .Name = "Tau", .Value = ValueRef(ValueKind::Real64), .Form = {.Unit = "s"}},
        {.Kind = List, .Name = "Kind", .Value = ValueRef(ValueKind::Byte), .Entries = Entries},
        {.Kind = Drag, .Name = "Left", .Value = ValueRef(ValueKind::Real32)},
        {.Kind = Switch, .Name = "Show"},
        {.Kind = Text, .Name = "", .Text = "label"}};
    return rows;
}

class DiaFileTest : public Desk {
protected:
    static void ChangeAll(DialogRecord& dialog) {
        for (int i = 1; i <= dialog.ItemCount; ++i) {
            DialogItem& item = Dialogs::Item(dialog, i);
            const auto n = static_cast<std::int16_t>(i);
            item.Key = {.Class = Events::KeyClass::Special,
                        .Char = 64u + static_cast<unsigned>(i),
                        .Modifiers = 3,
                        .AnyModifier = i % 2 == 0,
                        .FrontOnly = i % 2 == 1};
            item.ItemText += "\u00b5";
            item.UnitText = "mV";
            item.TextLeft = n;
            item.TextBottom = static_cast<std::int16_t>(-n);
            item.FontNumber = 2;
            item.FontSize = 12;
            item.TextStyle = 5;
            item.Justify = 2;
            item.Inverted = true;
            item.Executable = i % 2 == 0;
            item.Visible = i % 3 != 0;
            item.Enabled = i != 4;
            item.NumberFormat = NumberText::Format::Engineering;
            item.NumberOption = 7;
            item.Digits = 4;
            item.LineHeight = 20;
            item.ValueScale = 1e-3;
            item.ItemRect = {n, 2 * n, 100 + n, 120 + n};
            item.BackColor = Platform::FromHex(0x102030);
            if (item.Kind != FramedNumber) item.HighColor = Platform::FromHex(0xff8000);
        }
        Dialogs::Item(dialog, 2).TextLength = 20;
        Dialogs::Item(dialog, 3).Key2 = {.Class = Events::KeyClass::Printable, .Char = 'q'};
        DialogItem& drag = Dialogs::Item(dialog, 4);
        drag.StepSmall = 0.5;
        drag.DragFactor = 2;
        drag.DragDivisor = 3;
        drag.DragInterval = 20;
        Dialogs::Item(dialog, 0).BackColor = Platform::FromHex(0x405060);
        Dialogs::Item(dialog, 0).ItemText = "My title";
        dialog.WindowRect = {5, 6, 405, 356};
    }
    // A layout of changed items, stored; there is no dialog again.
    std::string Stored(std::vector<Row> rows = Rows()) {
        DialogRecord& dialog = Set(std::move(rows));
        ChangeAll(dialog);
        EXPECT_TRUE(DiaFile::Store(dialog, Path));
        Clear();
        return ReadWhole(Path);
    }
    DialogRecord& Coded(std::vector<Row> rows = Rows()) {
        Clear();
        DialogRecord& dialog = Set(std::move(rows));
        AsCoded = DiaFile::Image(dialog);
        return dialog;
    }
    bool Loads(DialogRecord& dialog, std::string_view content) {
        WriteWhole(Path, content);
        Said.Alerts.clear();
        Said.Questions.clear();
        return DiaFile::Load(dialog, Path, DiaFile::Report::Loud);
    }
    std::string AsCoded;
    const std::string Path = Folder.At("layout.dia");
};

template <class T>
T At(const std::string& content, std::size_t place) {
    return Bytes::Load<T>(reinterpret_cast<const std::byte*>(&content[place]));
}

// The content as a machine of the other byte order would have written it.
std::string Foreign(std::string content) {
    const auto swap = [&](std::size_t at, std::size_t bytes, std::size_t count) {
        for (auto part = content.begin() + static_cast<std::ptrdiff_t>(at); count > 0; --count, part += bytes)
            std::reverse(part, part + static_cast<std::ptrdiff_t>(bytes));
    };
    swap(0, 4, 3);
    swap(12, 2, 2);
    content[16] = static_cast<char>(1 - content[16]);
    swap(24, 4, 10);
    for (std::size_t at = Head; at < content.size(); at += Each) {
        const auto kind = static_cast<Dialogs::ItemKind>(content[at + 182]);
        const std::size_t all[][3] = {{174, 2, 4}, {190, 2, 3}, {198, 2, 3}, {208, 8, 1}, {216, 4, 4}};
        for (const auto& [place, bytes, count] : all) swap(at + place, bytes, count);
        if (kind == Drag) swap(at + 232, 8, 2);
        if (kind == Drag) swap(at + 248, 2, 2);
        if (kind == List) swap(at + 232, 2, 1);
        if (kind != FramedNumber) swap(at + (kind == Switch ? 232 : 272), 2, 3);
    }
    return content;
}

TEST_F(DiaFileTest, ALayoutComesBackWhole) {
    const std::string content = Stored();
    DialogRecord& dialog = Coded();
    EXPECT_NE(content, AsCoded);
    ASSERT_TRUE(Loads(dialog, content));
    EXPECT_EQ(DiaFile::Image(dialog), content);
    EXPECT_EQ(Said.Alerts + Said.Questions, "");
}

TEST_F(DiaFileTest, FieldsStandAtTheirPlaces) {
    const std::string content = Stored();
    ASSERT_EQ(content.size(), Head + 7 * Each);
    const std::size_t tau = Head + 2 * Each, list = Head + 3 * Each, drag = Head + 4 * Each;
    const struct {
        std::size_t Place;
        std::int32_t Value;
    } wholes[] = {{0, 1}, {4, 512}, {8, 312}, {24, 5}, {36, 356}, {tau + 216, 2}, {tau + 228, 122}};
    for (const auto& row : wholes) EXPECT_EQ(At<std::int32_t>(content, row.Place), row.Value) << row.Place;
    const struct {
        std::size_t Place;
        std::int16_t Value;
    } halves[] = {{12, 1},         {14, 1},         {tau + 174, 2},  {tau + 176, -2}, {tau + 180, 12},
                  {tau + 190, 20}, {tau + 192, 4},  {tau + 194, 20}, {tau + 178, 2},  {tau + 198, 0x1010},
                  {drag + 248, 3}, {drag + 250, 20}};
    for (const auto& row : halves) EXPECT_EQ(At<std::int16_t>(content, row.Place), row.Value) << row.Place;
    const struct {
        std::size_t Place;
        char Value;
    } bytes[] = {{tau + 80, 3},   {tau + 81, 66}, {tau + 82, 1},   {tau + 83, 1},
                 {tau + 84, 1},   {tau + 183, 5}, {tau + 184, 2},  {tau + 185, 1},
                 {tau + 186, 4},  {tau + 187, 7}, {tau + 188, 1},  {tau + 196, 3},
                 {tau + 197, 0},  {tau + 204, 1}, {list + 83, 0},  {list + 234, 'q'},
                 {list + 235, 2}, {drag + 84, 0}, {drag + 278, 1}, {Head + 5 * Each + 238, 1}};
    for (const auto& row : bytes) EXPECT_EQ(content[row.Place], row.Value) << row.Place;
    EXPECT_STREQ(&content[tau], "Tau");
    EXPECT_STREQ(&content[tau + 86], "\u00b5");
    EXPECT_STREQ(&content[tau + 166], "mV");
    EXPECT_EQ(At<double>(content, tau + 208), 1e-3);
    EXPECT_EQ(At<double>(content, drag + 232), 0.5);
    EXPECT_EQ(At<double>(content, drag + 240), 2.0);
}

TEST_F(DiaFileTest, WhatTheUserHasArrangedIsStoredAtTheEndAndTakenAtTheNextStart) {
    DialogRecord named;
    named.DialogName = "A: B/C \\ d";
    EXPECT_EQ(DiaFile::PathOf(named), Folder.Path + "/qorvanite/A_BC__d.dia");
    DialogRecord& tool = Open(Rows());
    Open({{.Kind = Button, .Name = "left alone"}});
    DialogRecord& fixed = Open(Rows(), {.Storable = false});
    for (DialogRecord* each : {&tool, &fixed}) Pull(*each, {20, 10}, 15, 0, Platform::Option);
    Dialogs::CloseDialog(tool);
    EXPECT_TRUE(DiaFile::StoreArranged());
    const std::filesystem::directory_iterator stored(Folder.At("qorvanite")); // made where it is missing
    EXPECT_EQ(std::distance(begin(stored), end(stored)), 1);
    Clear();
    EXPECT_EQ(Dialogs::Item(Open(Rows()), 1).ItemRect.Left, 15);
}

TEST_F(DiaFileTest, ItemsAreFoundByName) {
    // An older dialog: without Kind, in another order, with an item that is gone since.
    std::vector<Row> older = Rows();
    older.erase(older.begin() + 2);
    std::swap(older[0], older[1]);
    older[3].Name = "Gone";
    const std::string content = Stored(older);
    DialogRecord& dialog = Coded();
    ASSERT_TRUE(Loads(dialog, content));
    const Rect changed[] = {{2, 4, 102, 122}, {1, 2, 101, 121}, {0, 48, 80, 68},
                            {3, 6, 103, 123}, {0, 96, 80, 116}, {5, 10, 105, 125}};
    for (int i = 1; i <= 6; ++i) EXPECT_EQ(Dialogs::Item(dialog, i).ItemRect, changed[i - 1]) << i;
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemName, "Go");
    // The item of a name may be of another kind by now: what is the kind's own stays as coded.
    const std::string drags = Stored();
    std::vector<Row> other = Rows();
    other[3].Kind = List;
    DialogRecord& kinds = Coded(other);
    const DialogItem before = Dialogs::Item(kinds, 4);
    ASSERT_TRUE(Loads(kinds, drags));
    EXPECT_EQ(Dialogs::Item(kinds, 4).TextLength, before.TextLength);
    EXPECT_EQ(Dialogs::Item(kinds, 4).ItemRect.Left, 4);
}

TEST_F(DiaFileTest, AnotherVersionOrByteOrderIsTheUsersToDecide) {
    const std::string native = Stored();
    std::string version = native;
    version[0] = 2;
    const std::string& changed = native; // its version is the dialog's again
    const struct {
        std::string Content;
        const char* Question;
    } rows[] = {{version, "Version conflict loading \""},
                {Foreign(native), "Version conflict (wrong CPU) loading \""},
                {Foreign(version), "Version conflict (wrong CPU) loading \""}};
    for (const auto& row : rows)
        for (const bool load : {false, true}) {
            DialogRecord& dialog = Coded();
            Said.Buttons.clear();
            Said.Answer = nullptr; // by default: Abort
            if (load) Said.Answer = [](bool) { return true; };
            EXPECT_EQ(Loads(dialog, row.Content), load);
            EXPECT_EQ(DiaFile::Image(dialog), load ? changed : AsCoded);
            EXPECT_TRUE(Said.Questions.starts_with(row.Question)) << Said.Questions;
            EXPECT_TRUE(Said.Buttons.starts_with("Load|Abort")) << Said.Buttons;
        }
    // A dialog of version 0 takes any version.
    Said.Answer = nullptr;
    DialogRecord& dialog = Coded();
    dialog.Version = 0;
    EXPECT_TRUE(Loads(dialog, version));
}

TEST_F(DiaFileTest, RecordsMayBeShorterOrLonger) {
    const std::string native = Stored();
    for (const std::size_t length : {std::size_t{80}, std::size_t{200}, std::size_t{216}, Each + 100}) {
        std::string content = native.substr(0, Head);
        const auto written = static_cast<std::int32_t>(length);
        std::memcpy(&content[8], &written, 4);
        for (std::size_t at = Head; at < native.size(); at += Each) {
            std::string record = native.substr(at, Each);
            record.resize(length, '\x55');
            content += record;
        }
        DialogRecord& dialog = Coded();
        ASSERT_TRUE(Loads(dialog, content)) << length;
        const DialogItem& tau = Dialogs::Item(dialog, 2);
        EXPECT_EQ(tau.UnitText, length >= 174 ? "mV" : "s") << length;
        EXPECT_EQ(tau.TextStyle, length >= 184 ? 5 : 0) << length;
        EXPECT_EQ(tau.ItemRect, length >= 232 ? (Rect{2, 4, 102, 122}) : (Rect{0, 24, 80, 44})) << length;
        EXPECT_EQ(tau.ValueScale, length >= 216 ? 1e-3 : 1) << length;
    }
}

TEST_F(DiaFileTest, AFileThatIsDamagedOrEndsEarlyChangesNothing) {
    const std::string native = Stored();
    DialogRecord& dialog = Coded();
    const struct {
        std::size_t At;
        std::int32_t Value;
    } rows[] = {{4, 511}, {4, -512}, {8, 0}, {8, 79}, {8, -312}, {8, 2'000'000'000}};
    for (const auto& row : rows) {
        std::string content = native;
        std::memcpy(&content[row.At], &row.Value, 4);
        EXPECT_FALSE(Loads(dialog, content));
        EXPECT_EQ(DiaFile::Image(dialog), AsCoded);
        EXPECT_EQ(Said.Alerts, "Header Length conflict loading \"" + Path + "\" loading aborted.\n");
    }
    for (std::size_t length = 0; length < native.size(); ++length) {
        if (length > Head && (length - Head) % Each == 0) continue;
        ASSERT_FALSE(Loads(dialog, native.substr(0, length))) << length;
        ASSERT_EQ(DiaFile::Image(dialog), AsCoded) << length;
        ASSERT_TRUE(Said.Alerts.starts_with("Error loading '" + Path + "':   ")) << length << Said.Alerts;
    }
    // Whole records of a dialog with fewer items are taken.
    ASSERT_TRUE(Loads(dialog, native.substr(0, Head + 3 * Each)));
    for (int i = 1; i <= 6; ++i) EXPECT_EQ(Dialogs::Item(dialog, i).ItemRect.Left, i < 3 ? i : 0);
}

TEST_F(DiaFileTest, NoBytesMakeADialogUnusable) {
    const std::string native = Stored();
    std::filesystem::create_directories(Folder.At("qorvanite"));
    Said.Answer = [](bool) { return true; };
    std::mt19937 random(7);
    for (unsigned run = 0; run < 400; ++run) {
        std::string content = native;
        // Names stay in most runs, so that what stands behind them is read.
        for (std::size_t at = run % 4 == 0 ? 0 : 17; at < content.size(); ++at)
            if ((at < Head || (at - Head) % Each >= 80 || run % 4 == 0) &&
                random() % (run % 2 == 0 ? 1 : 20) == 0)
                content[at] = run % 5 == 0 ? '\xff' : static_cast<char>(random());
        WriteWhole(Folder.At("qorvanite/Tool_0.dia"), content);
        DialogRecord& dialog = Open(Rows());
        EXPECT_GE(dialog.WindowRect.Width(), 40);
        for (int i = 1; i <= 6; ++i) {
            const DialogItem& item = Dialogs::Item(dialog, i);
            EXPECT_GE(item.ItemRect.Width(), 0);
            EXPECT_TRUE(std::isfinite(item.ValueScale) && item.ValueScale != 0);
            EXPECT_TRUE(std::isfinite(item.StepSmall) && std::isfinite(item.DragFactor));
            EXPECT_GE(item.TextLength, 0);
            EXPECT_EQ(item.ItemName, Rows()[static_cast<std::size_t>(i) - 1].Name);
        }
        // It can be worked with.
        for (const std::uint32_t key : {9u, 32u, 65u}) Key(dialog, key);
        for (int i = 1; i <= 6; ++i) Click(dialog, i);
        Clear();
    }
}

TEST_F(DiaFileTest, WhatCannotBeStoredOrReadIsSaid) {
    DialogRecord unset;
    DialogRecord& fixed = Set({}, {.Storable = false});
    DialogRecord& dialog = Set(Rows());
    const std::string none = Folder.At("none.dia"), nowhere = Folder.At("no/such/folder.dia"),
                      missing = "':   " + Files::ErrorText(ENOENT) + "\n";
    using DiaFile::Report::Loud, DiaFile::Report::Silent;
    const struct {
        std::function<bool()> Work;
        std::string Alert;
    } rows[] = {{[&] { return DiaFile::Store(unset, none); }, "Error: no buffer allocated!\n"},
                {[&] { return DiaFile::Load(unset, none, Loud); }, "Error: no buffer allocated!\n"},
                {[&] { return DiaFile::Store(fixed, none); }, "Error: this dialog cannot be stored!\n"},
                {[&] { return DiaFile::Load(fixed, none, Loud); }, "Error: dialog not setup to be read!\n"},
                {[&] { return DiaFile::Load(fixed, none, Silent); }, ""},
                {[&] { return DiaFile::Load(dialog, none, Silent); }, ""}, // never stored: no error
                {[&] { return DiaFile::Load(dialog, none, Loud); }, "Error loading '" + none + missing},
                {[&] { return DiaFile::Store(dialog, nowhere); }, "Error storing '" + nowhere + missing}};
    for (const auto& row : rows) {
        Said.Alerts.clear();
        EXPECT_FALSE(row.Work());
        EXPECT_EQ(Said.Alerts, row.Alert);
    }
}

TEST_F(DiaFileTest, AFullDiskLeavesTheFormerLayout) {
    DialogRecord& dialog = Set(Rows());
    ASSERT_TRUE(DiaFile::Store(dialog, Path));
    const std::string before = DiaFile::Image(dialog);
    ChangeAll(dialog);
    const Support::FailingFiles files;
    Support::TheDisk.Room = 600;
    EXPECT_FALSE(DiaFile::Store(dialog, Path));
    EXPECT_EQ(Said.Alerts, "Error storing '" + Path + "':   " + Files::ErrorText(ENOSPC) + "\n");
    EXPECT_EQ(ReadWhole(Path), before);
    EXPECT_EQ(Folder.Count(), 1);
}

TEST_F(DiaFileTest, ScrolledItemsAreStoredAtRest) {
    DialogRecord& dialog = Open({{.Kind = Pane, .Name = "Frame", .At = {0, 0, 200, 50}},
                                 {.Kind = Button, .Name = "a", .At = {0, 0, 50, 40}},
                                 {.Kind = Button, .Name = "b", .At = {0, 40, 50, 40}}});
    Dialogs::Item(dialog, 2).ScrollFrame = 1;
    Dialogs::Item(dialog, 3).ScrollFrame = 1;
    const std::string rest = DiaFile::Image(dialog);
    Dialogs::ScrollTo(dialog, 1, 30);
    EXPECT_EQ(DiaFile::Image(dialog), rest);
    EXPECT_EQ(Dialogs::Item(dialog, 2).ItemRect.Top, -30);
}

TEST_F(DiaFileTest, AKeyBeyondOneByteStaysAsCoded) {
    DialogRecord& dialog =
        Set({{.Kind = Button, .Name = "a", .Key = {.Class = Events::KeyClass::Printable, .Char = 0x3b1}}});
    DiaFile::TakeImage(dialog, DiaFile::Image(dialog));
    EXPECT_EQ(Dialogs::Item(dialog, 1).Key.Char, 0x3b1u);
}

}
