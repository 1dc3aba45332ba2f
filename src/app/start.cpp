#include "app/start.h"

#include "app/command_line.h"
#include "app/desktop.h"
#include "base/messages.h"
#include "base/units.h"
#include "data/scratch.h"
#include "data/session.h"
#include "setup/settings_file.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace Start {

namespace {

ProgramState State;
bool ShutdownDone = false;

// The rooms below keep no state that must stand before main, so few units are left to start: the console,
// which every message goes to, and the product, which names itself.
bool StartConsole() {
    SetProgress(51);
    return CommandLine::InstallHooks();
}

bool StartTop() {
    SetProgress(56);
    return true;
}

Units::Unit ConsoleUnit{"Console", {}, StartConsole};
Units::Unit ProductUnit{"Product", {&ConsoleUnit}, SetProductDefaults};
Units::Unit TopUnit{"Qorvanite", {&ConsoleUnit, &ProductUnit}, StartTop};

int StartKind(int kind, int miniMode, const std::vector<std::string>& arguments) {
    State.ProgramKind = kind;
    State.MiniMode = miniMode;
    // Registered as the exit hook, so that it also runs when a unit ends the process. What it closes
    // is made before it, and so outlives it.
    (void)CurrentSession();
    std::atexit(Shutdown);
    const int status = CommandLine::Run(arguments);
    Shutdown();
    return status;
}

std::string Joined(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        if (!line.empty()) line += ' ';
        line += argument;
    }
    return line.substr(0, CommandLineMax);
}

}

bool SetProductDefaults() {
    State.ProgramName = "Qorvanite";
    State.ProgramVersion = "v" QORVANITE_VERSION;
    Setup::State.ProgramVersion = State.ProgramVersion;
    State.NoHardware = true;
    State.FitEnabled = true;
    return true;
}

const ProgramState& Program() {
    return State;
}

std::string VersionName() {
    return State.ProgramName + " " + State.ProgramVersion;
}

void SetProgress(int code) {
    State.Progress = code;
}

int Main(const std::vector<std::string>& arguments) {
    State.CommandLine = Joined(arguments);
    SetProgress(49);
    try {
        if (!Units::Initialise(TopUnit)) return 1;
        return StartKind(QorvaniteKind, 0, arguments);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "qorvanite: out of memory (%d)\n", State.Progress);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "qorvanite: %s (%d)\n", failure.what(), State.Progress);
    }
    Shutdown();
    return 1;
}

void Shutdown() {
    if (ShutdownDone) return;
    ShutdownDone = true;
    Desktop::Abandon();
    CommandLine::CloseSession();
    Scratch::Release();
    std::fflush(stdout);
}

}
