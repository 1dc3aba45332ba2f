// The commands, one file each. Each declares its words on a subcommand; the procedure that is left behind
// runs when the subcommand was named, and returns the exit status.
#pragma once
#include "app/words.h"

#include <functional>

namespace Commands {

using Procedure = std::function<int()>;

Procedure DeclareInfo(const Words& words);
Procedure DeclareTrace(const Words& words);
Procedure DeclareStimulus(const Words& words);
Procedure DeclareFit(const Words& words);
Procedure DeclareOnline(const Words& words);
Procedure DeclareSeriesFit(const Words& words);
Procedure DeclareWave(const Words& words);
Procedure DeclareEval(const Words& words);
Procedure DeclareBundle(const Words& words);
Procedure DeclareUnbundle(const Words& words);
Procedure DeclareRebuild(const Words& words);
Procedure DeclareMerge(const Words& words);
Procedure DeclareCompress(const Words& words);
Procedure DeclareSettings(const Words& words);
Procedure DeclareRun(const Words& words);
Procedure DeclareDemo(const Words& words);
Procedure DeclarePictures(const Words& words);

}
