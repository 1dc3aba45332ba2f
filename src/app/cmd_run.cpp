// run: plays a macro over a data set, with all windows but without a display.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/desktop.h"
#include "app/interrupt.h"
#include "data/session.h"
#include "setup/settings_file.h"
#include "ui/macros.h"
#include "windows/data_files.h"

#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Macro;
};

int Play(const Arguments& arguments) {
    const int before = Macros::FailedLines();
    if (!Macros::StartMacro(arguments.Macro)) return CommandLine::Failed;
    const Interrupt::Guard listening;
    while (Macros::IsPlaying() && !Desktop::QuitFlag) {
        if (Interrupt::Requested()) Macros::StopMacro();
        Desktop::EventStep();
    }
    return Macros::FailedLines() == before && !Interrupt::Requested() ? CommandLine::Done
                                                                      : CommandLine::Failed;
}

int Run(const Arguments& arguments) {
    if (!Desktop::StartUp({.SettingsFile = Setup::State.ReadFile, .Visible = false, .Attended = false}))
        return CommandLine::Failed;
    int status = CommandLine::Failed;
    if (DataFiles::Open(arguments.File, CommandLine::Options.Mode.value_or(OpenMode::Analysis)))
        status = arguments.Macro.empty() ? CommandLine::Done : Play(arguments);
    if (DataFiles::IsOpen() && !DataFiles::Close()) status = CommandLine::Failed;
    Desktop::ShutDown();
    return status;
}

}

Procedure DeclareRun(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file").Needed();
    words.Add("--macro", arguments->Macro, "Macro file to play");
    return [arguments] { return Run(*arguments); };
}

}
