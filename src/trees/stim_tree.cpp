#include "trees/stim_tree.h"

namespace StimTree {

namespace {

using namespace Conversion;

// In file order, but for the root's version ahead of its mark as in every tree.
constexpr Field RootFields[] = {
    Int32("StVersion", 0, offsetof(StimRoot, StVersion)),
    Int32("StMark", 4, offsetof(StimRoot, StMark)),
    Text("StVersionName", 8, offsetof(StimRoot, StVersionName), 32),
    Int32("StMaxSamples", 40, offsetof(StimRoot, StMaxSamples)),
    Real64("StParams", 48, offsetof(StimRoot, StParams), "", StimParamCount),
    Text("StParamText", 128, offsetof(StimRoot, StParamText), 32, StimParamCount),
    Text("StReserved", 448, offsetof(StimRoot, StReserved), 128),
    Check("StCRC", 580, offsetof(StimRoot, StCRC)),
};

constexpr Field StimulationFields[] = {
    Int32("SsMark", 0, offsetof(StimStimulation, SsMark)),
    Text("SsEntryName", 4, offsetof(StimStimulation, SsEntryName), 32),
    Text("SsFileName", 36, offsetof(StimStimulation, SsFileName), 32),
    Text("SsAnalName", 68, offsetof(StimStimulation, SsAnalName), 32),
    Int32("SsDataStartSegment", 100, offsetof(StimStimulation, SsDataStartSegment)),
    Real64("SsDataStartTime", 104, offsetof(StimStimulation, SsDataStartTime), "s"),
    Real64("SsSampleInterval", 112, offsetof(StimStimulation, SsSampleInterval), "s"),
    Real64("SsSweepInterval", 120, offsetof(StimStimulation, SsSweepInterval), "s"),
    Real64("SsLeakDelay", 128, offsetof(StimStimulation, SsLeakDelay), "s"),
    Real64("SsKept1", 136, offsetof(StimStimulation, SsKept1)),
    Int32("SsNumberSweeps", 144, offsetof(StimStimulation, SsNumberSweeps)),
    Int32("SsNumberLeaks", 148, offsetof(StimStimulation, SsNumberLeaks)),
    Int32("SsAverages", 152, offsetof(StimStimulation, SsAverages)),
    Int32("SsKept2", 156, offsetof(StimStimulation, SsKept2), 2),
    Byte("SsExtTrigger", 164, offsetof(StimStimulation, SsExtTrigger)),
    Byte("SsKept3", 165, offsetof(StimStimulation, SsKept3)),
    Byte("SsUseScanRates", 166, offsetof(StimStimulation, SsUseScanRates)),
    Byte("SsKept4", 167, offsetof(StimStimulation, SsKept4)),
    Byte("SsKept5", 168, offsetof(StimStimulation, SsKept5)),
    Byte("SsHtTemplate", 171, offsetof(StimStimulation, SsHtTemplate)),
    Byte("SsKept6", 172, offsetof(StimStimulation, SsKept6), 2),
    Byte("SsAutoRange", 174, offsetof(StimStimulation, SsAutoRange)),
    Check("SsCRC", 244, offsetof(StimStimulation, SsCRC)),
};

constexpr Field ChannelFields[] = {
    Int32("ChMark", 0, offsetof(StimChannel, ChMark)),
    Int32("ChLinkedChannel", 4, offsetof(StimChannel, ChLinkedChannel)),
    Int32("ChAdcChannel", 8, offsetof(StimChannel, ChAdcChannel)),
    Text("ChAdcUnit", 12, offsetof(StimChannel, ChAdcUnit), 8),
    Int16("ChDacMode", 20, offsetof(StimChannel, ChDacMode)),
    Byte("ChKept1", 22, offsetof(StimChannel, ChKept1)),
    Byte("ChKept2", 23, offsetof(StimChannel, ChKept2)),
    Byte("ChKept3", 24, offsetof(StimChannel, ChKept3)),
    Byte("ChOwnTime", 25, offsetof(StimChannel, ChOwnTime)),
    Byte("ChOwnSegTime", 26, offsetof(StimChannel, ChOwnSegTime)),
    Byte("ChSetLastSegAmpl", 27, offsetof(StimChannel, ChSetLastSegAmpl)),
    Int16("ChDacChannel", 28, offsetof(StimChannel, ChDacChannel)),
    Byte("ChAmplMode", 30, offsetof(StimChannel, ChAmplMode)),
    Int32("ChRelX", 32, offsetof(StimChannel, ChRelX)),
    Int32("ChRelY", 36, offsetof(StimChannel, ChRelY)),
    Text("ChDacUnit", 40, offsetof(StimChannel, ChDacUnit), 8),
    Real64("ChHolding", 48, offsetof(StimChannel, ChHolding)),
    Real64("ChLeakHolding", 56, offsetof(StimChannel, ChLeakHolding)),
    Real64("ChLeakSize", 64, offsetof(StimChannel, ChLeakSize)),
    Byte("ChLeakStore", 72, offsetof(StimChannel, ChLeakStore)),
    Byte("ChLeakHoldMode", 73, offsetof(StimChannel, ChLeakHoldMode)),
    Byte("ChLeakAlternate", 74, offsetof(StimChannel, ChLeakAlternate)),
    Byte("ChLeakActive", 75, offsetof(StimChannel, ChLeakActive)),
    Int16("ChStimFlags", 76, offsetof(StimChannel, ChStimFlags)),
    Int16("ChCompFlags", 78, offsetof(StimChannel, ChCompFlags)),
    Int32("ChCompSkip", 80, offsetof(StimChannel, ChCompSkip)),
    Byte("ChCompMode", 84, offsetof(StimChannel, ChCompMode)),
    Byte("ChKept4", 85, offsetof(StimChannel, ChKept4)),
    Int16("ChCompFactor", 86, offsetof(StimChannel, ChCompFactor)),
    Int32("ChKept5", 88, offsetof(StimChannel, ChKept5)),
    Real64("ChSquareParams", 96, offsetof(StimChannel, ChSquareParams), "", 8),
    Int32("ChSquareKinds", 160, offsetof(StimChannel, ChSquareKinds), 8),
    Block(Kind::Bytes, "ChKept6", 192, offsetof(StimChannel, ChKept6), 8),
    Real64("ChKept7", 200, offsetof(StimChannel, ChKept7)),
    Real64("ChScaleFactor", 208, offsetof(StimChannel, ChScaleFactor)),
    Byte("ChKept8", 216, offsetof(StimChannel, ChKept8)),
    Int32("ChCompOffset", 248, offsetof(StimChannel, ChCompOffset)),
    Int32("ChKept9", 252, offsetof(StimChannel, ChKept9)),
    Real64("ChKept10", 256, offsetof(StimChannel, ChKept10)),
    Text("ChBuildInstruction", 264, offsetof(StimChannel, ChBuildInstruction), 128),
    Check("ChCRC", 396, offsetof(StimChannel, ChCRC)),
};

constexpr Field SegmentFields[] = {
    Int32("SgMark", 0, offsetof(StimSegment, SgMark)),
    Byte("SgClass", 4, offsetof(StimSegment, SgClass)),
    Byte("SgStoreKind", 5, offsetof(StimSegment, SgStoreKind)),
    Byte("SgVoltageIncMode", 6, offsetof(StimSegment, SgVoltageIncMode)),
    Byte("SgDurationIncMode", 7, offsetof(StimSegment, SgDurationIncMode)),
    Real64("SgVoltage", 8, offsetof(StimSegment, SgVoltage)),
    Int32("SgVoltageSource", 16, offsetof(StimSegment, SgVoltageSource)),
    Real64("SgDeltaVFactor", 20, offsetof(StimSegment, SgDeltaVFactor)),
    Real64("SgDeltaVIncrement", 28, offsetof(StimSegment, SgDeltaVIncrement)),
    Real64("SgDuration", 36, offsetof(StimSegment, SgDuration), "s"),
    Int32("SgDurationSource", 44, offsetof(StimSegment, SgDurationSource)),
    Real64("SgDeltaTFactor", 48, offsetof(StimSegment, SgDeltaTFactor)),
    Real64("SgDeltaTIncrement", 56, offsetof(StimSegment, SgDeltaTIncrement), "s"),
    Check("SgCRC", 68, offsetof(StimSegment, SgCRC)),
    Real64("SgScanRate", 72, offsetof(StimSegment, SgScanRate)),
};

constexpr RecordTree::LevelLayout Levels[] = {
    {"StimRoot", 584, sizeof(StimRoot), RootFields},
    {"StimStimulation", 248, sizeof(StimStimulation), StimulationFields},
    {"StimChannel", 400, sizeof(StimChannel), ChannelFields},
    {"StimSegment", 80, sizeof(StimSegment), SegmentFields},
};
static_assert(EndOf(RootFields) <= 584 && EndOf(StimulationFields) <= 248 && EndOf(ChannelFields) <= 400 &&
              EndOf(SegmentFields) <= 80);

constexpr std::int32_t VersionWritten = 9;

constexpr RecordTree::LevelSteps Steps[] = {
    {.BeforeWrite = [](void* record) { static_cast<StimRoot*>(record)->StVersion = VersionWritten; }},
    {},
    {},
    {},
};

}

const RecordTree::TreeFormat Format = {
    .Extension = ".pgf",
    .Title = "Stim",
    .Levels = Levels,
    .Steps = Steps,
    .ReadVersion = RecordTree::ReadVersion32,
    .Judge = RecordTree::JudgeDataSetVersion,
    .VersionWord = " \"pgf\"-file version (v",
    .IllegalLevel = "Fatal error: Illegal Stim.Tree level!",
    .CheckFailed = "Loading Stim Tree: CRC error !",
};

RecordTree::LoadReport LastLoad;

Tree::Handle* Define(std::string_view heapName, const RecordTree::LoadOptions& options) {
    return RecordTree::Define(Format, heapName, LastLoad, options);
}

}
