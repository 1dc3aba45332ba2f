// Putting the groups of another data set behind those of the open one.
#pragma once
#include "data/session.h"

#include <string>

// The open data set, which must be open for changes, is rewritten with its samples in order and those of the
// other set behind them, and its trees with the other's groups, stimulations, amplifier states and solutions
// behind its own; references are raised by what was there before. Stimuli that took values from the other
// set's parameters keep those values as their own. The analysis gets empty records for the new groups, the
// notebook the other set's notes.
//
// The new files take the place of the old ones in one step; the other set is only read, and deleted at the
// end if the user wants it. False, with an alert, on any failure: the open data set is then as it was before,
// or closed without storing where the records in memory are no longer those of the files.
[[nodiscard]] bool MergeDataFile(DataSession& session, const std::string& path);
