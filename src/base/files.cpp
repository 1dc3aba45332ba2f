#include "base/files.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Files {

namespace {

#ifdef QORVANITE_FUZZ
constexpr std::size_t BlockSize = 4096; // so that small files cross its edges
#else
constexpr std::size_t BlockSize = std::size_t{256} << 10;
#endif

int Failure() {
    return errno ? -errno : -EIO;
}

int NativeOpen(const char* path, Mode mode) {
    int flags = O_CLOEXEC;
    switch (mode) {
    case Mode::Read: flags |= O_RDONLY | O_NONBLOCK; break; // a pipe without a writer holds up nobody
    case Mode::ReadWrite: flags |= O_RDWR; break;
    case Mode::Create: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    case Mode::Keep: flags |= O_RDWR | O_CREAT; break;
    }
    const int handle = ::open(path, flags, 0666);
    if (handle < 0) return Failure();
    // A folder opens for reading, but has no bytes.
    struct stat status {};
    if (::fstat(handle, &status) == 0 && S_ISDIR(status.st_mode)) {
        ::close(handle);
        return -EISDIR;
    }
    return handle;
}

std::int64_t NativeReadAt(int handle, void* data, std::size_t bytes, std::int64_t position) {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::pread(handle, static_cast<char*>(data) + done, bytes - done,
                                  position + static_cast<std::int64_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Failure();
        if (n == 0) break;
        done += static_cast<std::size_t>(n);
    }
    return static_cast<std::int64_t>(done);
}

// As much as is copied between two hints of StartWriting.
constexpr std::int64_t Stretch = std::int64_t{8} << 20;

// Lets the disk begin with what a long file already has, so that its flush at the end is not left with all of
// it. Only a hint: nothing depends on it.
void StartWriting([[maybe_unused]] int handle, [[maybe_unused]] std::int64_t from,
                  [[maybe_unused]] std::int64_t end) {
#if defined(__linux__)
    if (end / Stretch == from / Stretch) return;
    const std::int64_t first = from / Stretch * Stretch;
    (void)::sync_file_range(handle, first, end / Stretch * Stretch - first, SYNC_FILE_RANGE_WRITE);
#endif
}

std::int64_t NativeWriteAt(int handle, const void* data, std::size_t bytes, std::int64_t position) {
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::pwrite(handle, static_cast<const char*>(data) + done, bytes - done,
                                   position + static_cast<std::int64_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n < 0 ? Failure() : -ENOSPC;
        done += static_cast<std::size_t>(n);
    }
    StartWriting(handle, position, position + static_cast<std::int64_t>(done));
    return static_cast<std::int64_t>(done);
}

#if defined(__linux__)
std::int64_t NativeCopy(int from, std::int64_t fromAt, std::size_t bytes, int to, std::int64_t toAt) {
    const auto wanted = static_cast<std::int64_t>(bytes);
    std::int64_t done = 0;
    while (done < wanted) {
        off_t readAt = fromAt + done, writeAt = toAt + done;
        const auto piece = static_cast<std::size_t>(std::min(wanted - done, Stretch));
        const ssize_t n = ::copy_file_range(from, &readAt, to, &writeAt, piece, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && done == 0) return Failure();
        if (n <= 0) break;
        StartWriting(to, toAt + done, toAt + done + n);
        done += n;
    }
    return done;
}
#else
constexpr std::int64_t (*NativeCopy)(int, std::int64_t, std::size_t, int, std::int64_t) = nullptr;
#endif

std::int64_t NativeLength(int handle) {
    struct stat status {};
    if (::fstat(handle, &status) != 0) return Failure();
    return status.st_size;
}

int NativeSetLength(int handle, std::int64_t length) {
    return ::ftruncate(handle, length) == 0 ? 0 : Failure();
}

int NativeFlush(int handle) {
    return ::fsync(handle) == 0 ? 0 : Failure();
}

int NativeClose(int handle) {
    return ::close(handle) == 0 ? 0 : Failure();
}

int NativeFlushFolder(const char* path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    const int handle = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) return Failure();
    const int result = ::fsync(handle) == 0 ? 0 : Failure();
    ::close(handle);
    // Some file systems have no flush of a folder.
    return result == -EINVAL ? 0 : result;
}

