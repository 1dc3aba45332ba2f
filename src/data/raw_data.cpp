#include "data/raw_data.h"

#include "base/messages.h"
#include "data/bundle.h"
#include "data/sample_format.h"
#include "data/scratch.h"

#include <algorithm>
#include <cstring>

namespace RawData {

namespace {

bool Refuse(std::string_view text, bool alert) {
    if (alert) Messages::Alert(text);
    return false;
}

bool ReadPiece(Files::File& file, std::int64_t position, std::span<std::byte> target, bool alert) {
    if (position < 0) return Refuse("Read - Error seeking data", alert);
    std::size_t got = 0;
    const int error = Files::ReadAt(file, position, target, got);
    if (error == 0 && got == target.size()) return true;
    return Refuse(Bundle::FileMessage("Read - Error reading data", error), alert);
}

template <std::size_t Block>
void PickWhole(std::span<const std::byte> stretch, std::int64_t skip, std::span<std::byte> target) {
    const std::byte* from = stretch.data();
    for (std::size_t at = 0; at + Block <= target.size(); at += Block, from += skip)
        std::memcpy(target.data() + at, from, Block);
}

// Eight samples in one register of the processor.
using Eight = std::uint16_t __attribute__((vector_size(16)));

Eight LowInTurn(Eight a, Eight b) {
    return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
}
Eight HighInTurn(Eight a, Eight b) {
    return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
}

// A sample's place among 8 * Players of them, in binary, is its round in the upper three digits and its
// player in the lower ones. Each step puts the uppermost digit behind the others, so that three of them leave
// the player above the round: the samples of a player in one register.
template <std::size_t Players>
void DealRounds(const std::byte* from, std::span<std::byte* const> targets, std::size_t rounds) {
    std::size_t round = 0;
    // Written out in full, the registers need no memory.
    for (; round + 8 <= rounds; round += 8) {
        Eight now[Players], next[Players];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < Players; ++i, from += sizeof(Eight)) now[i] = Bytes::Load<Eight>(from);
#pragma GCC unroll 3
        for (int step = 0; step < 3; ++step) {
#pragma GCC unroll 4
            for (std::size_t i = 0; i < Players / 2; ++i) {
                next[2 * i] = LowInTurn(now[i], now[i + Players / 2]);
                next[2 * i + 1] = HighInTurn(now[i], now[i + Players / 2]);
            }
#pragma GCC unroll 8
            for (std::size_t i = 0; i < Players; ++i) now[i] = next[i];
        }
#pragma GCC unroll 8
        for (std::size_t i = 0; i < Players; ++i) Bytes::Store(targets[i] + 2 * round, now[i]);
    }
    for (; round < rounds; ++round)
        for (std::size_t i = 0; i < Players; ++i, from += 2) std::memcpy(targets[i] + 2 * round, from, 2);
}

// Blocks that lie close together are read in one go and picked apart; distant ones are read one by one.
bool ReadInterleaved(const VennicTrace& trace, Files::File& file, std::int64_t position,
                     std::span<std::byte> target, bool alert) {
    const std::int64_t block = trace.TrInterleaveSize, skip = trace.TrInterleaveSkip;
    if (skip < block || position < trace.TrFileOffset) return Refuse("Read - Error seeking data", alert);
    const std::span<std::byte> gather = Scratch::Deinterleave();
    if (gather.empty()) return Refuse("Load Trace: De-interleave buffer could not be allocated.", true);
    const std::int64_t inTrace = position - trace.TrFileOffset;
    std::int64_t blockStart = trace.TrFileOffset + inTrace / block * skip;
    std::int64_t rest = inTrace % block; // bytes of the first block that come before the position
    const auto room = static_cast<std::int64_t>(gather.size());

    while (!target.empty()) {
        const auto wanted = static_cast<std::int64_t>(target.size());
        if (skip > CloseTogether || skip > room) {
            const auto piece = static_cast<std::size_t>(std::min(block - rest, wanted));
            if (!ReadPiece(file, blockStart + rest, target.first(piece), alert)) return false;
            target = target.subspan(piece);
            blockStart += skip;
            rest = 0;
            continue;
        }
        const std::int64_t blocksWanted = (rest + wanted - 1) / block + 1;
        const std::int64_t blocks = std::min(blocksWanted, (room - block) / skip + 1);
        const std::int64_t lastBytes = blocks == blocksWanted ? (rest + wanted - 1) % block + 1 : block;
        const auto stretch = static_cast<std::size_t>((blocks - 1) * skip + lastBytes);
        if (blockStart < 0) return Refuse("Read - Error seeking data", alert);
        std::size_t got = 0;
        const int error = Files::ReadAt(file, blockStart, gather.first(stretch), got);
        if (error != 0) return Refuse(Bundle::FileMessage("Read - Error reading data", error), alert);
        if (got < stretch) return Refuse("Error: loading beyond Trace end", alert);
        const auto picked = static_cast<std::size_t>(std::min(blocks * block - rest, wanted));
        PickBlocks(gather.first(stretch), block, skip, rest, target.first(picked));
        target = target.subspan(picked);
        rest = 0;
        blockStart += blocks * skip;
    }
    return true;
}

}

