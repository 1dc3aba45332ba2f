// The file layer: the few things that are asked of the platform's files, in one table, so that a test can put
// files that fail in their place. Errors are the platform's own codes, 0 for success.
// Positions are given with each call; a File has no place of its own.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Files {

enum class Mode : std::uint8_t {
    Read,      // must exist
    ReadWrite, // must exist
    Create,    // created, or cut to length 0
    Keep,      // created, or opened as it is
};

// Locks are advisory and last as long as the file is open. The writer's and the readers' do not meet: a
// writer shuts out other writers, a change of bytes that readers hold on to shuts out readers.
enum class LockKind : std::uint8_t {
    Writer,    // one at a time
    Reader,    // any number; the file open for reading
    NoReaders, // while no other process or File has Reader; the file open for writing
    Done,      // ends Reader or NoReaders
};

// What tells one state of a file from another: its place on the disk, length and time of the last change.
struct Stamp {
    std::uint64_t Device = 0, Node = 0;
    std::int64_t Length = -1;   // -1: there is no such file
    std::int64_t ChangedAt = 0; // ns
    bool operator==(const Stamp&) const = default;
};

// The platform's operations; a negative result stands for -error.
struct Platform {
    int (*Open)(const char* path, Mode mode);
    std::int64_t (*ReadAt)(int handle, void* data, std::size_t bytes, std::int64_t position);
    std::int64_t (*WriteAt)(int handle, const void* data, std::size_t bytes, std::int64_t position);
    // The system's own copy, past this program's memory: how many bytes it has copied, fewer where it stops
    // for whatever reason. None (null) where the platform has no such thing.
    std::int64_t (*Copy)(int from, std::int64_t fromAt, std::size_t bytes, int to, std::int64_t toAt);
    std::int64_t (*Length)(int handle);
    int (*SetLength)(int handle, std::int64_t length);
    int (*Flush)(int handle); // returns when the content is on the disk
    int (*Close)(int handle);
    int (*Rename)(const char* from, const char* to);
    int (*Remove)(const char* path);
    int (*FlushFolder)(
        const char* path); // returns when names made or removed beside the path are on the disk
    int (*Lock)(int handle, LockKind kind);      // -EWOULDBLOCK when another one holds it
    std::int64_t (*FreeSpace)(const char* path); // bytes that this user can still write to the path's disk
    bool (*Exists)(const char* path);
    bool (*IsStillAt)(int handle, const char* path);
    Stamp (*StampOf)(const char* path);
};

// The table in use. Tests replace it for a while.
[[nodiscard]] const Platform& Native();
void Use(const Platform& platform);

class File {
public:
    File() = default;
    ~File();
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;

    [[nodiscard]] bool IsOpen() const { return Handle >= 0; }

    std::string Name;
    int Handle = -1;
};

[[nodiscard]] int Open(File& file, const std::string& path, Mode mode);
// Closes; closing a closed file does nothing.
int Close(File& file);

// Reads up to data.size() bytes; got is less only at the end of the file.
[[nodiscard]] int ReadAt(File& file, std::int64_t position, std::span<std::byte> data, std::size_t& got);
[[nodiscard]] int WriteAt(File& file, std::int64_t position, std::span<const std::byte> data);
[[nodiscard]] int Length(File& file, std::int64_t& length);
[[nodiscard]] int SetLength(File& file, std::int64_t length);
[[nodiscard]] int Flush(File& file);
[[nodiscard]] int Rename(const std::string& from, const std::string& to);
[[nodiscard]] int Remove(const std::string& path);
[[nodiscard]] bool Exists(const std::string& path);
[[nodiscard]] int FlushFolder(const std::string& path);
// Where the file system knows no locks, 0 is returned: there nobody can be shut out.
[[nodiscard]] int Lock(File& file, LockKind kind);
[[nodiscard]] bool LockedByAnother(int error);
[[nodiscard]] int FreeSpace(const std::string& path, std::int64_t& bytes);
// Lets the system copy a stretch of one file into another: how many bytes it has copied from its front. Not
// every system, pair of disks or stretch can be copied so, and nothing is said about why it stopped: whoever
// reads and writes the rest learns it. What comes behind the copied bytes in the target may have been
// overwritten.
[[nodiscard]] std::int64_t CopyBySystem(File& from, std::int64_t fromAt, std::int64_t bytes, File& to,
                                        std::int64_t toAt);
// Copies a stretch of one file into another, by the system as far as that goes, and through a block of
// memory. EIO when the source ends early.
[[nodiscard]] int CopyBytes(File& from, std::int64_t fromAt, std::int64_t bytes, File& to, std::int64_t toAt);
// The whole of a file; EFBIG where it is longer than so many bytes. Empty after an error.
[[nodiscard]] int ReadWhole(const std::string& path, std::int64_t mostBytes, std::string& content);
// Makes the text the whole content of the file; what was there stays until the new content is on the disk.
[[nodiscard]] int WriteWhole(const std::string& path, std::string_view content);
// A flushed copy of a whole file under a new name.
[[nodiscard]] int CopyFile(const std::string& from, const std::string& to);
// A new file that takes another one's place gets its permissions, as far as this user may give them.
void TakePermissions(File& file, const std::string& from);
[[nodiscard]] Stamp StampOf(const std::string& path);
// A path beside the given one that is not in use: with the ending behind it, and a number where that is
// taken.
[[nodiscard]] std::string FreeName(const std::string& path, std::string_view ending);
// True when the open file is still the one that the path leads to.
[[nodiscard]] bool IsStillAt(const File& file, const std::string& path);

// The system's words for an error code.
[[nodiscard]] std::string ErrorText(int code);

// "name.ext" for a path with or without an extension; the extension is given with its point.
[[nodiscard]] std::string WithExtension(std::string_view path, std::string_view extension);
// The extension in lower case, with its point; empty when there is none.
[[nodiscard]] std::string ExtensionOf(std::string_view path);

// A new content for a file that replaces the old one only when it is whole and on the disk.
// Until Commit succeeds the old file stays as it was; an uncommitted content is removed. A folder or a device
// is not replaced: Begin refuses.
class Replacement {
public:
    ~Replacement();
    [[nodiscard]] int Begin(const std::string& path);
    [[nodiscard]] int Commit();

    File Content;

private:
    std::string Target, Temporary;
};

// Sequential access with a block between, for readers and writers of many small records.
class Reader {
public:
    explicit Reader(File& file, std::int64_t position);

    [[nodiscard]] int Open(); // learns the file's length
    // False at the end of the file or on an error (LastError, 0 at the end).
    [[nodiscard]] bool Read(void* target, std::size_t bytes);
    [[nodiscard]] bool Skip(std::uint64_t bytes);
    [[nodiscard]] std::int64_t Remaining() const { return FileLength - Position; }

    int LastError = 0;

private:
    [[nodiscard]] bool Fill();

    File& Source;
    std::int64_t Position, FileLength = 0;
    std::int64_t BlockStart = 0;
    std::size_t BlockBytes = 0;
    std::vector<std::byte> Block;
};

class Writer {
public:
    explicit Writer(File& file, std::int64_t position);

    [[nodiscard]] int Write(const void* data, std::size_t bytes);
    [[nodiscard]] int SeekTo(std::int64_t position);
    [[nodiscard]] int Finish(); // writes what is still in the block

private:
    File& Target;
    std::int64_t Position;
    std::vector<std::byte> Block;
};

}
