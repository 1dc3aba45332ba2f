// What a run of fits gave, sweep by sweep, and how it is printed.
#pragma once
#include "app/fit_words.h"
#include "fit/sweep_fit.h"

#include <string>
#include <vector>

// Kept of a sweep's pass: the records go on to the next one.
struct FitRow {
    std::string Target;
    Fit::Outcome Outcome;
    int RangePoints = 0, FitPoints = 0;
    double FirstX = 0, SegmentStart = 0;
    std::vector<FitWords::Result> Values;
    std::vector<FitRow> Cycles;                 // of a cyclic analysis; the row itself is then the last one
    std::vector<FitWords::Result> OnlineValues; // of the functions that ride along
    // Events below the row: a column each.
    std::vector<std::string> EventColumns;
    std::vector<std::vector<FitParam>> Events;
};

namespace FitRows {

// Adds what the pass has left behind.
void Add(SweepFit::Engine& engine, const SweepFit::Report& report, std::vector<FitRow>& rows);

// One JSON document, or tables. False when it could not be written.
[[nodiscard]] bool PrintJson(SweepFit::Engine& engine, const std::vector<FitRow>& rows);
[[nodiscard]] bool PrintTable(SweepFit::Engine& engine, const std::vector<FitRow>& rows);

}
