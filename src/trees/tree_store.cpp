#include "base/journal.h"
#include "trees/tree_record.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace Tree {

namespace {

constexpr std::int64_t PositionMax = std::numeric_limits<std::int32_t>::max();

// Where the bytes of an incremental store go. What lies inside of the old image changes by way of the
// journal. Bytes behind its end are not part of it yet and can be written at once, but must be on the disk
// before the change is decided; so few that the journal takes them as well spare that flush.
class Patch {
public:
    Patch(const std::string& path, std::int64_t oldEnd) : Path(path), DirectFrom(oldEnd + DirectBehind) {}

    [[nodiscard]] int Begin() { return Change.Begin(Path); }
    [[nodiscard]] int Write(std::int64_t position, std::span<const std::byte> bytes);
    [[nodiscard]] int Commit();

private:
    static constexpr std::int64_t DirectBehind = std::int64_t{256} << 10;
    static constexpr std::size_t RunMax = std::size_t{256} << 10;

    [[nodiscard]] int EndRun();
    [[nodiscard]] int WriteInside(std::int64_t position, std::span<const std::byte> bytes);
    [[nodiscard]] int WriteBehind(std::int64_t position, std::span<const std::byte> bytes);

    const std::string& Path;
    std::int64_t DirectFrom;
    Journal::Change Change;
    std::int64_t RunStart = 0; // bytes that follow each other make one step
    std::vector<std::byte> Run;
    Files::File File;
    std::optional<Files::Writer> Behind;
};

int Patch::EndRun() {
    if (Run.empty()) return 0;
    const int error = Change.Write(Path, RunStart, Run);
    RunStart += static_cast<std::int64_t>(Run.size());
    Run.clear();
    return error;
}

int Patch::WriteInside(std::int64_t position, std::span<const std::byte> bytes) {
    const bool follows = position == RunStart + static_cast<std::int64_t>(Run.size());
    if (!follows || Run.size() + bytes.size() > RunMax) {
        const int error = EndRun();
        if (error != 0) return error;
        RunStart = position;
    }
    Run.insert(Run.end(), bytes.begin(), bytes.end());
    return 0;
}

// All of the new image that lies there is new, so that each piece follows the last one.
int Patch::WriteBehind(std::int64_t position, std::span<const std::byte> bytes) {
    if (!Behind) {
        const int error = Files::Open(File, Path, Files::Mode::ReadWrite);
        if (error != 0) return error;
        Behind.emplace(File, position);
    }
    return Behind->Write(bytes.data(), bytes.size());
}

int Patch::Write(std::int64_t position, std::span<const std::byte> bytes) {
    const auto inside = static_cast<std::size_t>(
        std::clamp<std::int64_t>(DirectFrom - position, 0, static_cast<std::int64_t>(bytes.size())));
    int error = inside > 0 ? WriteInside(position, bytes.first(inside)) : 0;
    if (error == 0 && inside < bytes.size())
        error = WriteBehind(position + static_cast<std::int64_t>(inside), bytes.subspan(inside));
    return error;
}

int Patch::Commit() {
    int error = EndRun();
    if (error == 0 && Behind) error = Behind->Finish();
    if (error == 0 && Behind) error = Files::Flush(File);
    bool decided = false;
    return error == 0 ? Change.Commit(decided) : error;
}

// Storing: the state of one walk. One of the targets is there.
struct StorePass {
    Handle& Tree;
    Files::Writer* Whole;
    Patch* Changes;
    std::int64_t Position;
};

int WriteFailure(int place, int error) {
    return FileFailure("Tree.Store - write error (" + std::to_string(place) + ")", error);
}

int Put(StorePass& store, const void* data, std::size_t bytes, int place) {
    const auto* const from = static_cast<const std::byte*>(data);
    const int error =
        store.Whole ? store.Whole->Write(from, bytes) : store.Changes->Write(store.Position, {from, bytes});
    if (error != 0) return WriteFailure(place, error);
    store.Position += static_cast<std::int64_t>(bytes);
    return store.Position <= PositionMax ? Success : WriteFailure(place, EngineFailure);
}

int StoreHeader(StorePass& store) {
    const std::uint32_t magic = Magic;
    const std::int32_t levels = store.Tree.Levels;
    int error = Put(store, &magic, sizeof magic, 1);
    if (error == Success) error = Put(store, &levels, sizeof levels, 2);
    if (error == Success)
        error = Put(store, store.Tree.FileSizes.data(), LevelAt(levels) * sizeof(std::uint32_t), 3);
    return error;
}

std::int32_t CountValid(Header& header) {
    if (!header.HasOmitted) return header.ChildCount;
    std::int32_t count = 0;
    for (int i = 0; i < header.ChildCount; ++i) count += HeaderOf(header.Children[i]).Omitted == 0;
    header.HasOmitted = count < header.ChildCount;
    return count;
}

// Steps over the children before the first changed one if they lie where they will: with the first of them
// do all, since they follow each other as they did. Returns how many children, omitted ones too, are done.
int StepOverUnchanged(StorePass& store, const Header& header) {
    const int unchanged =
        header.FirstChanged == 0 ? header.ChildCount : std::min(header.FirstChanged - 1, header.ChildCount);
    int first = 0, last = unchanged - 1;
    while (first < unchanged && HeaderOf(header.Children[first]).Omitted != 0) ++first;
    while (last > first && HeaderOf(header.Children[last]).Omitted != 0) --last;
    if (first == unchanged || HeaderOf(header.Children[first]).StoredPos != store.Position) return 0;
    const Header& end = HeaderOf(header.Children[last]);
    store.Position = std::int64_t{end.StoredPos} + end.StoredBytes;
    return unchanged;
}

// A record whose stored place is where it will lie is left alone, with all below it if nothing changed there.
int StoreRecord(StorePass& store, void* record, bool whole) {
    Header& header = HeaderOf(record);
    whole = whole || header.StoredBytes == 0;
    const std::int64_t start = store.Position;
    const bool inPlace = !whole && header.StoredPos == start;
    if (inPlace && header.FirstChanged == 0) {
        store.Position += header.StoredBytes;
        return Success;
    }
    int error = Success;
    const std::size_t size = store.Tree.FileSizes[LevelAt(header.Level)];
    if (inPlace) {
        store.Position += static_cast<std::int64_t>(size);
    } else {
        const std::byte* const image = store.Tree.Procs.RamToFile(record, header.Level);
        if (!image) return Fail("Tree.Store - RamToFile failed");
        error = Put(store, image, size, 4);
        if (error != Success) return error;
    }

    const std::int32_t count = CountValid(header);
    if (inPlace && count == header.StoredChildren)
        store.Position += static_cast<std::int64_t>(sizeof count);
    else
        error = Put(store, &count, sizeof count, 5);
    for (int i = whole ? 0 : StepOverUnchanged(store, header); error == Success && i < header.ChildCount; ++i)
        if (HeaderOf(header.Children[i]).Omitted == 0) error = StoreRecord(store, header.Children[i], whole);
    header.StoredPos = static_cast<std::int32_t>(start);
    header.StoredChildren = count;
    header.StoredBytes = static_cast<std::int32_t>(store.Position - start);
    header.FirstChanged = 0;
    return error;
}

int StoreWhole(Files::File& file, std::int64_t offset, Handle& handle, std::int64_t& size) {
    Files::Writer writer(file, offset);
    StorePass store{handle, &writer, nullptr, offset};
    int error = StoreHeader(store);
    if (error == Success && handle.Root) error = StoreRecord(store, handle.Root, true);
    if (error == Success) {
        const int writeError = writer.Finish();
        if (writeError != 0) error = WriteFailure(4, writeError);
    }
    size = store.Position - offset;
    return error;
}

// Positions that were learnt from another file, or from one that somebody has changed since, say nothing
// about this one.
bool HoldsLastStore(const std::string& path, const Handle& handle) {
    return handle.Root && handle.StoredSize > 0 && handle.StoredName == path &&
           Files::StampOf(path) == handle.StoredStamp;
}

int StoreRewrite(const std::string& path, Handle& handle, std::int64_t& size) {
    Files::Replacement replacement;
    const int error = replacement.Begin(path);
    if (error != 0) return FileFailure("Tree.Store - opening file failed", error);
    // A journal of the old file must not be left to the new one.
    const int recoverError = RecoverFile("Tree.Store", path);
    if (recoverError != Success) return recoverError;
    const int storeError = StoreWhole(replacement.Content, 0, handle, size);
    if (storeError != Success) return storeError;
    const int commitError = replacement.Commit();
    return commitError == 0 ? Success : WriteFailure(4, commitError);
}

int StoreChanges(const std::string& path, Handle& handle, std::int64_t oldSize, std::int64_t& size) {
    const auto headerBytes = static_cast<std::int64_t>((2 + handle.FileSizes.size()) * sizeof(std::uint32_t));
    const Header& root = HeaderOf(handle.Root);
    size = oldSize;
    if (root.StoredPos == headerBytes && root.StoredBytes != 0 && root.FirstChanged == 0) return Success;

    Patch changes(path, oldSize);
    const int beginError = changes.Begin();
    if (beginError != 0) return FileFailure("Tree.Store - opening file failed", beginError);
    StorePass store{handle, nullptr, &changes, headerBytes};
    int error = StoreRecord(store, handle.Root, false);
    if (error == Success) {
        const int writeError = changes.Commit();
        if (writeError != 0) error = WriteFailure(4, writeError);
    }
    size = store.Position;
    return error;
}

}

