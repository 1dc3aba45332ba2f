// trace: one corrected trace as CSV, JSON or NumPy file.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/corrections.h"
#include "app/csv.h"
#include "app/json.h"
#include "app/npy.h"
#include "base/messages.h"
#include "data/traces.h"
#include "setup/settings.h"

#include <iostream>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Target, Reference, Out;
    ::Corrections Corrections;
    bool AsJson = false;
    int First = 0;
    int Points = 0x7fffffff;
};

struct Found {
    VennicSweep* Sweep = nullptr;
    VennicTrace* Trace = nullptr;
};

double XStartOf(const VennicTrace& trace) {
    return trace.TrXStart + trace.FirstPoint * trace.TrXInterval;
}

std::string CsvText(const VennicTrace& trace) {
    std::string text = Texts::Utf8(Texts::FromField(trace.TrXUnit)) + "," +
                       Texts::Utf8(Texts::FromField(trace.TrYUnit)) + "\n";
    const std::span<const float> samples = Traces::Loaded(trace);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        Csv::AppendNumber(text, trace.TrXStart +
                                    static_cast<double>(trace.FirstPoint + static_cast<std::int64_t>(i)) *
                                        trace.TrXInterval);
        text.push_back(',');
        Csv::AppendNumber(text, samples[i]);
        text.push_back('\n');
    }
    return text;
}

std::string JsonText(const std::string& target, const VennicTrace& trace) {
    Json::Value document;
    document["Target"] = target;
    document["Points"] = trace.PointsLoaded;
    document["FirstPoint"] = trace.FirstPoint;
    document["XInterval"] = Json::Number(trace.TrXInterval);
    document["XStart"] = Json::Number(XStartOf(trace));
    document["XUnit"] = Json::String(Texts::FromField(trace.TrXUnit));
    document["YUnit"] = Json::String(Texts::FromField(trace.TrYUnit));
    document["Samples"] = Json::Numbers(Traces::Loaded(trace));
    return document.dump() + "\n";
}

int WriteOut(const std::string& path, const std::string& content) {
    if (path.empty()) {
        std::cout.write(content.data(), static_cast<std::streamsize>(content.size())).flush();
        return std::cout.good() ? CommandLine::Done : CommandLine::Failed;
    }
    Files::Replacement file;
    int error = file.Begin(path);
    if (error == 0) error = Files::WriteAt(file.Content, 0, std::as_bytes(std::span(content)));
    if (error == 0) error = file.Commit();
    if (error == 0) return CommandLine::Done;
    Messages::Alert("Error writing \"" + path + "\": " + Files::ErrorText(error));
    return CommandLine::Failed;
}

bool TakeReference(const CommandLine::Target& target) {
    CurrentSession().ReferenceSeries = static_cast<VennicSeries*>(CommandLine::Find(target));
    Setup::Settings.SubtractReference = true;
    return CurrentSession().ReferenceSeries != nullptr;
}

int Trace(const Arguments& arguments) {
    CommandLine::Target target, reference;
    if (!CommandLine::ParseTarget(arguments.Target, 4, 4, target))
        return CommandLine::Misused("A trace is named by group.series.sweep.trace, such as 1.2.1.1.");
    if (!arguments.Reference.empty() && !CommandLine::ParseTarget(arguments.Reference, 2, 2, reference))
        return CommandLine::Misused("A reference series is named by group.series, such as 1.2.");
    if (!CommandLine::Open(arguments.File, OpenMode::Read)) return CommandLine::Failed;
    auto* const trace = static_cast<VennicTrace*>(CommandLine::Find(target));
    if (!trace) return CommandLine::Failed;
    arguments.Corrections.Apply();
    if (!arguments.Reference.empty() && !TakeReference(reference)) return CommandLine::Failed;

    DataSession& session = CurrentSession();
    auto* const sweep = static_cast<VennicSweep*>(Tree::Parent(trace));
    const Traces::Range range{arguments.Points, arguments.First, true};
    if (!Traces::LoadAndCorrect(session, sweep, trace, session.DataHeap, range)) return CommandLine::Failed;
    if (Files::ExtensionOf(arguments.Out) == ".npy")
        return WriteOut(arguments.Out, Npy::Vector(Traces::Loaded(*trace)));
    return WriteOut(arguments.Out, arguments.AsJson ? JsonText(target.Text(), *trace) : CsvText(*trace));
}

}

Procedure DeclareTrace(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file").Needed();
    words.Add("TARGET", arguments->Target, "group.series.sweep.trace, from 1").Needed();
    arguments->Corrections.Declare(words);
    words.Add("--reference", arguments->Reference, "Subtract this series (group.series)");
    words.Add("--first", arguments->First, "First point, from 0").NotNegative();
    words.Add("--points", arguments->Points, "At most so many points").Positive();
    words.Add("--out", arguments->Out, "Write to a file; .npy for NumPy");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return Trace(*arguments); };
}

}
