#include "base/journal_steps.h"

#include "base/bytes.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <limits>
#include <map>
#include <thread>
#include <vector>

namespace Journal {

namespace {

constexpr std::size_t PieceBytes = std::size_t{256} << 10;
constexpr std::chrono::milliseconds WaitMax{2000}, WaitStep{10};

bool ReadName(Files::Reader& reader, std::string& name) {
    std::uint16_t bytes = 0;
    if (!reader.Read(&bytes, sizeof bytes)) return false;
    bytes = Bytes::Little(bytes);
    if (bytes == 0 || bytes > NameBytesMax) return false;
    name.resize(bytes);
    return reader.Read(name.data(), bytes) && IsBareName(name);
}

bool ReadNumber(Files::Reader& reader, std::int64_t& value, std::int64_t least) {
    std::uint64_t stored = 0;
    if (!reader.Read(&stored, sizeof stored)) return false;
    value = static_cast<std::int64_t>(Bytes::Little(stored));
    return value >= least;
}

// The files that the steps write to, each opened once.
using OpenFiles = std::map<std::string, Files::File>;

int OpenForStep(OpenFiles& files, const std::string& path, bool& created, Files::File*& file) {
    file = &files[path];
    if (file->IsOpen()) return 0;
    int error = Files::Open(*file, path, Files::Mode::ReadWrite);
    if (error != ENOENT) return error;
    created = true;
    return Files::Open(*file, path, Files::Mode::Create);
}

int CopyBytes(Files::Reader& from, const Entry& entry, Files::File& to, std::vector<std::byte>& piece) {
    piece.resize(PieceBytes);
    for (std::int64_t done = 0; done < entry.Count;) {
        const auto bytes =
            static_cast<std::size_t>(std::min(entry.Count - done, static_cast<std::int64_t>(PieceBytes)));
        if (!from.Read(piece.data(), bytes)) return from.LastError != 0 ? from.LastError : EIO;
        const int error = Files::WriteAt(to, entry.Position + done, std::span(piece).first(bytes));
        if (error != 0) return error;
        done += static_cast<std::int64_t>(bytes);
    }
    return 0;
}

}

bool ReadEntry(Files::Reader& reader, Entry& entry) {
    if (!reader.Read(&entry.Kind, sizeof entry.Kind)) return false;
    if (entry.Kind == KindEnd) return true;
    if (!ReadName(reader, entry.Name)) return false;
    switch (entry.Kind) {
    case KindWrite:
        return ReadNumber(reader, entry.Position, 0) && ReadNumber(reader, entry.Count, 0) &&
               entry.Count <= reader.Remaining() &&
               entry.Position <= std::numeric_limits<std::int64_t>::max() - entry.Count;
    case KindLength: return ReadNumber(reader, entry.NewLength, 0);
    case KindRename: return ReadName(reader, entry.NewName);
    case KindRemove: return true;
    case KindFile: return ReadNumber(reader, entry.NewLength, -1);
    default: return false;
    }
}

bool IsBareName(std::string_view name) {
    return !name.empty() && name.size() <= NameBytesMax && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::string Beside(const std::string& journal, const std::string& name) {
    return (std::filesystem::path(journal).parent_path() / name).string();
}

bool NotThere(int error) {
    return error == ENOENT || error == ENOTDIR || error == ENAMETOOLONG;
}

int PresentLength(const std::string& path, std::int64_t& length) {
    Files::File file;
    const int error = Files::Open(file, path, Files::Mode::Read);
    if (error == 0) return Files::Length(file, length);
    length = -1;
    return error == ENOENT ? 0 : error;
}

// Who had to wait may hold what the other one has removed since.
int Acquire(Files::File& file, const std::string& path, Files::Mode mode) {
    const auto end = std::chrono::steady_clock::now() + WaitMax;
    for (;;) {
        int error = Files::Open(file, path, mode);
        if (error != 0) return error;
        error = Files::Lock(file, Files::LockKind::Writer);
        if (error == 0 && Files::IsStillAt(file, path)) return 0;
        if (error != 0 && !Files::LockedByAnother(error)) return error;
        Files::Close(file);
        if (std::chrono::steady_clock::now() >= end) return EWOULDBLOCK;
        std::this_thread::sleep_for(WaitStep);
    }
}

// Nothing need be flushed between two steps: until all are on the disk the journal is there to repeat them,
// and no file has a part in both kinds of steps.
int DoSteps(Files::File& journal, bool& begun) {
    begun = false;
    Files::Reader reader(journal, HeaderBytes);
    int error = reader.Open();
    OpenFiles files;
    bool namesChanged = false;
    std::vector<std::byte> piece;
    Entry entry;
    while (error == 0) {
        if (!ReadEntry(reader, entry)) return reader.LastError != 0 ? reader.LastError : EIO;
        if (entry.Kind == KindFile || entry.Kind == KindEnd) break;
        const std::string path = Beside(journal.Name, entry.Name);
        if (entry.Kind == KindRename) {
            namesChanged = true;
            std::int64_t length = 0;
            error = PresentLength(path, length);
            if (error == 0 && length >= 0) error = Files::Rename(path, Beside(journal.Name, entry.NewName));
            begun = begun || error == 0;
        } else if (entry.Kind == KindRemove) {
            namesChanged = true;
            error = Files::Remove(path);
            if (error == ENOENT) error = 0;
            begun = begun || error == 0;
        } else {
            Files::File* file = nullptr;
            error = OpenForStep(files, path, namesChanged, file);
            begun = begun || error == 0; // a write that fails may have got half-way
            if (error == 0)
                error = entry.Kind == KindLength ? Files::SetLength(*file, entry.NewLength)
                                                 : CopyBytes(reader, entry, *file, piece);
        }
    }
    for (auto& [path, file] : files)
        if (error == 0) error = Files::Flush(file);
    if (error == 0 && namesChanged) error = Files::FlushFolder(journal.Name);
    return error;
}

int Discard(Files::File& journal) {
    int error = Files::Remove(journal.Name);
    if (error == 0) error = Files::FlushFolder(journal.Name);
    if (error == 0) return 0;
    // An empty journal says as little as none, also when its name comes back.
    error = Files::SetLength(journal, 0);
    return error == 0 ? Files::Flush(journal) : error;
}

}
