#include "trees/tree.h"

#include "base/buffer.h"
#include "base/bytes.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace Tree {

namespace {

// What the engine keeps of a record, right before its user part.
struct alignas(Buffer::BlockAlignment) Header {
    void* Parent = nullptr;
    void** Children = nullptr;
    std::int32_t Index = 1; // among its siblings, from 1
    std::int32_t ChildCount = 0;
    std::int32_t ChildCapacity = 0;
    std::int32_t StoredPos = 0;      // file position of the last write, 0 for not known
    std::int32_t StoredChildren = 0; // child count of the last write, 0 for not known
    std::int16_t Level = 0;
    std::uint8_t Omitted = 0;
    std::uint8_t HasMark = 0;
};
static_assert(sizeof(Header) == 48);

constexpr int FirstCapacity = 8;
constexpr std::size_t MessageMax = 127;
constexpr std::int64_t PositionMax = std::numeric_limits<std::int32_t>::max();
// A load may take this much more than the bytes of its file: enough for every sound tree (a record costs its
// header and a reference more than in the file), not enough for a file of empty records to exhaust the
// machine.
constexpr std::int64_t LoadBudgetBase = std::int64_t{64} << 20;
constexpr std::int64_t LoadBudgetFactor = 16;
// So few references cost nothing, and the read of the missing record then says where a file was cut.
constexpr std::int64_t ChildrenAlwaysTried = 1024;

constexpr std::int32_t SelectedBit = 1;
constexpr std::int32_t ClosedBit = 2;

std::string Message;

Header& HeaderOf(const void* record) {
    return *reinterpret_cast<Header*>(static_cast<std::byte*>(const_cast<void*>(record)) - sizeof(Header));
}

int Fail(std::string_view text, int code = EngineFailure) {
    Message.assign(text.substr(0, MessageMax));
    return code;
}

// The system's code where there is one.
int FileFailure(std::string_view text, int error) {
    return Fail(text, error > 0 ? error : EngineFailure);
}

std::size_t LevelAt(int level) {
    return static_cast<std::size_t>(level);
}

void* NewRecord(Handle& handle, void* parent, int level) {
    const std::size_t bytes = sizeof(Header) + handle.RamSizes[LevelAt(level)];
    auto* const block = static_cast<std::byte*>(handle.Heap->Allocate(bytes));
    if (!block) return nullptr;
    auto* const header = new (block) Header;
    header->Parent = parent;
    header->Level = static_cast<std::int16_t>(level);
    header->HasMark = handle.HasMark[LevelAt(level)];
    return block + sizeof(Header);
}

void FreeRecord(Handle& handle, void* record) {
    Header& header = HeaderOf(record);
    handle.Heap->Free(header.Children, LevelAt(header.ChildCapacity) * sizeof(void*));
    handle.Heap->Free(&header, sizeof(Header) + handle.RamSizes[LevelAt(header.Level)]);
}

void FreeSubtree(Handle& handle, void* record) {
    const Header& header = HeaderOf(record);
    for (int i = 0; i < header.ChildCount; ++i) FreeSubtree(handle, header.Children[i]);
    FreeRecord(handle, record);
}

bool GrowChildren(Handle& handle, Header& header) {
    if (header.ChildCount < header.ChildCapacity) return true;
    if (header.ChildCapacity > std::numeric_limits<std::int32_t>::max() / 2) return false;
    const int capacity = header.ChildCapacity == 0 ? FirstCapacity : header.ChildCapacity * 2;
    auto** const children = static_cast<void**>(handle.Heap->Allocate(LevelAt(capacity) * sizeof(void*)));
    if (!children) return false;
    std::copy_n(header.Children, header.ChildCount, children);
    handle.Heap->Free(header.Children, LevelAt(header.ChildCapacity) * sizeof(void*));
    header.Children = children;
    header.ChildCapacity = capacity;
    return true;
}

void ForgetStored(Header& header) {
    header.StoredPos = 0;
    header.StoredChildren = 0;
}

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

int OpenReader(Files::Reader& reader, std::int64_t offset) {
    if (offset < 0) return Fail("Tree.Load - setting offset failed");
    const int error = reader.Open();
    return error == 0 ? Success : FileFailure("Tree.Load - setting offset failed", error);
}

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

void CopyRecord(Handle& handle, const void* source, void* target) {
    const Header& header = HeaderOf(source);
    std::memcpy(target, source, handle.RamSizes[LevelAt(header.Level)]);
    HeaderOf(target).Omitted = 0;
    if (handle.Procs.Copied) handle.Procs.Copied(target, header.Level);
}

int CopyInto(Handle& handle, void* source, void* targetParent, int position) {
    void* target = Insert(&handle, targetParent, position);
    if (!target) return EngineFailure;
    CopyRecord(handle, source, target);
    const Header& header = HeaderOf(source);
    for (int i = 0; i < header.ChildCount; ++i) {
        if (CopyInto(handle, header.Children[i], target, i + 1) == Success) continue;
        Delete(&handle, target);
        return EngineFailure;
    }
    return Success;
}

std::int32_t* MarkOf(const void* record) {
    if (!record || !HeaderOf(record).HasMark) return nullptr;
    return static_cast<std::int32_t*>(const_cast<void*>(record));
}

void SetMarkBit(void* record, std::int32_t bit, bool on) {
    std::int32_t* const mark = MarkOf(record);
    if (mark) *mark = on ? *mark | bit : *mark & ~bit;
}

}

