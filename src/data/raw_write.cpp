#include "data/raw_write.h"

#include "base/messages.h"
#include "data/raw_data.h"
#include "data/sample_format.h"
#include "data/scratch.h"
#include "data/set_store.h"
#include "data/trace_copier.h"
#include "setup/settings.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <vector>

namespace RawData {

namespace {

// Pieces that stay in the processor's cache between read and write.
constexpr std::size_t PieceBytes = std::size_t{1} << 20;

bool Refuse(std::string_view text, bool alert = true) {
    if (alert) Messages::Alert(text);
    return false;
}

bool RefuseFile(std::string_view text, int error, bool alert = true) {
    return Refuse(Bundle::FileMessage(text, error), alert);
}

void DescribeWritten(VennicTrace& trace) {
    DescribeCopied(trace, Bytes::MachineIsLittle);
    trace.TrDataCRC = 0;
    trace.TrYRangeKnown = 0;
}

// The samples as they go to the file: converted in the scratch vector, or as they lie there.
std::span<const std::byte> ImageOf(const VennicTrace& trace, bool convert) {
    const auto points = static_cast<std::size_t>(trace.PointsLoaded);
    const auto* const loaded = reinterpret_cast<const std::byte*>(trace.Samples);
    const auto ramFormat = static_cast<DataFormat>(trace.RamFormat);
    const std::span<const std::byte> source{loaded, points * SampleFormat::SampleSize(ramFormat)};
    if (!convert) return trace.RamFormat == trace.TrDataFormat ? source : std::span<const std::byte>{};
    const std::span<std::byte> scratch = Scratch::Vector();
    const std::size_t bytes = points * SampleSize(trace.TrDataFormat);
    if (bytes > scratch.size() ||
        !SampleFormat::ConvertFormat(ramFormat, static_cast<DataFormat>(trace.TrDataFormat), source, scratch,
                                     points, 1.0 / trace.Scale, -trace.Offset / trace.Scale, false))
        return {};
    return scratch.first(bytes);
}

bool Replace(DataSession& session, VennicTrace& trace, std::span<const std::byte> image) {
    if (IsInterleaved(trace))
        return Refuse("Replace trace: interleaved traces must be de-interleaved beforehand.");
    if (trace.FirstPoint != 0 || trace.PointsLoaded != trace.TrDataPoints)
        return Refuse("Replace trace: the trace is not loaded whole.");
    if (!LockSamples(session)) return false;
    const VennicTrace former = trace;
    DescribeWritten(trace);
    const bool written = SetStore::WithReserve(session, [&] {
        SetStore::Step step(session);
        return step.Begin() && step.Check(step.Change.Write(session.FileName, trace.TrFileOffset, image)) &&
               step.AddTrees() && step.Commit();
    });
    UnlockSamples(session);
    if (!written && !session.MustClose) trace = former;
    return written;
}

bool Append(Files::File& file, VennicTrace& trace, std::span<const std::byte> image, std::int64_t& position,
            bool alert) {
    std::int64_t length = 0;
    int error = Files::Length(file, length);
    if (error != 0) return RefuseFile("Error appending trace", error, alert);
    if (length > position) {
        if (!alert) Messages::Note("Illegal write position");
        return Refuse("Illegal write position", alert);
    }
    if (length < position) error = Files::SetLength(file, position);
    if (error != 0) return RefuseFile("Error setting write position", error, alert);
    error = Files::WriteAt(file, position, image);
    if (error != 0) {
        (void)Files::SetLength(file, length); // what came of it is no trace
        return RefuseFile("write error", error, alert);
    }
    DescribeWritten(trace);
    trace.TrDataPoints = trace.PointsLoaded;
    trace.TrFileOffset = static_cast<std::int32_t>(position);
    position += static_cast<std::int64_t>(image.size());
    return true;
}

void WarnOfLength(std::int64_t position) {
    if (position <= Setup::Settings.MaxFileBytes) return;
    const std::int64_t kilobytes = position / 1024;
    const bool small = kilobytes <= 2048;
    Messages::Log(
        " ### Warning - file is getting too long: " + std::to_string(small ? kilobytes : kilobytes / 1024) +
        (small ? " kbytes! ### " : " MB! ### "));
}

}

bool LockSamples(DataSession& session) {
    const int error = Files::Lock(session.DataFile, Files::LockKind::NoReaders);
    if (error == 0) return true;
    if (Files::LockedByAnother(error))
        return Refuse("Another program reads this data set: its samples cannot be changed now.");
    return RefuseFile("The data file cannot be locked", error);
}

void UnlockSamples(DataSession& session) {
    if (session.DataFile.IsOpen()) (void)Files::Lock(session.DataFile, Files::LockKind::Done);
}

bool WriteTrace(DataSession& session, VennicTrace& trace, std::int64_t& position, bool replace, bool alert,
                bool convert) {
    if (!trace.IsTemporary && !session.Modify)
        return Refuse("Cannot modify: data file opened read-only.", alert);
    if (!trace.Samples || trace.PointsLoaded <= 0)
        return Refuse("Write trace: no samples are loaded.", alert);
    const std::int64_t place = replace ? trace.TrFileOffset : position;
    if (place < 0) return Refuse("Illegal Data File Offset!", alert);
    const std::int64_t bytes =
        std::int64_t{trace.PointsLoaded} * static_cast<std::int64_t>(SampleSize(trace.TrDataFormat));
    if (place + bytes > DataMax) return Refuse("File length is limited to 2 Gbyte of data !", alert);
    const std::span<const std::byte> image = ImageOf(trace, convert);
    if (static_cast<std::int64_t>(image.size()) != bytes)
        return Refuse("Write trace: the samples cannot be converted to the stored format.", alert);
    if (replace && !trace.IsTemporary) return Replace(session, trace, image);
    Files::File& file = trace.IsTemporary ? session.TempFile : session.DataFile;
    if (!file.IsOpen()) return Refuse("Write trace: no file is open.", alert);
    if (replace) {
        const int error = Files::WriteAt(file, place, image);
        if (error != 0) return RefuseFile("write error", error, alert);
        DescribeWritten(trace);
        return true;
    }
    if (!Append(file, trace, image, position, alert)) return false;
    WarnOfLength(position);
    return true;
}

namespace {

// The mean of each run, in the stored format. Returns the bytes that it wrote to the front of the samples.
template <class Sample>
std::size_t MeansInPlace(std::span<std::byte> samples, std::size_t runs, std::size_t factor) {
    for (std::size_t r = 0; r < runs; ++r) {
        if constexpr (std::is_integral_v<Sample>) {
            std::int64_t sum = 0;
            for (std::size_t i = 0; i < factor; ++i)
                sum += Bytes::Load<Sample>(samples.data() + (r * factor + i) * sizeof(Sample));
            const double mean = static_cast<double>(sum) / static_cast<double>(factor);
            Bytes::Store(samples.data() + r * sizeof(Sample), static_cast<Sample>(std::llround(mean)));
        } else {
            double sum = 0;
            for (std::size_t i = 0; i < factor; ++i)
                sum += static_cast<double>(
                    Bytes::Load<Sample>(samples.data() + (r * factor + i) * sizeof(Sample)));
            Bytes::Store(samples.data() + r * sizeof(Sample),
                         static_cast<Sample>(sum / static_cast<double>(factor)));
        }
    }
    return runs * sizeof(Sample);
}

struct MeanRow {
    std::size_t (*Means)(std::span<std::byte> samples, std::size_t runs, std::size_t factor);
};
constexpr MeanRow Means[] = {{MeansInPlace<std::int16_t>},
                             {MeansInPlace<std::int32_t>},
                             {MeansInPlace<float>},
                             {MeansInPlace<double>}};

// The reduced samples as steps of a change.
bool WriteMeans(DataSession& session, const VennicTrace& trace, std::size_t factor, SetStore::Step& step,
                Messages::Progress& progress) {
    const std::size_t size = SampleSize(trace.TrDataFormat);
    const std::span<std::byte> scratch = Scratch::Vector();
    const std::size_t runsAtOnce =
        std::min(scratch.size(), std::max(PieceBytes, factor * size)) / size / factor;
    if (runsAtOnce == 0) return Refuse("Compress trace: the factor is too large.");
    const std::size_t total = static_cast<std::size_t>(trace.TrDataPoints) / factor;
    std::int64_t writeAt = trace.TrFileOffset;
    for (std::size_t done = 0; done < total;) {
        const std::size_t runs = std::min(runsAtOnce, total - done);
        const std::int64_t readAt = trace.TrFileOffset + static_cast<std::int64_t>(done * factor * size);
        if (!ReadSamples(trace, session.DataFile, readAt, scratch, runs * factor, size, NeedsSwap(trace),
                         true))
            return false;
        const std::size_t bytes = Means[trace.TrDataFormat].Means(scratch, runs, factor);
        const int error = step.Change.Write(session.FileName, writeAt, scratch.first(bytes));
        if (error != 0) {
            session.DiskWasFull = error == ENOSPC;
            return RefuseFile("Compress - Error writing data", error);
        }
        writeAt += static_cast<std::int64_t>(bytes);
        done += runs;
        if (!progress.Add(static_cast<std::int64_t>(runs * factor * size))) return false;
    }
    return true;
}

bool CanCompress(const VennicTrace& trace, int factor) {
    if (IsInterleaved(trace))
        return Refuse("Compress trace: interleaved traces must be de-interleaved beforehand.");
    if (trace.TrDataFormat >= std::size(Means)) return Refuse("Compress - unknown data-format.");
    if (trace.TrFileOffset < 0) return Refuse("Compress - Error seeking write data");
    if (trace.TrDataPoints < factor) return Refuse("Compress trace: the factor is larger than the trace.");
    return true;
}

void DescribeCompressed(VennicTrace& trace, int factor) {
    DescribeWritten(trace);
    trace.TrDataPoints /= factor;
    trace.TrXInterval *= factor;
    trace.TrYRangeKnown = 0;
    trace.PointsLoaded = trace.FirstPoint = 0;
}

bool CompressAll(DataSession& session, const std::vector<VennicTrace*>& traces, int factor) {
    std::int64_t bytes = 0;
    for (const VennicTrace* trace : traces)
        bytes +=
            std::int64_t{trace->TrDataPoints} * static_cast<std::int64_t>(SampleSize(trace->TrDataFormat));
    Messages::Progress progress("compressing", bytes);
    SetStore::Step step(session);
    if (!step.Begin()) return false;
    for (const VennicTrace* trace : traces)
        if (!WriteMeans(session, *trace, static_cast<std::size_t>(factor), step, progress)) return false;
    // The trees of the step hold the new records; a step that fails takes them back.
    std::vector<VennicTrace> former;
    for (VennicTrace* trace : traces) {
        former.push_back(*trace);
        DescribeCompressed(*trace, factor);
    }
    if (step.AddTrees() && step.Commit()) return true;
    if (!session.MustClose)
        for (std::size_t i = 0; i < traces.size(); ++i) *traces[i] = former[i];
    return false;
}

}

bool CompressTrace(DataSession& session, VennicTrace& trace, int factor) {
    return CompressTraces(session, &trace, factor);
}

bool CompressTraces(DataSession& session, void* record, int factor) {
    if (factor < 2) return true;
    if (!session.Modify) return Refuse("Cannot modify: data file opened read-only.");
    std::vector<VennicTrace*> traces;
    const bool allCan = ForEachStored(record, [&](VennicTrace& trace) {
        traces.push_back(&trace);
        return CanCompress(trace, factor);
    });
    if (!allCan) return false;
    if (traces.empty()) return Refuse("Compress trace: there are no samples.");
    if (!LockSamples(session)) return false;
    const bool done = SetStore::WithReserve(session, [&] { return CompressAll(session, traces, factor); });
    UnlockSamples(session);
    return done;
}

}
