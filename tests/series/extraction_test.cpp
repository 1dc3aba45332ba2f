// Columns of an analysis as waves: in all input selections, from a tree in memory and from a recording.
#include "series/extraction.h"
#include "support/waves.h"
#include "trees/analysis_tree.h"

namespace {

using namespace SGFit;
using Cells = std::vector<double>; // NAN: an empty cell

// An analysis of its own, column by column.
class Table {
public:
    Table() : Handle(AnalysisTree::Define("Test.HE")) {
        void* record = Tree::Append(Handle, nullptr);
        for (int level = 1; level <= 3; ++level) record = Tree::Append(Handle, record);
        Record = static_cast<AnalysisRecord*>(record);
    }
    ~Table() { Tree::Dispose(Handle); }
    Table(Table&&) = delete;

    // Rows of the column, each with its events.
    void Column(const char* name, const char* unit, const Cells& rows,
                const std::vector<Cells>& events = {}) {
        auto* const entry = static_cast<AnalysisEntry*>(Tree::Append(Handle, Record));
        Texts::ToField(entry->Name, name);
        Texts::ToField(entry->Unit, unit);
        for (std::size_t s = 0; s < rows.size(); ++s) {
            auto* const value = static_cast<AnalysisValue*>(Tree::Append(Handle, entry));
            Fill(*value, rows[s]);
            if (s >= events.size()) continue;
            for (const double cell : events[s])
                Fill(*static_cast<AnalysisCycleValue*>(Tree::Append(Handle, value)), cell);
        }
    }

    AnalysisRecord* Record;

private:
    template <class Cell>
    static void Fill(Cell& cell, double value) {
        cell.Value = std::isnan(value) ? 99 : value;
        cell.State = std::isnan(value) ? FitParamState::Off : FitParamState::Fit;
    }

    Tree::Handle* Handle;
};

// "x:y x:y!" with "!" behind a flagged point.
std::string TextOf(const Store& store) {
    std::string text;
    for (int i = 0; i < store.PreviewPoints; ++i) {
        char point[64];
        std::snprintf(point, sizeof point, "%s%g:%g%s", i > 0 ? " " : "", store.XPreview[i],
                      store.YPreview[i], store.PreviewSkip[i] != 0 ? "!" : "");
        text += point;
    }
    return text;
}

class Extraction : public testing::Test {
protected:
    Extraction() {
        Events.Column("Time", "s", {1, 2, 3}, {{1, 2, 3}, {11, 12, 13, 14, 15}, {21, 22}});
        Events.Column("Charge", "C", {10, NAN, 30}, {{1, 2, 4}, {10, 20, NAN, 80, 160}, {100, 200}});
        Events.Column("Short", "", {7}, {{1, 2}});
    }

    std::string Taken(DataSource source, int x = 1, int y = 2, int sweep = 1) {
        Waves.DataSource = source;
        Waves.EventsSweep = static_cast<std::int16_t>(sweep);
        return PreviewWave(Waves, Events.Record, {x, y}) ? TextOf(Waves) : Said.Alerts;
    }

    Messages::Recorder Said;
    Table Events;
    Support::OpenStore Waves;
};

TEST_F(Extraction, TakesRowsOrEventsAsSelected) {
    EXPECT_EQ(Taken(DataSource::Results), "1:10 2:99! 3:30");
    EXPECT_STREQ(Waves.PreviewX.Name, "Time");
    EXPECT_STREQ(Waves.PreviewY.Unit, "C");
    EXPECT_EQ(Taken(DataSource::SweepEvents, 1, 2, 2), "11:10 12:20 13:99! 14:80 15:160");
    EXPECT_EQ(Taken(DataSource::SweepEvents, 1, 2, 4), "");
    EXPECT_EQ(Taken(DataSource::AllEvents), "1:1 2:2 3:4 11:10 12:20 13:99! 14:80 15:160 21:100 22:200");
    // As many points as the last sweep has events; X is that sweep's.
    EXPECT_EQ(Taken(DataSource::AddSweepwise), "21:111 22:222");
    EXPECT_EQ(Waves.YPreview[2], 4); // the empty cell adds nothing
    EXPECT_EQ(Taken(DataSource::AvgSweepwise), "21:37 22:74");
    // A column ends where either ends, sweep by sweep and event by event.
    EXPECT_EQ(Taken(DataSource::Results, 3, 1), "7:1");
    EXPECT_EQ(Taken(DataSource::AllEvents, 1, 3), "1:1 2:2");
}

TEST_F(Extraction, ASweepWithoutEventsDoesNotCountInTheMean) {
    Events.Column("X", "", {0, 0, 0, 0}, {{1, 2}, {}, {3, 4}, {}});
    EXPECT_EQ(Taken(DataSource::AvgSweepwise, 4, 4), "3:2 4:3");
}

TEST_F(Extraction, CountsWhatASelectionWillYield) {
    for (const auto& [source, points] :
         {std::pair{DataSource::Results, 3}, {DataSource::SweepEvents, 5}, {DataSource::AllEvents, 10}}) {
        Waves.DataSource = source;
        Waves.EventsSweep = 2;
        EXPECT_EQ(ExpectedPoints(Waves, Events.Record, 2), points);
    }
    EXPECT_EQ(EventsCount(nullptr), 0);
    EXPECT_EQ(DataSourceNamed("Add_Events_Sweepwise"), DataSource::AddSweepwise);
    EXPECT_EQ(ColumnNamed(Events.Record, "charge"), 2);
    EXPECT_EQ(ColumnNamed(Events.Record, "?"), 0);
}

TEST_F(Extraction, AppendsUpToTheLimitAndRefusesWhatIsNotThere) {
    EXPECT_EQ(Taken(DataSource::Results), "1:10 2:99! 3:30");
    Waves.ActiveWave = Active::Buffer;
    Waves.FitValid = true;
    ASSERT_TRUE(AppendWave(Waves, Events.Record, {1, 2}));
    EXPECT_EQ(TextOf(Waves), "1:10 2:99! 3:30 1:10 2:99! 3:30");
    EXPECT_EQ(Waves.ActiveWave, Active::Buffer);
    EXPECT_FALSE(Waves.FitValid);
    Waves.PreviewPoints = MaxPoints - 1;
    ASSERT_TRUE(AppendWave(Waves, Events.Record, {1, 2}));
    EXPECT_EQ(Waves.PreviewPoints, MaxPoints);
    EXPECT_FALSE(AppendWave(Waves, nullptr, {1, 2}));
    EXPECT_EQ(Waves.PreviewPoints, MaxPoints); // left as it is
    EXPECT_FALSE(AppendWave(Waves, Events.Record, {9, 2}));
    EXPECT_EQ(Waves.PreviewPoints, 0);
    EXPECT_FALSE(PreviewWave(Waves, Events.Record, {1, 0}));
    EXPECT_EQ(Said.Alerts, "Empty Analysis\nIllegal X-Parameter\nIllegal Y-Parameter\n");
}

}
