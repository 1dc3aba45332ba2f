// The corrections of traces that several commands offer: --no-leak, --zero, --filter.
#pragma once
#include "setup/settings.h"

#include <CLI/CLI.hpp>

struct Corrections {
    bool NoLeak = false, Zero = false;
    double FilterHz = 0;

    // The record must last as long as the command.
    void Declare(CLI::App& command) {
        command.add_flag("--no-leak", NoLeak, "Do not subtract the leak trace");
        command.add_flag("--zero", Zero, "Subtract the zero offset");
        command.add_option("--filter", FilterHz, "Corner of the Gaussian filter, Hz")
            ->check(CLI::PositiveNumber);
    }
    void Apply() const {
        Setup::Settings.NoLeakSubtraction = NoLeak;
        Setup::Settings.SubtractZero = Zero;
        Setup::Settings.TraceFilterFactor.fill(FilterHz);
    }
};
