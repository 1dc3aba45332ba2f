#include "data/sample_count.h"

#include "base/messages.h"
#include "data/sweep_stimulus.h"
#include "setup/settings.h"
#include "trees/stim_tree.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace SampleCount {

namespace {

// Segments grow and shrink steadily with the sweep, or to and fro: the first sweeps and the last one tell.
constexpr std::int32_t SweepsLookedAt = 64;

void Widen(Need& need, const SweepStimulus& stimulus, std::int32_t sweep) {
    const std::vector<StimGen::SegmentRow> table = StimGen::SegmentTable(sweep, stimulus.Source());
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (!table[i].Stored) continue;
        const auto kind = static_cast<StimTree::SegmentClass>(stimulus.Segments[i]->SgClass);
        std::int64_t& most = kind == StimTree::SegmentClass::Continuous ? need.Continuous : need.Sampled;
        most = std::max<std::int64_t>(most, table[i].Points);
    }
}

void LookAt(const DataSession& session, const StimStimulation& stimulation, const VennicSweep& sweep,
            Need& need) {
    const int channels = Tree::ChildCount(&stimulation);
    for (int c = 1; c <= channels; ++c) {
        const auto& channel = *Tree::ChildAs<StimChannel>(&stimulation, c);
        if (channel.ChLinkedChannel > channels) Messages::Note("CheckMaxPoints - linked channel not found.");
        SweepStimulus stimulus;
        if (!FindStimulus(session, sweep, c, stimulus)) continue;
        const std::int32_t last = std::max(stimulation.SsNumberSweeps, 1);
        for (std::int32_t n = 1; n <= std::min(last, SweepsLookedAt); ++n) Widen(need, stimulus, n);
        if (last > SweepsLookedAt) Widen(need, stimulus, last);
    }
}

std::string Thousands(std::int64_t points) {
    return std::to_string(points / 1000);
}

bool Risk(const std::string& text) {
    constexpr const char* Buttons[] = {"Don't load", "My risk"};
    enum { DontLoad, MyRisk };
    return Messages::AskChoice(
               text, {.Buttons = Buttons, .Default = MyRisk, .Yes = MyRisk, .No = DontLoad}) == MyRisk;
}

}

Need Required(const DataSession& session) {
    Need need;
    std::unordered_set<const StimStimulation*> seen;
    const void* const root = Tree::Root(session.Vennic.Handle);
    for (int g = 1; g <= Tree::ChildCount(root); ++g) {
        const void* const group = Tree::Child(root, g);
        for (int s = 1; s <= Tree::ChildCount(group); ++s) {
            const auto* const sweep = Tree::ChildAs<VennicSweep>(Tree::Child(group, s), 1);
            const StimStimulation* const stimulation = StimulationOf(session, sweep);
            if (stimulation && seen.insert(stimulation).second) LookAt(session, *stimulation, *sweep, need);
        }
    }
    return need;
}

bool Check(DataSession& session) {
    Need need = Required(session);
    // A damaged record can name any duration; no trace is longer than its file.
    std::int64_t fileLength = 0;
    if (Files::Length(session.DataFile, fileLength) != 0) fileLength = 0;
    constexpr std::int64_t ShortestSample = 2;
    need.Sampled = std::min(need.Sampled, fileLength / ShortestSample);
    need.Continuous = std::min(need.Continuous, fileLength / ShortestSample);
    const std::int64_t present = Setup::Settings.MaxSamplePoints;
    if (need.Sampled > present)
        return Risk(
            "Too many sample points:\n   present max: " + std::to_string(present) +
            " samples\n   requiring: " + std::to_string(need.Sampled) +
            " samples\nE.g., data cannot be displayed completely in the screen \nand no analysis will be "
            "performed on data beyond " +
            std::to_string(present) + " samples.");
    const auto* const root = static_cast<const VennicRoot*>(Tree::Root(session.Vennic.Handle));
    if (need.Continuous > present && root->RoMaxSamples > present)
        return Risk("The data were acquired with a larger value for \"MaxSamplePoints\".\npresent "
                    "MaxSamplePoints: " +
                    Thousands(present) +
                    " ksamples\noriginal MaxSamplePoints: " + Thousands(root->RoMaxSamples) +
                    " ksamples\nThis may affect analysis results of data in the continuous segments.");
    return true;
}

}
