#include "data/sweep_stimulus.h"

#include "setup/settings.h"

StimGen::Source SweepStimulus::Source() const {
    return {.Stimulation = *Stimulation,
            .Channel = *Channel,
            .Segments = Segments,
            .StParams = Root->StParams,
            .MaxStimPoints = static_cast<std::size_t>(Setup::Settings.MaxStimPoints)};
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
