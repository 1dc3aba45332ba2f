// The file layer's platform with files that live in memory: fast, and nothing outside of it can be touched.
// It can be pulled out at a chosen operation, as a crash would leave it, and be plugged in again.
#pragma once
#include "base/files.h"
#include "base/places.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace MemoryDisk {

// All files have names below it. There is no such folder on the machine.
inline const std::string Folder = "/memory-disk/";

// A file's zeros behind its bytes are not kept.
struct Content {
    std::vector<std::byte> Bytes;
    std::int64_t Length = 0;
    std::int64_t Changes = 0;
};

struct OpenFile {
    std::shared_ptr<Content> File; // none: closed
    bool Writable = false;
};

struct State {
    std::map<std::string, std::shared_ptr<Content>> Names;
    std::vector<OpenFile> Handles;
    // Operations that change something, until the disk goes away; below 0 it stays.
    std::int64_t UntilPulled = -1;
    bool Pulled = false;
};
inline State Now;

constexpr int FirstHandle = 1 << 20; // never a handle of the system
constexpr std::int64_t LongestFile = std::int64_t{16} << 20;

[[noreturn]] inline void Broken(std::string_view promise) {
    std::fprintf(stderr, "BROKEN PROMISE: %.*s\n", static_cast<int>(promise.size()), promise.data());
    std::abort();
}

inline bool MayChange() {
    if (Now.UntilPulled == 0) Now.Pulled = true;
    if (Now.UntilPulled > 0) --Now.UntilPulled;
    return !Now.Pulled;
}

// The user's own folder, where recovery copies go that find no room beside the data, takes nothing here.
inline bool IsOnAnotherDisk(std::string_view path) {
    return path.starts_with(Places::StateFolder());
}

inline void MustBeInside(const char* path) {
    const std::string_view name(path);
    if (name.substr(0, Folder.size()) != Folder || name.find("/../") != std::string_view::npos)
        Broken("a file outside of the folder is touched");
}

inline OpenFile& Of(int handle) {
    const auto at = static_cast<std::size_t>(handle - FirstHandle);
    if (handle < FirstHandle || at >= Now.Handles.size() || !Now.Handles[at].File)
        Broken("a file is used that is not open");
    return Now.Handles[at];
}

inline int Open(const char* path, Files::Mode mode) {
    const bool writes = mode != Files::Mode::Read, makes = writes && mode != Files::Mode::ReadWrite;
    if (writes && IsOnAnotherDisk(path)) return -EROFS;
    if (writes) MustBeInside(path);
    auto found = Now.Names.find(path);
    if (found == Now.Names.end()) {
        if (!makes) return Now.Pulled ? -EIO : -ENOENT;
        if (std::string_view(path).substr(Folder.size()).find('/') != std::string_view::npos) return -ENOENT;
        if (!MayChange()) return -EIO;
        found = Now.Names.emplace(path, std::make_shared<Content>()).first;
    }
    if (Now.Pulled) return -EIO;
    if (mode == Files::Mode::Create) {
        if (!MayChange()) return -EIO;
        const std::int64_t changes = found->second->Changes + 1;
        *found->second = {};
        found->second->Changes = changes;
    }
    Now.Handles.push_back({found->second, writes});
    return FirstHandle + static_cast<int>(Now.Handles.size() - 1);
}

inline std::int64_t ReadAt(int handle, void* data, std::size_t bytes, std::int64_t position) {
    const Content& file = *Of(handle).File;
    if (Now.Pulled) return -EIO;
    if (position < 0) return -EINVAL;
    const std::int64_t n =
        std::clamp<std::int64_t>(file.Length - position, 0, static_cast<std::int64_t>(bytes));
    if (n == 0) return 0; // data may then be none
    const auto at = static_cast<std::size_t>(position);
    const std::size_t kept =
        std::min(static_cast<std::size_t>(n), file.Bytes.size() - std::min(at, file.Bytes.size()));
    if (kept > 0) std::memcpy(data, file.Bytes.data() + at, kept);
    std::memset(static_cast<std::byte*>(data) + kept, 0, static_cast<std::size_t>(n) - kept);
    return n;
}

inline std::int64_t WriteAt(int handle, const void* data, std::size_t bytes, std::int64_t position) {
    OpenFile& open = Of(handle);
    if (!open.Writable) return -EBADF;
    if (position < 0) return -EINVAL;
    if (!MayChange()) return -EIO;
    if (bytes == 0) return 0;
    const std::int64_t end = position + static_cast<std::int64_t>(bytes);
    if (end > LongestFile) return -ENOSPC;
    Content& file = *open.File;
    if (file.Bytes.size() < static_cast<std::size_t>(end)) file.Bytes.resize(static_cast<std::size_t>(end));
    std::memcpy(file.Bytes.data() + position, data, bytes);
    file.Length = std::max(file.Length, end);
    ++file.Changes;
    return static_cast<std::int64_t>(bytes);
}

