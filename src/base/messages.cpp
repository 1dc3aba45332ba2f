#include "base/messages.h"

#include <utility>

namespace Messages {

namespace {

HookTable Hooks;

void AddLine(std::string& lines, std::string_view line) {
    lines.append(line);
    lines.push_back('\n');
}

}

HookTable Install(HookTable hooks) {
    return std::exchange(Hooks, std::move(hooks));
}

void Alert(std::string_view text) {
    if (Hooks.Alert) Hooks.Alert(text);
}

void Note(std::string_view line) {
    if (Hooks.Note) Hooks.Note(line);
}

void Log(std::string_view line) {
    if (Hooks.Log) Hooks.Log(line);
}

void Status(std::string_view line) {
    if (Hooks.Status) Hooks.Status(line);
}

bool AskYesNo(std::string_view text, bool defaultAnswer) {
    return Hooks.AskYesNo ? Hooks.AskYesNo(text, defaultAnswer) : defaultAnswer;
}

int AskChoice(std::string_view text, const Choice& choice) {
    return Hooks.AskChoice ? Hooks.AskChoice(text, choice) : choice.Default;
}

bool BreakAsked() {
    return Hooks.Break && Hooks.Break();
}

Progress::Progress(std::string title, std::int64_t total) : Title(std::move(title)), Total(total) {}

Progress::~Progress() {
    if (ShownPercent < 0) return;
    Status("");
    if (Hooks.Share) Hooks.Share(-1);
}

bool Progress::Add(std::int64_t done) {
    Done += done;
    const std::int64_t percent = Total > 0 ? Done * 100 / Total : 100;
    if (percent != ShownPercent) {
        ShownPercent = percent;
        Status(Title + " " + std::to_string(percent) + " %");
        if (Hooks.Share) Hooks.Share(static_cast<double>(percent) / 100);
    }
    return !BreakAsked();
}

Recorder::Recorder() {
    HookTable hooks;
    hooks.Alert = [this](std::string_view text) { AddLine(Alerts, text); };
    hooks.Note = [this](std::string_view line) { AddLine(Notes, line); };
    hooks.Log = hooks.Note;
    hooks.Status = [this](std::string_view line) { AddLine(Shown, line); };
    hooks.AskYesNo = [this](std::string_view text, bool defaultAnswer) {
        AddLine(Questions, text);
        return Answer ? Answer(defaultAnswer) : defaultAnswer;
    };
    hooks.AskChoice = [this](std::string_view text, const Choice& choice) {
        AddLine(Questions, text);
        std::string buttons;
        for (const char* const button : choice.Buttons)
            buttons += (buttons.empty() ? "" : "|") + std::string(button);
        AddLine(Buttons, buttons);
        return !Answer ? choice.Default : Answer(choice.Default == choice.Yes) ? choice.Yes : choice.No;
    };
    Former = Install(std::move(hooks));
}

Recorder::~Recorder() {
    Install(std::move(Former));
}

}
