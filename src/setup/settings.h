// Setup.Settings: the global settings record, read by the tools at each of their steps.
// Only what the tools read so far stands here; every member has the default of a first start.
#pragma once
#include <array>
#include <cstdint>
#include <string>

namespace Setup {

inline constexpr int MaxTraces = 32; // a trace count above it does not load
inline constexpr std::int32_t MaxSamplePointsLowest = 16382;
inline constexpr std::int32_t MaxSamplePointsHighest = 100'000'000;

struct SettingsRecord {
    std::int32_t MaxSamplePoints =
        262144; // the longest load, points; changed only before the scratch memory exists
    std::int32_t MaxStimPoints = 262144; // the longest stimulus, points

    std::int32_t MaxFileBytes = 500'000'000; // a data file that grows beyond it is warned of
    bool UseBundle = true;                   // a data set is closed as a bundle
    bool NotebookAutoStore = true;           // the notebook is stored with the data set
    bool SolBaseOn = true;                   // solution trees may be changed
    std::string TempPath;                    // folder for temporary files; empty: beside the data file

    bool NoLeakSubtraction = false;
    bool SubtractZero = false;
    bool SubtractReference = false;
    // Corner frequency of the digital filter in Hz, per trace number 0 to 32; 0 means no filter.
    std::array<double, MaxTraces + 1> TraceFilterFactor{};
    // The traces, by number 0 to 32, from which the reference series is subtracted.
    std::array<bool, MaxTraces + 1> TraceReference = [] {
        std::array<bool, MaxTraces + 1> all{};
        all.fill(true);
        return all;
    }();
};

extern SettingsRecord Settings;

// The value within its limits, for a setting read from outside.
[[nodiscard]] std::int32_t LimitedSamplePoints(std::int64_t points);

}
