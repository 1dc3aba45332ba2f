#include "base/bytes.h"
#include "base/journal.h"
#include "trees/tree_record.h"

#include <algorithm>
#include <cstring>

namespace Tree {

namespace {

// A load may take this much more than the bytes of its file: enough for every sound tree (a record costs its
// header and a reference more than in the file), not enough for a file of empty records to exhaust the
// machine.
constexpr std::int64_t LoadBudgetBase = std::int64_t{64} << 20;
constexpr std::int64_t LoadBudgetFactor = 16;
// So few references cost nothing, and the read of the missing record then says where a file was cut.
constexpr std::int64_t ChildrenAlwaysTried = 1024;

// Loading: the state of one pass.
struct LoadPass {
    Handle& Tree;
    Files::Reader& File;
    const FileInfo& Info;
    int Levels; // that the file has and the tree knows
};

bool ReadCount(Files::Reader& file, bool swap, std::int32_t& value) {
    if (!file.Read(&value, sizeof value)) return false;
    if (swap) value = Bytes::Swapped(value);
    return true;
}

int ReadFailure(const Files::Reader& file, int place) {
    return FileFailure("Tree.LoadRead failed (" + std::to_string(place) +
                           "): " + Files::ErrorText(file.LastError),
                       file.LastError);
}

int ReadBytes(LoadPass& load, std::byte* user, int level) {
    const std::size_t ram = load.Tree.RamSizes[LevelAt(level)];
    const std::size_t file = load.Info.Sizes[LevelAt(level)];
    if (file > ram) {
        if (!load.File.Read(user, ram)) return ReadFailure(load.File, 2);
        if (!load.File.Skip(file - ram)) return ReadFailure(load.File, 3);
        return Success;
    }
    // What a record holds beyond its file form is no part of the comparison with other programs' files.
    const bool shorter = file < load.Tree.FileSizes[LevelAt(level)];
    if (!load.File.Read(user, file)) return ReadFailure(load.File, shorter ? 4 : 1);
    std::memset(user + file, 0, ram - file);
    return Success;
}

// The record is linked into its parent before its children are read, so that a failure leaves no loose ends;
// the caller drops the whole heap then.
int LoadRecord(LoadPass& load, void* parent, int index, int level, void*& record) {
    record = NewRecord(load.Tree, parent, level);
    if (!record) return Fail("Tree.LoadRead - allocation of RAM-record failed");
    Header& header = HeaderOf(record);
    header.Index = index;

    const int error = ReadBytes(load, static_cast<std::byte*>(record), level);
    if (error != Success) return error;
    if (!load.Tree.Procs.FileToRam(record, level, load.Info.Sizes[LevelAt(level)], load.Info.Swapped))
        return Fail("Tree.LoadRecord: converting file to RAM failed.");
    if (load.Tree.Procs.InitRecord) load.Tree.Procs.InitRecord(record, level);

    std::int32_t count = 0;
    if (!ReadCount(load.File, load.Info.Swapped, count))
        return FileFailure("Tree.LoadRecord - reading number of children failed", load.File.LastError);
    if (count < 0) return Fail("Tree.LoadRecord: negative number of children.");
    if (count == 0 || level + 1 >= load.Levels) return Success;

    // Each child takes at least its own count from the file; a vector for more than fit is not worth asking
    // for.
    const std::int64_t fitting = load.File.Remaining() / static_cast<std::int64_t>(sizeof count);
    void** children = nullptr;
    if (count <= std::max(fitting, ChildrenAlwaysTried))
        children = static_cast<void**>(load.Tree.Heap->Allocate(LevelAt(count) * sizeof(void*)));
    if (!children) return Fail("Tree.LoadRecord - allocating child entries failed");
    header.Children = children;
    header.ChildCapacity = count;
    for (std::int32_t i = 0; i < count; ++i) {
        const int childError = LoadRecord(load, record, i + 1, level + 1, children[i]);
        if (childError != Success) return childError;
        header.ChildCount = i + 1;
    }
    return Success;
}

int LoadHeader(Files::Reader& file, int highestLevel, FileInfo& info) {
    std::uint32_t magic = 0;
    if (!file.Read(&magic, sizeof magic))
        return FileFailure("Tree.Load - reading magic number failed", file.LastError);
    if (magic != Magic && magic != Bytes::Swapped(Magic)) return Fail("Tree.Load - not a Tree file");
    info.Swapped = magic != Magic;

    std::int32_t levels = 0;
    if (!ReadCount(file, info.Swapped, levels))
        return FileFailure("Tree.Load - reading number of levels failed", file.LastError);
    info.Levels = levels;
    const int allowed = highestLevel + 1;
    if (levels <= 0 || levels > allowed)
        return Fail("Tree.Load - illegal number of levels: " + std::to_string(levels) + ", " +
                        std::to_string(allowed),
                    IllegalLevels);

    info.Sizes.resize(LevelAt(levels));
    if (!file.Read(info.Sizes.data(), info.Sizes.size() * sizeof(std::uint32_t)))
        return FileFailure("Tree.Load - reading level sizes failed", file.LastError);
    if (info.Swapped)
        for (std::uint32_t& size : info.Sizes) size = Bytes::Swapped(size);
    return Success;
}

// The file is opened first: one that cannot be opened is not there for its journal either.
int OpenRecovered(Files::File& file, const std::string& path) {
    int error = Files::Open(file, path, Files::Mode::Read);
    if (error != 0) return FileFailure("Tree.Load - opening file failed", error);
    error = RecoverFile("Tree.Load", path);
    if (error != Success) return error;
    // A change can put another file in its place.
    if (Files::IsStillAt(file, path)) return Success;
    error = Files::Open(file, path, Files::Mode::Read);
    return error == 0 ? Success : FileFailure("Tree.Load - opening file failed", error);
}

int OpenReader(Files::Reader& reader, std::int64_t offset) {
    if (offset < 0) return Fail("Tree.Load - setting offset failed");
    const int error = reader.Open();
    return error == 0 ? Success : FileFailure("Tree.Load - setting offset failed", error);
}

}

int RecoverFile(const char* operation, const std::string& path) {
    int error = 0;
    const auto fail = [&](const char* what) { return FileFailure(std::string(operation) + what, error); };
    switch (Journal::Recover(path, error)) {
    case Journal::Found::Nothing:
    case Journal::Found::Completed: return Success;
    case Journal::Found::Busy: return fail(" - the file is being changed by another program");
    case Journal::Found::Failed: return fail(" - completing the file's last change failed");
    case Journal::Found::Foreign: return fail(" - the file's journal belongs to another file");
    }
    return Success;
}

int LoadInfo(const std::string& path, int highestLevel, FileInfo& info, std::span<std::byte> rootBytes) {
    ClearMessage();
    Files::File file;
    const int error = OpenRecovered(file, path);
    return error == Success ? LoadInfoAt(file, 0, highestLevel, info, rootBytes) : error;
}

int LoadInfoAt(Files::File& file, std::int64_t offset, int highestLevel, FileInfo& info,
               std::span<std::byte> rootBytes) {
    ClearMessage();
    Files::Reader reader(file, offset);
    int error = OpenReader(reader, offset);
    if (error == Success) error = LoadHeader(reader, highestLevel, info);
    if (error != Success) return error;
    if (!reader.Read(rootBytes.data(), rootBytes.size()))
        return FileFailure("Tree.LoadInfo: reading block failed.", reader.LastError);
    return Success;
}

int Load(const std::string& path, Handle* handle, FileInfo& info) {
    ClearMessage();
    if (!handle) return Fail("Tree.Load: NIL handle.");
    Files::File file;
    const int error = OpenRecovered(file, path);
    return error == Success ? LoadAt(file, 0, handle, info) : error;
}

int LoadAt(Files::File& file, std::int64_t offset, Handle* handle, FileInfo& info) {
    ClearMessage();
    if (!handle) return Fail("Tree.Load: NIL handle.");
    Files::Reader reader(file, offset);
    int error = OpenReader(reader, offset);
    if (error == Success) error = LoadHeader(reader, handle->Levels - 1, info);
    if (error != Success) return error;

    handle->Root = nullptr;
    handle->StoredSize = 0;
    handle->Heap->Clear();
    handle->Heap->SetLimit(static_cast<std::size_t>(
        LoadBudgetBase + LoadBudgetFactor * std::max<std::int64_t>(reader.Remaining(), 0)));
    LoadPass load{*handle, reader, info, std::min(info.Levels, handle->Levels)};
    void* root = nullptr;
    error = LoadRecord(load, nullptr, 1, 0, root);
    handle->Heap->SetLimit(0);
    if (error != Success) {
        handle->Heap->Clear();
        return error;
    }
    handle->Root = root;
    return Success;
}

}