// The rename itself must survive a crash, so the folder goes to the disk with it. It has happened in any
// case.
int NativeRename(const char* from, const char* to) {
    if (::rename(from, to) != 0) return Failure();
    (void)NativeFlushFolder(to);
    return 0;
}

int NativeRemove(const char* path) {
    return ::unlink(path) == 0 ? 0 : Failure();
}

// The writer's lock belongs to the open file and needs no right to write. Readers lock a byte far behind any
// data, which is a lock of another kind: both can stand at once.
int NativeLock(int handle, LockKind kind) {
    if (kind == LockKind::Writer) return ::flock(handle, LOCK_EX | LOCK_NB) == 0 ? 0 : Failure();
    struct flock range {};
    range.l_type = kind == LockKind::Reader ? F_RDLCK : kind == LockKind::NoReaders ? F_WRLCK : F_UNLCK;
    range.l_whence = SEEK_SET;
    range.l_start = std::int64_t{1} << 40;
    range.l_len = 1;
    return ::fcntl(handle, F_OFD_SETLK, &range) == 0 ? 0 : Failure();
}

std::int64_t NativeFreeSpace(const char* path) {
    struct statvfs disk {};
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (::statvfs(folder.empty() ? "." : folder.c_str(), &disk) != 0) return Failure();
    return static_cast<std::int64_t>(disk.f_bavail) * static_cast<std::int64_t>(disk.f_frsize);
}

bool NativeExists(const char* path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

bool NativeIsStillAt(int handle, const char* path) {
    struct stat open {
    }, named{};
    return ::fstat(handle, &open) == 0 && ::stat(path, &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

Stamp NativeStampOf(const char* path) {
    struct stat status {};
    if (::stat(path, &status) != 0) return {};
    constexpr std::int64_t Second = 1'000'000'000;
    return {.Device = status.st_dev,
            .Node = status.st_ino,
            .Length = status.st_size,
            .ChangedAt = std::int64_t{status.st_mtim.tv_sec} * Second + status.st_mtim.tv_nsec};
}

constexpr Platform NativePlatform = {
    .Open = NativeOpen,
    .ReadAt = NativeReadAt,
    .WriteAt = NativeWriteAt,
    .Copy = NativeCopy,
    .Length = NativeLength,
    .SetLength = NativeSetLength,
    .Flush = NativeFlush,
    .Close = NativeClose,
    .Rename = NativeRename,
    .Remove = NativeRemove,
    .FlushFolder = NativeFlushFolder,
    .Lock = NativeLock,
    .FreeSpace = NativeFreeSpace,
    .Exists = NativeExists,
    .IsStillAt = NativeIsStillAt,
    .StampOf = NativeStampOf,
};

Platform Current = NativePlatform;

}

const Platform& Native() {
    return NativePlatform;
}

void Use(const Platform& platform) {
    Current = platform;
}

File::~File() {
    Close(*this);
}

File::File(File&& other) noexcept : Name(std::move(other.Name)), Handle(std::exchange(other.Handle, -1)) {}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        Close(*this);
        Name = std::move(other.Name);
        Handle = std::exchange(other.Handle, -1);
    }
    return *this;
}

int Open(File& file, const std::string& path, Mode mode) {
    Close(file);
    if (path.find('\0') != std::string::npos) return EINVAL;
    const int handle = Current.Open(path.c_str(), mode);
    if (handle < 0) return -handle;
    file.Handle = handle;
    file.Name = path;
    return 0;
}

int Close(File& file) {
    if (!file.IsOpen()) return 0;
    const int result = Current.Close(std::exchange(file.Handle, -1));
    return result < 0 ? -result : 0;
}

int ReadAt(File& file, std::int64_t position, std::span<std::byte> data, std::size_t& got) {
    got = 0;
    if (position < 0) return EINVAL;
    const std::int64_t n = Current.ReadAt(file.Handle, data.data(), data.size(), position);
    if (n < 0) return static_cast<int>(-n);
    got = static_cast<std::size_t>(n);
    return 0;
}

int WriteAt(File& file, std::int64_t position, std::span<const std::byte> data) {
    if (position < 0) return EINVAL;
    const std::int64_t n = Current.WriteAt(file.Handle, data.data(), data.size(), position);
    if (n < 0) return static_cast<int>(-n);
    return static_cast<std::size_t>(n) == data.size() ? 0 : ENOSPC;
}

