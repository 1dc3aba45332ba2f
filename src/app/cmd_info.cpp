// info: the record trees of a data set or of a tree file, as an overview, field by field, or as JSON; the
// keys of a settings file.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/json.h"
#include "app/settings_list.h"
#include "base/messages.h"
#include "base/time_scale.h"
#include "data/file_info.h"
#include "online/online_file.h"
#include "setup/settings_file.h"
#include "trees/ampl_tree.h"
#include "trees/solution_tree.h"
#include "trees/stim_tree.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>

namespace Commands {

namespace {

struct TreeRow {
    const char* Key;
    const RecordTree::TreeFormat& Format;
    Tree::Handle* (*Define)(std::string_view heapName, const RecordTree::LoadOptions& options);
    SessionTree DataSession::*Tree; // none for a tree that is no part of a data set
};

const TreeRow Trees[] = {
    {"vnc", VennicTree::Format, VennicTree::Define, &DataSession::Vennic},
    {"pgf", StimTree::Format, StimTree::Define, &DataSession::Stim},
    {"amp", AmplTree::Format, AmplTree::Define, &DataSession::Ampl},
    {"sol", SolutionTree::Format, SolutionTree::Define, &DataSession::Solution},
    {"ana", AnalysisTree::Format, AnalysisTree::Define, &DataSession::Analysis},
    {"onl", OnlineTree::Format, OnlineTree::Define, nullptr},
};

struct Arguments {
    std::string File;
    std::string Trees;
    bool AsJson = false;
};

struct Shown {
    const TreeRow* Row;
    const SessionTree* Tree;
};

void PrintTree(const Shown& shown) {
    const Tree::FileInfo& info = shown.Tree->Info;
    const bool little = info.Swapped != Bytes::MachineIsLittle;
    std::cout << '"' << shown.Row->Key << "\":{\"Order\":\"" << (little ? "little" : "big")
              << "\",\"Levels\":" << info.Levels << ",\"Root\":";
    Json::PrintRecord(shown.Row->Format, Tree::Root(shown.Tree->Handle));
    std::cout << '}';
}

Json::Value ItemsJson(const Bundle::Header& header) {
    Json::Value items = Json::Value::array();
    for (int i = 0; i < std::clamp(header.Items, 0, Bundle::ItemMax); ++i) {
        const Bundle::Item& item = header.Entries[i];
        if (item.Extension[0] == '\0') continue;
        items.push_back({{"Extension", Json::String(Texts::FromField(item.Extension))},
                         {"Start", item.Start},
                         {"Length", item.Length}});
    }
    return items;
}

bool PrintJson(const std::string& file, const DataSession* session, const std::vector<Shown>& trees) {
    const Json::Value kind =
        session ? Json::Value(static_cast<int>(session->FileKind)) : Json::Value(nullptr);
    const Json::Value items = session ? ItemsJson(session->Header) : Json::Value::array();
    std::cout << "{\"File\":" << Json::String(file) << ",\"Kind\":" << kind << ",\"Items\":" << items
              << ",\"Trees\":{";
    for (std::size_t i = 0; i < trees.size(); ++i) {
        if (i > 0) std::cout << ',';
        PrintTree(trees[i]);
    }
    std::cout << "}}\n";
    return std::cout.good();
}

void PrintFields(const Json::Value& object, const std::string& indent) {
    for (const auto& [name, value] : object.items()) {
        if (name == "Children") continue;
        if (value.is_object()) {
            std::cout << indent << name << '\n';
            PrintFields(value, indent + "  ");
        } else {
            std::cout << indent << name << ' '
                      << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
        }
    }
}

// Every field of every record, positions before the records.
void PrintRecords(const RecordTree::TreeFormat& format, const void* record, const std::string& position) {
    const auto level = static_cast<std::size_t>(Tree::Level(record));
    const RecordTree::LevelLayout& layout = format.Levels[level];
    const std::string indent(2 * level, ' ');
    std::cout << indent << layout.Record << (position.empty() ? "" : " " + position) << '\n';
    PrintFields(Json::Fields(layout.Fields, record), indent + "  ");
    for (int i = 1; i <= Tree::ChildCount(record); ++i)
        PrintRecords(format, Tree::Child(record, i),
                     position.empty() ? std::to_string(i) : position + "." + std::to_string(i));
}

std::string CountsText(const Shown& shown) {
    std::vector<int> counts;
    (void)Tree::MemorySize(shown.Tree->Handle, counts, RecordTree::MaxLevels);
    std::string text;
    for (std::size_t level = 1; level < counts.size(); ++level) {
        if (!text.empty()) text += ", ";
        text += std::to_string(counts[level]) + " " + shown.Row->Format.Levels[level].Record;
    }
    return text;
}

void PrintSeries(const VennicSeries& series, int group, int index) {
    const RecordLabel label = GetRecordLabel(CurrentSession(), &series);
    std::printf("  %d.%-4d %-20s %3d sweeps  %s", group, index, Texts::Utf8(label.Label).c_str(),
                Tree::ChildCount(&series), TimeScale::TimeText(series.SeTime).c_str());
    const auto* const sweep = Tree::ChildAs<VennicSweep>(&series, 1);
    for (int t = 1; t <= Tree::ChildCount(sweep); ++t) {
        const auto* const trace = Tree::ChildAs<VennicTrace>(sweep, t);
        std::printf("%s%s %d points every %.4g %s, %s", t == 1 ? "  " : "; ",
                    Texts::Utf8(Texts::FromField(trace->TrLabel)).c_str(), trace->TrDataPoints,
                    trace->TrXInterval, Texts::Utf8(Texts::FromField(trace->TrXUnit)).c_str(),
                    Texts::Utf8(Texts::FromField(trace->TrYUnit)).c_str());
    }
    std::printf("\n");
}

void PrintOverview(const std::string& file, const DataSession* session, const std::vector<Shown>& trees) {
    static constexpr const char* Kinds[] = {"plain data file", "data file of the old format",
                                            "data file with trees beside it", "bundle"};
    std::printf("%s%s%s\n", file.c_str(), session ? ": " : "",
                session ? Kinds[static_cast<int>(session->FileKind)] : "");
    for (const Shown& shown : trees)
        std::printf("%s tree (%s endian): %s\n", shown.Row->Format.Title,
                    shown.Tree->Info.Swapped != Bytes::MachineIsLittle ? "little" : "big",
                    CountsText(shown).c_str());
    if (!session) return;
    const auto* const root = static_cast<const VennicRoot*>(Tree::Root(session->Vennic.Handle));
    std::printf("Recorded %s %s with %s\n", TimeScale::DateText(root->RoStartTime).c_str(),
                TimeScale::TimeText(root->RoStartTime).c_str(),
                Texts::Utf8(Texts::FromField(root->RoVersionName)).c_str());
    for (int g = 1; g <= Tree::ChildCount(root); ++g) {
        const auto* const group = Tree::ChildAs<VennicGroup>(root, g);
        std::printf("%d %s  %s\n", g, Texts::Utf8(GetRecordLabel(*session, group).Label).c_str(),
                    Texts::Utf8(Texts::FromField(group->GrText)).c_str());
        for (int s = 1; s <= Tree::ChildCount(group); ++s)
            PrintSeries(*Tree::ChildAs<VennicSeries>(group, s), g, s);
    }
}

bool Print(const Arguments& arguments, const DataSession* session, const std::vector<Shown>& trees) {
    if (arguments.AsJson) return PrintJson(arguments.File, session, trees);
    if (arguments.Trees.empty())
        PrintOverview(arguments.File, session, trees);
    else
        for (const Shown& shown : trees) PrintRecords(shown.Row->Format, Tree::Root(shown.Tree->Handle), "");
    std::cout << std::flush;
    return std::fflush(stdout) == 0 && std::cout.good();
}

const TreeRow* RowOf(std::string_view key) {
    for (const TreeRow& row : Trees)
        if (key == row.Key) return &row;
    return nullptr;
}

int ShowOnlineFile(const Arguments& arguments, const TreeRow& row) {
    OnlineAnalysis analysis;
    if (!OnlineTree::Load(analysis, arguments.File, true)) return CommandLine::Failed;
    const SessionTree tree{analysis.Tree, analysis.Info, true};
    return Print(arguments, nullptr, {{&row, &tree}}) ? CommandLine::Done : CommandLine::Failed;
}

int ShowTreeFile(const Arguments& arguments, const TreeRow& row) {
    if (row.Define == OnlineTree::Define) return ShowOnlineFile(arguments, row);
    SessionTree tree;
    tree.Handle = row.Define("InfoBuf.HE", {});
    const auto guard = std::unique_ptr<Tree::Handle*, void (*)(Tree::Handle**)>(
        &tree.Handle, [](Tree::Handle** handle) { Tree::Dispose(*handle); });
    const int error = tree.Handle ? Tree::Load(arguments.File, tree.Handle, tree.Info) : Tree::EngineFailure;
    if (error != Tree::Success) {
        Messages::Alert("Error reading " + std::string(row.Format.Title) + " Tree: " + Tree::Reason(error));
        return CommandLine::Failed;
    }
    return Print(arguments, nullptr, {{&row, &tree}}) ? CommandLine::Done : CommandLine::Failed;
}

int ShowDataSet(const Arguments& arguments, const std::vector<const TreeRow*>& wanted) {
    if (!CommandLine::Open(arguments.File, OpenMode::Read)) return CommandLine::Failed;
    DataSession& session = CurrentSession();
    if (session.FileKind >= Bundle::FileKind::WithHeader) Bundle::DumpBundleHeader(session.Header);
    Messages::Log(FileInfoLine(session));
    std::vector<Shown> trees;
    for (const TreeRow* row : wanted) {
        if (!row->Tree) continue;
        const SessionTree& tree = session.*row->Tree;
        if (tree.FromFile) trees.push_back({row, &tree});
    }
    return Print(arguments, &session, trees) ? CommandLine::Done : CommandLine::Failed;
}

int ShowSettings(const Arguments& arguments) {
    if (!Setup::LoadConfiguration(arguments.File)) return CommandLine::Failed;
    return SettingsList::Print(arguments.File, SettingsList::Entries(Setup::Settings), {}, arguments.AsJson)
               ? CommandLine::Done
               : CommandLine::Failed;
}

int Info(const Arguments& arguments) {
    std::vector<const TreeRow*> wanted;
    std::stringstream keys(arguments.Trees);
    for (std::string key; std::getline(keys, key, ',');) {
        const TreeRow* const row = RowOf(key);
        if (!row)
            return CommandLine::Misused("There is no tree \"" + key + "\": vnc, pgf, amp, sol, ana, onl.");
        wanted.push_back(row);
    }
    if (wanted.empty())
        for (const TreeRow& row : Trees) wanted.push_back(&row);
    const std::string extension = Files::ExtensionOf(arguments.File);
    if (extension == ".set") return ShowSettings(arguments);
    for (const TreeRow& row : Trees)
        if (extension == row.Format.Extension) return ShowTreeFile(arguments, row);
    return ShowDataSet(arguments, wanted);
}

}

Procedure DeclareInfo(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file (.dat), tree file, or settings file (.set)").Needed();
    words.Add("--tree", arguments->Trees, "Show all fields of these trees: vnc,pgf,amp,sol,ana,onl");
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return Info(*arguments); };
}

}
