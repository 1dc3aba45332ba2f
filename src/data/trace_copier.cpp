#include "data/trace_copier.h"

#include "data/bundle.h"
#include "data/raw_data.h"
#include "data/scratch.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace RawData {

namespace {

// Pieces that stay in the processor's cache between read and write, and those that have to stay there twice.
constexpr std::size_t PieceBytes = std::size_t{1} << 20;
constexpr std::size_t WeaveBytes = PieceBytes / 4;

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

bool RefuseFile(std::string_view text, int error) {
    return Refuse(Bundle::FileMessage(text, error));
}

}

bool TraceCopier::Fits(std::int64_t position, std::int64_t bytes) {
    return position + bytes <= DataMax || Refuse("File length is limited to 2 Gbyte of data !");
}

bool TraceCopier::Count(std::int64_t bytes) {
    return !Shown || Shown->Add(bytes);
}

bool TraceCopier::Put(std::int64_t position, std::span<const std::byte> bytes) {
    const auto count = static_cast<std::int64_t>(bytes.size());
    if (!Fits(position, count)) return false;
    if (const int error = Files::WriteAt(Target, position, bytes); error != 0) {
        LastError = error;
        return RefuseFile("Copy - Error writing data", error);
    }
    return Count(count);
}

bool TraceCopier::CopyInterleaved(const VennicTrace& trace, bool swap) {
    const std::size_t size = SampleSize(trace.TrDataFormat);
    const std::span<std::byte> scratch = Scratch::Vector();
    const std::size_t most = std::min(scratch.size(), PieceBytes) / size;
    if (most == 0) return Refuse("Copy trace: no memory.");
    const auto total = static_cast<std::size_t>(trace.TrDataPoints);
    for (std::size_t done = 0; done < total;) {
        const std::size_t piece = std::min(most, total - done);
        const std::int64_t from = trace.TrFileOffset + static_cast<std::int64_t>(done * size);
        if (!ReadSamples(trace, Source, from, scratch, piece, size, swap, true)) return false;
        if (!Put(End, scratch.first(piece * size))) return false;
        End += static_cast<std::int64_t>(piece * size);
        done += piece;
    }
    return true;
}

// Traces of one sweep usually alternate in one stretch: it is read once for all of them.
bool TraceCopier::AddToWeave(const VennicTrace& trace, bool swap) {
    const auto size = static_cast<std::int64_t>(SampleSize(trace.TrDataFormat));
    const Weave one{.From = trace.TrFileOffset,
                    .Block = trace.TrInterleaveSize,
                    .Skip = trace.TrInterleaveSkip,
                    .Bytes = size * trace.TrDataPoints,
                    .Strands = {}};
    // What lies far apart, and what cannot be, is left to the reading of single traces.
    if (one.From < 0 || one.Skip < one.Block || one.Skip > CloseTogether || one.Block % size != 0)
        return Finish() && CopyInterleaved(trace, swap);
    const std::int64_t at = one.From - PendingWeave.From;
    const bool joins = !PendingWeave.Strands.empty() && one.Block == PendingWeave.Block &&
                       one.Skip == PendingWeave.Skip && one.Bytes == PendingWeave.Bytes && at >= 0 &&
                       at <= one.Skip - one.Block && std::ssize(PendingWeave.Strands) < one.Skip / one.Block;
    if (!joins) {
        if (!Finish()) return false;
        PendingWeave = one;
    }
    PendingWeave.Strands.push_back({.At = one.From - PendingWeave.From,
                                    .To = End,
                                    .SwapSize = swap ? static_cast<std::size_t>(size) : 0});
    End += one.Bytes;
    return true;
}

bool TraceCopier::ReadStretch(std::int64_t position, std::span<std::byte> stretch) {
    std::size_t got = 0;
    const int error = Files::ReadAt(Source, position, stretch, got);
    if (error != 0) return RefuseFile("Read - Error reading data", error);
    return got == stretch.size() || Refuse("Error: loading beyond Trace end");
}

// Where all samples of a stretch are wanted, they are dealt out in one pass over it.
bool TraceCopier::Weave::DealTo(std::span<const std::byte> stretch, std::span<std::byte> pieces,
                                std::size_t bytes) const {
    if (Block != 2 || Skip != 2 * std::ssize(Strands)) return false;
    std::array<std::byte*, DealMost> targets{};
    for (std::size_t i = 0; i < Strands.size(); ++i) {
        const auto turn = static_cast<std::size_t>(Strands[i].At / 2);
        if (Strands[i].At % 2 != 0 || turn >= targets.size() || targets[turn]) return false;
        targets[turn] = pieces.data() + i * bytes;
    }
    return DealSamples(stretch, std::span(targets).first(Strands.size()));
}

// The next bytes of each strand, one strand behind the other.
void TraceCopier::Weave::Unravel(std::span<const std::byte> stretch, std::span<std::byte> pieces) const {
    const std::size_t bytes = pieces.size() / Strands.size();
    const bool dealt = DealTo(stretch, pieces, bytes);
    for (std::size_t i = 0; i < Strands.size(); ++i) {
        const std::span<std::byte> piece = pieces.subspan(i * bytes, bytes);
        if (!dealt)
            PickBlocks(stretch.subspan(static_cast<std::size_t>(Strands[i].At)), Block, Skip, 0, piece);
        if (Strands[i].SwapSize > 0) Bytes::ReverseElements(piece, Strands[i].SwapSize);
    }
}