const std::string& LastError() {
    return Message;
}

std::string Reason(int error) {
    return error > 0 ? Message + ": " + Files::ErrorText(error) : Message;
}

Handle* Define(std::string_view heapName, int levels, std::span<const std::uint32_t> ramSizes,
               std::span<const std::uint32_t> fileSizes, Procedures procedures, std::vector<bool> hasMark) {
    Message.clear();
    if (heapName.empty()) {
        Fail("Tree.Define - empty heap name");
        return nullptr;
    }
    if (levels < 1 || LevelAt(levels) > ramSizes.size() || LevelAt(levels) > fileSizes.size()) {
        Fail("Tree.Define - illegal parameters: " + std::to_string(levels) + ", " +
             std::to_string(ramSizes.size()) + ", " + std::to_string(fileSizes.size()));
        return nullptr;
    }
    Buffer::Heap* heap = Buffer::Create(heapName, Buffer::Kind::Unique);
    if (!heap) {
        Fail("Tree.Define - allocation of heap failed");
        return nullptr;
    }
    auto* handle = new (std::nothrow) Handle;
    if (!handle) {
        Fail("Tree.Define - allocation of Tree failed");
        Buffer::Release(heap);
        return nullptr;
    }
    handle->Heap = heap;
    const char* step = "Tree.Define - allocation of RAM-size vector failed";
    try {
        for (int level = 0; level < levels; ++level)
            handle->RamSizes.push_back(std::max(ramSizes[LevelAt(level)], fileSizes[LevelAt(level)]));
        step = "Tree.Define - allocation of file-size vector failed";
        handle->FileSizes.assign(fileSizes.begin(), fileSizes.begin() + levels);
        handle->HasMark = std::move(hasMark);
        handle->HasMark.resize(LevelAt(levels), true);
    } catch (const std::bad_alloc&) {
        Dispose(handle);
        Fail(step);
        return nullptr;
    }
    handle->Levels = levels;
    handle->Procs = std::move(procedures);
    return handle;
}

void Dispose(Handle*& handle) {
    if (!handle) return;
    Buffer::Release(handle->Heap);
    delete std::exchange(handle, nullptr);
}

void* Root(const Handle* handle) {
    return handle ? handle->Root : nullptr;
}

