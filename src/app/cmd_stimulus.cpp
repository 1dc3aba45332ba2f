// stimulus: what was applied in a sweep, segment by segment and sample by sample.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/json.h"
#include "base/messages.h"
#include "data/sweep_stimulus.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Target;
    int Channel = 0; // 0 for all
    bool Stored = false, Samples = false, AsJson = false;
};

struct Rebuilt {
    int Channel = 0;
    SweepStimulus Records;
    std::vector<StimGen::SegmentRow> Table;
    std::vector<float> Samples;
};

bool Rebuild(const VennicSweep& sweep, int channel, bool stored, Rebuilt& out) {
    out.Channel = channel;
    if (!FindStimulus(CurrentSession(), sweep, channel, out.Records)) {
        Messages::Alert("The stimulus has no channel " + std::to_string(channel) + ".");
        return false;
    }
    const StimGen::Source source = out.Records.Source();
    bool continuous = false;
    if (!StimGen::Stimulus(out.Records.SweepNumber, source, out.Samples, continuous)) return false;
    out.Table = StimGen::SegmentTable(out.Records.SweepNumber, source);
    if (stored) StimGen::KeepStored(out.Table, out.Samples);
    return true;
}

bool PrintJson(const CommandLine::Target& target, const std::vector<Rebuilt>& channels) {
    Json::Value document;
    document["Target"] = target.Text();
    document["Channels"] = Json::Value::array();
    for (const Rebuilt& rebuilt : channels) {
        Json::Value channel;
        channel["Channel"] = rebuilt.Channel;
        channel["Holding"] = Json::Number(StimGen::HoldingFor(rebuilt.Records.Source()));
        channel["Segments"] = Json::Value::array();
        for (const StimGen::SegmentRow& row : rebuilt.Table)
            channel["Segments"].push_back({{"Voltage", Json::Number(row.Voltage)},
                                           {"Duration", Json::Number(row.Duration)},
                                           {"Points", row.Points}});
        channel["Samples"] = Json::Numbers(rebuilt.Samples);
        document["Channels"].push_back(std::move(channel));
    }
    return Json::Print(document);
}

void PrintTable(const std::vector<Rebuilt>& channels) {
    static constexpr const char* Classes[] = {"Constant", "Ramp", "Continuous", "Sinewave", "Squarewave"};
    for (const Rebuilt& rebuilt : channels) {
        const std::string unit = Texts::Utf8(Texts::FromField(rebuilt.Records.Channel->ChDacUnit));
        std::printf("CHANNEL: %d   Holding: %.6g %s   %zu samples every %.6g s\n", rebuilt.Channel,
                    StimGen::HoldingFor(rebuilt.Records.Source()), unit.c_str(), rebuilt.Samples.size(),
                    rebuilt.Records.Stimulation->SsSampleInterval);
        std::printf("   SEGMENTS:        Voltage [%s]  Duration [s]    Points\n", unit.c_str());
        for (std::size_t i = 0; i < rebuilt.Table.size(); ++i) {
            const StimGen::SegmentRow& row = rebuilt.Table[i];
            const std::uint8_t kind = rebuilt.Records.Segments[i]->SgClass;
            std::printf("%4zu %-12s %14.6g %13.6g %9d%s\n", i + 1, kind < 5 ? Classes[kind] : "???",
                        row.Voltage, row.Duration, row.Points, row.Stored ? "" : ", not stored");
        }
    }
}

// A line a sample: the time from the start, then the channels.
void PrintSamples(const std::vector<Rebuilt>& channels) {
    std::size_t longest = 0;
    std::printf("s");
    for (const Rebuilt& rebuilt : channels) {
        longest = std::max(longest, rebuilt.Samples.size());
        std::printf(",%s", Texts::Utf8(Texts::FromField(rebuilt.Records.Channel->ChDacUnit)).c_str());
    }
    std::printf("\n");
    const double interval = channels.front().Records.Stimulation->SsSampleInterval;
    for (std::size_t i = 0; i < longest; ++i) {
        std::printf("%.15g", static_cast<double>(i) * interval);
        for (const Rebuilt& rebuilt : channels)
            if (i < rebuilt.Samples.size())
                std::printf(",%.9g", static_cast<double>(rebuilt.Samples[i]));
            else
                std::printf(",");
        std::printf("\n");
    }
}

int Stimulus(const Arguments& arguments) {
    CommandLine::Target target;
    if (!CommandLine::ParseTarget(arguments.Target, 3, 3, target))
        return CommandLine::Misused("A sweep is named by group.series.sweep, such as 1.2.1.");
    if (!CommandLine::Open(arguments.File, OpenMode::Read)) return CommandLine::Failed;
    const auto* const sweep = static_cast<const VennicSweep*>(CommandLine::Find(target));
    if (!sweep) return CommandLine::Failed;
    const int count = Tree::ChildCount(StimulationOf(CurrentSession(), sweep));
    if (count == 0) {
        Messages::Alert("This sweep has no stimulus.");
        return CommandLine::Failed;
    }
    std::vector<Rebuilt> channels;
    const int first = arguments.Channel > 0 ? arguments.Channel : 1;
    const int last = arguments.Channel > 0 ? arguments.Channel : count;
    for (int channel = first; channel <= last; ++channel)
        if (!Rebuild(*sweep, channel, arguments.Stored, channels.emplace_back())) return CommandLine::Failed;
    if (arguments.AsJson) return PrintJson(target, channels) ? CommandLine::Done : CommandLine::Failed;
    if (arguments.Samples)
        PrintSamples(channels);
    else
        PrintTable(channels);
    return std::fflush(stdout) == 0 ? CommandLine::Done : CommandLine::Failed;
}

}

Procedure DeclareStimulus(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file").Needed();
    words.Add("TARGET", arguments->Target, "group.series.sweep, from 1").Needed();
    words.Add("--channel", arguments->Channel, "Only this channel, from 1").Positive();
    words.Flag("--stored", arguments->Stored, "Only what lines up with the stored trace");
    words.Flag("--samples", arguments->Samples, "Print the samples as CSV instead of the segments");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return Stimulus(*arguments); };
}

}