bool TraceCopier::FinishWeave() {
    const Weave weave = std::exchange(PendingWeave, Weave{});
    if (weave.Strands.empty()) return true;
    const std::span<std::byte> gather = Scratch::Deinterleave(), scratch = Scratch::Vector();
    const auto room = static_cast<std::int64_t>(std::min({gather.size(), scratch.size(), WeaveBytes}));
    if (room < CloseTogether) return Refuse("Load Trace: De-interleave buffer could not be allocated.");
    std::int64_t lastStrand = 0;
    for (const Weave::Strand& strand : weave.Strands) lastStrand = std::max(lastStrand, strand.At);
    const std::int64_t bytesAtOnce = room / weave.Skip * weave.Block; // of a strand
    for (std::int64_t done = 0; done < weave.Bytes; done += bytesAtOnce) {
        const std::int64_t bytes = std::min(bytesAtOnce, weave.Bytes - done);
        const std::int64_t lastBlock = (bytes - 1) / weave.Block;
        const std::int64_t length = lastBlock * weave.Skip + lastStrand + bytes - lastBlock * weave.Block;
        const std::span<std::byte> stretch = gather.first(static_cast<std::size_t>(length));
        if (!ReadStretch(weave.From + done / weave.Block * weave.Skip, stretch)) return false;
        const auto each = static_cast<std::size_t>(bytes);
        const std::span<std::byte> pieces = scratch.first(each * weave.Strands.size());
        weave.Unravel(stretch, pieces);
        // Strands follow each other in the target: whole ones go there together.
        if (bytes == weave.Bytes) return Put(weave.Strands.front().To, pieces);
        for (std::size_t i = 0; i < weave.Strands.size(); ++i)
            if (!Put(weave.Strands[i].To + done, pieces.subspan(i * each, each))) return false;
    }
    return true;
}

bool TraceCopier::Finish() {
    return FinishRun() && FinishWeave();
}

bool TraceCopier::FinishRun() {
    const Run run = std::exchange(Pending, Run{});
    if (run.Bytes == 0) return true;
    if (!Fits(run.To, run.Bytes)) return false;
    const std::span<std::byte> scratch = Scratch::Vector();
    const auto most = static_cast<std::int64_t>(std::min(scratch.size(), PieceBytes));
    if (most < 8) return Refuse("Copy trace: no memory.");
    for (std::int64_t done = 0; done < run.Bytes;) {
        const std::int64_t wanted = std::min(most, run.Bytes - done);
        if (run.SwapSize == 0) {
            const std::int64_t copied =
                Files::CopyBySystem(Source, run.From + done, wanted, Target, run.To + done);
            if (copied > 0 && !Count(copied)) return false;
            done += copied;
            if (copied == wanted) continue;
        }
        const std::span<std::byte> piece =
            scratch.first(static_cast<std::size_t>(std::min(wanted, run.Bytes - done)));
        std::size_t got = 0;
        const int error = Files::ReadAt(Source, run.From + done, piece, got);
        if (error != 0 || got < piece.size()) return RefuseFile("Read - Error reading data", error);
        if (run.SwapSize > 0) Bytes::ReverseElements(piece, run.SwapSize);
        if (!Put(run.To + done, piece)) return false;
        done += std::ssize(piece);
    }
    return true;
}

bool TraceCopier::Add(const VennicTrace& trace, std::int64_t& position) {
    const bool swap = ((trace.TrDataKind & DataKind::LittleEndian) != 0) != ToLittle;
    const std::size_t size = SampleSize(trace.TrDataFormat);
    position = End;
    if (IsInterleaved(trace)) return FinishRun() && AddToWeave(trace, swap);
    if (!FinishWeave()) return false;
    const std::int64_t bytes = std::int64_t{trace.TrDataPoints} * static_cast<std::int64_t>(size);
    const std::size_t swapSize = swap ? size : 0;
    const bool goesOn = Pending.Bytes > 0 && Pending.From + Pending.Bytes == trace.TrFileOffset &&
                        Pending.SwapSize == swapSize;
    if (!goesOn) {
        if (!Finish()) return false;
        Pending = {.From = trace.TrFileOffset, .To = End, .Bytes = 0, .SwapSize = swapSize};
    }
    Pending.Bytes += bytes;
    End += bytes;
    return true;
}

void DescribeCopied(VennicTrace& trace, bool little) {
    const int others = trace.TrDataKind & ~DataKind::LittleEndian;
    trace.TrDataKind = static_cast<std::int16_t>(others | (little ? DataKind::LittleEndian : 0));
    trace.TrInterleaveSize = trace.TrInterleaveSkip = 0;
}

bool CopyTrace(VennicTrace& trace, bool toLittle, std::int64_t& position, Files::File& source,
               Files::File& target) {
    const bool inPlace = &source == &target && position == trace.TrFileOffset;
    const bool swap = ((trace.TrDataKind & DataKind::LittleEndian) != 0) != toLittle;
    if (inPlace && IsInterleaved(trace))
        return Refuse("Copy trace: interleaved traces must be de-interleaved beforehand.");
    if (inPlace && !swap) {
        position = EndOf(trace);
        return true;
    }
    TraceCopier copier(source, target, toLittle, position);
    std::int64_t place = 0;
    if (!copier.Add(trace, place) || !copier.Finish()) return false;
    position = copier.End;
    DescribeCopied(trace, toLittle);
    return true;
}

}