void* Parent(const void* record) {
    return record ? HeaderOf(record).Parent : nullptr;
}

void* Ancestor(const void* record, int steps) {
    if (!record || steps < 0 || steps > HeaderOf(record).Level) return nullptr;
    void* up = const_cast<void*>(record);
    for (; steps > 0; --steps) up = HeaderOf(up).Parent;
    return up;
}

void* Child(const void* record, int index) {
    if (!record) return nullptr;
    const Header& header = HeaderOf(record);
    return index >= 1 && index <= header.ChildCount ? header.Children[index - 1] : nullptr;
}

int ChildCount(const void* record) {
    return record ? HeaderOf(record).ChildCount : 0;
}

int IndexOf(const void* record) {
    return record ? HeaderOf(record).Index : 0;
}

int Level(const void* record) {
    return record ? HeaderOf(record).Level : 0;
}

void* Append(Handle* handle, void* parent) {
    return Insert(handle, parent, ChildCount(parent) + 1);
}

void* Insert(Handle* handle, void* parent, int position) {
    Message.clear();
    if (!handle) return nullptr;
    const int level = parent ? HeaderOf(parent).Level + 1 : 0;
    if (level >= handle->Levels) return nullptr;
    if (!parent && (handle->Root || position != 1)) return nullptr;
    if (parent && (position < 1 || position > ChildCount(parent) + 1)) return nullptr;

    if (parent && !GrowChildren(*handle, HeaderOf(parent))) return nullptr;
    void* const record = NewRecord(*handle, parent, level);
    if (!record) return nullptr;
    std::memset(record, 0, handle->RamSizes[LevelAt(level)]);
    if (!parent) {
        handle->Root = record;
    } else {
        Header& header = HeaderOf(parent);
        void** const at = header.Children + (position - 1);
        void** const end = header.Children + header.ChildCount;
        for (void** follower = at; follower < end; ++follower) ++HeaderOf(*follower).Index;
        std::copy_backward(at, end, end + 1);
        *at = record;
        ++header.ChildCount;
        ForgetStored(header);
        HeaderOf(record).Index = position;
    }
    if (handle->Procs.InitRecord) handle->Procs.InitRecord(record, level);
    return record;
}

void Delete(Handle* handle, void*& record) {
    Message.clear();
    if (!handle || !record) return;
    void* const gone = std::exchange(record, nullptr);
    void* const parent = HeaderOf(gone).Parent;
    if (!parent) {
        handle->Root = nullptr;
        handle->Heap->Clear();
        return;
    }
    Header& header = HeaderOf(parent);
    void** const at = header.Children + (HeaderOf(gone).Index - 1);
    void** const end = header.Children + header.ChildCount;
    for (void** follower = at + 1; follower < end; ++follower) --HeaderOf(*follower).Index;
    std::copy(at + 1, end, at);
    --header.ChildCount;
    ForgetStored(header);
    if (header.ChildCount == 0) {
        handle->Heap->Free(header.Children, LevelAt(header.ChildCapacity) * sizeof(void*));
        header.Children = nullptr;
        header.ChildCapacity = 0;
    }
    FreeSubtree(*handle, gone);
}

int Copy(Handle* handle, void* source, void* targetParent, int position) {
    Message.clear();
    if (!handle || !source || !targetParent) return EngineFailure;
    if (Level(source) != Level(targetParent) + 1) return EngineFailure;
    if (position < 1 || position > ChildCount(targetParent) + 1) return EngineFailure;
    return CopyInto(*handle, source, targetParent, position);
}

bool Replace(Handle*& source, void*& sourceRoot, Handle*& target, void*& targetRoot) {
    Message.clear();
    if (!source || !target || source == target) return false;
    // Heap names are fixed; what moves between the handles is the name under which each tree is found.
    const std::string name = target->Heap->HeapName;
    Buffer::Heap* const owner = target->Heap->Owner;
    Buffer::Release(target->Heap);
    Buffer::Rename(*source->Heap, name, owner);
    Handle* const old = std::exchange(target, std::exchange(source, nullptr));
    delete old;
    sourceRoot = nullptr;
    targetRoot = target->Root;
    return true;
}

