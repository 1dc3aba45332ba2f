#include "base/bytes.h"
#include "support/failing_files.h"
#include "support/faulty_disk.h"
#include "ui/desk.h"
#include "ui/dia_file.h"

#include <random>

namespace {

using Dialogs::DialogItem;
using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::Rect;
using Dialogs::Row;
using Support::Desk;
using Support::ReadWhole;
using Support::WriteWhole;

constexpr std::size_t Head = 512, Each = 312;

const std::vector<Row>& Rows() {
    static constexpr const char* Entries[] = {"a", "b"};
    static const std::vector<Row> rows{
        {.Number = 1, .Kind = ItemKind::Button, .Name = "Go", .Text = "Go", .At = {10, 10, 60, 24}},
        {.Number = 2,
         .Kind = ItemKind::FramedNumber,
         .Name = "Tau",
         .At = {10, 40, 60, 24},
         .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real64),
         .Form = {.Unit = "s"}},
        {.Number = 3,
         .Kind = ItemKind::List,
         .Name = "Kind",
         .At = {10, 70, 60, 24},
         .Value = Dialogs::ValueRef(Dialogs::ValueKind::Byte),
         .Entries = Entries},
        {.Number = 4,
         .Kind = ItemKind::Drag,
         .Name = "Left",
         .At = {10, 100, 60, 24},
         .Value = Dialogs::ValueRef(Dialogs::ValueKind::Real32)},
        {.Number = 5, .Kind = ItemKind::Switch, .Name = "Show", .At = {10, 130, 60, 24}},
        {.Number = 6, .Kind = ItemKind::Text, .Name = "Label", .Text = "label", .At = {10, 160, 60, 24}}};
    return rows;
}

class DiaFileTest : public Desk {
protected:
    // What can be changed, of each item, as one comparable text.
    static std::string State(const DialogRecord& dialog) {
        std::string text =
            std::to_string(dialog.WindowRect.Left) + " " + std::to_string(dialog.WindowRect.Bottom);
        for (int i = 0; i <= dialog.ItemCount; ++i) {
            const DialogItem& item = Dialogs::Item(dialog, i);
            text += "\n" + item.ItemName + "|" + item.ItemText + "|" + item.UnitText;
            for (const double n : {double(item.Key.Class),
                                   double(item.Key.Char),
                                   double(item.Key.Modifiers),
                                   double(item.Key.AnyModifier),
                                   double(item.Key.FrontOnly),
                                   double(item.Key2.Char),
                                   double(item.Executable),
                                   double(item.Visible),
                                   double(item.Enabled),
                                   double(item.TextLeft),
                                   double(item.TextBottom),
                                   double(item.FontNumber),
                                   double(item.FontSize),
                                   double(item.TextStyle),
                                   double(item.Justify),
                                   double(item.Inverted),
                                   double(item.NumberFormat),
                                   double(item.NumberOption),
                                   double(item.TextLength),
                                   double(item.Digits),
                                   double(item.LineHeight),
                                   item.ValueScale,
                                   double(item.ItemRect.Left),
                                   double(item.ItemRect.Top),
                                   double(item.ItemRect.Right),
                                   double(item.ItemRect.Bottom),
                                   item.StepSmall,
                                   item.DragFactor,
                                   double(item.DragDivisor),
                                   double(item.DragInterval)})
                text += "|" + std::to_string(n);
            for (const auto& color : {item.BackColor, item.HighColor})
                text += color ? "|" + std::to_string(color->Red) + "," + std::to_string(color->Green) + "," +
                                    std::to_string(color->Blue)
                              : "|-";
        }
        return text;
    }
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
            item.NumberFormat = NumberText::Format::Engineering;
            item.NumberOption = 7;
            item.Digits = 4;
            item.LineHeight = 20;
            item.ValueScale = 1e-3;
            item.ItemRect = {n, 2 * n, 100 + n, 120 + n};
            item.BackColor = Platform::FromHex(0x102030);
        }
        Dialogs::Item(dialog, 2).TextLength = 20;
        Dialogs::Item(dialog, 3).Key2 = {.Class = Events::KeyClass::Printable, .Char = 'q'};
        DialogItem& drag = Dialogs::Item(dialog, 4);
        drag.StepSmall = 0.5;
        drag.DragFactor = 2;
        drag.DragDivisor = 3;
        drag.DragInterval = 20;
        Dialogs::Item(dialog, 5).HighColor = Platform::FromHex(0xff8000);
        Dialogs::Item(dialog, 0).BackColor = Platform::FromHex(0x405060);
        Dialogs::Item(dialog, 0).ItemText = "My title";
        dialog.WindowRect = {5, 6, 405, 356};
    }
    // A layout of changed items, stored; the dialog is as coded again.
    std::string Stored(std::vector<Row> rows = Rows()) {
        DialogRecord& dialog = Set(std::move(rows));
        ChangeAll(dialog);
        Changed = State(dialog);
        const std::string path = Folder.At("layout.dia");
        EXPECT_TRUE(DiaFile::Store(dialog, path));
        Dialogs::DisposeDialog(dialog);
        Made = 0;
        return path;
    }
    DialogRecord& Coded(std::vector<Row> rows = Rows()) {
        DialogRecord& dialog = Set(std::move(rows));
        AsCoded = State(dialog);
        return dialog;
    }
    std::string Changed, AsCoded;
};

