#include "data/set_trees.h"

#include "base/messages.h"
#include "trees/ampl_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"
#include "trees/vennic_tree.h"

namespace SetTrees {

namespace {

const Row Trees[] = {
    {&DataSession::Vennic, VennicTree::Format, VennicTree::LastLoad, VennicTree::Define, VennicTree::HeapName,
     "VennicMergeBuf.HE", 9, true},
    {&DataSession::Stim, StimTree::Format, StimTree::LastLoad, StimTree::Define, StimTree::HeapName,
     "StimMergeBuf.HE", 9, false},
    {&DataSession::Ampl, AmplTree::Format, AmplTree::LastLoad, AmplTree::Define, AmplTree::HeapName,
     "AmplMergeBuf.HE", 9, false},
    {&DataSession::Solution, SolutionTree::Format, SolutionTree::LastLoad, SolutionTree::Define,
     SolutionTree::HeapName, "SolMergeBuf.HE", 1, false},
};

}

std::span<const Row> Rows() {
    return Trees;
}

bool Has(const Source& source, const Row& row) {
    if (source.Kind == Bundle::FileKind::Bundle)
        return Bundle::FindItem(source.Header, row.Format.Extension) != nullptr;
    return Files::Exists(FileName(source.FileName, row));
}

bool Read(const Source& source, const Row& row, const char* heapName, SessionTree& tree,
          std::string& reason) {
    const std::string title = std::string(row.Format.Title) + " Tree";
    tree.Handle = row.Define(heapName, {.ForModify = source.ForModify});
    if (!tree.Handle) {
        reason = "Error defining " + title + ". " + Tree::LastError();
        return false;
    }
    const bool inBundle = source.Kind == Bundle::FileKind::Bundle;
    const Bundle::Item* const item = Bundle::FindItem(source.Header, row.Format.Extension);
    if (inBundle && !item) {
        reason = "Error reading " + title + ": the bundle has no such item";
        return false;
    }
    const std::string beside = FileName(source.FileName, row);
    const int error = inBundle ? Tree::LoadAt(source.DataFile, item->Start, tree.Handle, tree.Info)
                               : Tree::Load(beside, tree.Handle, tree.Info);
    if (error != Tree::Success) {
        reason =
            "Error reading " + title + ": " + Tree::Reason(error) + (inBundle ? "" : " (\"" + beside + "\")");
        return false;
    }
    tree.FromFile = true;
    if (tree.Info.Swapped) Messages::Log(std::string(" \"") + row.Format.Extension + "\"-file swapped. ");
    return true;
}

std::string FileName(const std::string& dataFile, const Row& row) {
    return Files::WithExtension(dataFile, row.Format.Extension);
}

}