int Store(const std::string& path, Handle* handle, bool rewrite) {
    ClearMessage();
    if (!handle) return Fail("Tree.Store: NIL handle.");
    const std::int64_t oldSize = handle->StoredSize;
    rewrite = rewrite || !HoldsLastStore(path, *handle);
    handle->StoredSize = 0;
    std::int64_t size = 0;
    int error = rewrite ? StoreRewrite(path, *handle, size) : StoreChanges(path, *handle, oldSize, size);
    if (error == EBUSY && !rewrite) {
        // Somebody has changed the file since, and not to the end.
        ClearMessage();
        error = StoreRewrite(path, *handle, size);
    }
    if (error == Success) {
        handle->StoredSize = size;
        handle->StoredName = path;
        handle->StoredStamp = Files::StampOf(path);
    } else if (handle->Root) {
        // What the records say of their places is true of no file now.
        HeaderOf(handle->Root).StoredBytes = 0;
    }
    return error;
}

int StoreAt(Files::File& file, std::int64_t offset, Handle* handle, std::int64_t& size) {
    ClearMessage();
    if (!handle) return Fail("Tree.Store: NIL handle.");
    handle->StoredSize = 0;
    handle->StoredName.clear();
    if (offset < 0) return Fail("Tree.Store - set file position failed (1)");
    const int error = StoreWhole(file, offset, *handle, size);
    if (error == Success) handle->StoredSize = size;
    return error;
}

}
