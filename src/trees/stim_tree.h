// The stimulus tree (.pgf): what was applied in a recording.
// Four levels: root, stimulations, the channels of a stimulation, the segments of a channel. A sweep names
// its stimulation by its position below the root.
//
// Fields named Kept carry no behaviour in this program and survive a load and a store.
#pragma once
#include "trees/record_tree.h"

#include <cstddef>
#include <cstdint>

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

inline constexpr const char* HeapName = "StimBuf.HE";

extern const RecordTree::TreeFormat Format;
extern RecordTree::LoadReport LastLoad;

[[nodiscard]] Tree::Handle* Define(std::string_view heapName = HeapName,
                                   const RecordTree::LoadOptions& options = {});

}
