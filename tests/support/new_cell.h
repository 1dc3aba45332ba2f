// A small data set of a test (cell_plan.h) with the fit driver over it.
#pragma once
#include "fit/sweep_fit.h"
#include "support/cell_plan.h"
#include "support/data_session.h"

namespace Support {

// The data set, open for analysis, its first sweep selected.
class NewCell : public OpenedData {
public:
    explicit NewCell(const CellPlan& plan) {
        if (!WriteCell(Path, plan) || !Open(Path, OpenMode::Analysis)) ADD_FAILURE() << Said.Alerts;
        Said.Notes.clear(); // of the opening
        Select(1);
    }
    ~NewCell() { CloseDataFile(Session); }

    void Select(int sweep) { GetRelatives(Session, Find({1, 1, sweep})); }
    bool Fit(SweepFitType type, int sweep = 1) {
        Engine.Params.FitType = type;
        Select(sweep);
        return SweepFit::FitCommand(Engine);
    }
    [[nodiscard]] int Records() const { return Tree::ChildCount(Session.CurASeries); }
    // Of the current record of the series.
    [[nodiscard]] const AnalysisEntry* Column(int column) const {
        return Tree::ChildAs<AnalysisEntry>(Session.CurARecord, column);
    }
    [[nodiscard]] const AnalysisValue& Row(int column, int sweep = 1) const {
        return *Tree::ChildAs<AnalysisValue>(Column(column), sweep);
    }
    // "Duration s|nAPs|": names and units.
    [[nodiscard]] std::string Columns() const {
        std::string list;
        for (int i = 1; i <= Tree::ChildCount(Session.CurARecord); ++i) {
            const std::string unit(Texts::FromField(Column(i)->Unit));
            list += std::string(Texts::FromField(Column(i)->Name)) + (unit.empty() ? "" : " ") + unit + "|";
        }
        return list;
    }
    // What lies below the row: events, or cycles.
    [[nodiscard]] std::vector<double> Below(int column, int sweep = 1) const {
        std::vector<double> values;
        const AnalysisValue* const row = &Row(column, sweep);
        for (int i = 1; i <= Tree::ChildCount(row); ++i)
            values.push_back(Tree::ChildAs<AnalysisCycleValue>(row, i)->Value);
        return values;
    }
    [[nodiscard]] std::vector<int> StatesBelow(int column, int sweep = 1) const {
        std::vector<int> states;
        const AnalysisValue* const row = &Row(column, sweep);
        for (int i = 1; i <= Tree::ChildCount(row); ++i)
            states.push_back(static_cast<int>(Tree::ChildAs<AnalysisCycleValue>(row, i)->State));
        return states;
    }

    const TempFolder Folder{Memory()};
    const std::string Path = Folder.At("cell.dat");
    SweepFit::Engine Engine{Session};
};

inline void ExpectNear(const std::vector<double>& got, const std::vector<double>& wanted, double tolerance,
                       const char* what = "") {
    ASSERT_EQ(got.size(), wanted.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], wanted[i], tolerance) << what << " " << i;
}

}
