// One run of fits from the command line: what was asked for, and what each sweep gave.
#pragma once
#include "app/corrections.h"

#include <optional>
#include <string>
#include <vector>

// Target is group.series (all sweeps) or group.series.sweep. Bounds are percent of the segment, "L,R".
struct FitJob {
    std::string File, Target, Type;
    std::string Bounds;
    std::vector<std::string> Params;
    int Trace = 1;
    int Segment = 0; // 0: the one that the stimulus names
    std::optional<int> MaxIterations, MaxPoints;
    std::optional<double> Step, Epsilon;
    std::string Range;           // "full" or "cursors"; empty: as the type has it
    std::optional<int> Cycles;   // a cyclic analysis of so many, 0 for as many as there are
    int CycleSkip = 2;           // segments
    std::string LeakCorrection;  // "REVERSAL,CONDUCTANCE" or "REVERSAL,auto"
    std::string Methods, Method; // online functions that become columns too
    ::Corrections Corrections;
    bool Store = false, Overwrite = false, Show = false, AsJson = false;
};

// Fits, stores when asked to, and prints a table or a JSON document. Returns the exit status.
[[nodiscard]] int RunFitJob(const FitJob& job);
