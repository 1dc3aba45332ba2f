#include "ui/help.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "base/places.h"
#include "base/text.h"
#include "ui/dialog.h"
#include "ui/item_value.h"
#include "ui/theme.h"

#include <algorithm>
#include <filesystem>

namespace Help {

namespace {

using Dialogs::DialogRecord;
using Dialogs::ItemKind;
using Dialogs::ToBottom;
using Dialogs::ToLeft;
using Dialogs::ToRight;
using Dialogs::ToTop;

constexpr std::int64_t FileBytesMost = 4'000'000;
constexpr const char* DefaultFont = "Arial";

struct TipRow {
    std::string Dialog, Item, Text;
};

struct HelpState {
    std::vector<Section> Sections;
    std::vector<TipRow> Tips;
    std::string Font = DefaultFont;
    DialogRecord Dialog;
    std::uint8_t Topic = 0;
    std::string Search;
};
HelpState State;

enum Items : std::uint8_t { TopicH = 1, Topic, Search, FindNext, Title, Text, Close, ItemTotal = Close };

bool Failed(const std::string& text) {
    Messages::Note(text);
    return false;
}

void ShowSection(DialogRecord& dialog) {
    const Section& section = State.Sections[std::min<std::size_t>(State.Topic, State.Sections.size() - 1)];
    Dialogs::SetItemText(dialog, Title, section.Title);
    Platform::Ops().SetTextBoxText(Dialogs::Item(dialog, Text).TextBox, section.Text);
}

void TopicChosen(DialogRecord& dialog, int) {
    ShowSection(dialog);
}

bool Holds(std::string_view text, std::string_view word) {
    return Texts::UpperCase(text).find(Texts::UpperCase(word)) != std::string::npos;
}

// Searches this section from the cursor on, then the others, and at last what stands ahead of the cursor.
void Find(DialogRecord& dialog, int) {
    if (State.Search.empty()) return;
    const Platform::TextBoxId box = Dialogs::Item(dialog, Text).TextBox;
    if (Platform::Ops().FindInTextBox(box, State.Search)) return;
    for (std::size_t i = 1; i <= State.Sections.size(); ++i) {
        const std::size_t at = (State.Topic + i) % State.Sections.size();
        if (!Holds(State.Sections[at].Text, State.Search)) continue;
        State.Topic = static_cast<std::uint8_t>(at);
        ShowSection(dialog);
        Dialogs::RedrawItem(dialog, Topic);
        (void)Platform::Ops().FindInTextBox(box, State.Search);
        return;
    }
    Messages::Status("\"" + State.Search + "\" was not found in the help.");
}

void CloseHelp(DialogRecord& dialog, int) {
    Dialogs::CloseDialog(dialog);
}

const Dialogs::Row Rows[] = {
    {.Number = TopicH,
     .Kind = ItemKind::Text,
     .Name = "TopicH",
     .Text = "Topic",
     .At = {16, 14, 44, 24},
     .Role = Dialogs::Role::Secondary},
    {.Number = Topic,
     .Kind = ItemKind::List,
     .Name = "Topic",
     .At = {62, 14, 220, 24},
     .Value = &State.Topic,
     .Proc = TopicChosen,
     .Tip = "The window or subject to read about"},
    {.Number = Search,
     .Kind = ItemKind::FramedText,
     .Name = "Search",
     .Text = "Find a word",
     .At = {298, 14, 406, 24},
     .Value = &State.Search,
     .Proc = Find,
     .Tip = "A word to look for; Return finds it in all topics",
     .Anchor = ToLeft | ToRight | ToTop},
    {.Number = FindNext,
     .Kind = ItemKind::Button,
     .Name = "FindNext",
     .Text = "Find Next",
     .At = {710, 14, 94, 24},
     .Proc = Find,
     .Tip = "Goes to the next place where the word stands",
     .Anchor = ToRight | ToTop},
    {.Number = Title,
     .Kind = ItemKind::Text,
     .Name = "Title",
     .At = {16, 50, 788, 24},
     .Anchor = ToLeft | ToRight | ToTop,
     .Role = Dialogs::Role::Heading},
    {.Number = Text,
     .Kind = ItemKind::EditText,
     .Name = "Text",
     .At = {8, 78, 804, 440},
     .Tip = "",
     .Anchor = ToLeft | ToRight | ToTop | ToBottom,
     .Macro = false,
     .Lines = true},
    {.Number = Close,
     .Kind = ItemKind::Button,
     .Name = "Close",
     .Text = "Close",
     .At = {710, 528, 94, 26},
     .Proc = CloseHelp,
     .Tip = "Closes the help: Escape",
     .Key = Dialogs::EscapeKey,
     .Anchor = ToRight | ToBottom,
     .Role = Dialogs::Role::Primary},
};

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
    Dialogs::Item(dialog, Text).Executable = false; // read only
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
    std::vector<std::string>& entries = Dialogs::Item(dialog, Topic).ListEntries;
    entries.clear();
    for (const Section& section : State.Sections) entries.push_back(section.Title);
    const std::vector<std::string> fonts = Themes::FontList();
    const auto found = std::find(fonts.begin(), fonts.end(), State.Font);
    if (found != fonts.end())
        Dialogs::Item(dialog, Text).FontNumber = static_cast<std::int16_t>(found - fonts.begin());
}

void PutTips(DialogRecord& dialog) {
    for (int number = 1; number <= dialog.ItemCount && !State.Tips.empty(); ++number) {
        if (!Dialogs::HasItem(dialog, number)) continue;
        std::string tip = Tip(dialog.DialogIDName, Dialogs::Item(dialog, number).ItemName);
        if (!tip.empty()) Dialogs::Item(dialog, number).Tip = std::move(tip);
    }
}

void TakeTip(std::string_view line) {
    const auto word = [&line] {
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        const std::string_view taken = line.substr(0, line.find(' '));
        line.remove_prefix(taken.size());
        return std::string(taken);
    };
    TipRow row{word(), word(), {}};
    row.Text = NumberText::Trimmed(line);
    if (row.Dialog.empty() || row.Item.empty() || row.Text.empty()) return;
    if (State.Tips.size() == TipsMost) Messages::Note(" ## Error: too many tool tips ## ");
    if (State.Tips.size() <= TipsMost) State.Tips.push_back(std::move(row));
}

void Parse(std::string_view content) {
    State.Sections.assign(1, {"Overview", {}});
    State.Tips.clear();
    State.Font = DefaultFont;
    while (!content.empty()) {
        const std::size_t end = content.find_first_of("\r\n");
        const std::string line = Texts::Utf8(content.substr(0, end));
        const bool pair = end != std::string_view::npos && content.substr(end, 2) == "\r\n";
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + (pair ? 2 : 1));
        if (line.starts_with("== ")) {
            State.Sections.push_back(
                {std::string(NumberText::Trimmed(std::string_view(line).substr(3))), {}});
        } else if (line.starts_with("FONT:")) {
            State.Font = NumberText::Trimmed(std::string_view(line).substr(5));
        } else if (line.starts_with("TIP ")) {
            TakeTip(std::string_view(line).substr(4));
        } else {
            State.Sections.back().Text += line + "\n";
        }
    }
    std::erase_if(State.Sections, [](const Section& section) {
        return section.Title.empty() || section.Text.find_first_not_of(" \t\n") == std::string::npos;
    });
    for (Section& section : State.Sections)
        while (section.Text.starts_with('\n')) section.Text.erase(0, 1);
    // A list keeps its choice in a byte.
    if (State.Sections.size() > 250) State.Sections.resize(250);
}

}

