#include "ui/notebook.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "setup/settings.h"
#include "ui/dialog.h"
#include "ui/theme.h"

#include <algorithm>

namespace Notebook {

NotebookState State;

namespace {

using Dialogs::DialogRecord;

enum Items : std::uint8_t { TextItem = 1, ItemTotal = 1 };

constexpr std::int64_t MergeBytesMost = 100'000'000;
constexpr std::size_t LineBytesMost = 100'000;                        // of one line
constexpr double PageWidth = 794, PageHeight = 1123, PageMargin = 57; // A4 in pixels

struct BufferState {
    DialogRecord Dialog;
    std::string Text;    // all lines
    std::string Waiting; // those of them that the window has not got yet
    std::string Cleared; // what Clear took away
    int LineCount = 0;
    bool WindowIsNewer = false; // the user has typed
};
BufferState Book;

bool Edited(DialogRecord&, const Events::Event&) {
    Book.WindowIsNewer = true;
    State.Modified = true;
    return true;
}

// The user types: the text is read when somebody asks for it.
void TextEdited(DialogRecord& dialog, int) {
    Edited(dialog, {});
}

constexpr const char* TextTip = "Messages of the program, and your remarks: click and type.";

const Dialogs::Row Rows[] = {
    {.Number = TextItem,
     .Kind = Dialogs::ItemKind::EditText,
     .Name = "Text",
     .At = {0, 0, 520, 160},
     .Proc = TextEdited,
     .Tip = TextTip,
     .Anchor = Dialogs::ToLeft | Dialogs::ToRight | Dialogs::ToTop | Dialogs::ToBottom,
     .Role = Dialogs::Role::Card,
     .Macro = false,
     .Lines = true,
     .FontNumber = 1},
};

void Define(DialogRecord& dialog) {
    Dialogs::DefineRows(dialog, Rows);
}

void Configure(DialogRecord& dialog) {
    Dialogs::ConfigureRows(dialog, Rows);
    Dialogs::Item(dialog, TextItem).FontSize = State.FontSize;
    Dialogs::Item(dialog, TextItem).LineNumbers = State.LineNumbers;
}

int CountLines(std::string_view text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

Platform::TextBoxId Box() {
    return Book.Dialog.IsOpen ? Dialogs::Item(Book.Dialog, TextItem).TextBox : 0;
}

void TakeFromWindow() {
    if (!Book.WindowIsNewer || Box() == 0) return;
    Book.WindowIsNewer = false;
    // What waits is in the text already, but not in the window.
    Book.Text = Platform::Ops().TextBoxText(Box());
    if (!Book.Text.empty() && !Book.Text.ends_with('\n') && !Book.Waiting.empty()) Book.Text += '\n';
    Book.Text += Book.Waiting;
    Book.LineCount = CountLines(Book.Text);
}

void ShowCount() {
    Dialogs::SetAside(Book.Dialog,
                      std::to_string(Book.LineCount) + (Book.LineCount == 1 ? " line" : " lines"));
}

void PutToWindow() {
    Book.Waiting.clear();
    Book.WindowIsNewer = false;
    if (Box() != 0) Platform::Ops().SetTextBoxText(Box(), Book.Text);
    ShowCount();
}

void DropOldest() {
    const int most = Setup::Settings.Program.NotebookLength;
    if (Book.LineCount <= most) return;
    TakeFromWindow();
    const int drop = Book.LineCount - most + most / 10;
    std::size_t at = 0;
    for (int i = 0; i < drop && at != std::string::npos; ++i) {
        at = Book.Text.find('\n', at);
        if (at != std::string::npos) ++at;
    }
    if (at == std::string::npos) return;
    Book.Text.erase(0, at);
    Book.LineCount = CountLines(Book.Text);
    PutToWindow();
}

void Put(std::string_view text) {
    TakeFromWindow();
    Book.Text += text;
    Book.LineCount += CountLines(text);
    Book.Waiting += text;
    State.Modified = true;
    DropOldest();
    if (!Setup::Settings.Program.TermIOBuffering) Flush();
}

std::string ForFile(std::string_view text) {
    const std::string end = Setup::EndOfLine();
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (const char c : text) {
        if (c == '\n') {
            out += end;
        } else {
            out += c;
        }
    }
    return out;
}

void AddLine(std::string_view line, std::size_t& column, std::string& out) {
    for (const char c : line) {
        const auto byte = static_cast<unsigned char>(c);
        const bool insideCharacter = (byte & 0xC0u) == 0x80u;
        if (column >= LineBytesMost && !insideCharacter) {
            out += '\n';
            column = 0;
        }
        out += byte < 32 && c != '\t' ? ' ' : c;
        ++column;
    }
}

// Any bytes as the notebook has them: all three kinds of line ends become "\n", a line that is no UTF-8 is
// taken for Latin-1, control characters but the tabulator become blanks, and what is too long for a line goes
// on in the next one. column: bytes that stand ahead of the first line.
std::string AsLines(std::string_view bytes, std::size_t column = 0) {
    std::string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t end = bytes.find_first_of("\r\n");
        AddLine(Texts::Utf8(bytes.substr(0, end)), column, out);
        if (end == std::string_view::npos) break;
        out += '\n';
        column = 0;
        bytes.remove_prefix(end + (bytes.substr(end).starts_with("\r\n") ? 2 : 1));
    }
    return out;
}

std::string BaseName(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);
}

bool AskNumber(const std::string& question, std::int64_t least, std::int64_t most, std::int64_t& number) {
    std::string text = std::to_string(number);
    if (!Platform::Ops().Prompt(question, text)) return false;
    std::int64_t typed = 0;
    if (!NumberText::ReadInteger(text, typed)) {
        Messages::Alert("\"" + text + "\" is not a number.");
        return false;
    }
    number = std::clamp(typed, least, most);
    return true;
}

// Pages of lines in the notebook's font; a line that is wider than the page goes on in the next one.
std::vector<Platform::Drawing> Pages(std::string_view text) {
    const Platform::Font font = Themes::FontOf(1, 9, 0);
    const double line = font.Size * 1.35;
    const auto perPage = static_cast<int>((PageHeight - 2 * PageMargin - 30) / line);
    const double letter = std::max(1.0, Platform::Ops().MeasureText(font, "0").Width);
    const auto perLine = static_cast<std::size_t>((PageWidth - 2 * PageMargin) / letter);
    const Platform::Color black{0, 0, 0, 255};
    std::vector<Platform::Drawing> pages;
    int onPage = 0;
    while (!text.empty()) {
        if (pages.empty() || onPage == perPage) {
            pages.emplace_back();
            onPage = 0;
        }
        const std::size_t end = text.find('\n');
        const std::string_view whole = text.substr(0, end);
        const std::string one = Texts::CutUtf8(whole, perLine);
        const double top = PageMargin + onPage * line;
        pages.back().Text({PageMargin, top, PageWidth - 2 * PageMargin, line}, one, font, black);
        ++onPage;
        const bool goesOn = !one.empty() && one.size() < whole.size();
        text.remove_prefix(goesOn ? one.size() : std::min(whole.size() + 1, text.size()));
    }
    for (std::size_t i = 0; i < pages.size(); ++i)
        pages[i].Text({PageMargin, PageHeight - PageMargin - 12, PageWidth - 2 * PageMargin, line},
                      "Notebook   " + std::to_string(i + 1) + " / " + std::to_string(pages.size()), font,
                      black, Platform::Align::Right);
    return pages;
}

bool PrintPages(const std::string& pdfFile) {
    std::string reason;
    const std::vector<Platform::Drawing> pages = Pages(Text());
    if (pages.empty()) {
        Messages::Alert("The Notebook is empty.");
        return false;
    }
    if (Platform::Ops().Print("Notebook", {PageWidth, PageHeight}, pages, pdfFile, reason)) return true;
    if (!reason.empty()) Messages::Alert("Printing the Notebook: " + reason);
    return false;
}

}

