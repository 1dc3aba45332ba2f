// Writing raw samples: a trace at a time, and reduction in place.
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

// The samples of the trace become the means of each run of factor samples, where they lie; an incomplete last
// run is dropped. TrDataPoints and TrXInterval follow. The mean of integers is rounded half away from zero;
// sums of reals run in 64 bits from the first sample on. The trees are stored in the same step.
// A factor below 2 does nothing. False, with an alert, for interleaved traces and on failures: nothing has
// changed then.
[[nodiscard]] bool CompressTrace(DataSession& session, VennicTrace& trace, int factor);
// The same for all valid traces below a record, in one step.
[[nodiscard]] bool CompressTraces(DataSession& session, void* record, int factor);

}
