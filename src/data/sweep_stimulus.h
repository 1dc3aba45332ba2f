// The stimulus of a recorded sweep: which records of the stimulus tree it was computed from.
#pragma once
#include "data/session.h"
#include "data/stim_gen.h"

#include <cstdint>
#include <vector>

struct SweepStimulus {
    const StimRoot* Root = nullptr;
    const StimStimulation* Stimulation = nullptr;
    const StimChannel* Channel = nullptr;
    std::vector<const StimSegment*> Segments;
    std::int32_t SweepNumber = 0; // the n of the increment modes

    // For the procedures of StimGen; valid as long as this record.
    [[nodiscard]] StimGen::Source Source() const;
    // The stimulus in line with the recorded trace; empty when it cannot be rebuilt.
    [[nodiscard]] std::vector<float> StoredSamples() const;
};

// A channel of the sweep's stimulation, by position from 1. False when there is none.
[[nodiscard]] bool FindStimulus(const DataSession& session, const VennicSweep& sweep, int channel,
                                SweepStimulus& stimulus);

// The position of the channel that belongs to a trace: the one that records the trace's AD channel, otherwise
// the first. 0 when the sweep has no stimulus channel.
[[nodiscard]] int ChannelFor(const DataSession& session, const VennicSweep& sweep, const VennicTrace& trace);

// A stimulus segment as a stretch of the trace.
struct TraceSegment {
    int Number = 0;              // position in the channel, from 1
    std::int64_t FirstPoint = 0; // in the trace
    double Points = 0;           // its length in points of the trace, not rounded
};

// Where a segment of the stimulus lies in the trace. False when it is not stored there, or its times make no
// sense; Number is left alone.
[[nodiscard]] bool PlaceInTrace(const SweepStimulus& stimulus, const StimGen::SegmentRow& row,
                                const VennicTrace& trace, TraceSegment& segment);

// The segment of a trace's channel that holds the response: the relevant segment of y values plus the offset,
// kept within the channel. False, with an alert, when there is none, it is not stored, or its times make no
// sense.
[[nodiscard]] bool FindTraceSegment(const DataSession& session, const VennicSweep& sweep,
                                    const VennicTrace& trace, int offset, TraceSegment& segment);