// The content as a machine of the other byte order would have written it.
std::string Foreign(std::string content) {
    const auto swap = [&](std::size_t at, std::size_t bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            std::reverse(content.begin() + static_cast<std::ptrdiff_t>(at + i * bytes),
                         content.begin() + static_cast<std::ptrdiff_t>(at + (i + 1) * bytes));
    };
    swap(0, 4, 3);
    swap(12, 2, 2);
    content[16] = static_cast<char>(1 - content[16]);
    swap(24, 4, 10);
    for (std::size_t at = Head; at < content.size(); at += Each) {
        swap(at + 174, 2, 4);
        swap(at + 190, 2, 3);
        swap(at + 198, 2, 3);
        swap(at + 208, 8, 1);
        swap(at + 216, 4, 4);
        switch (static_cast<ItemKind>(content[at + 182])) {
        case ItemKind::Drag:
            swap(at + 232, 8, 2);
            swap(at + 248, 2, 2);
            break;
        case ItemKind::List: swap(at + 232, 2, 1); break;
        case ItemKind::Switch: swap(at + 232, 2, 3); break;
        default: break;
        }
    }
    return content;
}

TEST_F(DiaFileTest, ALayoutComesBackWhole) {
    const std::string path = Stored();
    DialogRecord& dialog = Coded();
    EXPECT_NE(Changed, AsCoded);
    ASSERT_TRUE(DiaFile::Load(dialog, path, DiaFile::Report::Loud));
    EXPECT_EQ(State(dialog), Changed);
    // And the same bytes are written again.
    ASSERT_TRUE(DiaFile::Store(dialog, Folder.At("again.dia")));
    EXPECT_EQ(ReadWhole(Folder.At("again.dia")), ReadWhole(path));
    EXPECT_EQ(Said.Alerts + Said.Questions, "");
}

