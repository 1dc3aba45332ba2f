// One run of fits from the command line: what was asked for, and what each sweep gave.
#pragma once
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
    double FilterHz = 0;
    bool NoLeak = false, Zero = false, Store = false, Overwrite = false, Show = false, AsJson = false;
};

// Fits, stores when asked to, and prints a table or a JSON document. Returns the exit status.
[[nodiscard]] int RunFitJob(const FitJob& job);
