// online: the functions of an online analysis method, computed for each sweep.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/corrections.h"
#include "app/csv.h"
#include "app/json.h"
#include "base/messages.h"
#include "online/compute.h"
#include "online/notebook_lines.h"
#include "online/online_file.h"
#include "setup/settings.h"

#include <cstdio>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Target, Methods, Method;
    ::Corrections Corrections;
    bool List = false, AsJson = false;
};

struct Row {
    std::string Target;
    std::vector<double> Values;
};

OnlineMethod* FindMethod(const OnlineAnalysis& analysis, const std::string& name) {
    OnlineMethod* const method =
        name.empty() ? OnlineTree::CurrentMethod(analysis) : OnlineTree::MethodByName(analysis, name);
    if (!method) Messages::Alert("There is no method \"" + name + "\" in the file.");
    return method;
}

bool PrintJson(const OnlineMethod& method, const std::vector<Row>& rows) {
    Json::Value document;
    document["Method"] = Json::String(Texts::FromField(method.OmName));
    document["Functions"] = Json::Value::array();
    for (int i = 1; i <= Tree::ChildCount(&method); ++i) {
        const auto& function = *Tree::ChildAs<OnlineFunction>(&method, i);
        document["Functions"].push_back({{"Name", Json::String(Texts::FromField(function.OfName))},
                                         {"Kind", function.OfKind},
                                         {"Unit", Json::String(Texts::FromField(function.OfUnit))}});
    }
    document["Sweeps"] = Json::Value::array();
    for (const Row& row : rows) {
        Json::Value values = Json::Value::array();
        for (const double value : row.Values) values.push_back(Json::Number(value));
        document["Sweeps"].push_back({{"Target", row.Target}, {"Values", std::move(values)}});
    }
    return Json::Print(document);
}

bool PrintTable(const OnlineMethod& method, const std::vector<Row>& rows) {
    std::string text = "Sweep";
    for (int i = 1; i <= Tree::ChildCount(&method); ++i)
        text += "," + NotebookLines::Title(*Tree::ChildAs<OnlineFunction>(&method, i));
    text += "\n";
    for (const Row& row : rows) {
        text += row.Target;
        for (const double value : row.Values) {
            text += ",";
            Csv::AppendNumber(text, value);
        }
        text += "\n";
    }
    text = Texts::Utf8(text);
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

bool PrintListing(const OnlineMethod& method) {
    std::printf("%s\n", Texts::Utf8(Texts::FromField(method.OmName)).c_str());
    for (const std::string& line : NotebookLines::Listing(method))
        std::printf("%s\n", Texts::Utf8(line).c_str());
    return std::fflush(stdout) == 0;
}

// The sweep of the target, or all sweeps of its series. False when there is none, or the user stopped.
bool ComputeRows(const CommandLine::Target& target, OnlineMethod& method, std::vector<Row>& rows) {
    void* const record = CommandLine::Find(target);
    if (!record) return false;
    const bool isSeries = target.Positions.size() == 2;
    void* const series = isSeries ? record : Tree::Parent(record);
    const int first = isSeries ? 1 : target.Positions.back();
    const int last = isSeries ? Tree::ChildCount(series) : first;
    OnlineCompute::Engine engine(CurrentSession());
    if (!OnlineResults::Allocate(engine.Table)) return false;
    Messages::Progress progress("Online analysis", last - first + 1);
    for (int i = first; i <= last; ++i) {
        auto& sweep = *Tree::ChildAs<VennicSweep>(series, i);
        OnlineCompute::Pass(engine, method, sweep);
        CommandLine::Target place{{target.Positions[0], target.Positions[1], i}};
        rows.push_back({place.Text(), engine.Results});
        if (!progress.Add(1)) return false;
    }
    return true;
}

int Online(const Arguments& arguments) {
    CommandLine::Target target;
    if (!arguments.List && !CommandLine::ParseTarget(arguments.Target, 2, 3, target))
        return CommandLine::Misused("A series is named by group.series, a sweep by group.series.sweep.");
    OnlineAnalysis analysis;
    if (!OnlineTree::Load(analysis, arguments.Methods, true)) return CommandLine::Failed;
    OnlineMethod* const method = FindMethod(analysis, arguments.Method);
    if (!method) return CommandLine::Failed;
    if (arguments.List) return PrintListing(*method) ? CommandLine::Done : CommandLine::Failed;

    if (!CommandLine::Open(arguments.File, OpenMode::Read)) return CommandLine::Failed;
    arguments.Corrections.Apply();
    std::vector<Row> rows;
    if (!ComputeRows(target, *method, rows)) return CommandLine::Failed;
    const bool printed = arguments.AsJson ? PrintJson(*method, rows) : PrintTable(*method, rows);
    return printed ? CommandLine::Done : CommandLine::Failed;
}

}

Procedure DeclareOnline(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file").Needed();
    words.Add("TARGET", arguments->Target, "group.series or group.series.sweep, from 1").Needed();
    words.Add("--methods", arguments->Methods, "Online analysis file (.onl)").Needed();
    words.Add("--method", arguments->Method, "Name of the method; else the first");
    arguments->Corrections.Declare(words);
    words.Flag("--list", arguments->List, "List the functions of the method instead");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return Online(*arguments); };
}

}
