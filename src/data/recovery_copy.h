// Analysis results that are not saved yet survive a crash: while there are any, a copy of the analysis tree
// is kept up to date beside the analysis file ("cell.ana.recover"), or, where that folder cannot be written,
// in the user's state folder (base/places.h) under a name made of the data file's path.
//
// The next session that may store the analysis offers the copy. Saving the analysis removes it, and so does
// an orderly end, unless it was taken up and not saved since, or saving failed.
#pragma once
#include "data/session.h"

namespace RecoveryCopy {

inline constexpr double Interval = 30.0; // s between two copies, at least

// For the idle step, and for long work between two results; now is the time of any steady clock in seconds.
// Called at least every 30 s, it keeps the copy less than 60 s behind the results. A copy that cannot be
// written is said once a session and never stops the work.
void Keep(DataSession& session, double now);
void Keep(DataSession& session); // by the machine's clock

// Asks whether a copy that lies there is to be taken up, in place of the analysis that was loaded. The
// results count as unsaved then.
void Offer(DataSession& session);

// The analysis has been saved.
void Saved(DataSession& session);
// It could not be saved: a copy is made at once, and stays behind the end of the session.
void SaveFailed(DataSession& session);
// The session ends in an orderly way.
void Ended(DataSession& session);

// Where the copy of a data set is looked for, in this order.
[[nodiscard]] std::vector<std::string> PlacesFor(const DataSession& session);

}
