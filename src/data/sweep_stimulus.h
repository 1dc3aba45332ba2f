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
};

// A channel of the sweep's stimulation, by position from 1. False when there is none.
[[nodiscard]] bool FindStimulus(const DataSession& session, const VennicSweep& sweep, int channel,
                                SweepStimulus& stimulus);

// The position of the channel that belongs to a trace: the one that records the trace's AD channel, otherwise
// the first. 0 when the sweep has no stimulus channel.
[[nodiscard]] int ChannelFor(const DataSession& session, const VennicSweep& sweep, const VennicTrace& trace);
