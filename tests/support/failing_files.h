// The file layer with a disk that fails on demand and counts what goes to it.
#pragma once
#include "base/files.h"

#include <cerrno>

namespace Support {

// What the files below do; reset by each FailingFiles.
struct Disk {
    std::int64_t BytesWritten = 0;
    std::int64_t LowestWrite = INT64_MAX; // position of the first byte that was touched
    std::int64_t Room = INT64_MAX;        // bytes that can be written before the disk is full
    int OpenHandles = 0;
    int OpenError = 0, ReadError = 0, LengthError = 0, FlushError = 0, RenameError = 0;
};
inline Disk TheDisk;

class FailingFiles {
public:
    FailingFiles() {
        TheDisk = {};
        Files::Use({
            .Open =
                [](const char* path, Files::Mode mode) {
                    const int handle =
                        TheDisk.OpenError ? -TheDisk.OpenError : Files::Native().Open(path, mode);
                    TheDisk.OpenHandles += handle >= 0;
                    return handle;
                },
            .ReadAt = [](int handle, void* data, std::size_t bytes, std::int64_t position) -> std::int64_t {
                if (TheDisk.ReadError) return -TheDisk.ReadError;
                return Files::Native().ReadAt(handle, data, bytes, position);
            },
            .WriteAt = [](int handle, const void* data, std::size_t bytes,
                          std::int64_t position) -> std::int64_t {
                const auto wanted = static_cast<std::int64_t>(bytes);
                if (wanted > TheDisk.Room) return -ENOSPC;
                TheDisk.Room -= wanted;
                TheDisk.BytesWritten += wanted;
                if (wanted > 0 && position < TheDisk.LowestWrite) TheDisk.LowestWrite = position;
                return Files::Native().WriteAt(handle, data, bytes, position);
            },
            .Length = [](int handle) -> std::int64_t {
                return TheDisk.LengthError ? -TheDisk.LengthError : Files::Native().Length(handle);
            },
            .SetLength = Files::Native().SetLength,
            .Flush =
                [](int handle) {
                    return TheDisk.FlushError ? -TheDisk.FlushError : Files::Native().Flush(handle);
                },
            .Close =
                [](int handle) {
                    --TheDisk.OpenHandles;
                    return Files::Native().Close(handle);
                },
            .Rename =
                [](const char* from, const char* to) {
                    return TheDisk.RenameError ? -TheDisk.RenameError : Files::Native().Rename(from, to);
                },
            .Remove = Files::Native().Remove,
        });
    }
    ~FailingFiles() { Files::Use(Files::Native()); }
    FailingFiles(const FailingFiles&) = delete;
    FailingFiles& operator=(const FailingFiles&) = delete;
};

}