int Length(File& file, std::int64_t& length) {
    const std::int64_t n = Current.Length(file.Handle);
    length = std::max<std::int64_t>(n, 0);
    return n < 0 ? static_cast<int>(-n) : 0;
}

int SetLength(File& file, std::int64_t length) {
    return length < 0 ? EINVAL : -Current.SetLength(file.Handle, length);
}

int Flush(File& file) {
    return -Current.Flush(file.Handle);
}

int Rename(const std::string& from, const std::string& to) {
    return -Current.Rename(from.c_str(), to.c_str());
}

int Remove(const std::string& path) {
    return -Current.Remove(path.c_str());
}

bool Exists(const std::string& path) {
    return Current.Exists(path.c_str());
}

int FlushFolder(const std::string& path) {
    return -Current.FlushFolder(path.c_str());
}

int Lock(File& file, LockKind kind) {
    const int error = -Current.Lock(file.Handle, kind);
    const bool unknownHere = error == ENOLCK || error == EOPNOTSUPP || error == ENOSYS || error == EINVAL;
    return unknownHere ? 0 : error;
}

bool LockedByAnother(int error) {
    return error == EWOULDBLOCK || error == EAGAIN || error == EACCES;
}

int FreeSpace(const std::string& path, std::int64_t& bytes) {
    const std::int64_t n = Current.FreeSpace(path.c_str());
    bytes = std::max<std::int64_t>(n, 0);
    return n < 0 ? static_cast<int>(-n) : 0;
}

std::int64_t CopyBySystem(File& from, std::int64_t fromAt, std::int64_t bytes, File& to, std::int64_t toAt) {
    if (!Current.Copy || fromAt < 0 || toAt < 0 || bytes <= 0) return 0;
    const auto wanted = static_cast<std::size_t>(bytes);
    return std::max<std::int64_t>(Current.Copy(from.Handle, fromAt, wanted, to.Handle, toAt), 0);
}

int CopyBytes(File& from, std::int64_t fromAt, std::int64_t bytes, File& to, std::int64_t toAt) {
    std::int64_t done = CopyBySystem(from, fromAt, bytes, to, toAt);
    if (done >= bytes) return 0;
    std::vector<std::byte> block(BlockSize);
    while (done < bytes) {
        const auto most = static_cast<std::size_t>(std::min<std::int64_t>(bytes - done, BlockSize));
        std::size_t got = 0;
        int error = ReadAt(from, fromAt + done, std::span(block).first(most), got);
        if (error == 0 && got == 0) error = EIO;
        if (error == 0) error = WriteAt(to, toAt + done, std::span(block).first(got));
        if (error != 0) return error;
        done += static_cast<std::int64_t>(got);
    }
    return 0;
}

int ReadWhole(const std::string& path, std::int64_t mostBytes, std::string& content) {
    content.clear();
    File file;
    int error = Open(file, path, Mode::Read);
    std::int64_t length = 0;
    if (error == 0) error = Length(file, length);
    if (error == 0 && length > mostBytes) error = EFBIG;
    if (error != 0) return error;
    content.resize(static_cast<std::size_t>(length));
    std::size_t got = 0;
    error = ReadAt(file, 0, std::as_writable_bytes(std::span(content)), got);
    content.resize(error == 0 ? got : 0);
    return error;
}

int WriteWhole(const std::string& path, std::string_view content) {
    Replacement file;
    int error = file.Begin(path);
    if (error == 0)
        error = WriteAt(file.Content, 0, std::as_bytes(std::span(content.data(), content.size())));
    if (error == 0) error = file.Commit();
    return error;
}

int CopyFile(const std::string& from, const std::string& to) {
    File source, target;
    std::int64_t length = 0;
    int error = Open(source, from, Mode::Read);
    if (error == 0) error = Length(source, length);
    if (error == 0) error = Open(target, to, Mode::Create);
    if (error != 0) return error;
    TakePermissions(target, from);
    error = CopyBytes(source, 0, length, target, 0);
    if (error == 0) error = Flush(target);
    const int closing = Close(target);
    if (error == 0) error = closing;
    if (error != 0) (void)Remove(to);
    return error;
}

