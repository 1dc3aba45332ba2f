// The corrections of traces that several commands offer: --no-leak, --zero, --filter.
#pragma once
#include "app/words.h"
#include "setup/settings.h"

struct Corrections {
    bool NoLeak = false, Zero = false;
    double FilterHz = 0;

    // The record must last as long as the command.
    void Declare(const Commands::Words& words) {
        words.Flag("--no-leak", NoLeak, "Do not subtract the leak trace");
        words.Flag("--zero", Zero, "Subtract the zero offset");
        words.Add("--filter", FilterHz, "Corner of the Gaussian filter, Hz").Positive();
    }
    void Apply() const {
        Setup::Settings.NoLeakSubtraction = NoLeak;
        Setup::Settings.SubtractZero = Zero;
        Setup::Settings.TraceFilterFactor.fill(FilterHz);
    }
};
