// A tree file of any kind is loaded, walked, stored, loaded again and edited.
//
//     byte 0   kind of tree (bits 0 to 2), Yes or No to questions (bit 3)
//     byte 1   the edits behind the reload
//     rest     the file
//
// Promises: what was stored loads, and is stored to the same bytes; after edits, the incremental store leaves
// the bytes of a whole one.
#include "input.h"
#include "memory_disk.h"
#include "trees.h"

namespace {

using Image = std::vector<std::byte>;

// One loaded record, and where it must stand.
void Walk(const void* record, const void* parent, int index, int level, int levels) {
    if (Tree::Parent(record) != parent || Tree::IndexOf(record) != index || Tree::Level(record) != level)
        MemoryDisk::Broken("a record does not stand where it was loaded");
    if (level >= levels) MemoryDisk::Broken("a record stands below the last level");
    const bool selected = Tree::GetSelected(record), open = Tree::GetOpen(record);
    auto* const mutableRecord = const_cast<void*>(record);
    Tree::SetSelected(mutableRecord, !selected);
    Tree::SetSelected(mutableRecord, selected);
    Tree::SetOpen(mutableRecord, open);
    for (int i = 1; i <= Tree::ChildCount(record); ++i)
        Walk(Tree::Child(record, i), record, i, level + 1, levels);
}

Image Stored(Tree::Handle* tree, const std::string& path, bool rewrite) {
    if (Tree::Store(path, tree, rewrite) != Tree::Success)
        MemoryDisk::Broken("a loaded tree cannot be stored");
    return MemoryDisk::Get(path);
}

// A record that the byte leads to, from the root down; never the root.
void* Pick(const Tree::Handle* tree, std::uint8_t way) {
    void* record = Tree::Root(tree);
    do {
        const int count = Tree::ChildCount(record);
        if (count == 0) break;
        record = Tree::Child(record, 1 + (way & 3) % count);
        way = static_cast<std::uint8_t>(way >> 2);
    } while (way != 0);
    return record == Tree::Root(tree) ? nullptr : record;
}

void Edit(Tree::Handle* tree, std::uint8_t edits) {
    void* record = Pick(tree, edits >> 2);
    if (!record) {
        (void)Tree::Append(tree, Tree::Root(tree));
        return;
    }
    void* const parent = Tree::Parent(record);
    switch (edits & 3) {
    case 0: Tree::Delete(tree, record); break;
    case 1: (void)Tree::Copy(tree, record, parent, Tree::IndexOf(record)); break;
    case 2: (void)Tree::Append(tree, record); break;
    default: Tree::SetValid(record, false); break;
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte(), edits = input.Byte();
    const Fuzz::Kind& kind = Fuzz::Kinds[(choice & 7) % Fuzz::KindCount];
    Fuzz::AnswerYes = (choice & 8) != 0;
    MemoryDisk::Clear();
    const std::string path = MemoryDisk::Put("tree", input.Rest());

    Tree::FileInfo info;
    std::byte root[64];
    (void)Tree::LoadInfo(path, static_cast<int>(kind.Format.Levels.size()) - 1, info, root);
    Tree::Handle* tree = kind.Define("Fuzz.HE", {.ForModify = (choice & 16) != 0});
    if (Tree::Load(path, tree, info) == Tree::Success) {
        Walk(Tree::Root(tree), nullptr, 1, 0, tree->Levels);
        std::vector<int> counts;
        (void)Tree::MemorySize(tree, counts, RecordTree::MaxLevels);
        const Image first = Stored(tree, path, true);
        if (Tree::Load(path, tree, info) != Tree::Success)
            MemoryDisk::Broken("what was stored does not load");
        if (Stored(tree, path, true) != first) MemoryDisk::Broken("a second store gives other bytes");
        Edit(tree, edits);
        Edit(tree, static_cast<std::uint8_t>(edits * 37));
        Image part = Stored(tree, path, false);
        part.resize(std::min(part.size(), static_cast<std::size_t>(tree->StoredSize)));
        if (Stored(tree, MemoryDisk::Folder + "whole", true) != part)
            MemoryDisk::Broken("an incremental store leaves other bytes than a whole one");
    } else if (Tree::Root(tree)) {
        MemoryDisk::Broken("a failed load leaves a tree");
    }
    Tree::Dispose(tree);
    return 0;
}
