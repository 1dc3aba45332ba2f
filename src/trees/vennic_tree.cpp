#include "trees/vennic_tree.h"

#include "base/text.h"
#include "base/time_scale.h"

#include <cstdio>
#include <cstring>

namespace VennicTree {

namespace {

using namespace Conversion;

constexpr Field RootFields[] = {
    Int32("RoVersion", 0, offsetof(VennicRoot, RoVersion)),
    Int32("RoMark", 4, offsetof(VennicRoot, RoMark)),
    Text("RoVersionName", 8, offsetof(VennicRoot, RoVersionName), 32),
    Text("RoAuxName", 40, offsetof(VennicRoot, RoAuxName), 80),
    Text("RoText", 120, offsetof(VennicRoot, RoText), 400),
    Real64("RoStartTime", 520, offsetof(VennicRoot, RoStartTime), "s"),
    Int32("RoMaxSamples", 528, offsetof(VennicRoot, RoMaxSamples)),
    Check("RoCRC", 532, offsetof(VennicRoot, RoCRC)),
    Int16("RoFlags", 536, offsetof(VennicRoot, RoFlags)),
};

constexpr Field GroupFields[] = {
    Int32("GrMark", 0, offsetof(VennicGroup, GrMark)),
    Text("GrLabel", 4, offsetof(VennicGroup, GrLabel), 32),
    Text("GrText", 36, offsetof(VennicGroup, GrText), 80),
    Int32("GrExperimentNumber", 116, offsetof(VennicGroup, GrExperimentNumber)),
    Int32("GrGroupCount", 120, offsetof(VennicGroup, GrGroupCount)),
    Check("GrCRC", 124, offsetof(VennicGroup, GrCRC)),
};

// The amplifier state lies where SeAmplStateOffset says, and the scan data count only behind their signature:
// both are moved by the steps below.
constexpr Field SeriesFields[] = {
    Int32("SeMark", 0, offsetof(VennicSeries, SeMark)),
    Text("SeLabel", 4, offsetof(VennicSeries, SeLabel), 32),
    Text("SeComment", 36, offsetof(VennicSeries, SeComment), 80),
    Int32("SeSeriesCount", 116, offsetof(VennicSeries, SeSeriesCount)),
    Int32("SeNumberSweeps", 120, offsetof(VennicSeries, SeNumberSweeps)),
    Int32("SeAmplStateOffset", 124, offsetof(VennicSeries, SeAmplStateOffset)),
    Int32("SeAmplStateRef", 128, offsetof(VennicSeries, SeAmplStateRef)),
    Byte("SeKept1", 132, offsetof(VennicSeries, SeKept1)),
    Byte("SeKept2", 133, offsetof(VennicSeries, SeKept2)),
    Real64("SeTime", 136, offsetof(VennicSeries, SeTime), "s"),
    Real64("SeKept3", 144, offsetof(VennicSeries, SeKept3)),
    Block(Kind::NameUnits, "SeUserDescr", 152, offsetof(VennicSeries, SeUserDescr), 96),
    Real64("SeUserParams", 344, offsetof(VennicSeries, SeUserParams), "", 4),
    Real64("SeScanBlock", 376, offsetof(VennicSeries, SeScanBlock), "", 7),
    Block(Kind::Bytes, "SeScanBlockLast", 440, offsetof(VennicSeries, SeScanBlockLast), 4),
    Block(Kind::Foreign, "SeAmplifierState", AmplStateAt, offsetof(VennicSeries, SeAmplifierState),
          AmplStateBytes),
    Text("SeUsername", 872, offsetof(VennicSeries, SeUsername), 80),
    Block(Kind::NameUnits, "SeUserDescr2", 952, offsetof(VennicSeries, SeUserDescr2), 96),
    Check("SeCRC", 1116, offsetof(VennicSeries, SeCRC)),
    Real64("SeUserParams2", 1120, offsetof(VennicSeries, SeUserParams2), "", 4),
    Block(Kind::NameUnits, "SeUserDescr3", 1152, offsetof(VennicSeries, SeUserDescr3), 96),
    Block(Kind::Foreign, "SeScanData", ScanDataAt, offsetof(VennicSeries, SeScanData), ScanDataBytes),
};

constexpr Field SweepFields[] = {
    Int32("SwMark", 0, offsetof(VennicSweep, SwMark)),
    Text("SwLabel", 4, offsetof(VennicSweep, SwLabel), 32),
    Int32("SwKept1", 36, offsetof(VennicSweep, SwKept1)),
    Int32("SwStimCount", 40, offsetof(VennicSweep, SwStimCount)),
    Int32("SwSweepCount", 44, offsetof(VennicSweep, SwSweepCount)),
    Real64("SwTime", 48, offsetof(VennicSweep, SwTime), "s"),
    Real64("SwTimer", 56, offsetof(VennicSweep, SwTimer), "s"),
    Real64("SwUserParams", 64, offsetof(VennicSweep, SwUserParams), "", 4),
    Real64("SwTemperature", 96, offsetof(VennicSweep, SwTemperature), "C"),
    Int32("SwKept2", 104, offsetof(VennicSweep, SwKept2)),
    Int32("SwKept3", 108, offsetof(VennicSweep, SwKept3)),
    Int16("SwDigitalIn", 112, offsetof(VennicSweep, SwDigitalIn)),
    Int16("SwKept4", 114, offsetof(VennicSweep, SwKept4)),
    Int16("SwDigitalOut", 116, offsetof(VennicSweep, SwDigitalOut)),
    Real64("SwMarkers", 120, offsetof(VennicSweep, SwMarkers), "s", 4),
    Check("SwCRC", 156, offsetof(VennicSweep, SwCRC)),
};

constexpr Field TraceFields[] = {
    Int32("TrMark", 0, offsetof(VennicTrace, TrMark)),
    Text("TrLabel", 4, offsetof(VennicTrace, TrLabel), 32),
    Int32("TrTraceCount", 36, offsetof(VennicTrace, TrTraceCount)),
    Int32("TrFileOffset", 40, offsetof(VennicTrace, TrFileOffset)),
    Int32("TrDataPoints", 44, offsetof(VennicTrace, TrDataPoints)),
    Int32("TrInternalSolution", 48, offsetof(VennicTrace, TrInternalSolution)),
    Int32("TrAverageCount", 52, offsetof(VennicTrace, TrAverageCount)),
    Int32("TrLeakCount", 56, offsetof(VennicTrace, TrLeakCount)),
    Int32("TrLeakTraces", 60, offsetof(VennicTrace, TrLeakTraces)),
    Int16("TrDataKind", 64, offsetof(VennicTrace, TrDataKind)),
    Byte("TrRecordingMode", 68, offsetof(VennicTrace, TrRecordingMode)),
    Byte("TrAmplifierIndex", 69, offsetof(VennicTrace, TrAmplifierIndex)),
    Byte("TrDataFormat", 70, offsetof(VennicTrace, TrDataFormat)),
    Byte("TrKept1", 71, offsetof(VennicTrace, TrKept1)),
    Real64("TrDataFactor", 72, offsetof(VennicTrace, TrDataFactor)),
    Real64("TrTimeOffset", 80, offsetof(VennicTrace, TrTimeOffset), "s"),
    Real64("TrZeroData", 88, offsetof(VennicTrace, TrZeroData)),
    Text("TrYUnit", 96, offsetof(VennicTrace, TrYUnit), 8),
    Real64("TrXInterval", 104, offsetof(VennicTrace, TrXInterval)),
    Real64("TrXStart", 112, offsetof(VennicTrace, TrXStart)),
    Text("TrXUnit", 120, offsetof(VennicTrace, TrXUnit), 8),
    Real64("TrYRange", 128, offsetof(VennicTrace, TrYRange)),
    Real64("TrYOffset", 136, offsetof(VennicTrace, TrYOffset)),
    Real64("TrBandwidth", 144, offsetof(VennicTrace, TrBandwidth), "Hz"),
    Real64("TrPipetteResistance", 152, offsetof(VennicTrace, TrPipetteResistance), "Ohm"),
    Real64("TrCellPotential", 160, offsetof(VennicTrace, TrCellPotential), "V"),
    Real64("TrSealResistance", 168, offsetof(VennicTrace, TrSealResistance), "Ohm"),
    Real64("TrCSlow", 176, offsetof(VennicTrace, TrCSlow), "F"),
    Real64("TrGSeries", 184, offsetof(VennicTrace, TrGSeries), "S"),
    Real64("TrRsValue", 192, offsetof(VennicTrace, TrRsValue), "Ohm"),
    Real64("TrLeakComp", 200, offsetof(VennicTrace, TrLeakComp), "S"),
    Real64("TrMConductance", 208, offsetof(VennicTrace, TrMConductance), "S"),
    Int32("TrDaChannel", 216, offsetof(VennicTrace, TrDaChannel)),
    Byte("TrYRangeKnown", 220, offsetof(VennicTrace, TrYRangeKnown)),
    Byte("TrKept2", 221, offsetof(VennicTrace, TrKept2)),
    Int16("TrVirtualKind", 222, offsetof(VennicTrace, TrVirtualKind)),
    Real64("TrYMin", 224, offsetof(VennicTrace, TrYMin)),
    Real64("TrYMax", 232, offsetof(VennicTrace, TrYMax)),
    Int32("TrAdcChannel", 240, offsetof(VennicTrace, TrAdcChannel)),
    Int32("TrExternalSolution", 244, offsetof(VennicTrace, TrExternalSolution)),
    Real64("TrKept3", 248, offsetof(VennicTrace, TrKept3)),
    Real64("TrKept4", 256, offsetof(VennicTrace, TrKept4)),
    Real64("TrKept5", 264, offsetof(VennicTrace, TrKept5)),
    Int32("TrDataCRC", 272, offsetof(VennicTrace, TrDataCRC)),
    Check("TrCRC", 276, offsetof(VennicTrace, TrCRC)),
    Real64("TrKept6", 280, offsetof(VennicTrace, TrKept6)),
    Int32("TrKept7", 288, offsetof(VennicTrace, TrKept7)),
    Int32("TrInterleaveSize", 292, offsetof(VennicTrace, TrInterleaveSize)),
    Int32("TrInterleaveSkip", 296, offsetof(VennicTrace, TrInterleaveSkip)),
    Real64("TrMarkers", 304, offsetof(VennicTrace, TrMarkers), "s", 10),
    Real64("TrScanPosition", 384, offsetof(VennicTrace, TrScanPosition)),
    Real64("TrScanPosition", 392, offsetof(VennicTrace, TrScanPosition)),
    Real64("TrScanPosition", 400, offsetof(VennicTrace, TrScanPosition)),
};

constexpr RecordTree::LevelLayout Levels[] = {
    {"VennicRoot", 544, sizeof(VennicRoot), RootFields},
    {"VennicGroup", 128, sizeof(VennicGroup), GroupFields},
    {"VennicSeries", 1408, sizeof(VennicSeries), SeriesFields},
    {"VennicSweep", 160, sizeof(VennicSweep), SweepFields},
    {"VennicTrace", 408, sizeof(VennicTrace), TraceFields},
};
static_assert(EndOf(RootFields) <= 544 && EndOf(GroupFields) <= 128 && EndOf(SeriesFields) <= 1408 &&
              EndOf(SweepFields) <= 160 && EndOf(TraceFields) <= 408);

constexpr std::int32_t VersionWritten = 9;
constexpr char ScanSignature[3] = {'S', 'C', 'M'};

void WriteRootVersion(void* record) {
    static_cast<VennicRoot*>(record)->RoVersion = VersionWritten;
}

void ReadSeriesBlocks(void* record, const std::byte* image, bool) {
    auto& series = *static_cast<VennicSeries*>(record);
    constexpr std::int32_t lastOffset = 1408 - static_cast<std::int32_t>(AmplStateBytes);
    if (series.SeAmplStateOffset > 0 && series.SeAmplStateOffset <= lastOffset)
        std::memcpy(series.SeAmplifierState, image + series.SeAmplStateOffset, AmplStateBytes);
    if (std::memcmp(image + ScanDataAt, ScanSignature, sizeof ScanSignature) == 0)
        std::memcpy(series.SeScanData, image + ScanDataAt, ScanDataBytes);
}

void WriteSeriesBlocks(const void* record, std::byte* image) {
    const auto& series = *static_cast<const VennicSeries*>(record);
    std::memcpy(image + AmplStateAt, series.SeAmplifierState, AmplStateBytes);
    std::memcpy(image + ScanDataAt, series.SeScanData, ScanDataBytes);
}

void WriteSeriesOffset(void* record) {
    static_cast<VennicSeries*>(record)->SeAmplStateOffset = AmplStateAt;
}

// A copy has no samples of its own yet.
void ForgetSamples(void* record) {
    auto& trace = *static_cast<VennicTrace*>(record);
    trace.Samples = nullptr;
    trace.SampleHeap = nullptr;
    trace.BufferBytes = 0;
    trace.PointsLoaded = trace.FirstPoint = 0;
}

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = WriteRootVersion},
    {},
    {.AfterRead = ReadSeriesBlocks, .BeforeWrite = WriteSeriesOffset, .AfterWrite = WriteSeriesBlocks},
    {},
    {.Copied = ForgetSamples},
};

