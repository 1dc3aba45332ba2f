// Copying the samples of traces from one file into another: one behind the other, in one byte order, and no
// longer interleaved.
#pragma once
#include "base/files.h"
#include "base/messages.h"
#include "trees/vennic_tree.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace RawData {

// Copies the samples of traces one behind the other into a file. Traces that lie one behind the other in the
// source go over in one piece, by the system's own copy where their order stays and the system can;
// interleaved ones that share a stretch of it are read together. All other pieces pass through the scratch
// vector.
class TraceCopier {
public:
    TraceCopier(Files::File& from, Files::File& to, bool toLittle, std::int64_t startAt)
        : Source(from), Target(to), ToLittle(toLittle), End(startAt) {}

    // The position in the target where the trace's samples begin; the record itself stays as it is.
    // False, with an alert, on a failure or a break.
    [[nodiscard]] bool Add(const VennicTrace& trace, std::int64_t& position);
    // Behind the last trace. End is then the first byte behind all samples.
    [[nodiscard]] bool Finish();

    Files::File& Source;
    Files::File& Target;
    bool ToLittle;
    std::int64_t End;                    // in the target, of all traces added so far
    Messages::Progress* Shown = nullptr; // counts the bytes
    int LastError = 0;                   // of the file, where a write failed

private:
    // A stretch of the source that is not copied yet.
    struct Run {
        std::int64_t From = 0, To = 0, Bytes = 0;
        std::size_t SwapSize = 0; // bytes of a sample that is reversed; 0: copied as it is
    };
    // Interleaved traces of one stretch, each with as many bytes in the same blocks.
    struct Weave {
        struct Strand {
            std::int64_t At = 0, To = 0; // the first block, from the stretch's start; place in the target
            std::size_t SwapSize = 0;
        };
        std::int64_t From = 0, Block = 0, Skip = 0, Bytes = 0;
        std::vector<Strand> Strands;

        void Unravel(std::span<const std::byte> stretch, std::span<std::byte> pieces) const;
        [[nodiscard]] bool DealTo(std::span<const std::byte> stretch, std::span<std::byte> pieces,
                                  std::size_t bytes) const;
    };
    [[nodiscard]] bool AddToWeave(const VennicTrace& trace, bool swap);
    [[nodiscard]] bool FinishWeave();
    [[nodiscard]] bool FinishRun();
    [[nodiscard]] bool CopyInterleaved(const VennicTrace& trace, bool swap);
    [[nodiscard]] bool ReadStretch(std::int64_t position, std::span<std::byte> stretch);
    [[nodiscard]] bool Fits(std::int64_t position, std::int64_t bytes);
    [[nodiscard]] bool Count(std::int64_t bytes);
    [[nodiscard]] bool Put(std::int64_t position, std::span<const std::byte> bytes);

    Run Pending;
    Weave PendingWeave; // at most one of both is pending
};

// What a record says of samples that have been copied: their order, and that they are not interleaved.
void DescribeCopied(VennicTrace& trace, bool little);

// Copies one trace to the position, which moves on, and completes the record but for TrFileOffset: the order
// is the wanted one, and it is no longer interleaved. Where source and target are one file and nothing would
// change, only the position moves.
[[nodiscard]] bool CopyTrace(VennicTrace& trace, bool toLittle, std::int64_t& position, Files::File& source,
                             Files::File& target);

}
