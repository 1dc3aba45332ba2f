// The disk fails at a chosen moment: the platform's files, with one fault at the n-th operation that changes
// something on the disk. ForEveryFault meets a procedure with each fault at each of its operations.
//
// A power cut takes with it what was not flushed. The harness follows what a disk must hold by then: of each
// file the content of its last Flush, of the folder the names of its last FlushFolder or Rename. A disk may
// hold more, and in any order: the second kind of cut leaves all names and lengths, with zeros where bytes
// are missing; the third leaves all bytes, under the names of the last flush.
#pragma once
#include "base/files.h"
#include "support/temp_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Support {

enum class Fault : std::uint8_t {
    None,
    DiskFull,      // from there on nothing can be written or made
    IoError,       // once
    Unplugged,     // from there on every operation fails: the disk is left as by a program that is killed
    ShortWrite,    // half of the bytes written or copied, once
    KillInWrite,   // the program ends with half of the bytes written or copied
    PowerCut,      // it ends, and what was not flushed is lost
    PowerCutZeros, // it ends, names and lengths stand, and bytes that were not flushed are lost
    PowerCutNames, // it ends, bytes stand, and names that were not flushed are lost
};

struct FaultRun {
    Fault Kind = Fault::None;
    int At = 0;           // the operation that was hit, from 1
    bool Ended = false;   // the fault is of a kind that ends the program
    bool Returned = true; // the work returned, with Result
    int Result = 0;
};

namespace FaultyDisk {

struct State {
    Fault Kind = Fault::None;
    int At = 0, Count = 0;
    bool Over = false;        // nothing reaches the disk any more
    std::vector<bool> Writes; // of each operation so far: it writes or copies bytes
    std::string Folder;
    std::map<ino_t, std::string> Content; // flushed
    std::map<std::string, ino_t> Names;   // flushed
    std::map<ino_t, int> Held;            // each file there has been, open for reading
};
inline State Now;
// What copies where no fault strikes; a test may give another one.
inline auto SystemCopy = Files::Native().Copy;

inline bool CutsPower(Fault fault) {
    return fault == Fault::PowerCut || fault == Fault::PowerCutZeros || fault == Fault::PowerCutNames;
}
inline bool EndsProgram(Fault fault) {
    return fault == Fault::KillInWrite || CutsPower(fault);
}

inline std::map<std::string, ino_t> NamesNow() {
    std::map<std::string, ino_t> names;
    for (const auto& entry : std::filesystem::directory_iterator(Now.Folder)) {
        struct stat status {};
        if (::stat(entry.path().c_str(), &status) == 0)
            names[entry.path().filename().string()] = status.st_ino;
    }
    return names;
}

// Keeps the file's number from being given to another one, and its bytes when its name goes.
inline void Hold(const std::string& path) {
    const int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (handle >= 0 && ::fstat(handle, &status) == 0 && !Now.Held.contains(status.st_ino))
        Now.Held[status.st_ino] = handle;
}

inline std::string ContentNow(int handle) {
    std::string content(static_cast<std::size_t>(Files::Native().Length(handle)), '\0');
    (void)Files::Native().ReadAt(handle, content.data(), content.size(), 0);
    return content;
}

inline void NoteAllFlushed() {
    Now.Names = NamesNow();
    for (const auto& [name, number] : Now.Names) {
        Hold(Now.Folder + "/" + name);
        Now.Content[number] = ContentNow(Now.Held[number]);
    }
}

// Leaves in the folder what the disk would hold.
inline void CutPower() {
    std::map<std::string, ino_t> names = Now.Names;
    if (Now.Kind == Fault::PowerCutZeros) {
        names = NamesNow();
        for (const auto& [name, number] : names)
            Now.Content[number].resize(std::filesystem::file_size(Now.Folder + "/" + name));
    }
    if (Now.Kind == Fault::PowerCutNames)
        for (const auto& [name, number] : names) Now.Content[number] = ContentNow(Now.Held[number]);
    for (const auto& entry : std::filesystem::directory_iterator(Now.Folder))
        std::filesystem::remove(entry.path());
    for (const auto& [name, number] : names) WriteWhole(Now.Folder + "/" + name, Now.Content[number]);
}

// 0, or the error of a fault that strikes here.
inline int Strike(bool isWrite, bool makes) {
    ++Now.Count;
    Now.Writes.push_back(isWrite);
    const bool here = Now.Count == Now.At, since = Now.At > 0 && Now.Count >= Now.At;
    if (here && CutsPower(Now.Kind)) CutPower();
    if (here && (Now.Kind == Fault::Unplugged || CutsPower(Now.Kind))) Now.Over = true;
    if (Now.Over || (here && Now.Kind == Fault::IoError)) return EIO;
    return since && makes && Now.Kind == Fault::DiskFull ? ENOSPC : 0;
}

inline int Open(const char* path, Files::Mode mode) {
    const bool makes = mode == Files::Mode::Create || mode == Files::Mode::Keep;
    const int error = makes ? Strike(false, true) : 0;
    const int handle = error != 0 ? -error : Files::Native().Open(path, mode);
    if (makes && handle >= 0 && CutsPower(Now.Kind)) Hold(path);
    return handle;
}

// All bytes, or half of them where the fault says so; done(count) moves them.
template <class Done>
std::int64_t Move(std::size_t bytes, bool isCopy, Done done) {
    const int error = Strike(true, true);
    if (error != 0) return -error;
    const bool half =
        Now.Count == Now.At && (Now.Kind == Fault::ShortWrite || Now.Kind == Fault::KillInWrite);
    const std::int64_t moved = done(half ? bytes / 2 : bytes);
    if (half) Now.Over = Now.Kind == Fault::KillInWrite;
    return half && !isCopy ? -ENOSPC : moved;
}

inline std::int64_t WriteAt(int handle, const void* data, std::size_t bytes, std::int64_t position) {
    return Move(bytes, false,
                [&](std::size_t n) { return Files::Native().WriteAt(handle, data, n, position); });
}

inline std::int64_t Copy(int from, std::int64_t fromAt, std::size_t bytes, int to, std::int64_t toAt) {
    return Move(bytes, true, [&](std::size_t n) { return SystemCopy(from, fromAt, n, to, toAt); });
}

inline int SetLength(int handle, std::int64_t length) {
    const int error = Strike(false, length > Files::Native().Length(handle));
    return error != 0 ? -error : Files::Native().SetLength(handle, length);
}

inline int Flush(int handle) {
    const int error = Strike(false, false);
    struct stat status {};
    if (error == 0 && CutsPower(Now.Kind) && ::fstat(handle, &status) == 0)
        Now.Content[status.st_ino] = ContentNow(handle);
    return -error; // the disk of a test need not be waited for
}

inline int Rename(const char* from, const char* to) {
    const int error = Strike(false, false);
    if (error != 0) return -error;
    if (::rename(from, to) != 0) return -errno;
    if (CutsPower(Now.Kind)) Now.Names = NamesNow();
    return 0;
}

inline int Remove(const char* path) {
    const int error = Strike(false, false);
    return error != 0 ? -error : Files::Native().Remove(path);
}

inline int FlushFolder(const char*) {
    const int error = Strike(false, false);
    if (error == 0 && CutsPower(Now.Kind)) Now.Names = NamesNow();
    return -error;
}

inline int Run(const std::function<int()>& work) {
    Files::Platform disk = Files::Native();
    disk.Open = Open;
    disk.WriteAt = WriteAt;
    if (SystemCopy) disk.Copy = Copy;
    disk.SetLength = SetLength;
    disk.Flush = Flush;
    disk.Rename = Rename;
    disk.Remove = Remove;
    disk.FlushFolder = FlushFolder;
    Files::Use(disk);
    const int result = work();
    Files::Use(Files::Native());
    return result;
}

}

