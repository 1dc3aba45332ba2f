// What the passes of an online analysis left behind: a table of one row a sweep. A function may also put its
// result into one of the values of the settings (Setup::ValueOf), which protocols, equations and waves read.
// A result that could not be computed is Invalid.
#pragma once
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace OnlineResults {

inline constexpr double Invalid = std::numeric_limits<double>::quiet_NaN();

struct Table {
    std::int32_t Rows = 0, Columns = 0;
    std::vector<double> Cells; // row by row, Invalid where nothing was stored

    // Of a pass: the row it fills, -1 for none, and the next column, from 1.
    std::int32_t Row = -1;
    std::int32_t Column = 1;
};

// Takes the size of the settings (OnlineSweeps, OnlineResults) and empties the table. False, with an alert,
// when there is no memory; the table is as before then.
[[nodiscard]] bool Allocate(Table& table);

// The row of a sweep's index, from 1; -1 for one beyond the table, unless the table wraps (OnlineMode 2).
[[nodiscard]] std::int32_t RowOf(std::int64_t sweepIndex, std::int32_t rows, int onlineMode);

// A pass begins: its row is emptied.
void BeginRow(Table& table, std::int64_t sweepIndex);

// Puts a result into value valueIndex (1 to 32; others: none) and into the next column. One beyond the
// table is dropped.
void StoreResult(Table& table, double value, int valueIndex);

// A row of the table; empty for none.
[[nodiscard]] std::span<const double> RowAt(const Table& table, std::int32_t row);

}
