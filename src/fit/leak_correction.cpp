#include "fit/leak_correction.h"

#include "base/messages.h"
#include "data/sweep_stimulus.h"
#include "data/traces.h"

namespace LeakCorrection {

bool Apply(DataSession& session, const VennicSweep& sweep, VennicTrace& trace,
           const SweepFit::FitParams& params) {
    if (Tree::IndexOf(&sweep) < 1) {
        Messages::Alert("Wrong Sweep");
        return false;
    }
    SweepStimulus stimulus;
    if (!FindStimulus(session, sweep, ChannelFor(session, sweep, trace), stimulus)) {
        Messages::Alert("This sweep has no stimulus to correct the leak with.");
        return false;
    }
    const double reversal = params.LinLeakReversal;
    double conductance = params.LinLeakConductance;
    if (params.LinLeakAutoCond)
        conductance = trace.TrZeroData / (StimGen::HoldingFor(stimulus.Source()) - reversal);
    const std::vector<float> voltage = stimulus.StoredSamples();
    const double ratio = trace.TrXInterval / stimulus.Stimulation->SsSampleInterval;
    const std::span<float> samples = Traces::Loaded(trace);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double at = static_cast<double>(i) * ratio + 0.5; // rounded by the cut
        const bool known = at >= 0.0 && at < static_cast<double>(voltage.size());
        const double v = known ? voltage[static_cast<std::size_t>(at)] : 0.0;
        samples[i] -= static_cast<float>((v - reversal) * conductance);
    }
    return true;
}

}
