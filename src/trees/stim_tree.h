// The stimulus tree (.pgf): what was applied in a recording.
// Four levels: root, stimulations, the channels of a stimulation, the segments of a channel. A sweep names
// its stimulation by its position below the root.
//
// The records here are the RAM form; the field lists say where each field lies in the file. Fields named
// Kept carry no behaviour in this program and survive a load and a store.
#pragma once
#include "trees/conversion.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t StimParamCount = 10;

struct StimRoot {
    std::int32_t StMark;
    std::int32_t StVersion; // 9 in files written here
    char StVersionName[32]; // program that wrote the file
    std::int32_t StMaxSamples;
    double StParams[StimParamCount]; // values that segments may take their voltage or duration from
    char StParamText[StimParamCount][32];
    char StReserved[128];
    std::int32_t StCRC;
};

struct StimStimulation {
    std::int32_t SsMark;
    char SsEntryName[32];
    char SsFileName[32]; // of the template for channels that play one
    char SsAnalName[32];
    std::int32_t SsDataStartSegment; // first stored segment, from 1; 0 none
    double SsDataStartTime;          // s, wait before the first sweep
    double SsSampleInterval;         // s
    double SsSweepInterval;          // s
    double SsLeakDelay;              // s
    double SsKept1;
    std::int32_t SsNumberSweeps; // the N of the increment modes
    std::int32_t SsNumberLeaks;
    std::int32_t SsAverages;
    std::int32_t SsKept2[2];
    std::uint8_t SsExtTrigger; // 0 none, 1 series, 2 sweeps with leaks, 3 first sweep only
    std::uint8_t SsKept3;
    std::uint8_t SsUseScanRates; // not 0: ramps state their rate instead of their duration
    std::uint8_t SsKept4;
    std::uint8_t SsKept5;
    std::uint8_t SsHtTemplate; // 1 for sequential sweeps, 2 for sequential series
    std::uint8_t SsKept6[2];
    std::uint8_t SsAutoRange;
    std::int32_t SsCRC;
};

struct StimChannel {
    std::int32_t ChMark;
    std::int32_t ChLinkedChannel; // position of the channel whose timing this one shares
    std::int32_t ChAdcChannel;
    char ChAdcUnit[8];
    std::int16_t ChDacMode; // 0 analog, 1 digital, 2 digital bits, 3 digital bit by sign
    std::uint8_t ChKept1;
    std::uint8_t ChKept2;
    std::uint8_t ChKept3;
    std::uint8_t ChOwnTime;
    std::uint8_t ChOwnSegTime;
    std::uint8_t ChSetLastSegAmpl;
    std::int16_t ChDacChannel; // of a digital kind: the bit
    std::uint8_t ChAmplMode;   // 0 voltage clamp, 1 current clamp
    std::int32_t ChRelX;       // relevant segment, from 1, of x values
    std::int32_t ChRelY;       // and of y values
    char ChDacUnit[8];
    double ChHolding; // in the unit of the stimulus
    double ChLeakHolding;
    double ChLeakSize;
    std::uint8_t ChLeakStore; // 0 none, 1 average, 2 all, 3 not stored
    std::uint8_t ChLeakHoldMode;
    std::uint8_t ChLeakAlternate;
    std::uint8_t ChLeakActive;
    std::int16_t ChStimFlags; // bits: StimFlags
    std::int16_t ChCompFlags; // bit 2: filter on
    std::int32_t ChCompSkip;
    std::uint8_t ChCompMode;
    std::uint8_t ChKept4;
    std::int16_t ChCompFactor;
    std::int32_t ChKept5;
    double ChSquareParams[8];      // 0 period in s, 1 amplitude, 2 reversal potential
    std::int32_t ChSquareKinds[8]; // 0 skip
    std::uint8_t ChKept6[8];
    double ChKept7;
    double ChScaleFactor;
    std::uint8_t ChKept8;
    std::int32_t ChCompOffset;
    std::int32_t ChKept9;
    double ChKept10;
    char ChBuildInstruction[128]; // trace equation
    std::int32_t ChCRC;
};

