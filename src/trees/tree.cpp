#include "trees/tree.h"

#include "trees/tree_record.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace Tree {

namespace {

constexpr int FirstCapacity = 8;
constexpr std::size_t MessageMax = 127;

constexpr std::int32_t SelectedBit = 1;
constexpr std::int32_t ClosedBit = 2;

std::string Message;

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

void ClearMessage() {
    Message.clear();
}

int Fail(std::string_view text, int code) {
    Message.assign(text.substr(0, MessageMax));
    return code;
}

int FileFailure(std::string_view text, int error) {
    return Fail(text, error > 0 ? error : EngineFailure);
}

void* NewRecord(Handle& handle, void* parent, int level) {
    const std::size_t bytes = sizeof(Header) + handle.RamSizes[LevelAt(level)];
    auto* const block = static_cast<std::byte*>(handle.Heap->Allocate(bytes));
    if (!block) return nullptr;
    auto* const header = new (block) Header;
    header->Parent = parent;
    header->Level = static_cast<std::int16_t>(level);
    header->HasMark = handle.HasMark[LevelAt(level)] ? 1 : 0;
    return block + sizeof(Header);
}

void NoteChange(Header& parent, int index) {
    parent.StoredPos = 0;
    parent.StoredChildren = 0;
    for (Header* up = &parent; up->FirstChanged == 0 || up->FirstChanged > index;) {
        up->FirstChanged = index;
        if (!up->Parent) return;
        index = up->Index;
        up = &HeaderOf(up->Parent);
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

    void* const record =
        parent && !GrowChildren(*handle, HeaderOf(parent)) ? nullptr : NewRecord(*handle, parent, level);
    if (!record) {
        Fail("Tree.Insert - allocation of record failed");
        return nullptr;
    }
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
        NoteChange(header, position);
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
    const int index = HeaderOf(gone).Index;
    void** const at = header.Children + (index - 1);
    void** const end = header.Children + header.ChildCount;
    for (void** follower = at + 1; follower < end; ++follower) --HeaderOf(*follower).Index;
    std::copy(at + 1, end, at);
    --header.ChildCount;
    NoteChange(header, index);
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
    // While it is not in the file, others take its place there.
    header.StoredBytes = 0;
    if (!header.Parent) return;
    Header& parent = HeaderOf(header.Parent);
    if (!valid) parent.HasOmitted = 1;
    NoteChange(parent, header.Index);
}

}