TEST_F(DiaFileTest, FieldsStandAtTheirPlaces) {
    const std::string content = ReadWhole(Stored());
    ASSERT_EQ(content.size(), Head + 7 * Each);
    const auto at = [&]<class T>(std::size_t place, T) {
        return Bytes::Load<T>(reinterpret_cast<const std::byte*>(&content[place]));
    };
    const std::int32_t whole = 0;
    const std::int16_t half = 0;
    EXPECT_EQ(at(0, whole), 1);
    EXPECT_EQ(at(4, whole), 512);
    EXPECT_EQ(at(8, whole), 312);
    EXPECT_EQ(at(12, half), 1);
    EXPECT_EQ(at(14, half), 1);
    EXPECT_EQ(at(24, whole), 5);
    EXPECT_EQ(at(36, whole), 356);
    const std::size_t tau = Head + 2 * Each;
    EXPECT_STREQ(&content[tau], "Tau");
    EXPECT_EQ(content[tau + 80], 3);
    EXPECT_EQ(content[tau + 81], 66);
    EXPECT_STREQ(&content[tau + 86], "\u00b5");
    EXPECT_STREQ(&content[tau + 166], "mV");
    EXPECT_EQ(at(tau + 174, half), 2);
    EXPECT_EQ(at(tau + 176, half), -2);
    EXPECT_EQ(at(tau + 180, half), 12);
    EXPECT_EQ(content[tau + 183], 5);
    EXPECT_EQ(content[tau + 186], 4);
    EXPECT_EQ(content[tau + 188], 1);
    EXPECT_EQ(at(tau + 190, half), 20);
    EXPECT_EQ(at(tau + 192, half), 4);
    EXPECT_EQ(at(tau + 194, half), 20);
    EXPECT_EQ(content[tau + 196], 3);
    EXPECT_EQ(at(tau + 198, std::uint16_t{}), 0x1010);
    EXPECT_EQ(at(tau + 208, 0.0), 1e-3);
    EXPECT_EQ(at(tau + 216, whole), 2);
    EXPECT_EQ(at(tau + 228, whole), 122);
    EXPECT_EQ(at(Head + 4 * Each + 232, 0.0), 0.5);
    EXPECT_EQ(content[Head + 3 * Each + 234], 'q');
    EXPECT_EQ(content[Head + 3 * Each + 235], 2);
}

TEST_F(DiaFileTest, TheFileBearsTheDialogsName) {
    DialogRecord dialog;
    dialog.DialogName = "A: B/C \\ d";
    EXPECT_EQ(DiaFile::PathOf(dialog), Folder.Path + "/qorvanite/A_BC__d.dia");
    // Opening takes it; the folder is made where it is missing.
    DialogRecord& tool = Open(Rows());
    Pull(tool, {20, 20}, 15, 0, Platform::Option);
    ASSERT_TRUE(DiaFile::Store(tool));
    Dialogs::DisposeDialog(tool);
    Made = 0;
    EXPECT_EQ(Dialogs::Item(Open(Rows()), 1).ItemRect.Left, 25);
}

TEST_F(DiaFileTest, ItemsAreFoundByName) {
    // An older dialog: without Kind, in another order, with an item that is gone since.
    std::vector<Row> older = Rows();
    older.erase(older.begin() + 2);
    std::swap(older[0], older[1]);
    for (std::size_t i = 0; i < older.size(); ++i) older[i].Number = static_cast<int>(i) + 1;
    older[2].Name = "Gone";
    const std::string path = Stored(older);
    DialogRecord& dialog = Coded();
    ASSERT_TRUE(DiaFile::Load(dialog, path, DiaFile::Report::Loud));
    const Rect changed[] = {{2, 4, 102, 122},   {1, 2, 101, 121}, {10, 70, 70, 94},
                            {10, 100, 70, 124}, {4, 8, 104, 124}, {5, 10, 105, 125}};
    for (int i = 1; i <= 6; ++i) EXPECT_EQ(Dialogs::Item(dialog, i).ItemRect, changed[i - 1]) << i;
    EXPECT_EQ(Dialogs::Item(dialog, 1).ItemName, "Go");
    EXPECT_EQ(Dialogs::Item(dialog, 3).ItemText, "");
    // The item of a name may be of another kind by now: what is the kind's own stays as coded.
    std::vector<Row> other = Rows();
    other[3].Kind = ItemKind::List;
    Dialogs::DisposeDialog(dialog);
    Made = 0;
    DialogRecord& kinds = Coded(other);
    const DialogItem before = Dialogs::Item(kinds, 4);
    WriteWhole(path, ReadWhole(Stored()));
    Made = 1;
    ASSERT_TRUE(DiaFile::Load(kinds, path, DiaFile::Report::Loud));
    EXPECT_EQ(Dialogs::Item(kinds, 4).TextLength, before.TextLength);
    EXPECT_EQ(Dialogs::Item(kinds, 4).ItemRect.Left, 4);
}

