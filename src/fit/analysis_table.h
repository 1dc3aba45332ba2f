// The results of sweep fits in the analysis tree: which record is the current one, and what is written there.
//
// A series has any number of analysis records, one a setup. A record is a table: a column for each stored
// result of the type, then one for each online function that is stored; a row for each sweep of the series;
// in a cell of a cyclic analysis, a sub-row for each cycle. Cells that nothing was stored in have the state
// Off. Parameters are those of the type in their order (Fit::Params); the same ones make and fill the
// columns.
#pragma once
#include "fit/params.h"
#include "fit/sweep_fit.h"

#include <string>
#include <vector>

namespace AnalysisTable {

// Aims the current analysis records at the selected group and series. False without a selection.
[[nodiscard]] bool FitToAnalysisPosition(SweepFit::Engine& engine);
// The record at a position of the current series, kept within those that there are.
void GotoAnalysis(SweepFit::Engine& engine, int index);
void NextAnalysis(SweepFit::Engine& engine);
void BackAnalysis(SweepFit::Engine& engine);
// The next fit makes a new one.
void DeleteCurrentAnalysis(SweepFit::Engine& engine);
// "2 of 3: Exponential", or "no analysis".
[[nodiscard]] std::string AnalysisName(const SweepFit::Engine& engine);

// Whether the columns of the current record do not fit the results of the present setup.
[[nodiscard]] bool NeedsNewRecord(const SweepFit::Engine& engine, const std::vector<Fit::ParamEntry>& params);
// Makes a record of the present setup behind the others, with all its columns and empty rows; it becomes the
// current one. With AnalysisMode::Overwrite the former current one is deleted first. False after an alert:
// there is no memory for it.
[[nodiscard]] bool NewRecord(SweepFit::Engine& engine, const std::vector<Fit::ParamEntry>& params);

// The parameters into the row of the selected sweep, and the row made empty again. False when it has none.
[[nodiscard]] bool StoreRow(const SweepFit::Engine& engine, const std::vector<Fit::ParamEntry>& params);
[[nodiscard]] bool EmptyRow(const SweepFit::Engine& engine, const std::vector<Fit::ParamEntry>& params);
// The online results of the sweep into its row.
void StoreOnline(const SweepFit::Engine& engine);
// The row of the sweep becomes the sub-row of the cycle, from 1.
void CopyToCycle(const SweepFit::Engine& engine, int cycle);

}
