#include "online/results.h"

#include "base/messages.h"
#include "setup/settings.h"

#include <algorithm>
#include <new>

namespace OnlineResults {

namespace {

constexpr int Wrap = 2;

std::size_t CellAt(const Table& table, std::int32_t row, std::int32_t column) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(table.Columns) +
           static_cast<std::size_t>(column);
}

}

bool Allocate(Table& table) {
    const auto& settings = Setup::Settings.Online;
    try {
        std::vector<double> cells(static_cast<std::size_t>(settings.OnlineSweeps) *
                                      static_cast<std::size_t>(settings.OnlineResults),
                                  Invalid);
        table.Cells.swap(cells);
    } catch (const std::bad_alloc&) {
        Messages::Alert(table.Cells.empty() ? "Allocating Online storage failed"
                                            : "Online buffer could not be re-allocated!");
        return false;
    }
    table.Rows = settings.OnlineSweeps;
    table.Columns = settings.OnlineResults;
    table.Row = -1;
    table.Column = 1;
    return true;
}

std::int32_t RowOf(std::int64_t sweepIndex, std::int32_t rows, int onlineMode) {
    if (sweepIndex < 1 || rows < 1) return -1;
    const std::int64_t row = sweepIndex - 1;
    if (row < rows) return static_cast<std::int32_t>(row);
    return onlineMode == Wrap ? static_cast<std::int32_t>(row % rows) : -1;
}

void BeginRow(Table& table, std::int64_t sweepIndex) {
    table.Row = RowOf(sweepIndex, table.Rows, Setup::Settings.Online.OnlineMode);
    table.Column = 1;
    if (table.Row < 0) return;
    const auto first = table.Cells.begin() + static_cast<std::ptrdiff_t>(CellAt(table, table.Row, 0));
    std::fill(first, first + table.Columns, Invalid);
}

void StoreResult(Table& table, double value, int valueIndex) {
    if (double* const shared = Setup::ValueOf(valueIndex)) *shared = value;
    if (table.Row >= 0 && table.Column <= table.Columns)
        table.Cells[CellAt(table, table.Row, table.Column - 1)] = value;
    ++table.Column;
}

std::span<const double> RowAt(const Table& table, std::int32_t row) {
    if (row < 0 || row >= table.Rows) return {};
    return std::span(table.Cells).subspan(CellAt(table, row, 0), static_cast<std::size_t>(table.Columns));
}

}