constexpr std::string_view VirtualNames[] = {"LockIn_CM",   "LockIn_GM",   "LockIn_GS",  "LockIn_Real",
                                             "LockIn_Imag", "LockIn_DC",   "LockIn_Avg", "LockIn_CV",
                                             "LockIn_GP",   "LockIn_Admit"};

// The running count of a new record, and of the sibling before it.
template <class T>
int NextCount(void* parent, int number, std::int32_t T::*count) {
    if (number > 0) return number;
    const int siblings = Tree::ChildCount(parent) - 1;
    const T* const last = Tree::ChildAs<T>(parent, siblings);
    return last ? last->*count + 1 : siblings + 1;
}

template <class T>
T* AppendCounted(Tree::Handle* tree, void* parent, int number, std::int32_t T::*count) {
    auto* const record = parent ? static_cast<T*>(Tree::Append(tree, parent)) : nullptr;
    if (record) record->*count = NextCount<T>(parent, number, count);
    return record;
}

int CountOf(const void* record) {
    switch (Tree::Level(record)) {
    case 1: return static_cast<const VennicGroup*>(record)->GrGroupCount;
    case 2: return static_cast<const VennicSeries*>(record)->SeSeriesCount;
    case 3: return static_cast<const VennicSweep*>(record)->SwSweepCount;
    default: return static_cast<const VennicTrace*>(record)->TrTraceCount;
    }
}

}

