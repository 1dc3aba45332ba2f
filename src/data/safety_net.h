// "SafetyNet": a reserve on the disk while a data set is open for changes. Giving it up frees the room that a
// store needs when the disk is full.
#pragma once
#include "data/session.h"

namespace SafetyNet {

inline constexpr std::int64_t Bytes = 4'194'304;

// Makes the file in Setup.Settings.TempPath, or beside the data file when that is empty. It begins with the
// data file's name, and one that is there for this data file is taken as it is. Where the name is taken for
// another data file, the data set's own name is put behind it. False when it cannot be made and the user does
// not want to go on without.
[[nodiscard]] bool Create(DataSession& session);

// False when there was none.
bool Remove(DataSession& session);

}
