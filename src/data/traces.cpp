#include "data/traces.h"

#include "base/buffer.h"
#include "base/messages.h"
#include "data/raw_data.h"
#include "data/sample_format.h"
#include "data/scratch.h"
#include "math/gauss_filter.h"
#include "setup/settings.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Traces {

namespace {

constexpr std::uint8_t Real32Format = 2;
// Samples pass through the processor's cache in pieces of this many: read, converted and looked through at
// once.
constexpr std::size_t PiecePoints = 32768;

bool Refuse(std::string_view text) {
    Messages::Note(text);
    return false;
}

bool TakesPart(const VennicTrace& trace) {
    return trace.TrTraceCount >= 0 && trace.TrTraceCount <= Setup::MaxTraces;
}

// The extremes of a trace, fed piece by piece.
struct YRange {
    float Min = std::numeric_limits<float>::infinity();
    float Max = -std::numeric_limits<float>::infinity();
    bool Known = false;

    void Feed(std::span<const float> samples, bool isVirtual) {
        if (!isVirtual) {
            const SampleFormat::Extremes found = SampleFormat::FindExtremes(samples);
            if (found.Known) Widen(found.Min, found.Max);
            return;
        }
        // A derived trace is 0 or not a number where it was not measured.
        for (const float value : samples)
            if (value != 0.0f && std::isfinite(value)) Widen(value, value);
    }
    void Widen(float low, float high) {
        Min = std::min(Min, low);
        Max = std::max(Max, high);
        Known = true;
    }
    void Keep(VennicTrace& trace) const {
        if (!Known) return;
        trace.TrYMin = Min;
        trace.TrYMax = Max;
        trace.TrYRangeKnown = 1;
    }
};

bool EnsureBuffer(VennicTrace& trace, Buffer::Heap* heap, std::int32_t points) {
    const std::int64_t bytes = std::int64_t{points} * static_cast<std::int64_t>(sizeof(float));
    if (trace.Samples && trace.BufferBytes < bytes) {
        if (!heap) return Refuse("Error: allocated trace buffer insufficient.");
        ReleaseTrace(&trace);
    }
    if (trace.Samples) return true;
    if (!heap) return Refuse("Error: no trace buffer allocated.");
    trace.Samples = static_cast<float*>(heap->Allocate(static_cast<std::size_t>(bytes)));
    if (!trace.Samples) return Refuse("Error: Trace buffer allocation failed.");
    trace.SampleHeap = heap;
    trace.BufferBytes = bytes;
    return true;
}

// A buffer that no longer holds what the record says must not be taken for loaded data.
void DropContent(VennicTrace& trace) {
    if (trace.SampleHeap) {
        ReleaseTrace(&trace);
        return;
    }
    trace.PointsLoaded = trace.FirstPoint = 0;
}

bool ReadAndConvert(DataSession& session, VennicTrace& trace, std::int32_t points, std::int32_t first,
                    bool alert) {
    const std::size_t size = RawData::SampleSize(trace.TrDataFormat);
    const bool swap = RawData::NeedsSwap(trace);
    Files::File& file = trace.IsTemporary ? session.TempFile : session.DataFile;
    const std::span<std::byte> scratch = Scratch::Vector();
    const auto total = static_cast<std::size_t>(points);
    const bool scanRange = trace.TrYRangeKnown == 0;
    YRange range;

    for (std::size_t done = 0; done < total;) {
        const std::size_t piece = std::min(total - done, PiecePoints);
        const std::span<std::byte> raw = scratch.first(piece * size);
        const std::int64_t position =
            trace.TrFileOffset + static_cast<std::int64_t>(size) * (first + static_cast<std::int64_t>(done));
        if (!RawData::ReadSamples(trace, file, position, raw, piece, size, swap, alert)) return false;
        const std::span<float> target{trace.Samples + done, piece};
        if (!SampleFormat::ConvertFormat(static_cast<DataFormat>(trace.TrDataFormat), DataFormat::Real32, raw,
                                         std::as_writable_bytes(target), piece, trace.Scale, trace.Offset,
                                         true))
            return false;
        if (scanRange) range.Feed(target, VennicTree::IsVirtual(trace));
        done += piece;
    }
    if (scanRange) range.Keep(trace);
    return true;
}

void Subtract(std::span<float> from, std::span<const float> what) {
    for (std::size_t i = 0; i < from.size(); ++i) from[i] -= what[i];
}

void SubtractZero(std::span<float> samples, double zero) {
    const auto addend = static_cast<float>(-zero);
    for (float& sample : samples) sample += addend;
}

bool SubtractLeak(DataSession& session, VennicSweep* sweep, VennicTrace& trace, const Range& range) {
    if (Setup::Settings.NoLeakSubtraction || trace.TrLeakTraces <= 0 || trace.TrLeakCount <= 0 ||
        (trace.TrDataKind & DataKind::Leak) != 0)
        return true;
    VennicTrace* leak = nullptr;
    if (!FindLeakTrace(sweep, trace, leak)) return false;
    if (leak->TrLeakTraces != 0) Messages::Note("Warning - using single leak instead of averaged leak.");
    TempTrace temp;
    const Range same{trace.PointsLoaded, trace.FirstPoint, range.Alert};
    if (!LoadTempTrace(session, leak, 0, same, true, temp)) return false;
    if (temp.RamFormat != trace.RamFormat) return Refuse("LoadTrace - Trace and Leak differ in RAM-format.");
    const std::span<float> samples = Loaded(trace);
    if (temp.Samples.size() < samples.size())
        return Refuse("LoadTrace - leak trace is shorter than the trace.");
    Subtract(samples, temp.Samples);
    return true;
}

// The child with the wanted running count; the children are in the order of their counts.
template <class T>
T* FindByCount(const void* parent, std::int32_t count, std::int32_t T::*field) {
    for (int i = 1; i <= Tree::ChildCount(parent); ++i) {
        T* const child = Tree::ChildAs<T>(parent, i);
        if (child->*field == count) return child;
        if (child->*field > count) return nullptr;
    }
    return nullptr;
}

// Puts a record's loaded state back after it was lent to another load.
class Lent {
public:
    explicit Lent(VennicTrace& trace) : Trace(trace), Former(trace) {}
    ~Lent() { Trace = Former; }
    Lent(const Lent&) = delete;
    Lent& operator=(const Lent&) = delete;

private:
    VennicTrace& Trace;
    const VennicTrace Former;
};

void Lend(VennicTrace& trace, std::span<float> buffer) {
    trace.Samples = buffer.data();
    trace.SampleHeap = nullptr;
    trace.BufferBytes = static_cast<std::int64_t>(buffer.size_bytes());
    trace.PointsLoaded = trace.FirstPoint = 0;
}

bool SubtractReference(DataSession& session, VennicSweep* sweep, VennicTrace& trace) {
    if (!session.ReferenceSeries) return Refuse("No Reference Series selected to be subtracted!");
    if (!TakesPart(trace) || trace.FirstPoint != 0 ||
        !Setup::Settings.TraceReference[static_cast<std::size_t>(trace.TrTraceCount)])
        return true;
    VennicSweep* const otherSweep =
        FindByCount<VennicSweep>(session.ReferenceSeries, sweep->SwSweepCount, &VennicSweep::SwSweepCount);
    if (!otherSweep) return Refuse("Corresponding sweep in Reference Series not found!");
    VennicTrace* const other =
        FindByCount<VennicTrace>(otherSweep, trace.TrTraceCount, &VennicTrace::TrTraceCount);
    if (!other) return Refuse("Corresponding Trace in Reference Series not found!");
    if (other->TrDataPoints > Setup::Settings.MaxSamplePoints)
        return Refuse("Number of data cannot be > Max. Sample Points!");
    const std::span<float> buffer = Scratch::TempData();
    if (buffer.empty()) return false;

    // A sweep of the reference series itself subtracts from itself: its samples are read before they are
    // lent.
    const std::span<float> samples = Loaded(trace);
    const Lent guard(*other);
    Lend(*other, buffer);
    if (!LoadTrace(session, otherSweep, other, nullptr, {})) return false;
    const std::span<float> reference = Loaded(*other);
    if (reference.size() != samples.size()) return Refuse("Traces are not of equal length!");
    Subtract(samples, reference);
    return true;
}

bool Filter(VennicTrace& trace) {
    if (!TakesPart(trace)) return true;
    const double corner = Setup::Settings.TraceFilterFactor[static_cast<std::size_t>(trace.TrTraceCount)];
    if (!(corner > 0)) return true;
    GaussFilter::FilterRecord& filter = GaussFilter::Default();
    const int h = GaussFilter::GaussFilterDesign(filter, corner * trace.TrXInterval);
    if (h == 0) return Refuse("Trace not filtered: illegal corner frequency or sample interval.");

    // The first sample goes on to the left, in the scratch vector, which the samples have left by now; to the
    // right the filter itself repeats the last one.
    const std::span<float> samples = Loaded(trace);
    if (samples.empty()) return true;
    const auto side = static_cast<std::size_t>(h);
    const std::span<std::byte> scratch = Scratch::Vector();
    const std::span<float> padded{reinterpret_cast<float*>(scratch.data()), side + samples.size()};
    if (padded.size_bytes() > scratch.size()) return Refuse("Error: Trace too long for scratch vector.");
    std::fill_n(padded.begin(), side, samples.front());
    std::copy(samples.begin(), samples.end(), padded.begin() + h);
    filter.PaddedLeft = true;
    const bool applied = GaussFilter::GaussFilterApply(filter, padded, samples);
    filter.PaddedLeft = false;
    return applied;
}

}

