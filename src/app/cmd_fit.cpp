// fit: one sweep, or every sweep of a series, with a model of the catalogue.
#include "app/commands.h"
#include "app/fit_job.h"
#include "setup/settings.h"

#include <memory>

namespace Commands {

Procedure DeclareFit(CLI::App& command) {
    const auto job = std::make_shared<FitJob>();
    command.add_option("FILE", job->File, "Data file")->required();
    command.add_option("TARGET", job->Target, "group.series or group.series.sweep, from 1")->required();
    command
        .add_option("--type", job->Type, "Fit type, such as Exponential, RiseTime or \"Action Potential\"")
        ->required();
    command.add_option("--trace", job->Trace, "Trace of the sweep, from 1")->check(CLI::Range(1, 32));
    command.add_option("--segment", job->Segment, "Stimulus segment, from 1; else the relevant one")
        ->check(CLI::PositiveNumber);
    command.add_option("--bounds", job->Bounds, "Left and right bound in percent of the segment: L,R");
    command.add_option("--param", job->Params, "NAME=VALUE[:fit|hold|off], as often as needed")
        ->expected(1)
        ->take_all();
    command.add_option("--max-iterations", job->MaxIterations, "Stop after so many evaluations")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--step", job->Step, "Relative size of the starting simplex")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--epsilon", job->Epsilon, "Relative spread of residuals that counts as converged")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--max-points", job->MaxPoints, "Points that an exponential is thinned to")
        ->check(CLI::Range(2, Setup::MaxSamplePointsHighest));
    command.add_option("--range", job->Range, "Of a type that measures: full or cursors")
        ->check(CLI::IsMember({"full", "cursors"}));
    command.add_option("--cycles", job->Cycles, "Cyclic analysis of so many segments, 0 for all there are")
        ->check(CLI::Range(0, 4000));
    command.add_option("--cycle-skip", job->CycleSkip, "Segments from one cycle to the next")
        ->check(CLI::Range(1, 32767));
    command.add_option("--leak-correction", job->LeakCorrection,
                       "Subtract a linear leak: REVERSAL,CONDUCTANCE (V, S), or auto for the conductance");
    CLI::Option* const methods = command.add_option(
        "--methods", job->Methods, "Online analysis file; functions marked for the notebook become columns");
    command.add_option("--method", job->Method, "Name of the online method; else the first")->needs(methods);
    job->Corrections.Declare(command);
    command.add_flag("--show", job->Show, "Show the values as they stand, without a fit");
    command.add_flag("--store", job->Store, "Write the results into the analysis file");
    command.add_flag("--overwrite", job->Overwrite, "Replace the last analysis of the series");
    command.add_flag("--json", job->AsJson, "Print one JSON document");
    return [job] { return RunFitJob(*job); };
}

}