std::int64_t MemorySize(const Handle* handle, std::vector<int>& counts, int deepestLevel) {
    counts.assign(handle ? LevelAt(handle->Levels) : 0, 0);
    if (!handle || !handle->Root) return 0;
    const auto count = [&](const auto& self, const void* record) -> void {
        const Header& header = HeaderOf(record);
        if (header.Level > deepestLevel) return;
        ++counts[LevelAt(header.Level)];
        for (int i = 0; i < header.ChildCount; ++i) self(self, header.Children[i]);
    };
    count(count, handle->Root);
    std::int64_t bytes = 0;
    for (int level = 0; level < handle->Levels; ++level)
        bytes += (std::int64_t{handle->RamSizes[LevelAt(level)]} + 4) * counts[LevelAt(level)];
    return bytes;
}

bool GetSelected(const void* record) {
    const std::int32_t* const mark = MarkOf(record);
    return mark && (*mark & SelectedBit) != 0;
}

void SetSelected(void* record, bool selected) {
    SetMarkBit(record, SelectedBit, selected);
}

bool GetOpen(const void* record) {
    const std::int32_t* const mark = MarkOf(record);
    return !mark || (*mark & ClosedBit) == 0;
}

void SetOpen(void* record, bool open) {
    SetMarkBit(record, ClosedBit, !open);
}

bool IsValid(const void* record) {
    return record && HeaderOf(record).Omitted == 0;
}

void SetValid(void* record, bool valid) {
    if (!record || IsValid(record) == valid) return;
    Header& header = HeaderOf(record);
    header.Omitted = valid ? 0 : 1;
    // Two that change places keep the count: the parent itself must tell the next incremental store.
    if (header.Parent) ForgetStored(HeaderOf(header.Parent));
}

int LoadInfo(const std::string& path, int highestLevel, FileInfo& info, std::span<std::byte> rootBytes) {
    Message.clear();
    Files::File file;
    const int error = Files::Open(file, path, Files::Mode::Read);
    if (error != 0) return FileFailure("Tree.Load - opening file failed", error);
    return LoadInfoAt(file, 0, highestLevel, info, rootBytes);
}

int LoadInfoAt(Files::File& file, std::int64_t offset, int highestLevel, FileInfo& info,
               std::span<std::byte> rootBytes) {
    Message.clear();
    Files::Reader reader(file, offset);
    int error = OpenReader(reader, offset);
    if (error == Success) error = LoadHeader(reader, highestLevel, info);
    if (error != Success) return error;
    if (!reader.Read(rootBytes.data(), rootBytes.size()))
        return FileFailure("Tree.LoadInfo: reading block failed.", reader.LastError);
    return Success;
}

int Load(const std::string& path, Handle* handle, FileInfo& info) {
    Message.clear();
    if (!handle) return Fail("Tree.Load: NIL handle.");
    Files::File file;
    const int error = Files::Open(file, path, Files::Mode::Read);
    if (error != 0) return FileFailure("Tree.Load - opening file failed", error);
    return LoadAt(file, 0, handle, info);
}

int LoadAt(Files::File& file, std::int64_t offset, Handle* handle, FileInfo& info) {
    Message.clear();
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

int Store(const std::string& path, Handle* handle, bool rewrite) {
    Message.clear();
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
    Message.clear();
    if (!handle) return Fail("Tree.Store: NIL handle.");
    handle->StoredSize = 0;
    handle->StoredName.clear();
    if (offset < 0) return Fail("Tree.Store - set file position failed (1)");
    const int error = StoreImage(file, offset, *handle, true, size);
    if (error == Success) handle->StoredSize = size;
    return error;
}

}
