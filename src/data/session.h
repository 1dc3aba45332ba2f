// The open data set: its data file, its trees, the analysis tree beside them, and the path of current records
// that tools work on. One session at a time.
//
// In Read and Analysis mode nothing writes to the data file, the recording's trees and the notebook. In
// Modify mode the trees of a bundle stand beside the data file while it is open, and go back into it at the
// end. A data set that is open for changes or analysis is locked against other programs that want the same.
#pragma once
#include "base/files.h"
#include "data/bundle.h"
#include "trees/analysis_tree.h"
#include "trees/tree.h"
#include "trees/vennic_tree.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct StimStimulation;

// How a data set is opened.
enum class OpenMode : std::uint8_t {
    Read,     // nothing is written
    Analysis, // the analysis file may be created and stored
    Modify,   // the data file, its trees and the analysis file may be changed
};

struct OpenOptions {
    OpenMode Mode = OpenMode::Read;
    // Setup.Settings.MaxSamplePoints grows to the longest trace, as far as the file can hold it: for runs
    // without a user who could restart with larger settings.
    bool MakeRoom = false;
    std::string_view ProgramVersion = "Qorvanite"; // written into headers
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
    std::string FileName;             // full path of the data file; empty while no data set is open
    std::int64_t DataEnd = 0;         // behind the last sample of any trace: where the next one goes
    std::int64_t DiskDataEnd = 0;     // the same by the trees as they are stored
    Buffer::Heap* DataHeap = nullptr; // of the loaded samples
    VennicSeries* ReferenceSeries = nullptr;

    bool Modify = false;
    bool Changed = false; // there is something to store at the end
    bool Native = true;   // sequential, in this machine's order and not interleaved; asked for Modify only
    bool AnalysisWritable = false;
    bool MustClose = false;    // a change of the files stopped half-way: nothing more is stored
    bool DiskWasFull = false;  // of the last failed store
    std::string SafetyNetFile; // the reserve on the disk, if there is one
    std::string ProgramVersion;
    bool AnalysisUnreadable = false;   // an analysis file lies there that could not be used
    bool AnalysisShapeChanged = false; // by groups or series that the file does not know, or still knows
    // Counts every change of the analysis; the others say at which count something was done, 0 for never.
    std::int64_t AnalysisRevision = 0, AnalysisSavedRevision = 0, AnalysisKeptRevision = 0;
    std::int64_t AnalysisRecovered = 0; // results of an earlier session were taken up and not saved since
    double AnalysisKeptAt = 0;          // s, by the caller's clock
    bool AnalysisKeepFailed = false;
    bool FitNewSetup = true; // the next fit appends a new analysis record

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

// The one data set that is open at a time; closed at the start.
[[nodiscard]] DataSession& CurrentSession();

// Whether a running protocol, macro or acquisition lets files be opened and closed. A window or a protocol
// installs it; without it they can.
extern std::function<bool()> FilesAreBusy;
// False, with an alert, while they cannot.
[[nodiscard]] bool CanAccessFiles();

// Opens a data set: the data file (".dat" is added to a name without extension), its trees from the bundle or
// beside it, and the analysis file. A change that a crash has left unfinished is completed first. On failure
// what was opened is closed again, and the reason has been said.
//
// For Modify a bundle is un-bundled. Refused are protected files, files of other versions, a bundle with
// solutions while Setup.Settings.SolBaseOn is off, and one with a notebook while NotebookAutoStore is off.
[[nodiscard]] bool OpenDataFile(DataSession& session, const std::string& path,
                                const OpenOptions& options = {});

// Ends the session in an orderly way. store: what was changed in Modify mode is stored, as a bundle where the
// settings ask for it; a file with much unused space is compacted after a question; a data set without any
// data is deleted. False, with an alert, when something could not be stored; it lies then beside the data
// file as far as it was stored before.
bool CloseDataFile(DataSession& session, bool store = false);

// Stores the trees of a data set that is open for changes, and leaves it open. Shows the line of the file
// (data/file_info.h) as status in every mode.
[[nodiscard]] bool UpdateDataFile(DataSession& session);

// Brings DataEnd up to date and cuts the data file there, if it is open for changes.
[[nodiscard]] bool TruncateDataFile(DataSession& session);

// The file for temporary traces, opened at first use: in Setup.Settings.TempPath, or beside the data file. It
// goes with the session.
[[nodiscard]] bool OpenTempFile(DataSession& session);

// Sets the current path to the record and to what stands above and first below it.
void GetRelatives(DataSession& session, void* record);

// The stimulation of a sweep; none when the data set has no stimulus tree or no such stimulation.
[[nodiscard]] StimStimulation* StimulationOf(const DataSession& session, const VennicSweep* sweep);

// What a list of the tree shows of a record of the recording.
struct RecordLabel {
    // The record's own; the root's is the file's name, and "Group" stands in for a missing one.
    std::string Label;
    int Number = 0;           // its running count; 0 for the root
    bool IsReference = false; // the session's reference series
};
// "NIL" without an open data set, "nil" for no record, "invalid" for a record that is none of the
// recording's.
[[nodiscard]] RecordLabel GetRecordLabel(const DataSession& session, const void* record);
