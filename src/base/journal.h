// A change of several files, or of a file in place, that happens whole or not at all.
//
// The steps of a change are first written down in a journal beside the files and flushed to the disk; only
// then are they done, one after the other, and at the end the journal is removed. A crash before the journal
// is complete leaves the files as they were; a crash behind that point leaves a complete journal, and Recover
// does the steps once more. Doing a step twice is the same as doing it once.
//
// The journal of a change is named after the file that owns the change, with ".journal" behind it: it lies in
// the same folder, and all files that it names do. What is renamed must have been flushed before. Doing the
// steps twice is harmless because a name has one part in a change: either it is written to, as often as
// wanted, or it is renamed, replaced or removed, once.
//
// A file that somebody has put there meanwhile, from a backup for instance, is not written to: the journal
// holds the length of each file it names, and a file whose length is neither that one nor one that the steps
// can have left makes the journal a foreign one.
//
//     offset  size  item (little-endian)
//     0       8     "QvJournl"
//     8       4     version, 1
//     12            steps: kind (1 byte), length of the name (2), the name, then by kind
//                     'W'  position (8), count (8), the bytes
//                     'L'  length (8)
//                     'R'  length of the new name (2), the new name
//                     'D'  nothing
//                   names are bare file names of 1 to 255 bytes, at most 256 different ones
//     ...           for each name of the steps: 'F', the name as above, then the length (8) that the file had
//                   when the change was decided, -1 for no file
//     ...     1     'E', then the 32-bit checksum (CRC-32) of all bytes before it
#pragma once
#include "base/files.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Journal {

// The name of the journal of an owner's changes. A link has that of the file to which it leads.
[[nodiscard]] std::string NameFor(const std::string& owner);

// Removed with its destructor unless Commit has begun: nothing has happened then.
class Change {
public:
    Change() = default;
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

    // Starts the journal. Refuses while a journal of that owner waits for Recover (EBUSY).
    [[nodiscard]] int Begin(const std::string& owner);

    // The steps, in the order in which they will be done. Paths lie in the owner's folder (EXDEV otherwise);
    // a name in a second part is refused with EINVAL. All return an error code; after one that is not 0 the
    // change can only be dropped.
    // Write makes the file where there is none when the change is decided.
    [[nodiscard]] int Write(const std::string& path, std::int64_t position, std::span<const std::byte> bytes);
    [[nodiscard]] int SetLength(const std::string& path, std::int64_t length);
    [[nodiscard]] int Rename(const std::string& from,
                             const std::string& to);   // takes the place of a file there
    [[nodiscard]] int Remove(const std::string& path); // a file that is not there is no error

    // Decides the change, does its steps, and removes the journal. decided tells what an error means: false,
    // nothing has happened, and the journal is gone or an unfinished one; true, the change is under way, and
    // Recover completes it.
    [[nodiscard]] int Commit(bool& decided);

private:
    struct State;
    State* Own = nullptr;
};

enum class Found : std::uint8_t {
    Nothing,   // there was no journal, or an unfinished one, which is removed
    Completed, // a decided change has been completed
    Busy,      // another program has been in the middle of a change for two seconds
    Failed,    // the change could not be completed; the journal stays
    Foreign,   // the journal does not belong to the files that lie there; it stays
};

// Completes or drops what a crash has left of the owner's changes. error tells the system's reason for
// Failed, and is 0 otherwise.
[[nodiscard]] Found Recover(const std::string& owner, int& error);

}
