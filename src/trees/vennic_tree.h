// The Vennic tree: what was recorded, and where in the raw data each trace lies. Five levels: root, group,
// series, sweep, trace; file ".vnc", or the ".vnc" item of a bundle.
// Times are seconds in the scale of base/time_scale.h. Records refer to others by plain indices.
#pragma once
#include "trees/record_tree.h"

#include <cstdint>

namespace Buffer {
class Heap;
}

// Name and unit of a user value, as they lie in a block of such entries.
struct NameAndUnit {
    char Name[32];
    char Unit[8];
};

struct VennicRoot {
    std::int32_t RoMark;
    std::int32_t RoVersion; // 9 in every file written here
    char RoVersionName[32]; // program and version that made the file
    char RoAuxName[80];
    char RoText[400];
    double RoStartTime;
    std::int32_t RoMaxSamples; // the largest trace in force when the file was made, points
    std::int32_t RoCRC;
    std::int16_t RoFlags;
};

struct VennicGroup {
    std::int32_t GrMark;
    char GrLabel[32];
    char GrText[80];
    std::int32_t GrExperimentNumber;
    std::int32_t GrGroupCount; // running number
    std::int32_t GrCRC;
};

inline constexpr std::int32_t AmplStateAt =
    472; // where a series record of version 9 holds the amplifier state
inline constexpr std::size_t AmplStateBytes = 400;
inline constexpr std::size_t ScanDataAt = 1312;
inline constexpr std::size_t ScanDataBytes = 96;

struct VennicSeries {
    std::int32_t SeMark;
    char SeLabel[32];
    char SeComment[80];
    std::int32_t SeSeriesCount;
    std::int32_t SeNumberSweeps;    // planned or acquired
    std::int32_t SeAmplStateOffset; // not above 0 when the record holds no amplifier state
    std::int32_t SeAmplStateRef; // child of the amplifier tree, from 1, for files that keep the state there
    std::uint8_t SeKept1, SeKept2;
    double SeTime;
    double SeKept3;
    NameAndUnit SeUserDescr[4]; // only the first 96 bytes are in the file: two entries and half a name
    double SeUserParams[4];     // "Aux1" to "Aux4"
    double SeScanBlock[7];
    std::byte SeScanBlockLast[4];
    std::byte SeAmplifierState[AmplStateBytes];
    char SeUsername[80];
    NameAndUnit SeUserDescr2[4];
    std::int32_t SeCRC;
    double SeUserParams2[4];
    NameAndUnit SeUserDescr3[4];
    std::byte SeScanData[ScanDataBytes]; // zero unless the file's block begins with "SCM"
};

struct VennicSweep {
    std::int32_t SwMark;
    char SwLabel[32];
    std::int32_t SwKept1;
    std::int32_t SwStimCount;  // child of the stimulus tree's root, from 1
    std::int32_t SwSweepCount; // number in the series
    double SwTime;
    double SwTimer;
    double SwUserParams[4]; // "User1", "User2", "Pipette Pressure", "RMS-Noise"
    double SwTemperature;   // degrees Celsius
    std::int32_t SwKept2, SwKept3;
    std::int16_t SwDigitalIn, SwKept4, SwDigitalOut;
    double SwMarkers[4]; // s
    std::int32_t SwCRC;
};

struct VennicTrace {
    std::int32_t TrMark;
    char TrLabel[32];
    std::int32_t TrTraceCount; // number in the sweep, from 1
    std::int32_t TrFileOffset; // of the first sample in the raw data, bytes
    std::int32_t TrDataPoints;
    std::int32_t TrInternalSolution;
    std::int32_t TrAverageCount;
    std::int32_t TrLeakCount;  // trace count of the trace that holds this one's leak, 0 for none
    std::int32_t TrLeakTraces; // leak pulses behind it
    std::int16_t TrDataKind;   // bits below
    std::uint8_t TrRecordingMode;
    std::uint8_t TrAmplifierIndex;
    std::uint8_t TrDataFormat; // 0 int16, 1 int32, 2 real32, 3 real64
    std::uint8_t TrKept1;
    double TrDataFactor; // real value of one raw unit
    double TrTimeOffset;
    double TrZeroData; // zero offset, real units
    char TrYUnit[8];
    double TrXInterval; // x units
    double TrXStart;
    char TrXUnit[8];
    double TrYRange;
    double TrYOffset;
    double TrBandwidth; // Hz
    double TrPipetteResistance;
    double TrCellPotential;
    double TrSealResistance;
    double TrCSlow;
    double TrGSeries; // S; shown as its reciprocal
    double TrRsValue;
    double TrLeakComp;
    double TrMConductance;
    std::int32_t TrDaChannel;
    std::uint8_t TrYRangeKnown; // TrYMin and TrYMax hold the extremes
    std::uint8_t TrKept2;
    std::int16_t TrVirtualKind;
    double TrYMin, TrYMax;
    std::int32_t TrAdcChannel;
    std::int32_t TrExternalSolution;
    double TrKept3, TrKept4, TrKept5;
    std::int32_t TrDataCRC;
    std::int32_t TrCRC;
    double TrKept6;
    std::int32_t TrKept7;
    std::int32_t TrInterleaveSize; // bytes of one block, 0 when not interleaved
    std::int32_t TrInterleaveSkip; // bytes between the starts of two blocks
    double TrMarkers[10];          // s
    // One value: the file's three places are read in turn, and all are written with what is kept.
    double TrScanPosition;

    // Never stored: what is loaded of the trace.
    float* Samples;           // none when nothing is loaded
    Buffer::Heap* SampleHeap; // where Samples came from; none when they belong to someone else
    std::int64_t BufferBytes; // allocated
    double Scale, Offset;     // value = raw * Scale + Offset
    std::int32_t PointsLoaded;
    std::int32_t FirstPoint;  // index of the first loaded point in the trace
    std::uint8_t RamFormat;   // a TrDataFormat value
    std::uint8_t IsTemporary; // the samples lie in the session's temporary file
};

namespace DataKind {
inline constexpr int LittleEndian = 1; // the samples' order, not the tree's
inline constexpr int Leak = 2;
inline constexpr int Virtual = 4;
inline constexpr int CurrentMonitor = 8;
inline constexpr int VoltageMonitor = 16;
inline constexpr int Clipped = 32;
}

namespace VennicTree {

inline constexpr const char* HeapName = "VennicBuf.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

// New records with their defaults. A number above 0 becomes their running count; otherwise the count is the
// last sibling's plus 1. None when there is no memory.
[[nodiscard]] VennicRoot* NewRoot(Tree::Handle* tree, int maxSamples, std::string_view versionName);
[[nodiscard]] VennicGroup* NewGroup(Tree::Handle* tree, VennicRoot* root, int number);
[[nodiscard]] VennicSeries* NewSeries(Tree::Handle* tree, VennicGroup* group, int number);
[[nodiscard]] VennicSweep* NewSweep(Tree::Handle* tree, VennicSeries* series, int number);
[[nodiscard]] VennicTrace* NewTrace(Tree::Handle* tree, VennicSweep* sweep, int number);

// "root", or the running counts from the group down, joined by "_"; "NIL" for no record.
[[nodiscard]] std::string GetTreePosition(const void* record);

// Values as listings show them.
[[nodiscard]] std::string DataKindText(const VennicTrace& trace);
[[nodiscard]] std::string_view DataFormatText(int format);
[[nodiscard]] std::string_view RecordingModeText(int mode);
[[nodiscard]] bool IsVirtual(const VennicTrace& trace);

}