void TakePermissions(File& file, const std::string& from) {
    struct stat status {};
    if (::stat(from.c_str(), &status) == 0) (void)::fchmod(file.Handle, status.st_mode & 07777);
}

Stamp StampOf(const std::string& path) {
    return Current.StampOf(path.c_str());
}

std::string FreeName(const std::string& path, std::string_view ending) {
    std::string name = path + std::string(ending);
    for (int n = 2; Exists(name); ++n) name = path + std::string(ending) + std::to_string(n);
    return name;
}

bool IsStillAt(const File& file, const std::string& path) {
    return Current.IsStillAt(file.Handle, path.c_str());
}

std::string ErrorText(int code) {
    return code > 0 ? std::generic_category().message(code) : "unexpected end of file";
}

std::string WithExtension(std::string_view path, std::string_view extension) {
    std::filesystem::path result(path);
    result.replace_extension(extension);
    return result.string();
}

std::string ExtensionOf(std::string_view path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

Replacement::~Replacement() {
    if (Temporary.empty()) return;
    Close(Content);
    (void)Remove(Temporary);
}

int Replacement::Begin(const std::string& path) {
    // A link stays a link: what it leads to is replaced.
    std::error_code ignored;
    const std::filesystem::path real = std::filesystem::weakly_canonical(path, ignored);
    Target = real.empty() ? path : real.string();
    struct stat status {};
    const bool exists = ::stat(Target.c_str(), &status) == 0;
    // The rename would put a file in the place of a device.
    if (exists && !S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    // Two programs that write the same file must not write into each other's content.
    const std::string temporary = Target + ".~" + std::to_string(::getpid());
    const int error = Open(Content, temporary, Mode::Create);
    if (error != 0) return error;
    Temporary = temporary;
    if (exists) (void)::fchmod(Content.Handle, status.st_mode & 07777);
    return 0;
}

int Replacement::Commit() {
    int error = Flush(Content);
    const int closing = Close(Content);
    if (error == 0) error = closing;
    if (error == 0) error = Rename(Temporary, Target);
    if (error == 0) Temporary.clear();
    return error;
}

Reader::Reader(File& file, std::int64_t position) : Source(file), Position(position) {}

int Reader::Open() {
    Block.resize(BlockSize);
    return Length(Source, FileLength);
}

bool Reader::Fill() {
    BlockStart = Position;
    LastError = ReadAt(Source, Position, Block, BlockBytes);
    return LastError == 0 && BlockBytes > 0;
}

bool Reader::Read(void* target, std::size_t bytes) {
    auto* to = static_cast<std::byte*>(target);
    while (bytes > 0) {
        const std::int64_t inBlock = Position - BlockStart;
        if (inBlock < 0 || inBlock >= static_cast<std::int64_t>(BlockBytes)) {
            if (!Fill()) return false;
            continue;
        }
        const auto at = static_cast<std::size_t>(inBlock);
        const std::size_t n = std::min(bytes, BlockBytes - at);
        std::memcpy(to, Block.data() + at, n);
        to += n;
        bytes -= n;
        Position += static_cast<std::int64_t>(n);
    }
    return true;
}

bool Reader::Skip(std::uint64_t bytes) {
    LastError = 0;
    if (Remaining() < 0 || bytes > static_cast<std::uint64_t>(Remaining())) return false;
    Position += static_cast<std::int64_t>(bytes);
    return true;
}

Writer::Writer(File& file, std::int64_t position) : Target(file), Position(position) {
    Block.reserve(BlockSize);
}

int Writer::Write(const void* data, std::size_t bytes) {
    if (Block.size() + bytes > BlockSize) {
        const int error = Finish();
        if (error != 0) return error;
    }
    const auto* from = static_cast<const std::byte*>(data);
    if (bytes > BlockSize) {
        const int error = WriteAt(Target, Position, {from, bytes});
        if (error == 0) Position += static_cast<std::int64_t>(bytes);
        return error;
    }
    Block.insert(Block.end(), from, from + bytes);
    return 0;
}

int Writer::SeekTo(std::int64_t position) {
    const int error = Finish();
    Position = position;
    return error;
}

int Writer::Finish() {
    if (Block.empty()) return 0;
    const int error = WriteAt(Target, Position, Block);
    if (error == 0) Position += static_cast<std::int64_t>(Block.size());
    Block.clear();
    return error;
}

}
