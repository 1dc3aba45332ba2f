#include "trees/tree_record.h"

#include <limits>

namespace Tree {

namespace {

constexpr std::int64_t PositionMax = std::numeric_limits<std::int32_t>::max();

// Storing: the state of one walk. Writing starts at the first difference and never stops again.
struct StorePass {
    Handle& Tree;
    Files::Writer& File;
    std::int64_t Position;
    bool Writing;
};

int StartWriting(StorePass& store, const char* place) {
    store.Writing = true;
    const int error = store.File.SeekTo(store.Position);
    return error == 0
               ? Success
               : FileFailure("Tree.Store - set file position failed (" + std::string(place) + ")", error);
}

int Put(StorePass& store, const void* data, std::size_t bytes, int place) {
    if (store.Writing) {
        const int error = store.File.Write(data, bytes);
        if (error != 0) return FileFailure("Tree.Store - write error (" + std::to_string(place) + ")", error);
    }
    store.Position += static_cast<std::int64_t>(bytes);
    return store.Position <= PositionMax
               ? Success
               : Fail("Tree.Store - write error (" + std::to_string(place) + ")", EngineFailure);
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

int StoreRecord(StorePass& store, void* record) {
    Header& header = HeaderOf(record);
    const std::size_t size = store.Tree.FileSizes[LevelAt(header.Level)];
    if (!store.Writing && header.StoredPos != store.Position) {
        const int error = StartWriting(store, "2");
        if (error != Success) return error;
    }
    const std::byte* image = nullptr;
    if (store.Writing) {
        image = store.Tree.Procs.RamToFile(record, header.Level);
        if (!image) return Fail("Tree.Store - RamToFile failed");
        header.StoredPos = static_cast<std::int32_t>(store.Position);
    }
    int error = Put(store, image, size, 4);
    if (error != Success) return error;

    std::int32_t count = 0;
    for (int i = 0; i < header.ChildCount; ++i) count += HeaderOf(header.Children[i]).Omitted == 0;
    if (!store.Writing && count != header.StoredChildren) {
        error = StartWriting(store, "3");
        if (error != Success) return error;
    }
    if (store.Writing) header.StoredChildren = count;
    error = Put(store, &count, sizeof count, 5);
    for (int i = 0; error == Success && i < header.ChildCount; ++i)
        if (HeaderOf(header.Children[i]).Omitted == 0) error = StoreRecord(store, header.Children[i]);
    return error;
}

int StoreImage(Files::File& file, std::int64_t offset, Handle& handle, bool writing, std::int64_t& size) {
    Files::Writer writer(file, offset);
    StorePass store{handle, writer, offset, writing};
    int error = StoreHeader(store);
    if (error == Success && handle.Root) error = StoreRecord(store, handle.Root);
    if (error == Success && store.Writing) {
        const int writeError = writer.Finish();
        if (writeError != 0) error = FileFailure("Tree.Store - write error (4)", writeError);
    }
    size = store.Position - offset;
    return error;
}

// A record whose stored position is not what the file holds would be skipped by the next incremental store.
void ForgetAllStored(void* record) {
    Header& header = HeaderOf(record);
    ForgetStored(header);
    for (int i = 0; i < header.ChildCount; ++i) ForgetAllStored(header.Children[i]);
}

// Positions that were learnt from another file, or from one that was cut since, say nothing about this one.
bool HoldsLastStore(const std::string& path, const Handle& handle) {
    if (handle.StoredSize <= 0 || handle.StoredName != path || !Files::Exists(path)) return false;
    Files::File file;
    std::int64_t length = 0;
    return Files::Open(file, path, Files::Mode::Read) == 0 && Files::Length(file, length) == 0 &&
           length >= handle.StoredSize;
}

int StoreRewrite(const std::string& path, Handle& handle, std::int64_t& size) {
    Files::Replacement replacement;
    const int error = replacement.Begin(path);
    if (error != 0) return FileFailure("Tree.Store - opening file failed", error);
    const int storeError = StoreImage(replacement.Content, 0, handle, true, size);
    if (storeError != Success) return storeError;
    const int commitError = replacement.Commit();
    return commitError == 0 ? Success : FileFailure("Tree.Store - write error (4)", commitError);
}

int StoreIncremental(const std::string& path, Handle& handle, std::int64_t& size) {
    Files::File file;
    int error = Files::Open(file, path, Files::Mode::ReadWrite);
    if (error != 0) return FileFailure("Tree.Store - opening file failed", error);
    const int storeError = StoreImage(file, 0, handle, false, size);
    if (storeError != Success) return storeError;
    error = Files::Flush(file);
    const int closing = Files::Close(file);
    if (error == 0) error = closing;
    return error == 0 ? Success : FileFailure("Tree.Store - write error (4)", error);
}

}

int Store(const std::string& path, Handle* handle, bool rewrite) {
    ClearMessage();
    if (!handle) return Fail("Tree.Store: NIL handle.");
    rewrite = rewrite || !HoldsLastStore(path, *handle);
    handle->StoredSize = 0;
    std::int64_t size = 0;
    const int error = rewrite ? StoreRewrite(path, *handle, size) : StoreIncremental(path, *handle, size);
    if (error == Success) {
        handle->StoredSize = size;
        handle->StoredName = path;
    } else if (handle->Root) {
        ForgetAllStored(handle->Root);
    }
    return error;
}

int StoreAt(Files::File& file, std::int64_t offset, Handle* handle, std::int64_t& size) {
    ClearMessage();
    if (!handle) return Fail("Tree.Store: NIL handle.");
    handle->StoredSize = 0;
    handle->StoredName.clear();
    if (offset < 0) return Fail("Tree.Store - set file position failed (1)");
    const int error = StoreImage(file, offset, *handle, true, size);
    if (error == Success) handle->StoredSize = size;
    return error;
}

}
