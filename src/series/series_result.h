// The result of a series fit as it is kept in the analysis tree: up to 20 rows of a name, a unit and a cell,
// in the series' record. A row is a parameter, or a field of the type's record that is none (an order, a
// power, a mode), which stands there as a held value.
//
// In files the cells lie over the first ten names: after a reload the names are lost, so rows are taken back
// by their position.
#pragma once
#include "trees/analysis_tree.h"

#include <optional>
#include <string>
#include <vector>

namespace SeriesFit {

struct Engine;

struct ResultRow {
    std::string Name, Unit;
    FitParam Value;
};
// The rows of the selected type as its record stands. The names and units are those of columns.
[[nodiscard]] std::vector<ResultRow> ResultRows(Engine& engine);

void StoreResult(Engine& engine, AnalysisSeries& series);

// Takes a stored result back into the record of its type, which becomes the selected one. False, after an
// alert and with everything as it was, for no series, for one that holds no result, for an unknown type, and
// for a field that its record cannot hold.
[[nodiscard]] bool GetResults(Engine& engine, const AnalysisSeries* series);

}