bool LoadTraceRaw(DataSession& session, VennicTrace* trace, Buffer::Heap* heap, const Range& range) {
    if (!trace || !(trace->IsTemporary ? session.TempFile : session.DataFile).IsOpen())
        return Refuse("Trace = NIL or file not opened.");
    if (range.FirstPoint < 0) return Refuse("Error: loading beyond Trace end");
    trace->RamFormat = Real32Format;
    const std::int64_t left = std::int64_t{trace->TrDataPoints} - range.FirstPoint;
    const auto points = static_cast<std::int32_t>(
        std::min<std::int64_t>({range.MaxPoints, Setup::Settings.MaxSamplePoints, left}));
    if (points < 1) {
        if (range.Alert) Messages::Note("Error: loading beyond Trace end");
        return false;
    }
    const std::size_t bytes = RawData::SampleSize(trace->TrDataFormat) * static_cast<std::size_t>(points);
    if (bytes > Scratch::Vector().size()) return Refuse("Error: Trace too long for scratch vector.");
    if (!EnsureBuffer(*trace, heap, points)) return false;
    trace->Scale = trace->TrDataFactor;
    trace->Offset = 0;
    if (!ReadAndConvert(session, *trace, points, range.FirstPoint, range.Alert)) {
        DropContent(*trace);
        return false;
    }
    trace->PointsLoaded = points;
    trace->FirstPoint = range.FirstPoint;
    return true;
}

