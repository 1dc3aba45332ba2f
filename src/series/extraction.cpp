#include "series/extraction.h"

#include "base/messages.h"
#include "base/text.h"
#include "trees/tree.h"

#include <algorithm>
#include <cstring>

namespace SGFit {

namespace {

constexpr DataSourceName SourceNames[DataSources] = {
    {"Results", "results"},
    {"Events of Selected Sweep", "events"},
    {"All Events", "all_events"},
    {"Add All Events Sweepwise", "add_events_sweepwise"},
    {"Avg All Events Sweepwise", "avg_events_sweepwise"},
};

bool IsSweepwise(DataSource source) {
    return source == DataSource::AddSweepwise || source == DataSource::AvgSweepwise;
}

// The sweeps that a selection starts at.
int FirstSweep(const Store& store) {
    return store.DataSource == DataSource::SweepEvents ? store.EventsSweep : 1;
}

struct Entries {
    const AnalysisEntry *X, *Y;
};

// Two records of the same kind: the values of a sweep, or the events at one place of it.
template <class Record>
struct Pair {
    Pair(const void* x, const void* y, int index)
        : X(Tree::ChildAs<const Record>(x, index)), Y(Tree::ChildAs<const Record>(y, index)) {}
    explicit operator bool() const { return X && Y; }

    const Record *X, *Y;
};

template <class Record>
void Write(Store& store, int place, const Pair<Record>& pair) {
    const bool empty = pair.Y->State == FitParamState::Off;
    if (!IsSweepwise(store.DataSource))
        store.YPreview[place] = pair.Y->Value;
    else if (!empty)
        store.YPreview[place] += pair.Y->Value;
    store.XPreview[place] = pair.X->Value;
    store.PreviewSkip[place] = empty ? 1 : 0;
}

template <class Record>
void Append(Store& store, const Pair<Record>& pair) {
    Write(store, store.PreviewPoints, pair);
    ++store.PreviewPoints;
}

void AppendEvents(Store& store, const Pair<AnalysisValue>& sweep) {
    for (int c = 1; store.PreviewPoints < MaxPoints; ++c) {
        const Pair<AnalysisCycleValue> event(sweep.X, sweep.Y, c);
        if (!event) return;
        Append(store, event);
    }
}

// The number of points is that of the last sweep with events, however many others had: what stands behind it
// is out of the wave. False for a sweep without events.
bool AddEvents(Store& store, const Pair<AnalysisValue>& sweep) {
    int c = 1;
    for (; c < MaxPoints; ++c) {
        const Pair<AnalysisCycleValue> event(sweep.X, sweep.Y, c);
        if (!event) break;
        Write(store, c - 1, event);
    }
    if (c < 2) return false;
    store.PreviewPoints = static_cast<std::int16_t>(c - 1);
    return true;
}

void WalkSweeps(Store& store, const Entries& entries) {
    const DataSource source = store.DataSource;
    int sweepsWithEvents = 0;
    for (int s = FirstSweep(store); store.PreviewPoints < MaxPoints; ++s) {
        const Pair<AnalysisValue> sweep(entries.X, entries.Y, s);
        if (!sweep) break;
        if (source == DataSource::Results)
            Append(store, sweep);
        else if (IsSweepwise(source))
            sweepsWithEvents += AddEvents(store, sweep) ? 1 : 0;
        else
            AppendEvents(store, sweep);
        if (source == DataSource::SweepEvents) break;
    }
    if (source != DataSource::AvgSweepwise) return;
    for (int i = 0; i < store.PreviewPoints; ++i) store.YPreview[i] /= sweepsWithEvents;
}

int EventsOf(const void* entry) {
    int events = 0;
    for (int s = 1; s <= Tree::ChildCount(entry); ++s) events += Tree::ChildCount(Tree::Child(entry, s));
    return events;
}

WaveLabel LabelOf(const AnalysisEntry& entry) {
    WaveLabel label;
    std::memcpy(label.Name, entry.Name, sizeof label.Name);
    std::memcpy(label.Unit, entry.Unit, sizeof label.Unit);
    return label;
}

bool RefuseColumn(Store& store, std::string_view text) {
    Messages::Alert(text);
    ClearPreview(store);
    return false;
}

}

DataSourceName NameOf(DataSource source) {
    const auto index = static_cast<std::size_t>(source);
    return index < DataSources ? SourceNames[index] : DataSourceName{"unknown", "unknown"};
}

std::optional<DataSource> DataSourceNamed(std::string_view macroWord) {
    for (int i = 0; i < DataSources; ++i)
        if (Texts::SameFolded(SourceNames[i].Macro, macroWord)) return static_cast<DataSource>(i);
    return std::nullopt;
}

int ColumnNamed(const AnalysisRecord* record, std::string_view name) {
    int folded = 0;
    for (int i = 1; i <= Tree::ChildCount(record); ++i) {
        const std::string_view column = Texts::FromField(Tree::ChildAs<AnalysisEntry>(record, i)->Name);
        if (column == name) return i;
        if (folded == 0 && Texts::SameFolded(column, name)) folded = i;
    }
    return folded;
}

bool AppendWave(Store& store, const AnalysisRecord* record, const Columns& columns) {
    store.FitValid = false;
    if (!record) {
        Messages::Alert("Empty Analysis");
        return false;
    }
    const Entries entries = {Tree::ChildAs<const AnalysisEntry>(record, columns.X),
                             Tree::ChildAs<const AnalysisEntry>(record, columns.Y)};
    if (!entries.X) return RefuseColumn(store, "Illegal X-Parameter");
    if (!entries.Y) return RefuseColumn(store, "Illegal Y-Parameter");
    if (IsSweepwise(store.DataSource)) ClearPreview(store);
    WalkSweeps(store, entries);
    store.PreviewX = LabelOf(*entries.X);
    store.PreviewY = LabelOf(*entries.Y);
    Refresh(store);
    return true;
}

bool PreviewWave(Store& store, const AnalysisRecord* record, const Columns& columns) {
    store.ActiveWave = Active::Preview;
    ClearPreview(store);
    return AppendWave(store, record, columns);
}

int ExpectedPoints(const Store& store, const AnalysisRecord* record, int column) {
    const void* const entry = Tree::Child(record, column);
    switch (store.DataSource) {
    case DataSource::Results: return Tree::ChildCount(entry);
    case DataSource::AllEvents: return EventsOf(entry);
    default: return Tree::ChildCount(Tree::Child(entry, store.EventsSweep));
    }
}

int EventsCount(const AnalysisRecord* record) {
    return EventsOf(Tree::Child(record, 1));
}

}
