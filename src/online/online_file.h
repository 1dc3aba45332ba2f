// The online analysis in use: the methods of one ".onl" file, how they are found, and their way from and to
// the file.
//
// There is always a method: an analysis without any gets "OA-1". Methods and functions count from 1, in tree
// order. A step that fails has said why and leaves the methods as they were.
#pragma once
#include "trees/online_tree.h"

#include <string>
#include <string_view>

struct OnlineAnalysis {
    OnlineAnalysis() = default;
    ~OnlineAnalysis();
    OnlineAnalysis(const OnlineAnalysis&) = delete;
    OnlineAnalysis& operator=(const OnlineAnalysis&) = delete;

    Tree::Handle* Tree = nullptr; // none before the first New or Load
    Tree::FileInfo Info;          // of the file that was loaded last
    std::string FileName;         // empty for methods that never were in a file
    int Current = 1;              // position of the method in use
    bool ReadOnly = false;        // opened so, the file cannot be written, or it is protected
    bool Changed = false;         // since the last load or store

    bool Executing = false; // a protocol or macro uses it, which shuts out changes; set by whoever runs it
};

namespace OnlineTree {

inline constexpr const char* MergeHeapName = "OnlineMerge.HE";

// An analysis of the one default method, without a file.
[[nodiscard]] bool New(OnlineAnalysis& analysis);

// Takes the methods of a file in the place of the present ones. Methods to look at only are not probed for
// the right to write. A configuration that is locked (Setup.State) still loads its first methods.
[[nodiscard]] bool Load(OnlineAnalysis& analysis, const std::string& path, bool readOnly = false);

// Writes all methods; version names the writing program. The analysis belongs to that file from then on.
// A read-only analysis can be stored under another name, which makes it writable. An analysis of which no
// method has a function is not stored.
[[nodiscard]] bool Store(OnlineAnalysis& analysis, const std::string& path, std::string_view version);

// Appends the methods of a file. One whose name is taken gets the next free name (see unique_names.h), and a
// note says so.
[[nodiscard]] bool MergeFile(OnlineAnalysis& analysis, const std::string& path);

[[nodiscard]] int MethodCount(const OnlineAnalysis& analysis);
[[nodiscard]] OnlineMethod* MethodAt(const OnlineAnalysis& analysis, int index);
[[nodiscard]] OnlineMethod* MethodByName(const OnlineAnalysis& analysis, std::string_view name);
// The method in use; none only before the first New or Load.
[[nodiscard]] OnlineMethod* CurrentMethod(const OnlineAnalysis& analysis);
// False when there is no such method.
[[nodiscard]] bool SetCurrentMethod(OnlineAnalysis& analysis, std::string_view name);

// None where the method has no such function.
[[nodiscard]] OnlineFunction* FunctionAt(const OnlineMethod* method, int index);

// The name, or the first free one after it.
[[nodiscard]] std::string UniqueMethodName(const OnlineAnalysis& analysis, std::string_view name);

}
