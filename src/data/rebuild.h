// Putting a data file in order: samples one behind the other in tree order, in this machine's byte order, not
// interleaved, behind a header.
//
// The new content is written beside the data file (extension ".da0") and takes its place together with the
// trees that lead into it, in one step of a journal. Readers that have the old file open keep it.
#pragma once
#include "base/messages.h"
#include "data/session.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Rebuild {

// Disk space that must be free beyond what a copy takes, bytes.
inline constexpr std::int64_t SpareBytes = 10'485'760;

struct FileState {
    bool Sequential = true; // each trace begins where the former one ended
    bool Native = true;     // all samples are in this machine's order; a mixture makes Sequential false, too
    bool Interleaved = false;
    std::int64_t UsedEnd = 0;   // the largest end by offset and length alone
    std::int64_t SeqEnd = 0;    // behind the last trace
    std::int64_t UsedBytes = 0; // of all samples
};

// Looks at the valid traces with points, in tree order. Of interleaved traces only the first one of a sweep
// is tested, for not lying before the running end.
[[nodiscard]] FileState CheckFile(const DataSession& session);

// Sequential, native and not interleaved.
[[nodiscard]] bool IsNative(const DataSession& session);

// And behind a header, with nothing else before or behind the samples: a copy of it would be the same.
[[nodiscard]] bool IsCompact(const DataSession& session);

// Unused space worth a rebuild: a file that is not sequential, at least 10 485 760 bytes unused and less than
// 0.9 of it used.
[[nodiscard]] bool NeedsCompacting(const DataSession& session);

// Says what is to be done, asks for it, and does it: a compacting copy, or a change of byte order alone.
// A file that is in order is left alone. True also when the user wants no change, and when the disk has no
// room for the copy (which is said).
[[nodiscard]] bool RebuildDataFile(DataSession& session, bool makeLittle);

// A new data file that is being written beside the old one.
class NewDataFile {
public:
    explicit NewDataFile(DataSession& session) : Session(session) {}
    ~NewDataFile();
    NewDataFile(const NewDataFile&) = delete;
    NewDataFile& operator=(const NewDataFile&) = delete;

    // With a fresh header, or with the bytes that stand before the old file's samples.
    [[nodiscard]] bool Begin(bool freshHeader);
    // Everything has been written; the records of the session lead into it.
    [[nodiscard]] bool Flush();
    // The session goes on with it. To be called once the change that put it in its place is made.
    void TakeOver(std::int64_t dataEnd);
    // It stays on the disk: a change that is under way will put it in its place.
    void Leave() { Taken = true; }

    Files::File File;
    std::string Path;
    std::int64_t Start = 0; // where the samples begin
    DataSession& Session;   // whose data file it will be

private:
    Bundle::Header Header{};
    bool Taken = false;
};

struct Moved {
    VennicTrace* Trace;
    std::int64_t To;
};
// Copies all stored traces of a data set one behind the other into a file of the session's, from end on, and
// notes where each goes.
[[nodiscard]] bool CopySamples(DataSession& from, DataSession& session, Files::File& file, bool toLittle,
                               std::vector<Moved>& moved, std::int64_t& end, Messages::Progress& progress);

// Leads the records to their new samples, and back again.
class Redirection {
public:
    Redirection(const std::vector<Moved>& moved, bool little);
    void Undo();

private:
    struct Former {
        VennicTrace* Trace;
        std::int32_t FileOffset, InterleaveSize, InterleaveSkip;
        std::int16_t DataKind;
    };
    std::vector<Former> Records;
};

// Free space for a copy of so many bytes. False, with an alert, when there is not enough.
[[nodiscard]] bool HasRoomFor(const DataSession& session, std::int64_t bytes);

}