void PickBlocks(std::span<const std::byte> stretch, std::int64_t block, std::int64_t skip, std::int64_t rest,
                std::span<std::byte> target) {
    const bool whole = rest == 0 && static_cast<std::int64_t>(target.size()) % block == 0;
    // One sample a block is the common case; moves of a known size are several times as fast.
    if (whole && block == 2) return PickWhole<2>(stretch, skip, target);
    if (whole && block == 4) return PickWhole<4>(stretch, skip, target);
    if (whole && block == 8) return PickWhole<8>(stretch, skip, target);
    for (std::int64_t from = 0; !target.empty(); from += skip) {
        const std::size_t piece = std::min(static_cast<std::size_t>(block - rest), target.size());
        std::memcpy(target.data(), stretch.data() + from + rest, piece);
        target = target.subspan(piece);
        rest = 0;
    }
}

bool DealSamples(std::span<const std::byte> stretch, std::span<std::byte* const> targets) {
    const std::size_t players = targets.size();
    if (players != 2 && players != 4 && players != 8) return false;
    const std::size_t rounds = stretch.size() / 2 / players;
    if (players == 2) DealRounds<2>(stretch.data(), targets, rounds);
    if (players == 4) DealRounds<4>(stretch.data(), targets, rounds);
    if (players == 8) DealRounds<8>(stretch.data(), targets, rounds);
    return true;
}

std::size_t SampleSize(int format) {
    const std::size_t size = SampleFormat::SampleSize(static_cast<DataFormat>(format));
    return size > 0 ? size : 2;
}

bool IsInterleaved(const VennicTrace& trace) {
    if (trace.TrInterleaveSize <= 0) return false;
    const std::int64_t bytes =
        std::int64_t{trace.TrDataPoints} * static_cast<std::int64_t>(SampleSize(trace.TrDataFormat));
    return !(bytes == trace.TrInterleaveSize && trace.TrInterleaveSize == trace.TrInterleaveSkip);
}

bool NeedsSwap(const VennicTrace& trace) {
    return ((trace.TrDataKind & DataKind::LittleEndian) != 0) != Bytes::MachineIsLittle;
}

std::int64_t EndOf(const VennicTrace& trace) {
    const auto size = static_cast<std::int64_t>(SampleSize(trace.TrDataFormat));
    if (!IsInterleaved(trace)) return trace.TrFileOffset + size * trace.TrDataPoints;
    const std::int64_t pointsInBlock = std::max<std::int64_t>(trace.TrInterleaveSize / size, 1);
    const std::int64_t blocks = (std::int64_t{trace.TrDataPoints} - 1) / pointsInBlock + 1;
    return trace.TrFileOffset + (blocks - 1) * trace.TrInterleaveSkip + trace.TrInterleaveSize;
}

std::int64_t ComputeDataEnd(const void* root, std::int64_t dataStart) {
    std::int64_t end = dataStart;
    ForEachStored(root, [&](const VennicTrace& trace) {
        end = std::max(end, EndOf(trace));
        return true;
    });
    return end;
}

bool ReadSamples(const VennicTrace& trace, Files::File& file, std::int64_t position,
                 std::span<std::byte> buffer, std::size_t count, std::size_t sampleSize, bool swap,
                 bool alert) {
    if (count > buffer.size() / sampleSize) return Refuse("Error: Trace too long for scratch vector.", alert);
    const std::span<std::byte> target = buffer.first(count * sampleSize);
    const bool read = IsInterleaved(trace) ? ReadInterleaved(trace, file, position, target, alert)
                                           : ReadPiece(file, position, target, alert);
    if (read && swap) Bytes::ReverseElements(target, sampleSize);
    return read;
}

}