bool LoadTrace(DataSession& session, VennicSweep* sweep, VennicTrace* trace, Buffer::Heap* heap,
               const Range& range) {
    if (trace && trace->TrTraceCount > Setup::MaxTraces) return Refuse("LoadTrace - trace > max. traces.");
    if (!LoadTraceRaw(session, trace, heap, range)) return false;
    if (SubtractLeak(session, sweep, *trace, range)) return true;
    DropContent(*trace);
    return false;
}

bool ApplyCorrections(DataSession& session, VennicSweep* sweep, VennicTrace* trace) {
    if (Setup::Settings.SubtractZero && trace->TrZeroData != 0)
        SubtractZero(Loaded(*trace), trace->TrZeroData);
    if (Setup::Settings.SubtractReference && !SubtractReference(session, sweep, *trace)) return false;
    return Filter(*trace);
}

bool LoadAndCorrect(DataSession& session, VennicSweep* sweep, VennicTrace* trace, Buffer::Heap* heap,
                    const Range& range) {
    return LoadTrace(session, sweep, trace, heap, range) && ApplyCorrections(session, sweep, trace);
}

bool LoadTempTrace(DataSession& session, VennicTrace* trace, int slot, const Range& range, bool subtractZero,
                   TempTrace& out) {
    const std::span<float> buffer = Scratch::DisplaySlot(slot);
    if (buffer.empty() || !trace) return Refuse("LoadTempTrace - temp. allocation failed.");
    const Lent guard(*trace);
    Lend(*trace, buffer);
    if (!LoadTraceRaw(session, trace, nullptr, range))
        return Refuse("LoadTempTrace - trace could not be loaded.");
    out = {Loaded(*trace), trace->FirstPoint, trace->RamFormat, trace->Scale, trace->Offset};
    if (subtractZero && trace->TrZeroData != 0) SubtractZero(out.Samples, trace->TrZeroData);
    return true;
}

bool FindLeakTrace(const VennicSweep* sweep, const VennicTrace& trace, VennicTrace*& leak) {
    for (int i = 1; i <= Tree::ChildCount(sweep); ++i) {
        leak = Tree::ChildAs<VennicTrace>(sweep, i);
        if ((leak->TrDataKind & DataKind::Leak) != 0 && leak->TrTraceCount == trace.TrLeakCount) return true;
    }
    leak = nullptr;
    return Refuse("LoadTrace - leak trace not found.");
}

void ComputeYRange(VennicTrace& trace, std::span<const float> samples) {
    if (trace.TrYRangeKnown != 0) return;
    YRange range;
    range.Feed(samples, VennicTree::IsVirtual(trace));
    range.Keep(trace);
}

std::span<float> Loaded(const VennicTrace& trace) {
    return {trace.Samples, trace.Samples ? static_cast<std::size_t>(trace.PointsLoaded) : 0};
}

void ReleaseTrace(VennicTrace* trace) {
    if (!trace) return;
    if (trace->SampleHeap)
        trace->SampleHeap->Free(trace->Samples, static_cast<std::size_t>(trace->BufferBytes));
    trace->Samples = nullptr;
    trace->SampleHeap = nullptr;
    trace->BufferBytes = 0;
    trace->PointsLoaded = trace->FirstPoint = 0;
}

void ReleaseBelow(void* record) {
    if (!record) return;
    if (Tree::Level(record) == 4) {
        ReleaseTrace(static_cast<VennicTrace*>(record));
        return;
    }
    for (int i = 1; i <= Tree::ChildCount(record); ++i) ReleaseBelow(Tree::Child(record, i));
}

}