TEST_F(DiaFileTest, AnotherVersionOrByteOrderIsTheUsersToDecide) {
    const std::string path = Stored();
    const std::string native = ReadWhole(path);
    std::string version = native;
    version[0] = 2;
    std::string foreignVersion = Foreign(version);
    const struct {
        std::string Content;
        const char* Question;
    } rows[] = {{version, "Version conflict loading \""},
                {Foreign(native), "Version conflict (wrong CPU) loading \""},
                {foreignVersion, "Version conflict (wrong CPU) loading \""}};
    for (const auto& row : rows) {
        WriteWhole(path, row.Content);
        for (const bool load : {false, true}) {
            DialogRecord& dialog = Coded();
            Said.Questions.clear();
            Said.Buttons.clear();
            Said.Answer =
                load ? std::function<bool(bool)>([](bool) { return true; }) : nullptr; // by default: Abort
            EXPECT_EQ(DiaFile::Load(dialog, path, DiaFile::Report::Loud), load);
            EXPECT_EQ(State(dialog), load ? Changed : AsCoded);
            EXPECT_TRUE(Said.Questions.starts_with(row.Question)) << Said.Questions;
            EXPECT_TRUE(Said.Buttons.starts_with("Load|Abort")) << Said.Buttons;
            Dialogs::DisposeDialog(dialog);
            Made = 0;
        }
    }
    // A dialog of version 0 takes any version.
    Said.Answer = nullptr;
    Said.Questions.clear();
    WriteWhole(path, version);
    DialogRecord& dialog = Coded();
    dialog.Version = 0;
    EXPECT_TRUE(DiaFile::Load(dialog, path, DiaFile::Report::Loud));
    EXPECT_EQ(Said.Questions, "");
}

TEST_F(DiaFileTest, RecordsMayBeShorterOrLonger) {
    const std::string path = Stored();
    const std::string native = ReadWhole(path);
    for (const std::size_t length :
         {std::size_t{80}, std::size_t{200}, std::size_t{216}, Each + 100, std::size_t{2000}}) {
        std::string content = native.substr(0, Head);
        const auto written = static_cast<std::int32_t>(length);
        std::memcpy(&content[8], &written, 4);
        for (std::size_t at = Head; at < native.size(); at += Each) {
            std::string record = native.substr(at, Each);
            record.resize(length, '\x55');
            content += record;
        }
        WriteWhole(path, content);
        DialogRecord& dialog = Coded();
        ASSERT_TRUE(DiaFile::Load(dialog, path, DiaFile::Report::Loud)) << length;
        const DialogItem& tau = Dialogs::Item(dialog, 2);
        EXPECT_EQ(tau.UnitText, length >= 174 ? "mV" : "s") << length;
        EXPECT_EQ(tau.TextStyle, length >= 184 ? 5 : 0) << length;
        EXPECT_EQ(tau.ItemRect, length >= 232 ? (Rect{2, 4, 102, 122}) : (Rect{10, 40, 70, 64})) << length;
        EXPECT_EQ(tau.ValueScale, length >= 216 ? 1e-3 : 1) << length;
        Dialogs::DisposeDialog(dialog);
        Made = 0;
    }
}

