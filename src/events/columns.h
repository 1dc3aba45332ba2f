// Where the events of a sweep go: one column of the analysis for each result that is stored, and below the
// sweep's row a list of values, one an event.
#pragma once
#include "fit/sweep_fit.h"

#include <span>
#include <string>
#include <vector>

namespace EventColumns {

struct Column {
    FitParam* Param = nullptr; // of the type's record; takes what the row of the sweep holds
    std::string Name, Unit;
    AnalysisValue* Row = nullptr; // of the sweep
};

struct Columns {
    Tree::Handle* Tree = nullptr;
    std::vector<Column> List;
    bool MeanInResult = false; // the row holds the mean of all events, else the last one
};

// The columns of the current analysis record for the stored results of the selected type. row: that of the
// sweep, or 1. False when one is missing.
[[nodiscard]] bool Find(SweepFit::Engine& engine, int row, Columns& columns);

// Whether the column of a parameter is stored, and which it is; none for one that is not.
[[nodiscard]] Column* ColumnOf(Columns& columns, const FitParam& param);

// Deletes the events of all columns.
void Clear(Columns& columns);
void Clear(Tree::Handle* tree, Column& column);

[[nodiscard]] int Count(const Columns& columns);
[[nodiscard]] AnalysisCycleValue* EventAt(const Column& column, int event);

// An event below the column, without any effect on its row. False without memory.
[[nodiscard]] bool Append(Tree::Handle* tree, Column& column, double value,
                          FitParamState state = FitParamState::Fit);
void SetRow(Column& column, double value);

// The event of running number n with a value for each column; the rows follow. False without memory.
[[nodiscard]] bool AppendEvent(Columns& columns, std::span<const FitParam> values, int n);

// Takes the last event of each column back; its row takes the value of the one before.
void DeleteLast(Columns& columns);
// Marks the last event of each column as removed; it stays in its place.
void FlagLast(Columns& columns);

}