// Runs the work, which changes files of the folder, with the fault at its n-th operation. Where the fault
// ends the program, nothing that the work still does reaches the disk, and its result counts for nothing;
// behind the last operation, power is cut at the return.
inline FaultRun RunWithFault(const TempFolder& folder, Fault fault, int at,
                             const std::function<int()>& work) {
    FaultyDisk::Now = {};
    FaultyDisk::Now.Kind = fault;
    FaultyDisk::Now.At = at;
    FaultyDisk::Now.Folder = folder.Path;
    FaultRun run{.Kind = fault, .At = at, .Ended = FaultyDisk::EndsProgram(fault)};
    if (FaultyDisk::CutsPower(fault)) FaultyDisk::NoteAllFlushed();
    run.Result = FaultyDisk::Run(work);
    run.Returned = !run.Ended || !FaultyDisk::Now.Over;
    if (FaultyDisk::CutsPower(fault) && run.Returned) FaultyDisk::CutPower();
    for (const auto& [number, handle] : FaultyDisk::Now.Held) ::close(handle);
    return run;
}

// Lets each fault strike at each operation of the work, in a folder prepared anew each time, and checks what
// is left of it. The clean run is checked too.
inline void ForEveryFault(const TempFolder& folder, const std::function<void()>& prepare,
                          const std::function<int()>& work,
                          const std::function<void(const FaultRun& run)>& check) {
    prepare();
    check(RunWithFault(folder, Fault::None, 0, work));
    const std::vector<bool> writes = FaultyDisk::Now.Writes;
    EXPECT_FALSE(writes.empty());
    const int count = static_cast<int>(writes.size());
    for (int kind = 1; kind <= static_cast<int>(Fault::PowerCutNames); ++kind) {
        const auto fault = static_cast<Fault>(kind);
        const bool inWrites = fault == Fault::ShortWrite || fault == Fault::KillInWrite;
        for (int at = 1; at <= count + (FaultyDisk::CutsPower(fault) ? 1 : 0); ++at) {
            if (inWrites && !writes[static_cast<std::size_t>(at - 1)]) continue;
            SCOPED_TRACE("fault " + std::to_string(kind) + " at operation " + std::to_string(at) + " of " +
                         std::to_string(count));
            prepare();
            check(RunWithFault(folder, fault, at, work));
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

}
