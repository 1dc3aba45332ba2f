// Stimulus reconstruction: what the output of a channel was during a sweep.
//
// Only the stimulation's records and the sweep's number count; nothing is read from raw data. Voltages are in
// the unit of the channel (volts or amperes), times in seconds.
//
// Template files are not supported: the samples of a channel that plays one are 0, or the holding where they
// are relative to it. The photometry conversion belongs to the instrument and is a procedure of the caller.
#pragma once
#include "trees/stim_tree.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace StimGen {

inline constexpr std::size_t DefaultMaxStimPoints = 262144;

// A row applies to values up to its limit.
struct ScaleRow {
    double Limit = 0;
    double Value = 0;
};

// The records that a stimulus is computed from, and what the installation adds to them.
// A segment is named by its index in Segments, from 0.
struct Source {
    const StimStimulation& Stimulation;
    const StimChannel& Channel;
    std::span<const StimSegment* const> Segments; // of the channel, in order
    std::span<const double> StParams;             // of the tree's root
    std::size_t MaxStimPoints = DefaultMaxStimPoints;
    double (*Photo)(double value) = nullptr; // photometry conversion; without it values stay
    std::span<const ScaleRow> ScaleTable{};  // in order of limits; empty: values stay
};

// The step k of an increment mode for sweep n of N; any n and N are allowed.
// With mode 0 to 4 or 10 the base mode, from 5 to 9 and 11 its logarithmic form:
//     increment    n - 1
//     decrement    N - n
//     interleaved  j - 1 or N - j, where j = 1 below sweep 2, n - 1 for an odd n, else n + 1 and at most N
//     alternate    n / 2 for an odd n, N - n / 2 for an even one
//     toggle       n / 2
[[nodiscard]] std::int64_t IncrementStep(std::int32_t n, std::int32_t sweeps, std::uint8_t mode);

// The value of sweep n: start + e, or start - e for an odd n of the toggle modes. With the step k
//     e = 0                                                 for k = 0 and for a factor not above 0
//     e = k * increment                                     for a factor of exactly 1
//     e = exp(ln(factor) * (k - 1)) * increment             for a logarithmic mode
//     e = (exp(ln(factor) * k) - 1) * start + k * increment for the others
[[nodiscard]] double Increment(std::int32_t n, std::int32_t sweeps, double start, double increment,
                               double factor, std::uint8_t mode);

// The channel's holding, the same for every sweep.
[[nodiscard]] double HoldingFor(const Source& source);

// The segment's voltage in sweep n: the holding itself for voltage source 1; else the segment's value or the
// parameter (0 for one that does not exist), added to the holding where the channel says so, and incremented.
[[nodiscard]] double SegmentVoltage(std::int32_t n, const Source& source, std::size_t index, double holding);

// The segment's duration in sweep n: the segment's value or the parameter (at least 0), incremented.
// A ramp of a stimulation with scan rates states its rate there: its duration is the distance from the
// former segment's voltage (the holding ahead of the first) divided by it, and 0 for a rate not above 0.
// Can be negative, infinite or NaN; such a segment has no point, or too many.
[[nodiscard]] double SegmentDuration(std::int32_t n, const Source& source, std::size_t index);

// Duration / interval, rounded half away from zero; 0 where that is not above 0, and at most 2147483647.
[[nodiscard]] std::int32_t PointsOf(double duration, double interval);

struct SegmentRow {
    double Voltage = 0;
    double Duration = 0;          // s, as computed
    std::int32_t Points = 0;      // of the whole stimulus
    std::int64_t FirstPoint = 0;  // in the whole stimulus, from 0
    std::int64_t StoredFirst = 0; // in the stored trace; of a segment not stored: where the next one begins
    bool Stored = false;
};

// One row a segment. Segments at and behind a continuous one have rows too: their samples are recorded data.
// Empty when a segment is missing.
[[nodiscard]] std::vector<SegmentRow> SegmentTable(std::int32_t n, const Source& source);

// Writes one segment into the target at the position and every increment-th place from there, and moves the
// position and the previous voltage on. A segment without points changes nothing.
//     Constant    the voltage
//     Ramp        from one step behind the previous voltage to the voltage
//     Sinewave    the voltage + amplitude * sin(2 pi t / period), t from the segment's start
//     Squarewave  whole cycles of voltage + amplitude (half of the points, rounded down), then
//                 voltage - amplitude; the rest of the segment, or all without a cycle of 2 points, the
//                 voltage
// Period and amplitude are the first two of ChSquareParams; a period not above 0 gives no wave. Constants and
// square levels go through the photometry conversion and the scale table where the channel says so.
// A continuous segment sets the flag and writes nothing.
//
// A digital channel treats the target as words: kind 3 sets bit ChDacChannel for a voltage above 0 and
// clears it below 0, kind 2 writes that bit of the rounded voltage; a bit outside 0 to 15 changes nothing.
//
// False after an alert for an illegal segment class and for a target too small, and for arguments that do not
// exist; the target is then untouched.
[[nodiscard]] bool Segment(std::int32_t n, const Source& source, std::size_t index, std::size_t increment,
                           std::span<float> target, std::size_t& position, double& previous,
                           bool& continuous);

// The whole stimulus of sweep n, as long as its segments up to the end or to a continuous one, which sets the
// flag. False, with an empty target and an alert, for a missing segment, a sweep number below 1 or a sample
// interval that is not above 0, for more than MaxStimPoints points, and for an illegal segment class.
[[nodiscard]] bool Stimulus(std::int32_t n, const Source& source, std::vector<float>& target,
                            bool& continuous);

// Keeps of a whole stimulus what lines up with the recorded trace: the samples of the stored segments, and
// any that lie behind the last segment. The table must be that of the same sweep.
void KeepStored(std::span<const SegmentRow> table, std::vector<float>& stimulus);

}
