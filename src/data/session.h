// The open data set: its data file, its trees, the analysis tree beside them, and the path of current records
// that tools work on. One session at a time; nothing here writes to a recording.
#pragma once
#include "base/files.h"
#include "data/bundle.h"
#include "trees/analysis_tree.h"
#include "trees/tree.h"
#include "trees/vennic_tree.h"

#include <cstdint>
#include <string>

struct StimStimulation;

// How a data set is opened. The data file and the trees of the recording are read only in both modes.
enum class OpenMode : std::uint8_t {
    Read,     // the analysis file is read only, too
    Analysis, // the analysis file may be created and stored
};

struct SessionTree {
    Tree::Handle* Handle = nullptr;
    Tree::FileInfo Info;   // levels, sizes and byte order as in the file
    bool FromFile = false; // loaded, not built anew
};

struct DataSession {
    SessionTree Vennic, Stim, Ampl, Solution, Analysis;
    Files::File DataFile, TempFile;
    Bundle::Header Header{};
    Bundle::FileKind FileKind = Bundle::FileKind::Plain;
    std::string FileName; // full path of the data file; empty while no data set is open
    std::int64_t DataEnd = 0;
    Buffer::Heap* DataHeap = nullptr; // of the loaded samples
    VennicSeries* ReferenceSeries = nullptr;

    bool Modify = false;
    bool AnalysisWritable = false;
    bool AnalysisUnreadable = false; // an analysis file lies there that could not be used
    bool FitNewSetup = true;         // the next fit appends a new analysis record

    // The current path; a record below the selected one is the first of its level, or none.
    int SelectedLevel = 0;
    VennicRoot* CurRoot = nullptr;
    VennicGroup* CurGroup = nullptr;
    VennicSeries* CurSeries = nullptr;
    VennicSweep* CurSweep = nullptr;
    VennicTrace* CurTrace = nullptr;
    StimStimulation* CurStim = nullptr;
    AnalysisGroup* CurAGroup = nullptr;
    AnalysisSeries* CurASeries = nullptr;
    AnalysisRecord* CurARecord = nullptr;
    AnalysisEntry* CurAEntry = nullptr;
    AnalysisValue* CurAValue = nullptr;
};

// Opens a data set: the data file (".dat" is added to a name without extension), its trees from the bundle or
// beside it, and the analysis file. On failure what was opened is closed again, and the reason has been said.
[[nodiscard]] bool OpenDataFile(DataSession& session, const std::string& path, OpenMode mode);

void CloseDataFile(DataSession& session);

// Sets the current path to the record and to what stands above and first below it.
void GetRelatives(DataSession& session, void* record);

// The stimulation of a sweep; none when the data set has no stimulus tree or no such stimulation.
[[nodiscard]] StimStimulation* StimulationOf(const DataSession& session, const VennicSweep* sweep);

// What a list of the tree shows of a record of the recording.
struct RecordLabel {
    std::string
        Label; // the record's own; the root's is the file's name, and "Group" stands in for a missing one
    int Number = 0;           // its running count; 0 for the root
    bool IsReference = false; // the session's reference series
};
// "NIL" without an open data set, "nil" for no record, "invalid" for a record that is none of the
// recording's.
[[nodiscard]] RecordLabel GetRecordLabel(const DataSession& session, const void* record);