const RecordTree::TreeFormat Format = {
    .Extension = ".vnc",
    .Title = "Vennic",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = RecordTree::ReadVersion32,
    .Judge = RecordTree::JudgeDataSetVersion,
    .VersionWord = " \"vnc\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal Vennic.Tree level!",
    .CheckFailed = "Loading Vennic Tree: CRC error !",
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

VennicRoot* NewRoot(Tree::Handle* tree, int maxSamples, std::string_view versionName) {
    auto* const root = static_cast<VennicRoot*>(Tree::Append(tree, nullptr));
    if (!root) return nullptr;
    root->RoVersion = VersionWritten;
    root->RoStartTime = TimeScale::Now();
    root->RoMaxSamples = maxSamples;
    root->RoFlags = 1;
    Texts::ToField(root->RoVersionName, versionName);
    return root;
}

VennicGroup* NewGroup(Tree::Handle* tree, VennicRoot* root, int number) {
    VennicGroup* const group = AppendCounted(tree, root, number, &VennicGroup::GrGroupCount);
    if (!group) return nullptr;
    group->GrExperimentNumber = group->GrGroupCount;
    Texts::ToField(group->GrLabel, "E-" + std::to_string(group->GrExperimentNumber));
    return group;
}

VennicSeries* NewSeries(Tree::Handle* tree, VennicGroup* group, int number) {
    VennicSeries* const series = AppendCounted(tree, group, number, &VennicSeries::SeSeriesCount);
    if (series) series->SeScanBlock[6] = 1.0;
    return series;
}

VennicSweep* NewSweep(Tree::Handle* tree, VennicSeries* series, int number) {
    return AppendCounted(tree, series, number, &VennicSweep::SwSweepCount);
}

VennicTrace* NewTrace(Tree::Handle* tree, VennicSweep* sweep, int number) {
    VennicTrace* const trace = AppendCounted(tree, sweep, number, &VennicTrace::TrTraceCount);
    if (!trace) return nullptr;
    Texts::ToField(trace->TrLabel, "Trace" + std::to_string(trace->TrTraceCount));
    Texts::ToField(trace->TrYUnit, "V");
    Texts::ToField(trace->TrXUnit, "s");
    trace->TrAverageCount = 1;
    trace->TrRecordingMode = 6;
    trace->TrDataFactor = 1.0;
    trace->TrYRange = 1.0;
    trace->TrBandwidth = 1000000;
    return trace;
}

std::string GetTreePosition(const void* record) {
    if (!record) return "NIL";
    const int level = Tree::Level(record);
    if (level == 0) return "root";
    if (level > 4) return "???";
    std::string text;
    for (int steps = level - 1; steps >= 0; --steps) {
        if (!text.empty()) text += '_';
        text += std::to_string(CountOf(Tree::Ancestor(record, steps)));
    }
    return text;
}

bool IsVirtual(const VennicTrace& trace) {
    return (trace.TrDataKind & DataKind::Virtual) != 0 && trace.TrVirtualKind >= 1 &&
           trace.TrVirtualKind <= 10;
}

std::string DataKindText(const VennicTrace& trace) {
    std::string text;
    if (trace.TrDataKind & DataKind::Leak) {
        text = "Leak";
    } else if (trace.TrDataKind & DataKind::Virtual) {
        text = IsVirtual(trace) ? VirtualNames[trace.TrVirtualKind - 1] : "Virtual";
    } else {
        text = "Main";
        if (trace.TrDataKind & DataKind::CurrentMonitor) text += "-Imon";
        if (trace.TrDataKind & DataKind::VoltageMonitor) text += "-Vmon";
    }
    const bool little = (trace.TrDataKind & DataKind::LittleEndian) != 0;
    if (little != Bytes::MachineIsLittle) text += "-Swap";
    return text;
}

std::string_view DataFormatText(int format) {
    constexpr std::string_view Names[] = {"2-byte integer", "4-byte integer", "4-byte real", "8-byte real"};
    return format >= 0 && format < 4 ? Names[format] : "illegal format";
}

std::string_view RecordingModeText(int mode) {
    constexpr std::string_view Names[] = {"In-Out", "On-Cell", "Out-Out", "Whole-Cell", "C-Clamp"};
    return mode >= 0 && mode < 5 ? Names[mode] : "-------";
}

}
