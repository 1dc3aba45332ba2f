// The file layer with a disk that fails on demand and counts what goes to it.
#pragma once
#include "base/files.h"
#include "support/testing.h"

#include <string_view>

namespace Support {

// What the files below do; reset by each FailingFiles.
struct Disk {
    std::int64_t LowestWrite = INT64_MAX; // position of the first byte that was touched, journals left out
    std::int64_t Written = 0;             // bytes, journals left out
    std::set<int> Journals;               // open ones
    std::int64_t Room = INT64_MAX;        // bytes that can be written before the disk is full
    std::int64_t FreeSpace = -1;          // what the disk says of its free space; -1: the truth
    int OpenHandles = 0;
    int OpenError = 0, ReadError = 0, LengthError = 0, FlushError = 0, RenameError = 0;
};
inline Disk TheDisk;

class FailingFiles {
public:
    FailingFiles() {
        TheDisk = {};
        static const Files::Platform& native = Files::Native();
        Files::Platform disk = native;
        disk.Open = [](const char* path, Files::Mode mode) {
            const int handle = TheDisk.OpenError ? -TheDisk.OpenError : native.Open(path, mode);
            TheDisk.OpenHandles += handle >= 0;
            if (handle >= 0 && std::string_view(path).ends_with(".journal")) TheDisk.Journals.insert(handle);
            return handle;
        };
        disk.ReadAt = [](int handle, void* data, std::size_t bytes, std::int64_t position) {
            return TheDisk.ReadError ? -TheDisk.ReadError : native.ReadAt(handle, data, bytes, position);
        };
        disk.WriteAt = [](int handle, const void* data, std::size_t bytes, std::int64_t position) {
            const auto wanted = static_cast<std::int64_t>(bytes);
            if (wanted > TheDisk.Room) return std::int64_t{-ENOSPC};
            TheDisk.Room -= wanted;
            if (wanted > 0 && !TheDisk.Journals.contains(handle)) {
                TheDisk.LowestWrite = std::min(TheDisk.LowestWrite, position);
                TheDisk.Written += wanted;
            }
            return native.WriteAt(handle, data, bytes, position);
        };
        disk.Copy = nullptr; // every byte passes by the counts above
        disk.Length = [](int handle) {
            return TheDisk.LengthError ? -TheDisk.LengthError : native.Length(handle);
        };
        disk.Flush = [](int handle) {
            return TheDisk.FlushError ? -TheDisk.FlushError : native.Flush(handle);
        };
        disk.Close = [](int handle) {
            --TheDisk.OpenHandles;
            TheDisk.Journals.erase(handle);
            return native.Close(handle);
        };
        disk.Rename = [](const char* from, const char* to) {
            return TheDisk.RenameError ? -TheDisk.RenameError : native.Rename(from, to);
        };
        disk.FreeSpace = [](const char* path) {
            return TheDisk.FreeSpace < 0 ? native.FreeSpace(path) : TheDisk.FreeSpace;
        };
        Files::Use(disk);
    }
    ~FailingFiles() { Files::Use(Files::Native()); }
    FailingFiles(FailingFiles&&) = delete;
};

}
