// From a trace record to samples in RAM: loading, scaling, leak, zero, reference and filter corrections.
//
// Loaded samples are real32 in the trace's y unit: raw * TrDataFactor. A record's loaded state is its
// transient fields; they stay until the trace is loaded anew or released. Every refusal is said in a note;
// the alert flag decides only whether reading beyond the end of a trace or file is.
#pragma once
#include "data/session.h"

#include <cstdint>
#include <span>

namespace Traces {

struct Range {
    std::int32_t MaxPoints = 0x7fffffff; // at most so many points
    std::int32_t FirstPoint = 0;         // from this one on
    bool Alert = true;
};

// Loads a trace and subtracts its leak (unless NoLeakSubtraction is set). With a heap the buffer is taken
// from it as needed; without one the record must hold a buffer that is large enough.
[[nodiscard]] bool LoadTrace(DataSession& session, VennicSweep* sweep, VennicTrace* trace, Buffer::Heap* heap,
                             const Range& range = {});

// The read and scale step alone.
[[nodiscard]] bool LoadTraceRaw(DataSession& session, VennicTrace* trace, Buffer::Heap* heap,
                                const Range& range = {});

// The corrections that the settings ask for, on a loaded trace: zero, reference, filter, in this order.
[[nodiscard]] bool ApplyCorrections(DataSession& session, VennicSweep* sweep, VennicTrace* trace);

// The normal way for a tool.
[[nodiscard]] bool LoadAndCorrect(DataSession& session, VennicSweep* sweep, VennicTrace* trace,
                                  Buffer::Heap* heap, const Range& range = {});

// A load into a display slot that leaves the record as it was. The samples stay valid until the slot's next
// use.
struct TempTrace {
    std::span<float> Samples;
    std::int32_t FirstPoint = 0;
    std::uint8_t RamFormat = 2;
    double Scale = 1, Offset = 0;
};
[[nodiscard]] bool LoadTempTrace(DataSession& session, VennicTrace* trace, int slot, const Range& range,
                                 bool subtractZero, TempTrace& out);

// The leak trace that belongs to a trace of the sweep. False with a note when there is none.
[[nodiscard]] bool FindLeakTrace(const VennicSweep* sweep, const VennicTrace& trace, VennicTrace*& leak);

// Keeps the extremes of the samples in the record, unless they are known.
void ComputeYRange(VennicTrace& trace, std::span<const float> samples);

// The loaded samples of a record.
[[nodiscard]] std::span<float> Loaded(const VennicTrace& trace);

void ReleaseTrace(VennicTrace* trace);
// Every trace below a record of any level, or the trace itself.
void ReleaseBelow(void* record);

}
