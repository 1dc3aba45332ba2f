// The parameter records of both levels, and a model of theirs by its short name.
#pragma once
#include "fit/fit.h"
#include "support/testing.h"

namespace Support {

struct FitRecords {
    Fit::SweepRecords Sweep = Fit::DefaultSweepRecords();
    Fit::SeriesRecords Series = Fit::DefaultSeriesRecords();

    Fit::Selected Select(const std::string& kind, bool sweepLevel) {
        for (int i = 0; sweepLevel && i < SweepFitTypes; ++i)
            if (NameOf(static_cast<SweepFitType>(i)).Short == kind)
                return Fit::Select(Sweep, static_cast<SweepFitType>(i));
        for (int i = 0; !sweepLevel && i < SeriesFitTypes; ++i)
            if (NameOf(static_cast<SeriesFitType>(i)).Short == kind)
                return Fit::Select(Series, static_cast<SeriesFitType>(i));
        return {};
    }
};

}
