// An online analysis file is loaded, merged with itself, edited, and stored.
//
//     byte 0   Yes or No to questions (bit 0)
//     byte 1   count of edits (bits 0 to 2), then two bytes each
//     rest     the file
//
// Promises: there is always a method in use; a merge doubles the methods, all under names of their own where
// the present ones had them; what was stored loads to the same bytes.
#include "input.h"
#include "memory_disk.h"

#include "base/text.h"
#include "online/online_edit.h"

#include <set>

namespace {

void Edit(OnlineAnalysis& analysis, std::uint8_t edit, std::uint8_t argument) {
    const int a = argument & 15, b = argument >> 4;
    OnlineMethod* const method = OnlineTree::CurrentMethod(analysis);
    switch (edit % 10) {
    case 0: (void)OnlineEdit::AppendMethod(analysis); break;
    case 1: (void)OnlineEdit::CopyMethod(analysis, a); break;
    case 2: (void)OnlineEdit::RenameMethod(analysis, a, std::string(static_cast<std::size_t>(b), 'n')); break;
    case 3: (void)OnlineEdit::MoveMethod(analysis, a, b); break;
    case 4: (void)OnlineEdit::DeleteMethod(analysis, a); break;
    case 5: (void)OnlineEdit::InsertFunction(analysis, method, a); break;
    case 6: (void)OnlineEdit::CopyFunction(analysis, method, a); break;
    case 7: (void)OnlineEdit::MoveFunction(analysis, method, a, b); break;
    case 8: (void)OnlineEdit::DeleteFunction(analysis, method, a); break;
    default: analysis.Current = 1 + a % OnlineTree::MethodCount(analysis);
    }
    if (!OnlineTree::CurrentMethod(analysis)) MemoryDisk::Broken("there is no method in use");
}

std::set<std::string_view> Names(const OnlineAnalysis& analysis) {
    std::set<std::string_view> names;
    for (int i = 1; i <= OnlineTree::MethodCount(analysis); ++i)
        names.insert(Texts::FromField(OnlineTree::MethodAt(analysis, i)->OmName));
    return names;
}

void Merge(OnlineAnalysis& analysis, const std::string& path) {
    const int methods = OnlineTree::MethodCount(analysis);
    const std::size_t names = Names(analysis).size();
    if (!OnlineTree::MergeFile(analysis, path)) {
        if (OnlineTree::MethodCount(analysis) != methods) MemoryDisk::Broken("a failed merge leaves methods");
        return;
    }
    const int merged = OnlineTree::MethodCount(analysis) - methods;
    if (Names(analysis).size() != names + static_cast<std::size_t>(merged))
        MemoryDisk::Broken("a merged method has no name of its own");
}

void StoreAndLoad(OnlineAnalysis& analysis) {
    const std::string path = MemoryDisk::Folder + "stored.onl";
    if (!OnlineTree::Store(analysis, path, "Qorvanite")) return;
    const std::vector<std::byte> stored = MemoryDisk::Get(path);
    if (!OnlineTree::Load(analysis, path)) MemoryDisk::Broken("what was stored does not load");
    if (!OnlineTree::Store(analysis, path, "Qorvanite"))
        MemoryDisk::Broken("what was stored cannot be stored");
    if (MemoryDisk::Get(path) != stored) MemoryDisk::Broken("a second store gives other bytes");
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (MemoryDisk::PlugIn(), Fuzz::InstallUser(), true);
    if (!ready || size < 2) return 0;
    Fuzz::Input input(data, size);
    Fuzz::AnswerYes = (input.Byte() & 1) != 0;
    const std::size_t edits = input.Byte() & 7;
    Fuzz::Input steps(reinterpret_cast<const std::uint8_t*>(input.Bytes(2 * edits).data()),
                      std::min(2 * edits, size - 2));
    MemoryDisk::Clear();
    const std::string path = MemoryDisk::Put("a.onl", input.Rest());
    OnlineAnalysis analysis;
    if (!OnlineTree::Load(analysis, path)) return 0;
    Merge(analysis, path);
    for (std::size_t i = 0; i < edits; ++i) {
        const std::uint8_t edit = steps.Byte();
        Edit(analysis, edit, steps.Byte());
    }
    StoreAndLoad(analysis);
    return 0;
}
