#include "trees/analysis_tree.h"

namespace AnalysisTree {

namespace {

using namespace Conversion;

constexpr Field RootFields[] = {
    Int32("Version", 0, offsetof(AnalysisRoot, Version)),
    Int32("Mark", 4, offsetof(AnalysisRoot, Mark)),
    Check("CRC", 12, offsetof(AnalysisRoot, CRC)),
};

constexpr std::size_t NameBytes = ResultCount * 32;
constexpr std::size_t UnitBytes = 8;
constexpr std::size_t ValueBytes = ResultCount * sizeof(FitParam);

// In both levels the result values share the place of the first ten names, in every file there is. They are
// moved last, so that a stored file holds the values, and a loaded record has them in both fields.
constexpr Field GroupFields[] = {
    Int32("Mark", 0, offsetof(AnalysisGroup, Mark)),
    Real64("Time", 8, offsetof(AnalysisGroup, Time), "s"),
    Int16("FitType", 16, offsetof(AnalysisGroup, FitType)),
    Block(Kind::Bytes, "ResultNames", 24, offsetof(AnalysisGroup, ResultNames), NameBytes),
    Text("ResultUnits", 664, offsetof(AnalysisGroup, ResultUnits), UnitBytes, ResultCount),
    Block(Kind::FitParams, "ResultValues", 24, offsetof(AnalysisGroup, ResultValues), ValueBytes),
    Check("CRC", 1148, offsetof(AnalysisGroup, CRC)),
};

constexpr Field SeriesFields[] = {
    Real64("Time", 0, offsetof(AnalysisSeries, Time), "s"),
    Int16("FitType", 8, offsetof(AnalysisSeries, FitType)),
    Text("Equation", 16, offsetof(AnalysisSeries, Equation), 256),
    Block(Kind::Bytes, "ResultNames", 272, offsetof(AnalysisSeries, ResultNames), NameBytes),
    Text("ResultUnits", 912, offsetof(AnalysisSeries, ResultUnits), UnitBytes, ResultCount),
    Block(Kind::FitParams, "ResultValues", 272, offsetof(AnalysisSeries, ResultValues), ValueBytes),
    Check("CRC", 1396, offsetof(AnalysisSeries, CRC)),
};

constexpr Field RecordFields[] = {
    Real64("Time", 0, offsetof(AnalysisRecord, Time), "s"),
    Int16("FitType", 8, offsetof(AnalysisRecord, FitType)),
    Text("Text", 16, offsetof(AnalysisRecord, Text), 256),
    Int16("EntryCount", 272, offsetof(AnalysisRecord, EntryCount)),
    Int16("Trace", 274, offsetof(AnalysisRecord, Trace)),
    Int16("SegOffset", 278, offsetof(AnalysisRecord, SegOffset)),
    Real64("LeftBound", 280, offsetof(AnalysisRecord, LeftBound)),
    Real64("RightBound", 288, offsetof(AnalysisRecord, RightBound)),
    Text("OnlineName", 296, offsetof(AnalysisRecord, OnlineName), 32),
    Int16("OnlineCount", 328, offsetof(AnalysisRecord, OnlineCount)),
    Byte("Cyclic", 330, offsetof(AnalysisRecord, Cyclic)),
    Int16("Cycles", 332, offsetof(AnalysisRecord, Cycles)),
    Int16("CycleSegSkip", 334, offsetof(AnalysisRecord, CycleSegSkip)),
    Check("CRC", 340, offsetof(AnalysisRecord, CRC)),
};

constexpr Field EntryFields[] = {
    Text("Name", 0, offsetof(AnalysisEntry, Name), 32),
    Text("Unit", 32, offsetof(AnalysisEntry, Unit), 8),
    Check("CRC", 44, offsetof(AnalysisEntry, CRC)),
};

constexpr Field ValueFields[] = {
    Real64("Value", 0, offsetof(AnalysisValue, Value)),
    Byte("State", 8, offsetof(AnalysisValue, State)),
    Byte("Store", 9, offsetof(AnalysisValue, Store)),
    Check("CRC", 20, offsetof(AnalysisValue, CRC)),
};

constexpr Field CycleValueFields[] = {
    Real64("Value", 0, offsetof(AnalysisCycleValue, Value)),
    Byte("State", 8, offsetof(AnalysisCycleValue, State)),
    Check("CRC", 12, offsetof(AnalysisCycleValue, CRC)),
};

constexpr bool NoMark = false;

constexpr RecordTree::LevelLayout Levels[] = {
    {"AnalysisRoot", 16, sizeof(AnalysisRoot), RootFields},
    {"AnalysisGroup", 1152, sizeof(AnalysisGroup), GroupFields},
    {"AnalysisSeries", 1400, sizeof(AnalysisSeries), SeriesFields, NoMark},
    {"AnalysisRecord", 344, sizeof(AnalysisRecord), RecordFields, NoMark},
    {"AnalysisEntry", 48, sizeof(AnalysisEntry), EntryFields, NoMark},
    {"AnalysisValue", 24, sizeof(AnalysisValue), ValueFields, NoMark},
    {"AnalysisCycleValue", 16, sizeof(AnalysisCycleValue), CycleValueFields, NoMark},
};
static_assert(EndOf(GroupFields) == 1152 && EndOf(SeriesFields) == 1400 && EndOf(RecordFields) == 344 &&
              EndOf(EntryFields) == 48 && EndOf(ValueFields) == 24 && EndOf(CycleValueFields) == 16);

constexpr std::int32_t VersionWritten = 1;
constexpr std::int16_t OtherProductVersion = 5; // a 16-bit word at the same place

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = [](void* record) { static_cast<AnalysisRoot*>(record)->Version = VersionWritten; }},
    {},
    {},
    {},
    {},
    {},
    {},
};

RecordTree::Verdict Judge(std::int32_t version, const std::byte* rootImage, bool swap) {
    if (version == VersionWritten) return RecordTree::Verdict::Accept;
    const auto word = Bytes::Load<std::uint16_t>(rootImage);
    if ((swap ? Bytes::Swapped(word) : word) == OtherProductVersion) return RecordTree::Verdict::OtherProduct;
    return RecordTree::Verdict::Unknown;
}

}

const RecordTree::TreeFormat Format = {
    .Extension = ".ana",
    .Title = "Analysis",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = RecordTree::ReadVersion32,
    .Judge = Judge,
    .VersionWord = " \"Qorvanite\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal QorvaniteDef.Tree level!",
    .CheckFailed = "Loading QorvaniteDef Tree: CRC error !",
    .OtherProduct = "This is a MirelleFit analysis file! \nIt is incompatible with Qorvanite.",
    .Refused = RecordTree::LoadState::Cancelled,
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

}
