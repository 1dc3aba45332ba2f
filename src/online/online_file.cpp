#include "online/online_file.h"

#include "base/messages.h"
#include "base/text.h"
#include "online/unique_names.h"
#include "setup/settings_file.h"

#include <algorithm>
#include <filesystem>

OnlineAnalysis::~OnlineAnalysis() {
    Tree::Dispose(Tree);
}

namespace OnlineTree {

namespace {

constexpr const char* LoadHeapName = "OnlineLoad.HE";
constexpr std::size_t NameMax = sizeof(OnlineMethod::OmName) - 1;

bool Refuse(std::string_view reason) {
    Messages::Alert(reason);
    return false;
}

Tree::Handle* Defined(const char* heapName) {
    Tree::Handle* const tree = Define(heapName);
    if (!tree) Messages::Alert("Error defining Online Tree. " + Tree::LastError());
    return tree;
}

// A tree with the file's methods; none after an alert.
Tree::Handle* ReadFile(const std::string& path, const char* heapName, Tree::FileInfo& info) {
    Tree::Handle* tree = Defined(heapName);
    if (!tree) return nullptr;
    const int error = Tree::Load(path, tree, info);
    if (error != Tree::Success) {
        Messages::Alert("Error reading Online Tree: " + Tree::Reason(error));
        Tree::Dispose(tree);
        return nullptr;
    }
    if (info.Swapped) Messages::Log(" \".onl\"-file swapped. ");
    return tree;
}

void TakeOver(OnlineAnalysis& analysis, Tree::Handle* tree) {
    void *root = nullptr, *former = nullptr;
    if (analysis.Tree)
        (void)Tree::Replace(tree, root, analysis.Tree, former);
    else
        analysis.Tree = tree;
    analysis.Current = 1;
    analysis.Changed = false;
}

const char* HeapFor(const OnlineAnalysis& analysis) {
    return analysis.Tree ? LoadHeapName : HeapName;
}

bool CanWrite(const std::string& path) {
    Files::File file;
    return Files::Open(file, path, Files::Mode::ReadWrite) == 0;
}

std::string_view NameOf(const OnlineMethod& method) {
    return Texts::FromField(method.OmName);
}

bool HasFunction(const OnlineAnalysis& analysis) {
    for (int i = 1; i <= MethodCount(analysis); ++i)
        if (Tree::ChildCount(MethodAt(analysis, i)) > 0) return true;
    return false;
}

bool IsOwnFile(const OnlineAnalysis& analysis, const std::string& path) {
    std::error_code ignored;
    return path == analysis.FileName || std::filesystem::equivalent(path, analysis.FileName, ignored);
}

UniqueNames NamesOf(const OnlineAnalysis& analysis) {
    UniqueNames names;
    for (int i = 1; i <= MethodCount(analysis); ++i) names.Taken.emplace(NameOf(*MethodAt(analysis, i)));
    return names;
}

// The notes are said at the end only: a merge that fails has renamed nothing.
bool AppendMethods(OnlineAnalysis& analysis, const Tree::Handle* other, std::string& notes) {
    UniqueNames names = NamesOf(analysis);
    void* const root = Tree::Root(analysis.Tree);
    for (int i = 1; i <= Tree::ChildCount(Tree::Root(other)); ++i) {
        void* const source = Tree::Child(Tree::Root(other), i);
        const int position = MethodCount(analysis) + 1;
        if (Tree::Copy(analysis.Tree, source, root, position) != Tree::Success) return false;
        OnlineMethod& method = *MethodAt(analysis, position);
        const std::string former(NameOf(method));
        Texts::ToField(method.OmName, names.Take(former, NameMax));
        if (NameOf(method) == former) continue;
        if (!notes.empty()) notes += '\n';
        notes += "Merged method \"" + former + "\" is now named \"" + std::string(NameOf(method)) + "\".";
    }
    return true;
}

void DropMethodsBehind(OnlineAnalysis& analysis, int count) {
    for (int i = MethodCount(analysis); i > count; --i) {
        void* method = MethodAt(analysis, i);
        Tree::Delete(analysis.Tree, method);
    }
}

}

bool New(OnlineAnalysis& analysis) {
    Tree::Handle* tree = Defined(HeapFor(analysis));
    if (!tree) return false;
    if (!Tree::Append(tree, nullptr) || !EnsureMethod(tree)) {
        Messages::Alert("Error defining Online Tree. " + Tree::LastError());
        Tree::Dispose(tree);
        return false;
    }
    TakeOver(analysis, tree);
    analysis.Info = {};
    analysis.FileName.clear();
    analysis.ReadOnly = false;
    return true;
}

bool Load(OnlineAnalysis& analysis, const std::string& path, bool readOnly) {
    if (Setup::State.ConfigurationLocked && analysis.Tree)
        return Refuse("Cannot load new analysis: Configuration is locked.");
    if (analysis.Executing) return Refuse("Cannot modify online: still executing or acquiring...");
    Tree::FileInfo info;
    Tree::Handle* tree = ReadFile(path, HeapFor(analysis), info);
    if (!tree) return false;
    if (!EnsureMethod(tree)) {
        Messages::Alert("Error reading Online Tree: " + Tree::LastError());
        Tree::Dispose(tree);
        return false;
    }
    const bool isProtected = LastLoad.HasChecksums;
    TakeOver(analysis, tree);
    analysis.Info = std::move(info);
    analysis.FileName = path;
    analysis.ReadOnly = readOnly || isProtected || !CanWrite(path);
    if (isProtected && !readOnly) Messages::Note(RecordTree::ProtectedMessage);
    return true;
}

bool Store(OnlineAnalysis& analysis, const std::string& path, std::string_view version) {
    if (Setup::State.ConfigurationLocked) return Refuse("Cannot save analysis: Configuration is locked.");
    if (analysis.ReadOnly && IsOwnFile(analysis, path))
        return Refuse("Cannot save analysis: Analysis is read-only.");
    if (!HasFunction(analysis)) return Refuse("Empty analysis methods cannot be saved.");
    auto& root = *static_cast<OnlineRoot*>(Tree::Root(analysis.Tree));
    const OnlineRoot former = root;
    Texts::ToField(root.OnVersionName, version);
    const int error = Tree::Store(path, analysis.Tree, true);
    if (error != Tree::Success) {
        root = former;
        return Refuse("Error storing \".onl\"-file: " + Tree::Reason(error));
    }
    analysis.FileName = path;
    analysis.ReadOnly = false;
    analysis.Changed = false;
    return true;
}

bool MergeFile(OnlineAnalysis& analysis, const std::string& path) {
    if (Setup::State.ConfigurationLocked) return Refuse("Cannot merge to analysis: Configuration is locked.");
    if (analysis.ReadOnly) return Refuse("Cannot merge to analysis: Analysis is read-only.");
    if (analysis.Executing) return Refuse("Cannot modify online: still executing or acquiring...");
    if (!analysis.Tree && !New(analysis)) return false;
    Tree::FileInfo info;
    Tree::Handle* other = ReadFile(path, MergeHeapName, info);
    if (!other) return false;
    const int before = MethodCount(analysis);
    std::string notes;
    const bool done = AppendMethods(analysis, other, notes);
    const std::string reason = Tree::LastError();
    Tree::Dispose(other);
    if (!done) {
        DropMethodsBehind(analysis, before);
        return Refuse("Cannot merge to analysis: " + reason);
    }
    analysis.Changed = analysis.Changed || MethodCount(analysis) > before;
    if (!notes.empty()) Messages::Note(notes);
    return true;
}

int MethodCount(const OnlineAnalysis& analysis) {
    return Tree::ChildCount(Tree::Root(analysis.Tree));
}

OnlineMethod* MethodAt(const OnlineAnalysis& analysis, int index) {
    return Tree::ChildAs<OnlineMethod>(Tree::Root(analysis.Tree), index);
}

OnlineMethod* MethodByName(const OnlineAnalysis& analysis, std::string_view name) {
    for (int i = 1; i <= MethodCount(analysis); ++i)
        if (NameOf(*MethodAt(analysis, i)) == name) return MethodAt(analysis, i);
    return nullptr;
}

OnlineMethod* CurrentMethod(const OnlineAnalysis& analysis) {
    return MethodAt(analysis, analysis.Current);
}

bool SetCurrentMethod(OnlineAnalysis& analysis, std::string_view name) {
    const OnlineMethod* const method = MethodByName(analysis, name);
    if (method) analysis.Current = Tree::IndexOf(method);
    return method != nullptr;
}

OnlineFunction* FunctionAt(const OnlineMethod* method, int index) {
    return Tree::ChildAs<OnlineFunction>(method, index);
}

std::string UniqueMethodName(const OnlineAnalysis& analysis, std::string_view name) {
    return NamesOf(analysis).Take(name, NameMax);
}

}