// In pieces, so that a copy can also stop short.
inline std::int64_t Copy(int from, std::int64_t fromAt, std::size_t bytes, int to, std::int64_t toAt) {
    constexpr std::size_t Most = 4096;
    std::byte piece[Most];
    const std::int64_t got = ReadAt(from, piece, std::min(bytes, Most), fromAt);
    return got <= 0 ? got : WriteAt(to, piece, static_cast<std::size_t>(got), toAt);
}

inline std::int64_t Length(int handle) {
    return Now.Pulled ? -EIO : Of(handle).File->Length;
}

inline int SetLength(int handle, std::int64_t length) {
    OpenFile& open = Of(handle);
    if (!open.Writable || length < 0) return -EINVAL;
    if (!MayChange()) return -EIO;
    Content& file = *open.File;
    if (static_cast<std::int64_t>(file.Bytes.size()) > length)
        file.Bytes.resize(static_cast<std::size_t>(length));
    file.Length = length;
    ++file.Changes;
    return 0;
}

inline int Flush(int handle) {
    (void)Of(handle);
    return MayChange() ? 0 : -EIO;
}

inline int Close(int handle) {
    Of(handle) = {};
    return 0;
}

inline int Rename(const char* from, const char* to) {
    MustBeInside(from);
    MustBeInside(to);
    if (!MayChange()) return -EIO;
    const auto found = Now.Names.find(from);
    if (found == Now.Names.end()) return -ENOENT;
    Now.Names[to] = found->second;
    if (std::strcmp(from, to) != 0) Now.Names.erase(from);
    return 0;
}

inline int Remove(const char* path) {
    MustBeInside(path);
    if (!MayChange()) return -EIO;
    return Now.Names.erase(path) > 0 ? 0 : -ENOENT;
}

inline int FlushFolder(const char*) {
    return MayChange() ? 0 : -EIO;
}

inline int Lock(int handle, Files::LockKind) {
    (void)Of(handle);
    return Now.Pulled ? -EIO : 0;
}

inline std::int64_t FreeSpace(const char*) {
    return Now.Pulled ? -EIO : std::int64_t{1} << 40;
}

inline bool Exists(const char* path) {
    return !Now.Pulled && Now.Names.contains(path);
}

inline bool IsStillAt(int handle, const char* path) {
    const auto found = Now.Names.find(path);
    return !Now.Pulled && found != Now.Names.end() && found->second == Of(handle).File;
}

inline Files::Stamp StampOf(const char* path) {
    const auto found = Now.Names.find(path);
    if (Now.Pulled || found == Now.Names.end()) return {};
    return {.Device = 1,
            .Node = reinterpret_cast<std::uintptr_t>(found->second.get()),
            .Length = found->second->Length,
            .ChangedAt = found->second->Changes};
}

// From here on all files are in memory.
inline void PlugIn() {
    static constexpr Files::Platform platform = {
        .Open = Open,
        .ReadAt = ReadAt,
        .WriteAt = WriteAt,
        .Copy = Copy,
        .Length = Length,
        .SetLength = SetLength,
        .Flush = Flush,
        .Close = Close,
        .Rename = Rename,
        .Remove = Remove,
        .FlushFolder = FlushFolder,
        .Lock = Lock,
        .FreeSpace = FreeSpace,
        .Exists = Exists,
        .IsStillAt = IsStillAt,
        .StampOf = StampOf,
    };
    Files::Use(platform);
}

// An empty disk. Every file must have been closed.
inline void Clear() {
    for (const OpenFile& open : Now.Handles)
        if (open.File) Broken("a file is left open");
    Now = {};
}

// A file of the disk, made or replaced; returns its path.
inline std::string Put(std::string_view name, std::span<const std::byte> bytes) {
    const std::string path = Folder + std::string(name);
    const auto file = std::make_shared<Content>();
    file->Bytes.assign(bytes.begin(), bytes.end());
    file->Length = static_cast<std::int64_t>(bytes.size());
    Now.Names[path] = file;
    return path;
}

// The bytes of a file; empty when there is none.
inline std::vector<std::byte> Get(const std::string& path) {
    const auto found = Now.Names.find(path);
    if (found == Now.Names.end()) return {};
    std::vector<std::byte> bytes = found->second->Bytes;
    bytes.resize(static_cast<std::size_t>(std::min(found->second->Length, LongestFile)));
    return bytes;
}

}
