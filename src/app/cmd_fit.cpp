// fit: one sweep, or every sweep of a series, with a model of the catalogue.
#include "app/commands.h"
#include "app/fit_job.h"
#include "setup/settings.h"

#include <memory>

namespace Commands {

Procedure DeclareFit(const Words& words) {
    const auto job = std::make_shared<FitJob>();
    words.Add("FILE", job->File, "Data file").Needed();
    words.Add("TARGET", job->Target, "group.series or group.series.sweep, from 1").Needed();
    words.Add("--type", job->Type, "Fit type, such as Exponential, RiseTime or \"Action Potential\"")
        .Needed();
    words.Add("--trace", job->Trace, "Trace of the sweep, from 1").Between(1, 32);
    words.Add("--segment", job->Segment, "Stimulus segment, from 1; else the relevant one").Positive();
    words.Add("--bounds", job->Bounds, "Left and right bound in percent of the segment: L,R");
    words.Add("--param", job->Params, "NAME=VALUE[:fit|hold|off], as often as needed").Repeated();
    words.Add("--max-iterations", job->MaxIterations, "Stop after so many evaluations").NotNegative();
    words.Add("--step", job->Step, "Relative size of the starting simplex").NotNegative();
    words.Add("--epsilon", job->Epsilon, "Relative spread of residuals that counts as converged")
        .NotNegative();
    words.Add("--max-points", job->MaxPoints, "Points that an exponential is thinned to")
        .Between(2, Setup::MaxSamplePointsHighest);
    words.Add("--range", job->Range, "Of a type that measures: full or cursors").OneOf({"full", "cursors"});
    words.Add("--cycles", job->Cycles, "Cyclic analysis of so many segments, 0 for all there are")
        .Between(0, 4000);
    words.Add("--cycle-skip", job->CycleSkip, "Segments from one cycle to the next").Between(1, 32767);
    words.Add("--leak-correction", job->LeakCorrection,
              "Subtract a linear leak: REVERSAL,CONDUCTANCE (V, S), or auto for the conductance");
    const Word methods = words.Add("--methods", job->Methods,
                                   "Online analysis file; functions marked for the notebook become columns");
    words.Add("--method", job->Method, "Name of the online method; else the first").Requires(methods);
    job->Corrections.Declare(words);
    words.Flag("--show", job->Show, "Show the values as they stand, without a fit");
    words.Flag("--store", job->Store, "Write the results into the analysis file");
    words.Flag("--overwrite", job->Overwrite, "Replace the last analysis of the series");
    words.Flag("--json", job->AsJson, "Print one JSON document");
    return [job] { return RunFitJob(*job); };
}

}
