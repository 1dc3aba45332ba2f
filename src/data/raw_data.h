// The raw samples of a data file: where a trace lies, and how its samples are read.
// Positions are bytes from the start of the file.
//
// An interleaved trace lies in blocks of TrInterleaveSize bytes, one block every TrInterleaveSkip bytes from
// TrFileOffset on, so that several traces share a stretch of the file block by block. Its positions count the
// trace's own bytes only, as if the blocks lay one behind the other.
#pragma once
#include "base/files.h"
#include "trees/vennic_tree.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace RawData {

// Positions are stored in 32 bits: samples end no later than here.
inline constexpr std::int64_t DataMax = std::numeric_limits<std::int32_t>::max();

// Bytes of one stored sample: 4 for formats 1 and 2, 8 for format 3, 2 for all others.
[[nodiscard]] std::size_t SampleSize(int format);

[[nodiscard]] bool IsInterleaved(const VennicTrace& trace);

// True when the samples' byte order is not this machine's.
[[nodiscard]] bool NeedsSwap(const VennicTrace& trace);

// The first byte behind the trace's samples.
[[nodiscard]] std::int64_t EndOf(const VennicTrace& trace);

// Interleaved blocks that begin no farther apart are read in one go and picked apart.
inline constexpr std::int64_t CloseTogether = 4096;

// Picks blocks out of a stretch that begins with the first one, until the target is full. The first block
// gives only what lies behind its first rest bytes. The stretch reaches to the end of the last one.
void PickBlocks(std::span<const std::byte> stretch, std::int64_t block, std::int64_t skip, std::int64_t rest,
                std::span<std::byte> target);

// Deals samples of 2 bytes out in turn, as to the players of a game: each target gets every n-th sample of
// the stretch, in one pass over it that is several times as fast as picking the targets' samples one by one.
// All get equally many. False, and nothing is done, for other numbers of targets than 2, 4 and 8.
inline constexpr std::size_t DealMost = 8;
[[nodiscard]] bool DealSamples(std::span<const std::byte> stretch, std::span<std::byte* const> targets);

// Calls visit(trace) for every trace below the record, or the record itself, that is valid, has points and is
// not temporary, in tree order. Stops with false when a call returns false.
template <class Visit>
bool ForEachStored(const void* record, Visit&& visit) {
    if (!record || !Tree::IsValid(record)) return true;
    if (Tree::Level(record) == 4) {
        auto& trace = *static_cast<VennicTrace*>(const_cast<void*>(record));
        return trace.TrDataPoints <= 0 || trace.IsTemporary || visit(trace);
    }
    for (int i = 1; i <= Tree::ChildCount(record); ++i)
        if (!ForEachStored(Tree::Child(record, i), visit)) return false;
    return true;
}

// The first byte behind all samples of the tree's valid traces, at least dataStart.
[[nodiscard]] std::int64_t ComputeDataEnd(const void* root, std::int64_t dataStart);

// Reads count samples from a position of the trace on into the buffer, de-interleaved, in this machine's
// order when swap is set. False when the file gives fewer; alert decides whether that is said.
[[nodiscard]] bool ReadSamples(const VennicTrace& trace, Files::File& file, std::int64_t position,
                               std::span<std::byte> buffer, std::size_t count, std::size_t sampleSize,
                               bool swap, bool alert);

}
