#include "platform/qt/signals.h"

#include "platform/qt/frame.h"

#include <QDialog>
#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace QtDesktop {

namespace {

constexpr QPoint Nowhere(-100'000, -100'000);
constexpr std::array Listened = {SIGTERM, SIGINT, SIGHUP};

// A signal may come in the middle of anything: all it does is to write a byte into a pipe, which the event
// loop reads when it is its turn.
struct SignalState {
    std::array<int, 2> Pipe = {-1, -1};
    std::unique_ptr<QSocketNotifier> Notifier;
};
SignalState& State = *new SignalState;

void OnSignal(int signal) {
    const char byte = 1;
    const auto ignored = write(State.Pipe[1], &byte, 1);
    static_cast<void>(ignored);
    std::signal(signal, SIG_DFL);
}

// What waits for an answer gets the one that Escape gives. The window of a dialog of ours is the logic's to
// close.
void TakeBackQuestions() {
    if (QWidget* const popup = QApplication::activePopupWidget()) popup->close();
    if (auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) dialog->reject();
}

void Ending() {
    std::array<char, 8> bytes{};
    while (read(State.Pipe[0], bytes.data(), bytes.size()) > 0) {
    }
    if (!Desktop.Ending) {
        Desktop.Ending = true;
        // What is being pressed comes up where nothing happens.
        Desktop.Button = 0;
        Desktop.Mouse = Nowhere;
        if (Desktop.Hooks->BreakPressed) Desktop.Hooks->BreakPressed();
        Post(Platform::WindowEvent, Platform::FrameWindow, Platform::SystemEvent, Platform::SystemQuit, 1);
    }
    TakeBackQuestions();
    // One question may have stood on top of another.
    if (QApplication::activePopupWidget() != nullptr || QApplication::activeModalWidget() != nullptr)
        QTimer::singleShot(0, Desktop.Main.get(), Ending);
}

}

void ListenToSignals() {
    if (pipe(State.Pipe.data()) != 0) return;
    for (const int end : State.Pipe) {
        fcntl(end, F_SETFL, O_NONBLOCK);
        fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    State.Notifier = std::make_unique<QSocketNotifier>(State.Pipe[0], QSocketNotifier::Read);
    QObject::connect(State.Notifier.get(), &QSocketNotifier::activated, [] { Ending(); });
    for (const int signal : Listened) std::signal(signal, OnSignal);
}

void StopListening() {
    for (const int signal : Listened) std::signal(signal, SIG_DFL);
    State.Notifier.reset();
    for (int& end : State.Pipe) {
        if (end >= 0) close(end);
        end = -1;
    }
}

}
