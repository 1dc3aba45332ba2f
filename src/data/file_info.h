// What the user sees of the open data file itself: its name, how it is open, its length, and the room on its
// disk.
#pragma once
#include "data/session.h"

#include <string>

// ` file:  "NAME", read-only, length: 16 kb;   free disk space: 123456 B`, or "NO open file.". The length is
// in whole kilobytes of 1024 bytes. A disk that does not tell its room is left out.
[[nodiscard]] std::string FileInfoLine(DataSession& session);

// Logs the room on the data file's disk, "free disk space: 123456 B", or that there is none. Nothing without
// an open file.
void CheckFreeDisk(const DataSession& session);
