// The module's one entry: the table of operations.
#include "platform/qt/frame.h"
#include "platform/qt/menus.h"
#include "platform/qt/paint.h"
#include "platform/qt/questions.h"
#include "platform/qt/signals.h"
#include "platform/qt/text_box.h"
#include "platform/qt/theme.h"

#include <QClipboard>
#include <QEventLoop>
#include <QTimer>

#include <array>

namespace QtDesktop {

std::uint32_t Milliseconds();

namespace {

bool Start(const std::string& programName, std::string&) {
    static std::string name = programName;
    static int count = 1;
    static std::array<char*, 2> words = {name.data(), nullptr};
    Desktop.App = std::make_unique<QApplication>(count, words.data());
    Desktop.App->setApplicationName(Text(programName));
    Desktop.App->setQuitOnLastWindowClosed(false);
    QApplication::setAttribute(Qt::AA_DontShowIconsInMenus);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setFont(FontOf({}));
    (void)DesktopIsDark();
    Desktop.Main = std::make_unique<Frame>();
    Desktop.Main->setWindowTitle(Text(programName));
    QObject::connect(
        Desktop.App.get(), &QGuiApplication::commitDataRequest, Desktop.App.get(), [](QSessionManager&) {
            Post(Platform::WindowEvent, Platform::FrameWindow, Platform::SystemEvent, Platform::SystemQuit);
        });
    ListenToSignals();
    return true;
}

void End() {
    StopListening();
    while (!Desktop.Canvases.empty()) CloseWindow(Desktop.Canvases.begin()->first);
    Desktop.Bitmaps.clear();
    Desktop.Main.reset();
    Desktop.App.reset();
}

void Pump() {
    Desktop.App->processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    PostChanges();
}

void Wait(int milliseconds) {
    const std::uint64_t before = Desktop.Woken;
    bool timeIsOver = false;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&timeIsOver] { timeIsOver = true; });
    if (milliseconds >= 0) timer.start(milliseconds);
    while (Desktop.Woken == before && !timeIsOver)
        Desktop.App->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    PostChanges();
}

Platform::Point MousePosition() {
    const QPoint at = Desktop.Main->mapFromGlobal(Desktop.Mouse);
    return {static_cast<double>(at.x()), static_cast<double>(at.y())};
}

bool StillDown() {
    // The release may have gone to another program, or to a window that is no more.
    if (QGuiApplication::mouseButtons() == Qt::NoButton) Desktop.Button = 0;
    return Desktop.Button != 0;
}

std::uint32_t Modifiers() {
    return Desktop.Modifiers;
}

std::string DroppedFile() {
    return Utf8(Desktop.Dropped);
}

void SetClipboardText(std::string_view text) {
    QApplication::clipboard()->setText(Text(text));
}

std::string ClipboardText() {
    return Utf8(QApplication::clipboard()->text());
}

std::string Arrangement() {
    return Desktop.Main->Arrangement();
}

bool Arrange(std::string_view arrangement) {
    return Desktop.Main->Arrange(std::string(arrangement));
}

void SetStatusBar(const Platform::StatusBar& bar) {
    Desktop.Main->SetStatus(bar);
}

void SetHint(std::string_view text) {
    Desktop.Main->SetHint(Text(text));
}

void DrawLayer(Platform::WindowId window, int layer, Platform::Area bounds, Platform::Drawing drawing) {
    if (Canvas* const canvas = FindCanvas(window)) canvas->SetLayer(layer, bounds, std::move(drawing));
}

void DropLayer(Platform::WindowId window, int layer) {
    if (Canvas* const canvas = FindCanvas(window)) canvas->DropLayer(layer);
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

}

// The hooks are the program's; they must outlive the module's use.
extern "C" __attribute__((visibility("default"))) const Platform::Operations*
QorvaniteDesktop(Platform::HookTable* hooks) {
    QtDesktop::Desktop.Hooks = hooks;
    return &QtDesktop::Table;
}