bool Initialise() {
    static const Dialogs::DialogSpec Spec{.Title = "Notebook",
                                          .IDName = "Notebook",
                                          .BufferName = "Notebook",
                                          .Count = ItemTotal,
                                          .Place = {-1, -1, 520, 160},
                                          .Least = {200, 60},
                                          .Window = Platform::WindowKind::Panel,
                                          .Dock = Platform::Dock::Bottom,
                                          .Define = Define,
                                          .Configure = Configure};
    if (!Dialogs::SetupDialogBuffer(Book.Dialog, Spec) || !Dialogs::OpenDialog(Book.Dialog)) return false;
    PutToWindow();
    return true;
}

void Show() {
    Dialogs::ShowDialog(Book.Dialog, true);
    Dialogs::BringToFront(Book.Dialog);
}

void WriteString(std::string_view text) {
    const std::size_t lineStart = Book.Text.find_last_of('\n') + 1;
    Put(AsLines(text, Book.Text.size() - lineStart));
}

void WriteLine(std::string_view text) {
    WriteString(text);
    WriteLn();
}

void WriteLog(std::string_view text) {
    const bool modified = State.Modified;
    WriteLine(text);
    State.Modified = modified;
}

void WriteInt(std::int64_t value, int width) {
    WriteString(NumberText::Integer(value, width));
}

