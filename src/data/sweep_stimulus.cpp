#include "data/sweep_stimulus.h"

#include "base/messages.h"
#include "setup/settings.h"

#include <algorithm>
#include <cmath>

StimGen::Source SweepStimulus::Source() const {
    return {.Stimulation = *Stimulation,
            .Channel = *Channel,
            .Segments = Segments,
            .StParams = Root->StParams,
            .MaxStimPoints = static_cast<std::size_t>(Setup::Settings.MaxStimPoints)};
}

std::vector<float> SweepStimulus::StoredSamples() const {
    std::vector<float> samples;
    bool continuous = false;
    if (StimGen::Stimulus(SweepNumber, Source(), samples, continuous))
        StimGen::KeepStored(StimGen::SegmentTable(SweepNumber, Source()), samples);
    return samples;
}

bool FindStimulus(const DataSession& session, const VennicSweep& sweep, int channel,
                  SweepStimulus& stimulus) {
    stimulus = {};
    stimulus.Root = static_cast<const StimRoot*>(Tree::Root(session.Stim.Handle));
    stimulus.Stimulation = StimulationOf(session, &sweep);
    stimulus.Channel = Tree::ChildAs<StimChannel>(stimulus.Stimulation, channel);
    if (!stimulus.Channel) return false;
    for (int i = 1; i <= Tree::ChildCount(stimulus.Channel); ++i)
        stimulus.Segments.push_back(Tree::ChildAs<StimSegment>(stimulus.Channel, i));
    stimulus.SweepNumber = sweep.SwSweepCount;
    return true;
}

int ChannelFor(const DataSession& session, const VennicSweep& sweep, const VennicTrace& trace) {
    const StimStimulation* const stimulation = StimulationOf(session, &sweep);
    const int channels = Tree::ChildCount(stimulation);
    for (int i = 1; i <= channels; ++i)
        if (Tree::ChildAs<StimChannel>(stimulation, i)->ChAdcChannel == trace.TrAdcChannel) return i;
    return channels > 0 ? 1 : 0;
}

bool PlaceInTrace(const SweepStimulus& stimulus, const StimGen::SegmentRow& row, const VennicTrace& trace,
                  TraceSegment& segment) {
    if (!row.Stored) return false;
    // A compressed trace has fewer points than its stimulus.
    const double interval = stimulus.Stimulation->SsSampleInterval;
    const double first = std::round(static_cast<double>(row.StoredFirst) * interval / trace.TrXInterval);
    const double points = row.Duration / trace.TrXInterval;
    constexpr double FarthestPoint = 0x7fffffff;
    if (!std::isfinite(points) || !(std::fabs(first) <= FarthestPoint)) return false;
    segment.Points = points;
    segment.FirstPoint = static_cast<std::int64_t>(first);
    return true;
}

bool FindTraceSegment(const DataSession& session, const VennicSweep& sweep, const VennicTrace& trace,
                      int offset, TraceSegment& segment) {
    const auto refuse = [](const std::string& text) {
        Messages::Alert(text);
        return false;
    };
    SweepStimulus stimulus;
    if (!FindStimulus(session, sweep, ChannelFor(session, sweep, trace), stimulus) ||
        stimulus.Segments.empty())
        return refuse("This sweep has no stimulus segment to take the range from.");
    const std::vector<StimGen::SegmentRow> table =
        StimGen::SegmentTable(stimulus.SweepNumber, stimulus.Source());
    const std::int64_t wanted = std::int64_t{stimulus.Channel->ChRelY} + offset;
    const auto index = std::clamp<std::int64_t>(wanted, 1, static_cast<std::int64_t>(table.size()));
    const StimGen::SegmentRow& row = table[static_cast<std::size_t>(index - 1)];
    if (!row.Stored) return refuse("Segment " + std::to_string(index) + " is not stored in the trace.");

    if (!PlaceInTrace(stimulus, row, trace, segment)) return refuse("Illegal pulse length");
    segment.Number = static_cast<int>(index);
    return true;
}
