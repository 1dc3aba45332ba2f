// Writing raw samples: a trace at a time, copies of traces from file to file, and reduction in place.
// What is overwritten goes through a journal, so that a crash leaves the samples of before or of after.
#pragma once
#include "base/messages.h"
#include "data/session.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace RawData {

// Shuts out readers of the data file while samples are changed where they lie. False, with an alert, while
// another program reads them.
[[nodiscard]] bool LockSamples(DataSession& session);
void UnlockSamples(DataSession& session);

// Writes the loaded samples of a trace to the session's data file (or its temporary file, for a temporary
// trace), in this machine's order.
//   replace  over the trace's own samples; otherwise at the position, which moves on: the record is then led
//            there. An interleaved trace cannot be replaced.
//   convert  from the loaded format to the trace's stored one, undoing Scale and Offset; otherwise the
//   samples
//            must be in the stored format already.
//   alert    errors of the file are said.
// False when the session is not open for changes, the data would pass 2 147 483 647 bytes, or the file says
// no; a replacement has then left the samples as they were.
[[nodiscard]] bool WriteTrace(DataSession& session, VennicTrace& trace, std::int64_t& position, bool replace,
                              bool alert, bool convert);

// Copies the samples of traces one behind the other into a file. Traces that lie one behind the other in the
// source go over in one piece, and so do interleaved ones that share a stretch of it; all pieces pass through
// the scratch vector.
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
    };
    [[nodiscard]] bool AddToWeave(const VennicTrace& trace, bool swap);
    [[nodiscard]] bool FinishWeave();
    [[nodiscard]] bool FinishRun();
    [[nodiscard]] bool CopyInterleaved(const VennicTrace& trace, bool swap);
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

// The samples of the trace become the means of each run of factor samples, where they lie; an incomplete last
// run is dropped. TrDataPoints and TrXInterval follow. The mean of integers is rounded half away from zero;
// sums of reals run in 64 bits from the first sample on. The trees are stored in the same step.
// A factor below 2 does nothing. False, with an alert, for interleaved traces and on failures: nothing has
// changed then.
[[nodiscard]] bool CompressTrace(DataSession& session, VennicTrace& trace, int factor);
// The same for all valid traces below a record, in one step.
[[nodiscard]] bool CompressTraces(DataSession& session, void* record, int factor);

}
