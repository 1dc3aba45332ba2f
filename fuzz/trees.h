// The six kinds of tree files.
#pragma once
#include "trees/ampl_tree.h"
#include "trees/analysis_tree.h"
#include "trees/online_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"
#include "trees/vennic_tree.h"

namespace Fuzz {

struct Kind {
    const RecordTree::TreeFormat& Format;
    Tree::Handle* (*Define)(std::string_view, const RecordTree::LoadOptions&);
};

inline const Kind Kinds[] = {
    {VennicTree::Format, VennicTree::Define},     {StimTree::Format, StimTree::Define},
    {AmplTree::Format, AmplTree::Define},         {SolutionTree::Format, SolutionTree::Define},
    {AnalysisTree::Format, AnalysisTree::Define}, {OnlineTree::Format, OnlineTree::Define},
};
inline constexpr std::size_t KindCount = std::size(Kinds);

}
