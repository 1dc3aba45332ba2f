#include "platform/headless/headless.h"

#include "base/files.h"
#include "base/text.h"
#include "platform/picture.h"

#include <algorithm>
#include <cmath>

namespace Headless {

namespace {

using namespace Platform;

DesktopState State;

Window* Find(WindowId window) {
    const auto found = State.Windows.find(window);
    return found == State.Windows.end() ? nullptr : &found->second;
}

TextBox* FindBox(TextBoxId box) {
    const auto found = State.TextBoxes.find(box);
    return found == State.TextBoxes.end() ? nullptr : &found->second;
}

void Post(const EventRecord& record) {
    EventRecord stamped = record;
    stamped.When = State.Clock;
    if (Hooks.Post) Hooks.Post(stamped);
}

bool Start(const std::string&, std::string&) {
    return true;
}

void End() {
    Reset();
}

std::uint32_t Milliseconds() {
    return State.Clock;
}

void Pump() {}

void Wait(int milliseconds) {
    State.Clock += milliseconds > 0 ? static_cast<std::uint32_t>(milliseconds) : 1;
    if (State.OnWait) State.OnWait();
}

WindowId OpenWindow(const WindowSpec& spec) {
    const WindowId id = ++State.Last;
    Window window{.Spec = spec, .Title = spec.Title, .Aside = {}, .Shown = spec.Shown};
    // Side by side, so that no two windows share a point.
    double left = 0;
    for (const auto& [other, each] : State.Windows) left = std::max(left, each.Place.Right() + 10);
    window.Place = {left, 0, spec.Content.Width, spec.Content.Height};
    State.Windows[id] = std::move(window);
    if (spec.Shown) State.Front = id;
    return id;
}

void CloseWindow(WindowId window) {
    State.Windows.erase(window);
    std::erase_if(State.TextBoxes, [window](const auto& box) { return box.second.Window == window; });
    if (State.Front != window) return;
    State.Front = 0;
    for (const auto& [id, each] : State.Windows)
        if (each.Shown) State.Front = id;
}

void ShowWindow(WindowId window, bool shown) {
    if (Window* const found = Find(window)) found->Shown = shown;
}

bool IsShown(WindowId window) {
    const Window* const found = Find(window);
    return found != nullptr && found->Shown;
}

void BringToFront(WindowId window) {
    if (Window* const found = Find(window)) {
        found->Shown = true;
        State.Front = window;
    }
}

WindowId FrontWindow() {
    return State.Front;
}

void SetTitle(WindowId window, std::string_view title, std::string_view aside) {
    if (window == FrameWindow) State.Windows[FrameWindow].Title = title;
    if (Window* const found = Find(window)) {
        found->Title = title;
        found->Aside = aside;
    }
}

void SetContent(WindowId window, Size least) {
    if (Window* const found = Find(window)) {
        found->Spec.Least = least;
        found->Place.Width = std::max(found->Place.Width, least.Width);
        found->Place.Height = std::max(found->Place.Height, least.Height);
    }
}

Size ContentSize(WindowId window) {
    const Window* const found = Find(window);
    return found != nullptr ? Size{found->Place.Width, found->Place.Height} : Size{};
}

Area WindowPlace(WindowId window) {
    const Window* const found = Find(window);
    return found != nullptr ? found->Place : Area{};
}

void PlaceWindow(WindowId window, Area place) {
    if (Window* const found = Find(window)) found->Place = place;
}

Point WindowOrigin(WindowId window) {
    const Window* const found = Find(window);
    return found != nullptr ? Point{found->Place.Left, found->Place.Top} : Point{};
}

void Iconize(WindowId window, bool iconized) {
    if (Window* const found = Find(window)) found->Iconized = iconized;
}

std::string Arrangement() {
    return State.Arrangement;
}

bool Arrange(std::string_view arrangement) {
    State.Arrangement = arrangement;
    return true;
}

void SetTheme(const Theme& theme) {
    State.Theme = theme;
}

bool DesktopIsDark() {
    return State.Dark;
}

void SetStatusBar(const StatusBar& bar) {
    State.Status = bar;
}

void SetHint(std::string_view text) {
    State.Hint = text;
}

void DrawLayer(WindowId window, int layer, Area bounds, Drawing drawing) {
    if (Window* const found = Find(window)) found->Layers[layer] = {bounds, std::move(drawing)};
}

void DropLayer(WindowId window, int layer) {
    if (Window* const found = Find(window)) found->Layers.erase(layer);
}

// Widths of an average sans-serif, so that layouts come out alike.
Size MeasureText(const Font& font, std::string_view text) {
    const auto characters =
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
    const double each = font.Face == FontFace::Fixed ? 0.6 : 0.55;
    return {static_cast<double>(characters) * each * font.Size, std::ceil(font.Size * 1.3)};
}

std::vector<std::string> FontNames() {
    return {"Sans", "Monospace", "Serif"};
}

BitmapId MakeBitmap(Size) {
    State.Bitmaps[++State.Last] = {};
    return State.Last;
}

void DrawOnBitmap(BitmapId bitmap, const Drawing& drawing) {
    const auto found = State.Bitmaps.find(bitmap);
    if (found == State.Bitmaps.end()) return;
    std::vector<DrawCall>& calls = found->second.Calls;
    calls.insert(calls.end(), drawing.Calls.begin(), drawing.Calls.end());
}

void DropBitmap(BitmapId bitmap) {
    State.Bitmaps.erase(bitmap);
}

bool SavePicture(const std::string& path, PictureFormat format, Size size, const Drawing& drawing,
                 std::string& reason) {
    if (format != PictureFormat::Svg && format != PictureFormat::Wmf) {
        reason = "This kind of picture needs the desktop.";
        return false;
    }
    const std::string content =
        format == PictureFormat::Svg ? Picture::Svg(size, drawing) : Picture::Wmf(size, drawing);
    const int error = Files::WriteWhole(path, content);
    if (error != 0) reason = Files::ErrorText(error);
    return error == 0;
}

bool SaveWindowPicture(WindowId, const std::string&, std::string& reason) {
    reason = "There is no screen to take a picture of.";
    return false;
}

bool Print(const std::string& title, Size, const std::vector<Drawing>& pages, const std::string& toPdf,
           std::string&) {
    State.Said.push_back("print: " + title + " " + std::to_string(pages.size()) + " " + toPdf);
    return true;
}

void SetTextBoxText(TextBoxId box, std::string_view text) {
    TextBox* const found = FindBox(box);
    if (found == nullptr) return;
    found->Spec.Text = text;
    found->SelectedFrom = found->SelectedCount = 0;
    if (found->Spec.Lines || found->Spec.Longest == 0) return;
    // A box of one line holds so many characters.
    std::size_t at = 0;
    for (std::size_t left = found->Spec.Longest; at < text.size(); ++at)
        if ((text[at] & 0xC0) != 0x80 && left-- == 0) break;
    found->Spec.Text.resize(at);
}

TextBoxId OpenTextBox(WindowId window, const TextBoxSpec& spec) {
    const TextBoxId id = ++State.Last;
    State.TextBoxes[id] = {.Window = window, .Spec = spec};
    SetTextBoxText(id, spec.Text);
    return id;
}

void CloseTextBox(TextBoxId box) {
    State.TextBoxes.erase(box);
}

std::string TextBoxText(TextBoxId box) {
    const TextBox* const found = FindBox(box);
    return found != nullptr ? found->Spec.Text : std::string();
}

void AppendToTextBox(TextBoxId box, std::string_view text) {
    if (TextBox* const found = FindBox(box)) found->Spec.Text += text;
}

void DropTextBoxLines(TextBoxId box, int lines) {
    TextBox* const found = FindBox(box);
    if (found == nullptr) return;
    std::string& text = found->Spec.Text;
    for (; lines > 0 && !text.empty(); --lines) {
        const std::size_t end = text.find('\n');
        text.erase(0, end == std::string::npos ? end : end + 1);
    }
}

void ChangeTextBox(TextBoxId box, const TextBoxSpec& spec) {
    TextBox* const found = FindBox(box);
    if (found == nullptr) return;
    std::string text = std::move(found->Spec.Text);
    found->Spec = spec;
    found->Spec.Text = std::move(text);
}

void SelectInTextBox(TextBoxId box, int from, int count) {
    if (TextBox* const found = FindBox(box)) {
        found->SelectedFrom = from;
        found->SelectedCount = count;
    }
}

bool FindInTextBox(TextBoxId box, std::string_view text) {
    TextBox* const found = FindBox(box);
    if (found == nullptr || text.empty()) return false;
    const auto from = static_cast<std::size_t>(found->SelectedFrom + found->SelectedCount);
    const std::size_t at = Texts::UpperCase(found->Spec.Text).find(Texts::UpperCase(text), from);
    if (at == std::string::npos) return false;
    found->SelectedFrom = static_cast<int>(at);
    found->SelectedCount = static_cast<int>(text.size());
    return true;
}

bool EditTextBox(EditCommand command) {
    if (State.TextBoxes.empty()) return false;
    TextBox& box = State.TextBoxes.rbegin()->second;
    if (command == EditCommand::Copy || command == EditCommand::Cut) State.Clipboard = box.Spec.Text;
    if (command == EditCommand::Cut) box.Spec.Text.clear();
    if (command == EditCommand::Paste) box.Spec.Text += State.Clipboard;
    return true;
}

void SetMenus(std::span<const Menu> menus) {
    State.Menus.assign(menus.begin(), menus.end());
}

void SetMenuEntry(int menu, int entry, const MenuEntry& state) {
    if (menu < 1 || static_cast<std::size_t>(menu) > State.Menus.size()) return;
    std::vector<MenuEntry>& entries = State.Menus[static_cast<std::size_t>(menu) - 1].Entries;
    if (entry >= 1 && static_cast<std::size_t>(entry) <= entries.size())
        entries[static_cast<std::size_t>(entry) - 1] = state;
}

int NextAnswer(int otherwise) {
    if (State.Answers.empty()) return otherwise;
    const int answer = State.Answers.front();
    State.Answers.pop_front();
    return answer;
}

bool NextText(std::string& text) {
    if (State.Texts.empty()) return false;
    text = State.Texts.front();
    State.Texts.pop_front();
    return true;
}

int PopupMenu(WindowId, Area, std::span<const MenuEntry> entries, int) {
    const int answer = NextAnswer(0);
    return answer >= 0 && static_cast<std::size_t>(answer) <= entries.size() ? answer : 0;
}

int Alert(const AlertSpec& spec) {
    State.Said.push_back("alert: " + spec.Text);
    return NextAnswer(spec.Default);
}

bool Prompt(const std::string& question, std::string& text) {
    State.Said.push_back("prompt: " + question);
    return NextText(text);
}

bool FileDialog(const FileDialogSpec& spec, std::string& path) {
    State.Said.push_back("file: " + spec.Title);
    return NextText(path);
}

bool ColorDialog(Color& color) {
    if (State.Colors.empty()) return false;
    color = State.Colors.front();
    State.Colors.pop_front();
    return true;
}

Point MousePosition() {
    return State.Mouse;
}

bool StillDown() {
    if (State.MousePath.empty()) return false;
    State.Mouse = State.MousePath.front();
    State.MousePath.pop_front();
    return !State.MousePath.empty();
}

std::uint32_t Modifiers() {
    return State.Modifiers;
}

std::string DroppedFile() {
    return State.DroppedFile;
}

void SetClipboardText(std::string_view text) {
    State.Clipboard = text;
}

std::string ClipboardText() {
    return State.Clipboard;
}

void SetClipboardPicture(Size, const Drawing&) {
    State.Clipboard = "picture";
}

constexpr Platform::Operations Table = {
    .Start = Start,
    .End = End,
    .Milliseconds = Milliseconds,
    .Pump = Pump,
    .Wait = Wait,
    .OpenWindow = OpenWindow,
    .CloseWindow = CloseWindow,
    .ShowWindow = ShowWindow,
    .IsShown = IsShown,
    .BringToFront = BringToFront,
    .FrontWindow = FrontWindow,
    .SetTitle = SetTitle,
    .SetContent = SetContent,
    .ContentSize = ContentSize,
    .WindowPlace = WindowPlace,
    .PlaceWindow = PlaceWindow,
    .WindowOrigin = WindowOrigin,
    .Iconize = Iconize,
    .Arrangement = Arrangement,
    .Arrange = Arrange,
    .SetTheme = SetTheme,
    .DesktopIsDark = DesktopIsDark,
    .SetStatusBar = SetStatusBar,
    .SetHint = SetHint,
    .DrawLayer = DrawLayer,
    .DropLayer = DropLayer,
    .MeasureText = MeasureText,
    .FontNames = FontNames,
    .MakeBitmap = MakeBitmap,
    .DrawOnBitmap = DrawOnBitmap,
    .DropBitmap = DropBitmap,
    .SavePicture = SavePicture,
    .SaveWindowPicture = SaveWindowPicture,
    .Print = Print,
    .OpenTextBox = OpenTextBox,
    .CloseTextBox = CloseTextBox,
    .TextBoxText = TextBoxText,
    .SetTextBoxText = SetTextBoxText,
    .AppendToTextBox = AppendToTextBox,
    .DropTextBoxLines = DropTextBoxLines,
    .ChangeTextBox = ChangeTextBox,
    .SelectInTextBox = SelectInTextBox,
    .FindInTextBox = FindInTextBox,
    .EditTextBox = EditTextBox,
    .SetMenus = SetMenus,
    .SetMenuEntry = SetMenuEntry,
    .PopupMenu = PopupMenu,
    .Alert = Alert,
    .Prompt = Prompt,
    .FileDialog = FileDialog,
    .ColorDialog = ColorDialog,
    .MousePosition = MousePosition,
    .StillDown = StillDown,
    .Modifiers = Modifiers,
    .DroppedFile = DroppedFile,
    .SetClipboardText = SetClipboardText,
    .ClipboardText = ClipboardText,
    .SetClipboardPicture = SetClipboardPicture,
};

}

const Platform::Operations& Operations() {
    return Table;
}

DesktopState& Desktop() {
    return State;
}

void Reset() {
    State = {};
}

void Click(WindowId window, Point at, std::uint32_t modifiers) {
    Drag(window, {at}, modifiers);
}

void Drag(WindowId window, std::vector<Point> path, std::uint32_t modifiers) {
    if (path.empty()) return;
    const Point origin = WindowOrigin(window);
    for (Point& point : path) {
        point.X += origin.X;
        point.Y += origin.Y;
    }
    // Far from any click before it: a double click is posted on purpose or not at all.
    State.Clock += 1000;
    State.Mouse = path.front();
    State.MousePath.assign(path.begin(), path.end());
    const auto whole = [](double value) { return static_cast<std::int32_t>(std::lround(value)); };
    Post({.What = MouseDown,
          .X = whole(path.front().X),
          .Y = whole(path.front().Y),
          .Message = modifiers,
          .Window = window,
          .Detail = LeftButton});
}

void Key(WindowId window, std::uint32_t character, std::uint32_t modifiers) {
    Post({.What = KeyDown, .Message = modifiers, .Char = character, .Window = window, .Detail = KeyDetail});
}

void Key(WindowId window, KeyCode code, std::uint32_t modifiers) {
    Key(window, SpecialKey + static_cast<std::uint32_t>(code), modifiers);
}

void Type(std::string_view text) {
    if (State.TextBoxes.empty()) return;
    const auto& [id, box] = *State.TextBoxes.rbegin();
    SetTextBoxText(id, text);
    Notify(box.Window, TextBoxChanged, id);
}

void Notify(WindowId window, std::uint32_t detail, std::uint32_t first, std::uint32_t second) {
    Post({.What = WindowEvent, .Message = first, .Char = second, .Window = window, .Detail = detail});
}

void Resize(WindowId window, Size content) {
    if (Window* const found = Find(window)) {
        found->Place.Width = content.Width;
        found->Place.Height = content.Height;
        Notify(window, Resized);
    }
}

std::string ShownTexts(WindowId window) {
    std::string texts;
    const Window* const found = Find(window);
    if (found == nullptr) return texts;
    for (const auto& [number, layer] : found->Layers)
        for (const DrawCall& call : layer.Drawing.Calls)
            if (call.Kind == DrawKind::Text) texts += call.Text + "\n";
    return texts;
}

}
