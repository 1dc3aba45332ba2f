#include "base/bytes.h"
#include "base/checksum.h"
#include "base/journal.h"
#include "base/journal_steps.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Journal {

namespace {

enum class State : std::uint8_t { Unfinished, Complete, Foreign };

// The journal was complete when it was flushed if its checksum says so.
int ReadState(Files::File& file, std::int64_t length, State& state) {
    state = State::Unfinished;
    Files::Reader reader(file, 0);
    int error = reader.Open();
    if (error != 0) return error;

    std::array<char, HeaderBytes> header{};
    const auto headerBytes = static_cast<std::size_t>(std::min(length, HeaderBytes));
    if (!reader.Read(header.data(), headerBytes)) return reader.LastError;
    const std::uint32_t version = Bytes::Little(Version);
    std::array<char, HeaderBytes> ours{};
    std::memcpy(ours.data(), Magic.data(), Magic.size());
    std::memcpy(ours.data() + Magic.size(), &version, sizeof version);
    // A disk that lost power may hold zeros where it should hold the first block.
    const bool empty =
        std::all_of(header.begin(), header.begin() + headerBytes, [](char c) { return c == 0; });
    if (!empty && std::memcmp(header.data(), ours.data(), headerBytes) != 0) state = State::Foreign;
    if (empty || state == State::Foreign || length < HeaderBytes + EndBytes) return 0;

    std::uint32_t sum = Checksum::Crc32(0, std::as_bytes(std::span(header))), stored = 0;
    std::vector<std::byte> piece(std::size_t{64} << 10);
    while (reader.Remaining() > static_cast<std::int64_t>(sizeof stored)) {
        const auto bytes =
            static_cast<std::size_t>(std::min(reader.Remaining() - static_cast<std::int64_t>(sizeof stored),
                                              static_cast<std::int64_t>(piece.size())));
        if (!reader.Read(piece.data(), bytes)) return reader.LastError;
        sum = Checksum::Crc32(sum, std::span(piece).first(bytes));
    }
    if (!reader.Read(&stored, sizeof stored)) return reader.LastError;
    if (sum == Bytes::Little(stored)) state = State::Complete;
    return 0;
}

// What the entries say of a file, and what lies there.
struct Named {
    std::int64_t Present = -1; // its length now, -1 for no file
    std::int64_t Decided = -1; // its length when the change was decided
    bool Listed = false;       // Decided has been read
    bool Written = false;      // else renamed, replaced or removed
    std::int64_t End = 0;      // the highest that a write reaches, before any length step
    std::int64_t SetTo = -1;   // the length since the last length step, -1 before any
    bool MadeSo = false;       // Present is one of the lengths since a length step
};

struct Move {
    std::string From, To; // To is empty for a removal
};

struct Entries {
    std::map<std::string, Named> Names;
    std::vector<Move> Moves;
    int Error = 0; // the system's reason for not seeing a file
};

Named* Use(Entries& entries, const std::string& journal, const std::string& name, bool written) {
    const auto [at, isNew] = entries.Names.try_emplace(name);
    Named& named = at->second;
    if (!isNew) return written && named.Written ? &named : nullptr;
    if (entries.Names.size() > NamesMax) return nullptr;
    named.Written = written;
    entries.Error = PresentLength(Beside(journal, name), named.Present);
    return entries.Error == 0 ? &named : nullptr;
}

void NoteWrite(Named& named, std::int64_t end) {
    if (named.SetTo < 0) {
        named.End = std::max(named.End, end);
        return;
    }
    const std::int64_t before = named.SetTo;
    named.SetTo = std::max(before, end);
    named.MadeSo = named.MadeSo || (named.Present >= before && named.Present <= named.SetTo);
}

// False for an entry that no change of ours writes.
bool Note(Entries& entries, const std::string& journal, const Entry& entry) {
    if (entry.Kind == KindFile) {
        const auto at = entries.Names.find(entry.Name);
        if (at == entries.Names.end() || at->second.Listed) return false;
        at->second.Listed = true;
        at->second.Decided = entry.NewLength;
        return true;
    }
    const bool written = entry.Kind == KindWrite || entry.Kind == KindLength;
    Named* const named = Use(entries, journal, entry.Name, written);
    if (!named || named->Listed) return false;
    if (entry.Kind == KindWrite) NoteWrite(*named, entry.Position + entry.Count);
    if (entry.Kind == KindLength) {
        named->SetTo = entry.NewLength;
        named->MadeSo = named->MadeSo || named->Present == entry.NewLength;
    }
    if (entry.Kind == KindRename && !Use(entries, journal, entry.NewName, false)) return false;
    if (!written) entries.Moves.push_back({entry.Name, entry.NewName});
    return true;
}

bool FitsWrites(const Named& named) {
    const std::int64_t least = std::max<std::int64_t>(named.Decided, 0), most = std::max(least, named.End);
    return named.Present == named.Decided || named.MadeSo ||
           (named.Present >= least && named.Present <= most);
}

bool FitsMove(const Entries& entries, const Move& move) {
    const Named& from = entries.Names.at(move.From);
    if (move.To.empty()) return from.Present == from.Decided || from.Present < 0;
    const Named& to = entries.Names.at(move.To);
    if (from.Decided < 0) return false;
    return from.Present < 0 ? to.Present == from.Decided
                            : from.Present == from.Decided && to.Present == to.Decided;
}

// Whether the files that lie there are those of a complete journal, at its start or somewhere on its way.
int Compare(Files::File& journal, bool& fits) {
    fits = false;
    Files::Reader reader(journal, HeaderBytes);
    const int error = reader.Open();
    if (error != 0) return error;
    Entries entries;
    for (Entry entry;;) {
        entry.NewName.clear();
        if (!ReadEntry(reader, entry)) return reader.LastError;
        if (entry.Kind == KindEnd) break;
        if (!Note(entries, journal.Name, entry)) return entries.Error;
        if (entry.Kind == KindWrite && !reader.Skip(static_cast<std::uint64_t>(entry.Count)))
            return reader.LastError;
    }
    if (reader.Remaining() != EndBytes - 1) return 0;
    for (const auto& [name, named] : entries.Names)
        if (!named.Listed || (named.Written && !FitsWrites(named))) return 0;
    fits = std::all_of(entries.Moves.begin(), entries.Moves.end(),
                       [&](const Move& move) { return FitsMove(entries, move); });
    return 0;
}

Found RecoverFrom(Files::File& journal, int& error) {
    const auto failed = [&] { return error == 0 ? Found::Nothing : Found::Failed; };
    std::int64_t length = 0;
    State state = State::Unfinished;
    error = Files::Length(journal, length);
    if (error == 0 && length > 0) error = ReadState(journal, length, state);
    if (error != 0) return Found::Failed;
    if (state == State::Foreign) return Found::Foreign;
    if (state == State::Unfinished) {
        error = Discard(journal);
        if (length == 0) error = 0;
        return failed();
    }
    bool fits = false;
    error = Compare(journal, fits);
    if (error != 0) return Found::Failed;
    if (!fits) return Found::Foreign;
    bool begun = false;
    error = DoSteps(journal, begun);
    if (error == 0) error = Discard(journal);
    return error == 0 ? Found::Completed : Found::Failed;
}

// Where nothing can be written, a journal that was never decided says nothing either.
Found LookAt(const std::string& path, int& error) {
    Files::File journal;
    std::int64_t length = 0;
    State state = State::Unfinished;
    if (Acquire(journal, path, Files::Mode::Read) != 0 || Files::Length(journal, length) != 0 ||
        (length > 0 && ReadState(journal, length, state) != 0) || state != State::Unfinished)
        return Found::Failed;
    error = 0;
    return Found::Nothing;
}

}

Found Recover(const std::string& owner, int& error) {
    Files::File journal;
    const std::string path = NameFor(owner);
    error = Acquire(journal, path, Files::Mode::ReadWrite);
    if (error == 0) return RecoverFrom(journal, error);
    if (error == EROFS || error == EACCES || error == EPERM) return LookAt(path, error);
    if (error != EWOULDBLOCK && !NotThere(error)) return Found::Failed;
    return std::exchange(error, 0) == EWOULDBLOCK ? Found::Busy : Found::Nothing;
}

}
