#include "online/online_edit.h"

#include "base/messages.h"
#include "base/text.h"
#include "online/function_refs.h"

#include <algorithm>
#include <vector>

namespace OnlineEdit {

namespace {

using OnlineTree::MethodAt;
using OnlineTree::MethodCount;

constexpr std::size_t NameMax = sizeof(OnlineMethod::OmName) - 1;

bool Refuse(std::string_view reason) {
    Messages::Alert(reason);
    return false;
}

bool OutOfMemory() {
    return Refuse("The analysis could not be changed: " + Tree::LastError());
}

bool Done(OnlineAnalysis& analysis) {
    analysis.Changed = true;
    return true;
}

// Where the record at a position stands after the move of another one.
int PlaceAfterMove(int position, int from, int to) {
    if (position == from) return to;
    if (from < to) return position > from && position <= to ? position - 1 : position;
    return position >= to && position < from ? position + 1 : position;
}

// Moves a record among its siblings. The copy is made first, so that a failure costs nothing.
bool MoveRecord(Tree::Handle* tree, void* parent, int from, int to) {
    const int count = Tree::ChildCount(parent);
    if (from < 1 || from > count || to < 1 || to > count) return false;
    if (from == to) return true;
    void* const record = Tree::Child(parent, from);
    if (Tree::Copy(tree, record, parent, from < to ? to + 1 : to) != Tree::Success) return false;
    void* former = record;
    Tree::Delete(tree, former);
    return true;
}

// A copy at the end of the methods, under a free name.
bool AppendCopy(OnlineAnalysis& analysis, OnlineMethod* source, std::string_view name) {
    const std::string unique = OnlineTree::UniqueMethodName(analysis, name);
    void* const root = Tree::Root(analysis.Tree);
    if (Tree::Copy(analysis.Tree, source, root, MethodCount(analysis) + 1) != Tree::Success) return false;
    Texts::ToField(MethodAt(analysis, MethodCount(analysis))->OmName, unique);
    return true;
}

using PlaceList = std::vector<int>; // entry 0 is not used

template <class PlaceOf>
PlaceList PlacesOf(const OnlineMethod* method, PlaceOf placeOf) {
    PlaceList places(static_cast<std::size_t>(Tree::ChildCount(method)) + 1);
    for (std::size_t i = 1; i < places.size(); ++i) places[i] = placeOf(static_cast<int>(i));
    return places;
}

std::string Described(const OnlineMethod* method, int index) {
    const std::string name(Texts::FromField(OnlineTree::FunctionAt(method, index)->OfName));
    return "function " + std::to_string(index) + (name.empty() ? "" : " \"" + name + "\"");
}

// The first function that computes with the one at the position; 0 for none.
int UserOf(const OnlineMethod* method, int position) {
    for (int i = 1; i <= Tree::ChildCount(method); ++i)
        if (i != position && FunctionRefs::Uses(*OnlineTree::FunctionAt(method, i), position)) return i;
    return 0;
}

}

bool MayModify(const OnlineAnalysis& analysis) {
    if (analysis.Executing) return Refuse("Cannot modify online: still executing or acquiring...");
    if (analysis.ReadOnly) return Refuse("Cannot modify read-only analysis.");
    return analysis.Tree != nullptr;
}

bool AppendMethod(OnlineAnalysis& analysis) {
    if (!MayModify(analysis)) return false;
    OnlineMethod* const previous = OnlineTree::CurrentMethod(analysis);
    if (Tree::ChildCount(previous) > 0 && Messages::AskYesNo("Copy settings from previous method ?", false)) {
        if (!AppendCopy(analysis, previous, OnlineTree::DefaultName)) return OutOfMemory();
    } else {
        const std::string name = OnlineTree::UniqueMethodName(analysis, OnlineTree::DefaultName);
        if (!OnlineTree::AppendMethod(analysis.Tree, name)) return OutOfMemory();
    }
    analysis.Current = MethodCount(analysis);
    return Done(analysis);
}

bool CopyMethod(OnlineAnalysis& analysis, int index) {
    OnlineMethod* const method = MethodAt(analysis, index);
    if (!MayModify(analysis) || !method) return false;
    if (!AppendCopy(analysis, method, Texts::FromField(method->OmName))) return OutOfMemory();
    return Done(analysis);
}

bool RenameMethod(OnlineAnalysis& analysis, int index, std::string_view name) {
    OnlineMethod* const method = MethodAt(analysis, index);
    if (!MayModify(analysis) || !method) return false;
    name = name.substr(0, NameMax);
    if (name.empty()) return Refuse("A method must have a name.");
    // Names of a loaded file may repeat themselves, so the first method of the name is not asked alone.
    for (int i = 1; i <= MethodCount(analysis); ++i)
        if (i != index && Texts::FromField(MethodAt(analysis, i)->OmName) == name)
            return Refuse("Method name \"" + std::string(name) + "\" is not unique!");
    Texts::ToField(method->OmName, name);
    return Done(analysis);
}

bool MoveMethod(OnlineAnalysis& analysis, int from, int to) {
    if (!MayModify(analysis)) return false;
    if (!MoveRecord(analysis.Tree, Tree::Root(analysis.Tree), from, to))
        return Refuse("Moving of analysis method failed !");
    analysis.Current = PlaceAfterMove(analysis.Current, from, to);
    return from == to || Done(analysis);
}

bool DeleteMethod(OnlineAnalysis& analysis, int index) {
    void* method = MethodAt(analysis, index);
    if (!MayModify(analysis) || !method) return false;
    if (!Messages::AskYesNo("Really delete this analysis method?", false)) return false;
    if (MethodCount(analysis) == 1 && !OnlineTree::AppendMethod(analysis.Tree, OnlineTree::DefaultName))
        return OutOfMemory();
    Tree::Delete(analysis.Tree, method);
    if (analysis.Current > index) --analysis.Current;
    analysis.Current = std::min(analysis.Current, MethodCount(analysis));
    return Done(analysis);
}

bool InsertFunction(OnlineAnalysis& analysis, OnlineMethod* method, int position) {
    if (!MayModify(analysis) || !method) return false;
    const PlaceList places = PlacesOf(method, [&](int i) { return i >= position ? i + 1 : i; });
    if (!FunctionRefs::CanFollow(method, places)) return Refuse("Moving of analysis function failed !");
    auto* const function = static_cast<OnlineFunction*>(Tree::Insert(analysis.Tree, method, position));
    if (!function) return OutOfMemory();
    // The numbers of the new function itself are all 0, which names no function.
    FunctionRefs::Follow(method, places);
    function->OfRightBound = 1.0;
    function->OfTrace = 1;
    return Done(analysis);
}

bool CopyFunction(OnlineAnalysis& analysis, OnlineMethod* method, int index) {
    OnlineFunction* const source = OnlineTree::FunctionAt(method, index);
    if (!MayModify(analysis) || !source) return false;
    if (Tree::Copy(analysis.Tree, source, method, Tree::ChildCount(method) + 1) != Tree::Success)
        return OutOfMemory();
    return Done(analysis);
}

bool MoveFunction(OnlineAnalysis& analysis, OnlineMethod* method, int from, int to) {
    if (!MayModify(analysis) || !method) return false;
    if (from == to && OnlineTree::FunctionAt(method, from)) return true;
    const PlaceList places = PlacesOf(method, [&](int i) { return PlaceAfterMove(i, from, to); });
    if (!OnlineTree::FunctionAt(method, from) || !OnlineTree::FunctionAt(method, to) ||
        !FunctionRefs::CanFollow(method, places) || !MoveRecord(analysis.Tree, method, from, to))
        return Refuse("Moving of analysis function failed !");
    FunctionRefs::Follow(method, places);
    return Done(analysis);
}

bool DeleteFunction(OnlineAnalysis& analysis, OnlineMethod* method, int index) {
    void* function = OnlineTree::FunctionAt(method, index);
    if (!MayModify(analysis) || !function) return false;
    if (index == 1) return Refuse("Cannot delete first function.");
    const int user = UserOf(method, index);
    if (user != 0)
        return Refuse("Cannot delete " + Described(method, index) + ": " + Described(method, user) +
                      " computes with it.");
    FunctionRefs::Follow(method, PlacesOf(method, [&](int i) {
                             return i == index ? 0 : i > index ? i - 1 : i;
                         }));
    Tree::Delete(analysis.Tree, function);
    return Done(analysis);
}

}
