// The commands, one file each. Each declares its options on a subcommand; the procedure that is left behind
// runs when the subcommand was named, and returns the exit status.
#pragma once
#include <CLI/CLI.hpp>

#include <functional>

namespace Commands {

using Procedure = std::function<int()>;

Procedure DeclareInfo(CLI::App& command);
Procedure DeclareTrace(CLI::App& command);
Procedure DeclareStimulus(CLI::App& command);
Procedure DeclareFit(CLI::App& command);
Procedure DeclareOnline(CLI::App& command);
Procedure DeclareSeriesFit(CLI::App& command);
Procedure DeclareWave(CLI::App& command);
Procedure DeclareEval(CLI::App& command);
Procedure DeclareBundle(CLI::App& command);
Procedure DeclareUnbundle(CLI::App& command);
Procedure DeclareRebuild(CLI::App& command);
Procedure DeclareMerge(CLI::App& command);
Procedure DeclareCompress(CLI::App& command);
Procedure DeclareSettings(CLI::App& command);
Procedure DeclareRun(CLI::App& command);
Procedure DeclareDemo(CLI::App& command);
Procedure DeclarePictures(CLI::App& command);

}