void WriteLn() {
    Put("\n");
}

void WriteChar(char code) {
    WriteString({&code, 1});
}

void Flush() {
    if (Book.Waiting.empty() || Box() == 0) return;
    Platform::Ops().AppendToTextBox(Box(), Book.Waiting);
    Book.Waiting.clear();
    ShowCount();
}

std::string Text() {
    TakeFromWindow();
    return Book.Text;
}

int Lines() {
    TakeFromWindow();
    return Book.LineCount;
}

bool Save() {
    return State.FileName.empty() ? SaveAs() : SaveTo(State.FileName);
}

bool SaveAs() {
    std::string path;
    if (!Platform::Ops().FileDialog({.Use = Platform::FileUse::Save,
                                     .Title = "SAVE Notebook AS:",
                                     .Start = State.FileName.empty() ? "Notebook.txt" : State.FileName,
                                     .Pattern = "*.txt",
                                     .Kind = "Text file"},
                                    path) ||
        path.empty())
        return false;
    return SaveTo(Files::ExtensionOf(path).empty() ? Files::WithExtension(path, ".txt") : path);
}

bool SaveTo(const std::string& file) {
    const int error = Files::WriteWhole(file, ForFile(Text()));
    if (error != 0) {
        Messages::Alert("Saving Failed: \"" + file + "\": " + Files::ErrorText(error));
        return false;
    }
    State.FileName = file;
    State.Modified = false;
    if (Setup::Settings.Program.TermIOClear) {
        Clear();
        State.Modified = false;
    }
    return true;
}

bool Merge() {
    std::string path;
    return Platform::Ops().FileDialog(
               {.Title = "Merge to Notebook:", .Start = {}, .Pattern = "*", .Kind = "Text file"}, path) &&
           !path.empty() && MergeFile(path);
}

bool MergeFile(const std::string& file) {
    std::string content;
    const int error = Files::ReadWhole(file, MergeBytesMost, content);
    if (error != 0) {
        Messages::Alert("Merge failed: \"" + file + "\": " + Files::ErrorText(error));
        return false;
    }
    std::string text = "Merged file: " + BaseName(file) + "\n" + AsLines(content);
    if (!text.ends_with('\n')) text += '\n';
    Put(text);
    Flush();
    return true;
}

bool Print() {
    return PrintPages({});
}

bool PrintTo(const std::string& pdfFile) {
    return PrintPages(pdfFile);
}

void Clear() {
    TakeFromWindow();
    if (!Book.Text.empty()) Book.Cleared = std::move(Book.Text);
    Book.Text.clear();
    Book.LineCount = 0;
    State.Modified = false;
    PutToWindow();
}

bool CanUndoClear() {
    return !Book.Cleared.empty();
}

void UndoClear() {
    if (Book.Cleared.empty()) return;
    TakeFromWindow();
    Book.Text = std::move(Book.Cleared) + Book.Text;
    Book.Cleared.clear();
    Book.LineCount = CountLines(Book.Text);
    State.Modified = true;
    PutToWindow();
}

bool SetLength() {
    std::int64_t lines = Setup::Settings.Program.NotebookLength;
    if (!AskNumber("Maximal Lines in Notebook:", 100, 10'000'000, lines)) return false;
    Setup::Settings.Program.NotebookLength = static_cast<std::int32_t>(lines);
    DropOldest();
    return true;
}

void SetLineNumbers(bool shown) {
    State.LineNumbers = shown;
    if (!Book.Dialog.Items) return;
    Dialogs::Item(Book.Dialog, TextItem).LineNumbers = shown;
    Dialogs::RedrawItem(Book.Dialog, TextItem);
}

bool AskFontSize() {
    std::int64_t size = State.FontSize;
    if (!AskNumber("Font Size:", FontSizeLeast, FontSizeMost, size)) return false;
    Zoom(static_cast<int>(size) - State.FontSize);
    return true;
}

void Zoom(int points) {
    State.FontSize =
        static_cast<std::int16_t>(std::clamp<int>(State.FontSize + points, FontSizeLeast, FontSizeMost));
    if (!Book.Dialog.Items) return;
    Dialogs::Item(Book.Dialog, TextItem).FontSize = State.FontSize;
    Dialogs::RedrawItem(Book.Dialog, TextItem);
}

}