TEST_F(DiaFileTest, AHeaderThatIsNoneIsRefused) {
    const std::string path = Stored();
    const std::string native = ReadWhole(path);
    const struct {
        std::size_t At;
        std::int32_t Value;
    } rows[] = {{4, 511}, {4, 0}, {4, -512}, {8, 0}, {8, 79}, {8, -312}, {8, 2'000'000'000}};
    for (const auto& row : rows) {
        std::string content = native;
        std::memcpy(&content[row.At], &row.Value, 4);
        WriteWhole(path, content);
        DialogRecord& dialog = Coded();
        Said.Alerts.clear();
        EXPECT_FALSE(DiaFile::Load(dialog, path, DiaFile::Report::Loud));
        EXPECT_EQ(State(dialog), AsCoded);
        EXPECT_EQ(Said.Alerts, "Header Length conflict loading \"" + path + "\" loading aborted.\n");
        Dialogs::DisposeDialog(dialog);
        Made = 0;
    }
}

TEST_F(DiaFileTest, AFileThatEndsEarlyChangesNothingOrWhatItHas) {
    const std::string path = Stored();
    const std::string native = ReadWhole(path);
    DialogRecord& dialog = Coded();
    for (std::size_t length = 0; length < native.size(); ++length) {
        WriteWhole(path, std::string_view(native).substr(0, length));
        Said.Alerts.clear();
        const bool whole = length > Head && (length - Head) % Each == 0;
        ASSERT_EQ(DiaFile::Load(dialog, path, DiaFile::Report::Loud), whole) << length;
        if (whole) {
            // Only these items.
            const auto records = static_cast<int>((length - Head) / Each);
            for (int i = 1; i <= 6; ++i)
                ASSERT_EQ(Dialogs::Item(dialog, i).ItemRect.Left, i < records ? i : 10) << length;
            Dialogs::DisposeDialog(dialog);
            Made = 0;
            (void)Coded();
        } else {
            ASSERT_EQ(State(dialog), AsCoded) << length;
            ASSERT_TRUE(Said.Alerts.starts_with("Error loading '" + path + "':   ")) << length << Said.Alerts;
        }
    }
}

TEST_F(DiaFileTest, NoBytesMakeADialogUnusable) {
    const std::string path = Stored();
    const std::string native = ReadWhole(path);
    std::mt19937 random(7);
    for (int run = 0; run < 400; ++run) {
        std::string content = native;
        // Names stay in most runs, so that what stands behind them is read.
        for (std::size_t at = run % 4 == 0 ? 0 : 17; at < content.size(); ++at)
            if ((at < Head || (at - Head) % Each >= 80 || run % 4 == 0) &&
                random() % (run % 2 == 0 ? 1 : 20) == 0)
                content[at] = static_cast<char>(random());
        WriteWhole(path, content);
        DialogRecord& dialog = Coded();
        Said.Answer = [](bool) { return true; };
        (void)DiaFile::Load(dialog, path, DiaFile::Report::Loud);
        EXPECT_GE(dialog.WindowRect.Width(), 40);
        for (int i = 1; i <= 6; ++i) {
            const DialogItem& item = Dialogs::Item(dialog, i);
            EXPECT_GE(item.ItemRect.Width(), 0);
            EXPECT_TRUE(std::isfinite(item.ValueScale) && item.ValueScale != 0);
            EXPECT_TRUE(std::isfinite(item.StepSmall) && std::isfinite(item.DragFactor));
            EXPECT_GE(item.TextLength, 0);
            EXPECT_EQ(item.ItemName, Rows()[static_cast<std::size_t>(i) - 1].Name);
        }
        // It can be shown and worked with.
        Dialogs::DisposeDialog(dialog);
        Made = 0;
        std::filesystem::create_directories(Folder.At("qorvanite"));
        WriteWhole(Folder.At("qorvanite/Tool_0.dia"), content);
        DialogRecord& shown = Open(Rows());
        for (const std::uint32_t key : {9u, 32u, 65u}) Key(shown, key);
        for (int i = 1; i <= 6; ++i) Click(shown, i);
        Dialogs::DisposeDialog(shown);
        Made = 0;
    }
}

TEST_F(DiaFileTest, WhatCannotBeStoredOrReadIsSaid) {
    DialogRecord unset;
    EXPECT_FALSE(DiaFile::Store(unset, Folder.At("x.dia")));
    EXPECT_FALSE(DiaFile::Load(unset, Folder.At("x.dia"), DiaFile::Report::Loud));
    EXPECT_EQ(Said.Alerts, "Error: no buffer allocated!\nError: no buffer allocated!\n");
    Said.Alerts.clear();
    DialogRecord& fixed = Set({}, {.Storable = false});
    EXPECT_FALSE(DiaFile::Store(fixed, Folder.At("x.dia")));
    EXPECT_FALSE(DiaFile::Load(fixed, Folder.At("x.dia"), DiaFile::Report::Loud));
    EXPECT_FALSE(DiaFile::Load(fixed, Folder.At("x.dia"), DiaFile::Report::Silent));
    EXPECT_EQ(Said.Alerts, "Error: this dialog cannot be stored!\nError: dialog not setup to be read!\n");
    Said.Alerts.clear();
    DialogRecord& dialog = Set(Rows());
    EXPECT_FALSE(DiaFile::Load(dialog, Folder.At("none.dia"), DiaFile::Report::Silent));
    EXPECT_EQ(Said.Alerts, "") << "a layout that was never stored is no error";
    EXPECT_FALSE(DiaFile::Load(dialog, Folder.At("none.dia"), DiaFile::Report::Loud));
    EXPECT_EQ(Said.Alerts,
              "Error loading '" + Folder.At("none.dia") + "':   " + Files::ErrorText(ENOENT) + "\n");
    Said.Alerts.clear();
    EXPECT_FALSE(DiaFile::Store(dialog, Folder.At("no/such/folder.dia")));
    EXPECT_TRUE(Said.Alerts.starts_with("Error storing '" + Folder.At("no/such/folder.dia") + "':   "))
        << Said.Alerts;
}

TEST_F(DiaFileTest, AFailingDiskLeavesTheFormerLayout) {
    const std::string path = Folder.At("layout.dia");
    DialogRecord& dialog = Set(Rows());
    ASSERT_TRUE(DiaFile::Store(dialog, path));
    const std::string before = ReadWhole(path);
    ChangeAll(dialog);
    const std::string after = DiaFile::Image(dialog);
    Support::ForEveryFault(
        Folder,
        [&] {
            Folder.Put({{"layout.dia", before}});
        },
        [&] {
            Said.Alerts.clear();
            return DiaFile::Store(dialog, path) ? 1 : 0;
        },
        [&](const Support::FaultRun& run) {
            const std::string now = ReadWhole(path);
            if (run.Returned && run.Result == 1) {
                EXPECT_EQ(now, after);
            } else {
                EXPECT_TRUE(now == before || now == after);
            }
            if (!run.Ended && run.Result == 0) {
                EXPECT_TRUE(Said.Alerts.starts_with("Error storing '" + path + "':   ")) << Said.Alerts;
                if (run.Kind != Support::Fault::Unplugged) { // from there on nothing can be removed
                    EXPECT_EQ(Folder.Count(), 1);
                }
            }
        });
}

TEST_F(DiaFileTest, AFullDiskIsSaid) {
    DialogRecord& dialog = Set(Rows());
    const std::string path = Folder.At("layout.dia");
    const Support::FailingFiles files;
    Support::TheDisk.Room = 600;
    EXPECT_FALSE(DiaFile::Store(dialog, path));
    EXPECT_EQ(Said.Alerts, "Error storing '" + path + "':   " + Files::ErrorText(ENOSPC) + "\n");
    EXPECT_EQ(Folder.Count(), 0);
}

TEST_F(DiaFileTest, ScrolledItemsAreStoredAtRest) {
    std::vector<Row> rows{{.Number = 1, .Kind = ItemKind::Pane, .Name = "Frame", .At = {0, 0, 200, 50}},
                          {.Number = 2, .Kind = ItemKind::Button, .Name = "a", .At = {0, 0, 50, 40}},
                          {.Number = 3, .Kind = ItemKind::Button, .Name = "b", .At = {0, 40, 50, 40}}};
    DialogRecord& dialog = Open(rows);
    Dialogs::Item(dialog, 2).ScrollFrame = 1;
    Dialogs::Item(dialog, 3).ScrollFrame = 1;
    const std::string rest = DiaFile::Image(dialog);
    Dialogs::ScrollTo(dialog, 1, 30);
    ASSERT_EQ(Dialogs::Item(dialog, 2).ItemRect.Top, -30);
    EXPECT_EQ(DiaFile::Image(dialog), rest);
    EXPECT_EQ(Dialogs::Item(dialog, 2).ItemRect.Top, -30);
}

TEST_F(DiaFileTest, AKeyBeyondOneByteStaysAsCoded) {
    std::vector<Row> rows{{.Number = 1,
                           .Kind = ItemKind::Button,
                           .Name = "a",
                           .Key = {.Class = Events::KeyClass::Printable, .Char = 0x3b1}}};
    DialogRecord& dialog = Set(rows);
    const std::string image = DiaFile::Image(dialog);
    DiaFile::TakeImage(dialog, image);
    EXPECT_EQ(Dialogs::Item(dialog, 1).Key.Char, 0x3b1u);
}

}
