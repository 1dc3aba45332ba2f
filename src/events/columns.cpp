#include "events/columns.h"

#include "base/messages.h"

namespace EventColumns {

bool Find(SweepFit::Engine& engine, int row, Columns& columns) {
    DataSession& session = engine.Session;
    columns.Tree = session.Analysis.Handle;
    columns.List.clear();
    const Fit::Selected selected = Fit::Select(engine.Records, engine.Params.FitType);
    for (const Fit::ParamEntry& entry : Fit::Params(selected)) {
        if (entry.Column.empty() || entry.Param->Store == 0) continue;
        const int number = static_cast<int>(columns.List.size()) + 1;
        auto* const value = Tree::ChildAs<AnalysisValue>(Tree::Child(session.CurARecord, number), row);
        if (!value) {
            Messages::Alert("The analysis table has no row for this sweep.");
            return false;
        }
        columns.List.push_back({entry.Param, std::string(entry.Column),
                                Fit::UnitText(entry, engine.Work.XUnit, engine.Work.YUnit), value});
    }
    return true;
}

Column* ColumnOf(Columns& columns, const FitParam& param) {
    for (Column& column : columns.List)
        if (column.Param == &param) return &column;
    return nullptr;
}

void Clear(Tree::Handle* tree, Column& column) {
    for (int i = Tree::ChildCount(column.Row); i > 0; --i) {
        void* event = Tree::Child(column.Row, i);
        Tree::Delete(tree, event);
    }
}

void Clear(Columns& columns) {
    for (Column& column : columns.List) Clear(columns.Tree, column);
}

int Count(const Columns& columns) {
    return columns.List.empty() ? 0 : Tree::ChildCount(columns.List.front().Row);
}

AnalysisCycleValue* EventAt(const Column& column, int event) {
    return Tree::ChildAs<AnalysisCycleValue>(column.Row, event);
}

bool Append(Tree::Handle* tree, Column& column, double value, FitParamState state) {
    auto* const event = static_cast<AnalysisCycleValue*>(Tree::Append(tree, column.Row));
    if (!event) {
        Messages::Alert(Tree::LastError());
        return false;
    }
    event->Value = value;
    event->State = state;
    return true;
}

void SetRow(Column& column, double value) {
    column.Row->Value = value;
    column.Row->State = FitParamState::Fit;
    column.Param->Value = value;
    column.Param->State = FitParamState::Fit;
}

bool AppendEvent(Columns& columns, std::span<const FitParam> values, int n) {
    for (std::size_t i = 0; i < columns.List.size(); ++i) {
        Column& column = columns.List[i];
        if (!Append(columns.Tree, column, values[i].Value, values[i].State)) return false;
        const double former = column.Row->Value;
        const bool mean = columns.MeanInResult && n > 1;
        SetRow(column, mean ? ((n - 1) * former + values[i].Value) / n : values[i].Value);
    }
    return true;
}

void DeleteLast(Columns& columns) {
    for (Column& column : columns.List) {
        const int count = Tree::ChildCount(column.Row);
        void* last = Tree::Child(column.Row, count);
        if (!last) continue;
        Tree::Delete(columns.Tree, last);
        if (const AnalysisCycleValue* const before = EventAt(column, count - 1)) {
            SetRow(column, before->Value);
        } else {
            column.Row->Value = 0.0;
            column.Row->State = column.Param->State = FitParamState::Off;
        }
    }
}

void FlagLast(Columns& columns) {
    for (Column& column : columns.List)
        if (AnalysisCycleValue* const last = EventAt(column, Tree::ChildCount(column.Row)))
            last->State = FitParamState::Off;
}

}
