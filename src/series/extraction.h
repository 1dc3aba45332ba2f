// From the analysis tree to the preview wave: one column of an analysis as X, one as Y.
//
// The points are the rows of the table (results), or the events of one sweep or of all sweeps, which are the
// children of a row; or the events of each sweep at one place are added up or averaged over the sweeps. An
// empty cell in the Y column makes a flagged point, and does not count in a sum.
#pragma once
#include "series/wave_store.h"
#include "trees/analysis_tree.h"

#include <optional>
#include <string_view>

namespace SGFit {

// The words of DataSource in menus and in macros.
struct DataSourceName {
    std::string_view Menu, Macro;
};
inline constexpr int DataSources = 5;
[[nodiscard]] DataSourceName NameOf(DataSource source);
[[nodiscard]] std::optional<DataSource> DataSourceNamed(std::string_view macroWord);

// Columns by their position in the analysis, from 1.
struct Columns {
    int X = 0, Y = 0;
};
// The first column of that name, without regard to case where none has exactly it; 0 for none.
[[nodiscard]] int ColumnNamed(const AnalysisRecord* record, std::string_view name);

// Behind the points of the preview wave, up to MaxPoints; sums and means start anew. False, with an alert,
// for no analysis, and, with the preview cleared, for a column that is not there.
[[nodiscard]] bool AppendWave(Store& store, const AnalysisRecord* record, const Columns& columns);
// The same into a cleared preview wave, which becomes the active one.
[[nodiscard]] bool PreviewWave(Store& store, const AnalysisRecord* record, const Columns& columns);

// How many points the selection yields, by its Y column: rows, or events of the sweep or of all sweeps.
[[nodiscard]] int ExpectedPoints(const Store& store, const AnalysisRecord* record, int column);
// Events of the first column, over all its rows.
[[nodiscard]] int EventsCount(const AnalysisRecord* record);

}