bool Initialise() {
    static const Dialogs::DialogSpec Spec{.Title = "Help",
                                          .IDName = "Help",
                                          .BufferName = "Help",
                                          .Count = ItemTotal,
                                          .Place = {-1, -1, 820, 566},
                                          .Least = {460, 260},
                                          .Window = Platform::WindowKind::Floating,
                                          .Define = Define,
                                          .Configure = Configure};
    return State.Dialog.Items || Dialogs::SetupDialogBuffer(State.Dialog, Spec);
}

bool Load(const std::string& file) {
    Messages::Log("Loading \"" + file + "\"");
    std::string content;
    const int error = Files::ReadWhole(file, FileBytesMost, content);
    if (error != 0) return Failed("HelpFile - \"" + file + "\": " + Files::ErrorText(error));
    if (NumberText::Trimmed(content).find_first_not_of("\r\n\t ") == std::string_view::npos)
        return Failed("Loading \"" + file + "\": file is empty.");
    Parse(content);
    if (State.Dialog.IsOpen) Dialogs::CloseDialog(State.Dialog);
    State.Topic = 0;
    return true;
}

std::string FindFile(const std::string& programName) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path folder = error ? fs::path() : program.parent_path();
    const std::string name = programName + ".hlp";
    for (const fs::path& place :
         {folder / name, folder / ".." / name, folder / ".." / "share" / "qorvanite" / name,
          fs::path(Places::DataFolder()) / name})
        if (place.has_parent_path() && fs::exists(place, error)) return place.string();
    return {};
}

const std::vector<Section>& Sections() {
    return State.Sections;
}

std::string Tip(std::string_view dialogIDName, std::string_view itemName) {
    for (const TipRow& row : State.Tips)
        if (Texts::SameFolded(row.Dialog, dialogIDName) && Texts::SameFolded(row.Item, itemName))
            return row.Text;
    return {};
}

void ApplyTips() {
    Dialogs::AfterConfigure = PutTips;
    for (DialogRecord* dialog = Dialogs::FirstDialog(); dialog != nullptr; dialog = dialog->NextDialog)
        PutTips(*dialog);
}

bool Show(std::string_view title) {
    if (State.Sections.empty()) {
        Messages::Alert("HelpFile - file is empty.");
        return false;
    }
    if (!Initialise()) return false;
    State.Topic = 0;
    for (std::size_t i = 0; i < State.Sections.size(); ++i)
        if (Texts::SameFolded(State.Sections[i].Title, title)) State.Topic = static_cast<std::uint8_t>(i);
    if (!Dialogs::OpenDialog(State.Dialog)) {
        Messages::Alert("HelpFile - window could not be created.");
        return false;
    }
    Dialogs::RedrawItem(State.Dialog, Topic);
    ShowSection(State.Dialog);
    return true;
}

void ShowForFront() {
    const DialogRecord* const front = Dialogs::FrontDialog();
    if (front != nullptr && front == &State.Dialog) return; // the reader has chosen what to read
    (void)Show(front != nullptr ? front->DialogName : "Overview");
}

}