struct StimSegment {
    std::int32_t SgMark;
    std::uint8_t SgClass;           // StimTree::SegmentClass
    std::uint8_t SgStoreKind;       // 0: its samples are no part of the trace
    std::uint8_t SgVoltageIncMode;  // StimTree::IncrementMode
    std::uint8_t SgDurationIncMode; // the same
    double SgVoltage;               // in the unit of the stimulus
    std::int32_t SgVoltageSource;   // 0 SgVoltage, 1 the holding, n from 2: StParams[n - 2]
    double SgDeltaVFactor;
    double SgDeltaVIncrement;
    double SgDuration;             // s; of a ramp with scan rates: unit/s
    std::int32_t SgDurationSource; // 0 and 1 SgDuration, n from 2: StParams[n - 2]
    double SgDeltaTFactor;
    double SgDeltaTIncrement;
    std::int32_t SgCRC;
    double SgScanRate;
};

namespace StimTree {

inline constexpr int Levels = 4;

// A file may hold any other value; such a segment cannot be rebuilt.
enum class SegmentClass : std::uint8_t { Constant, Ramp, Continuous, Sinewave, Squarewave };

// The logarithmic modes are the first five plus 5, and toggle plus 1. Any other value counts as Increment.
enum class IncrementMode : std::uint8_t {
    Increment = 0,
    Decrement = 1,
    IncreaseInterleaved = 2,
    DecreaseInterleaved = 3,
    Alternate = 4,
    LogIncrement = 5,
    LogDecrement = 6,
    LogIncreaseInterleaved = 7,
    LogDecreaseInterleaved = 8,
    LogAlternate = 9,
    Toggle = 10,
    LogToggle = 11,
};

// Bits of ChStimFlags.
namespace StimFlags {
inline constexpr int UseStimScale = 1 << 0;
inline constexpr int RelativeToHolding = 1 << 1; // the holding is added to the segment's voltage
inline constexpr int FileTemplate = 1 << 2;      // samples come from a template file
inline constexpr int LockIn = 1 << 3;
inline constexpr int Photo = 1 << 4;   // values go through the photometry conversion
inline constexpr int Scaling = 1 << 5; // values go through the scale table
inline constexpr int TestDac = 1 << 7;
}

// In file order, but for the root's version ahead of its mark as in every tree.
inline constexpr Conversion::Field RootFields[] = {
    Conversion::Int32("StVersion", 0, offsetof(StimRoot, StVersion)),
    Conversion::Int32("StMark", 4, offsetof(StimRoot, StMark)),
    Conversion::Text("StVersionName", 8, offsetof(StimRoot, StVersionName), 32),
    Conversion::Int32("StMaxSamples", 40, offsetof(StimRoot, StMaxSamples)),
    Conversion::Real64("StParams", 48, offsetof(StimRoot, StParams), "", StimParamCount),
    Conversion::Text("StParamText", 128, offsetof(StimRoot, StParamText), 32, StimParamCount),
    Conversion::Text("StReserved", 448, offsetof(StimRoot, StReserved), 128),
    Conversion::Check("StCRC", 580, offsetof(StimRoot, StCRC)),
};

inline constexpr Conversion::Field StimulationFields[] = {
    Conversion::Int32("SsMark", 0, offsetof(StimStimulation, SsMark)),
    Conversion::Text("SsEntryName", 4, offsetof(StimStimulation, SsEntryName), 32),
    Conversion::Text("SsFileName", 36, offsetof(StimStimulation, SsFileName), 32),
    Conversion::Text("SsAnalName", 68, offsetof(StimStimulation, SsAnalName), 32),
    Conversion::Int32("SsDataStartSegment", 100, offsetof(StimStimulation, SsDataStartSegment)),
    Conversion::Real64("SsDataStartTime", 104, offsetof(StimStimulation, SsDataStartTime), "s"),
    Conversion::Real64("SsSampleInterval", 112, offsetof(StimStimulation, SsSampleInterval), "s"),
    Conversion::Real64("SsSweepInterval", 120, offsetof(StimStimulation, SsSweepInterval), "s"),
    Conversion::Real64("SsLeakDelay", 128, offsetof(StimStimulation, SsLeakDelay), "s"),
    Conversion::Real64("SsKept1", 136, offsetof(StimStimulation, SsKept1)),
    Conversion::Int32("SsNumberSweeps", 144, offsetof(StimStimulation, SsNumberSweeps)),
    Conversion::Int32("SsNumberLeaks", 148, offsetof(StimStimulation, SsNumberLeaks)),
    Conversion::Int32("SsAverages", 152, offsetof(StimStimulation, SsAverages)),
    Conversion::Int32("SsKept2", 156, offsetof(StimStimulation, SsKept2), 2),
    Conversion::Byte("SsExtTrigger", 164, offsetof(StimStimulation, SsExtTrigger)),
    Conversion::Byte("SsKept3", 165, offsetof(StimStimulation, SsKept3)),
    Conversion::Byte("SsUseScanRates", 166, offsetof(StimStimulation, SsUseScanRates)),
    Conversion::Byte("SsKept4", 167, offsetof(StimStimulation, SsKept4)),
    Conversion::Byte("SsKept5", 168, offsetof(StimStimulation, SsKept5)),
    Conversion::Byte("SsHtTemplate", 171, offsetof(StimStimulation, SsHtTemplate)),
    Conversion::Byte("SsKept6", 172, offsetof(StimStimulation, SsKept6), 2),
    Conversion::Byte("SsAutoRange", 174, offsetof(StimStimulation, SsAutoRange)),
    Conversion::Check("SsCRC", 244, offsetof(StimStimulation, SsCRC)),
};

inline constexpr Conversion::Field ChannelFields[] = {
    Conversion::Int32("ChMark", 0, offsetof(StimChannel, ChMark)),
    Conversion::Int32("ChLinkedChannel", 4, offsetof(StimChannel, ChLinkedChannel)),
    Conversion::Int32("ChAdcChannel", 8, offsetof(StimChannel, ChAdcChannel)),
    Conversion::Text("ChAdcUnit", 12, offsetof(StimChannel, ChAdcUnit), 8),
    Conversion::Int16("ChDacMode", 20, offsetof(StimChannel, ChDacMode)),
    Conversion::Byte("ChKept1", 22, offsetof(StimChannel, ChKept1)),
    Conversion::Byte("ChKept2", 23, offsetof(StimChannel, ChKept2)),
    Conversion::Byte("ChKept3", 24, offsetof(StimChannel, ChKept3)),
    Conversion::Byte("ChOwnTime", 25, offsetof(StimChannel, ChOwnTime)),
    Conversion::Byte("ChOwnSegTime", 26, offsetof(StimChannel, ChOwnSegTime)),
    Conversion::Byte("ChSetLastSegAmpl", 27, offsetof(StimChannel, ChSetLastSegAmpl)),
    Conversion::Int16("ChDacChannel", 28, offsetof(StimChannel, ChDacChannel)),
    Conversion::Byte("ChAmplMode", 30, offsetof(StimChannel, ChAmplMode)),
    Conversion::Int32("ChRelX", 32, offsetof(StimChannel, ChRelX)),
    Conversion::Int32("ChRelY", 36, offsetof(StimChannel, ChRelY)),
    Conversion::Text("ChDacUnit", 40, offsetof(StimChannel, ChDacUnit), 8),
    Conversion::Real64("ChHolding", 48, offsetof(StimChannel, ChHolding)),
    Conversion::Real64("ChLeakHolding", 56, offsetof(StimChannel, ChLeakHolding)),
    Conversion::Real64("ChLeakSize", 64, offsetof(StimChannel, ChLeakSize)),
    Conversion::Byte("ChLeakStore", 72, offsetof(StimChannel, ChLeakStore)),
    Conversion::Byte("ChLeakHoldMode", 73, offsetof(StimChannel, ChLeakHoldMode)),
    Conversion::Byte("ChLeakAlternate", 74, offsetof(StimChannel, ChLeakAlternate)),
    Conversion::Byte("ChLeakActive", 75, offsetof(StimChannel, ChLeakActive)),
    Conversion::Int16("ChStimFlags", 76, offsetof(StimChannel, ChStimFlags)),
    Conversion::Int16("ChCompFlags", 78, offsetof(StimChannel, ChCompFlags)),
    Conversion::Int32("ChCompSkip", 80, offsetof(StimChannel, ChCompSkip)),
    Conversion::Byte("ChCompMode", 84, offsetof(StimChannel, ChCompMode)),
    Conversion::Byte("ChKept4", 85, offsetof(StimChannel, ChKept4)),
    Conversion::Int16("ChCompFactor", 86, offsetof(StimChannel, ChCompFactor)),
    Conversion::Int32("ChKept5", 88, offsetof(StimChannel, ChKept5)),
    Conversion::Real64("ChSquareParams", 96, offsetof(StimChannel, ChSquareParams), "", 8),
    Conversion::Int32("ChSquareKinds", 160, offsetof(StimChannel, ChSquareKinds), 8),
    Conversion::Block(Conversion::Kind::Bytes, "ChKept6", 192, offsetof(StimChannel, ChKept6), 8),
    Conversion::Real64("ChKept7", 200, offsetof(StimChannel, ChKept7)),
    Conversion::Real64("ChScaleFactor", 208, offsetof(StimChannel, ChScaleFactor)),
    Conversion::Byte("ChKept8", 216, offsetof(StimChannel, ChKept8)),
    Conversion::Int32("ChCompOffset", 248, offsetof(StimChannel, ChCompOffset)),
    Conversion::Int32("ChKept9", 252, offsetof(StimChannel, ChKept9)),
    Conversion::Real64("ChKept10", 256, offsetof(StimChannel, ChKept10)),
    Conversion::Text("ChBuildInstruction", 264, offsetof(StimChannel, ChBuildInstruction), 128),
    Conversion::Check("ChCRC", 396, offsetof(StimChannel, ChCRC)),
};

inline constexpr Conversion::Field SegmentFields[] = {
    Conversion::Int32("SgMark", 0, offsetof(StimSegment, SgMark)),
    Conversion::Byte("SgClass", 4, offsetof(StimSegment, SgClass)),
    Conversion::Byte("SgStoreKind", 5, offsetof(StimSegment, SgStoreKind)),
    Conversion::Byte("SgVoltageIncMode", 6, offsetof(StimSegment, SgVoltageIncMode)),
    Conversion::Byte("SgDurationIncMode", 7, offsetof(StimSegment, SgDurationIncMode)),
    Conversion::Real64("SgVoltage", 8, offsetof(StimSegment, SgVoltage)),
    Conversion::Int32("SgVoltageSource", 16, offsetof(StimSegment, SgVoltageSource)),
    Conversion::Real64("SgDeltaVFactor", 20, offsetof(StimSegment, SgDeltaVFactor)),
    Conversion::Real64("SgDeltaVIncrement", 28, offsetof(StimSegment, SgDeltaVIncrement)),
    Conversion::Real64("SgDuration", 36, offsetof(StimSegment, SgDuration), "s"),
    Conversion::Int32("SgDurationSource", 44, offsetof(StimSegment, SgDurationSource)),
    Conversion::Real64("SgDeltaTFactor", 48, offsetof(StimSegment, SgDeltaTFactor)),
    Conversion::Real64("SgDeltaTIncrement", 56, offsetof(StimSegment, SgDeltaTIncrement), "s"),
    Conversion::Check("SgCRC", 68, offsetof(StimSegment, SgCRC)),
    Conversion::Real64("SgScanRate", 72, offsetof(StimSegment, SgScanRate)),
};

inline constexpr std::array<std::size_t, Levels> FileSizes{584, 248, 400, 80};
static_assert(Conversion::EndOf(RootFields) <= FileSizes[0]);
static_assert(Conversion::EndOf(StimulationFields) <= FileSizes[1]);
static_assert(Conversion::EndOf(ChannelFields) <= FileSizes[2]);
static_assert(Conversion::EndOf(SegmentFields) <= FileSizes[3]);

// Bytes of a record of the level in a file written here.
// Any other level: the alert "Fatal error: Illegal Stim.Tree level!" and 0.
[[nodiscard]] std::size_t FileSize(int level);

// The list of the level; empty, after the same alert, for any other level.
[[nodiscard]] std::span<const Conversion::Field> FieldsOf(int level);

}
