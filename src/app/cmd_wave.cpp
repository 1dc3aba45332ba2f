// wave: shows a wave file, or makes one from two columns of an analysis.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/csv.h"
#include "app/fit_words.h"
#include "base/messages.h"
#include "base/text.h"
#include "series/extraction.h"
#include "series/skip_points.h"
#include "series/wave_file.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File;
    std::vector<std::string> From; // data file and series
    int Analysis = 0;              // 0: the last one
    std::string X, Y, Input = "results", Skip, Comment;
    int Sweep = 1;
    bool AsJson = false, AsCsv = false;
};

std::string TextOf(std::span<const char> field) {
    return Texts::Utf8(Texts::FromField(field));
}

template <class T>
Json::Value List(const T* values, int count) {
    Json::Value list = Json::Value::array();
    for (int i = 0; i < count; ++i) list.push_back(Json::Number(static_cast<double>(values[i])));
    return list;
}

template <class T>
Json::Value Whole(const T* values, int count) {
    Json::Value list = Json::Value::array();
    for (int i = 0; i < count; ++i) list.push_back(static_cast<int>(values[i]));
    return list;
}

Json::Value LabelJson(const SGFit::WaveLabel& label) {
    return {{"Name", TextOf(label.Name)}, {"Unit", TextOf(label.Unit)}};
}

Json::Value StatsJson(const SGFit::WaveStats& stats) {
    Json::Value json;
    const struct {
        const char* Name;
        double Value;
    } rows[] = {{"XMinAll", stats.XMinAll}, {"XMaxAll", stats.XMaxAll}, {"YMinAll", stats.YMinAll},
                {"YMaxAll", stats.YMaxAll}, {"XMin", stats.XMin},       {"XMax", stats.XMax},
                {"YMin", stats.YMin},       {"YMax", stats.YMax},       {"MeanX", stats.MeanX},
                {"MeanY", stats.MeanY},     {"SDX", stats.SDX},         {"SDY", stats.SDY}};
    for (const auto& row : rows) json[row.Name] = Json::Number(row.Value);
    json["SkipCount"] = stats.SkipCount;
    return json;
}

Json::Value FitJson(SeriesFit::Engine& engine) {
    if (!engine.Store.FitValid) return nullptr;
    const SGFit::Store& store = engine.Store;
    Json::Value fit;
    fit["Type"] = NameOf(engine.FitType).Short;
    FitWords::AddResults(fit, FitWords::Results(SeriesFit::SelectedFit(engine),
                                                Texts::FromField(store.BufferX.Unit),
                                                Texts::FromField(store.BufferY.Unit)));
    return fit;
}

// The store as its fields are named.
bool PrintJson(const Arguments& arguments, SeriesFit::Engine& engine) {
    const SGFit::Store& store = engine.Store;
    const int points = store.BufferPoints;
    Json::Value document;
    document["File"] = Json::String(arguments.File);
    document["WaveComment"] = Json::String(store.WaveComment);
    document["BufferPoints"] = points;
    document["AccumCount"] = store.AccumCount;
    document["BackgroundCount"] = store.BackgroundCount;
    document["X"] = LabelJson(store.BufferX);
    document["Y"] = LabelJson(store.BufferY);
    document["Stats"] = StatsJson(store.Stats);
    document["XBuffer"] = List(store.XBuffer, points);
    document["YBuffer"] = List(store.YBuffer, points);
    document["BufferSkip"] = Whole(store.BufferSkip, points);
    document["BufferCnt"] = Whole(store.BufferCnt, points);
    document["Accumulated"] = Json::Value::array();
    for (int k = 0; k < store.AccumCount; ++k)
        document["Accumulated"].push_back({{"AccumData", List(store.AccumData[k], points)},
                                           {"AccumSkip", Whole(store.AccumSkip[k], points)}});
    document["BackgroundData"] = Json::Value::array();
    for (int k = 0; k < store.BackgroundCount; ++k)
        document["BackgroundData"].push_back(List(store.BackgroundData[k], 2 * store.BackgroundPoints[k]));
    document["Fit"] = FitJson(engine);
    return Json::Print(document);
}

bool PrintCsv(const SGFit::Store& store) {
    std::string text = Csv::Heading(store.BufferX) + "," + Csv::Heading(store.BufferY) + ",Use,Count\n";
    for (int i = 0; i < store.BufferPoints; ++i) {
        Csv::AppendNumber(text, store.XBuffer[i]);
        text += ',';
        Csv::AppendNumber(text, store.YBuffer[i]);
        text += store.BufferSkip[i] != 0 ? ",0," : ",1,";
        text += std::to_string(store.BufferCnt[i]) + "\n";
    }
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    return std::cout.good();
}

bool PrintTable(SeriesFit::Engine& engine) {
    const SGFit::Store& store = engine.Store;
    const SGFit::WaveStats& stats = store.Stats;
    std::printf("%d points, %d skipped, %d accumulated waves, %d background waves\n", store.BufferPoints,
                stats.SkipCount, store.AccumCount, store.BackgroundCount);
    if (!store.WaveComment.empty()) std::printf("%s\n", Texts::Utf8(store.WaveComment).c_str());
    if (store.FitValid) std::printf("Fit: %s\n", std::string(NameOf(engine.FitType).Short).c_str());
    std::printf("%6s %20s %20s %6s\n", "Point", Csv::Heading(store.BufferX).c_str(),
                Csv::Heading(store.BufferY).c_str(), "Count");
    for (int i = 0; i < store.BufferPoints; ++i)
        std::printf("%6d %20.6g %20.6g %6d%s\n", i + 1, store.XBuffer[i], store.YBuffer[i],
                    store.BufferCnt[i], store.BufferSkip[i] != 0 ? " skipped" : "");
    std::printf("%6s %20.6g %20.6g\n%6s %20.6g %20.6g\n", "Mean", stats.MeanX, stats.MeanY, "S.D.", stats.SDX,
                stats.SDY);
    return std::fflush(stdout) == 0;
}

int Show(const Arguments& arguments, SeriesFit::Engine& engine) {
    const bool printed = arguments.AsJson  ? PrintJson(arguments, engine)
                         : arguments.AsCsv ? PrintCsv(engine.Store)
                                           : PrintTable(engine);
    return printed ? CommandLine::Done : CommandLine::Failed;
}

std::string NamesOfColumns(const AnalysisRecord* record) {
    std::string list;
    for (int i = 1; i <= Tree::ChildCount(record); ++i)
        list += (i > 1 ? ", " : "") + TextOf(Tree::ChildAs<AnalysisEntry>(record, i)->Name);
    return list;
}

// The analysis that was asked for; none after an alert.
const AnalysisRecord* FindAnalysis(const DataSession& session, int& number) {
    const int count = Tree::ChildCount(session.CurASeries);
    if (number == 0) number = count;
    const auto* const record = Tree::ChildAs<AnalysisRecord>(session.CurASeries, number);
    if (!record)
        Messages::Alert("There is no analysis " + std::to_string(number) + " of this series (" +
                        std::to_string(count) + " there).");
    return record;
}

bool Extract(const Arguments& arguments, SGFit::Store& store, const AnalysisRecord* record) {
    const SGFit::Columns columns = {SGFit::ColumnNamed(record, arguments.X),
                                    SGFit::ColumnNamed(record, arguments.Y)};
    store.DataSource = *SGFit::DataSourceNamed(arguments.Input);
    store.EventsSweep = static_cast<std::int16_t>(arguments.Sweep);
    if (!SGFit::PreviewWave(store, record, columns)) {
        Messages::Note("Columns: " + NamesOfColumns(record) + ".");
        return false;
    }
    if (store.PreviewPoints == 0) {
        Messages::Alert("The selection holds no points.");
        return false;
    }
    if (!arguments.Skip.empty()) SGFit::SkipPoints(store, arguments.Skip);
    return SGFit::WaveToBuffer(store);
}

int Make(const Arguments& arguments, SeriesFit::Engine& engine) {
    CommandLine::Target target;
    if (!CommandLine::ParseTarget(arguments.From[1], 2, 2, target))
        return CommandLine::Misused("A series is named by group.series, such as 1.2.");
    if (arguments.X.empty() || arguments.Y.empty())
        return CommandLine::Misused("A wave needs the columns of --x and --y.");
    if (!CommandLine::Open(arguments.From[0], OpenMode::Read)) return CommandLine::Failed;
    void* const series = CommandLine::Find(target);
    if (!series) return CommandLine::Failed;
    DataSession& session = CurrentSession();
    GetRelatives(session, series);
    engine.Session = &session;
    int number = arguments.Analysis;
    const AnalysisRecord* const record = FindAnalysis(session, number);
    if (!record || !Extract(arguments, engine.Store, record)) return CommandLine::Failed;
    engine.Store.WaveComment = arguments.Comment;
    if (!WaveFile::SaveWaveBuffer(engine, arguments.File, WaveFile::SourceOf(session, number)))
        return CommandLine::Failed;
    return Show(arguments, engine);
}

int RunWave(const Arguments& arguments) {
    SGFit::Store store;
    if (!SGFit::Open(store)) return CommandLine::Failed;
    SeriesFit::Engine engine(store);
    if (!arguments.From.empty()) return Make(arguments, engine);
    if (!WaveFile::LoadWaveBuffer(engine, arguments.File)) return CommandLine::Failed;
    return Show(arguments, engine);
}

}

Procedure DeclareWave(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    std::vector<std::string> inputs;
    for (int i = 0; i < SGFit::DataSources; ++i)
        inputs.emplace_back(SGFit::NameOf(static_cast<SGFit::DataSource>(i)).Macro);
    words.Add("FILE", arguments->File, "Wave file").Needed();
    const Word from =
        words.Add("--from", arguments->From, "Make the file: data file and group.series").Values(2);
    words.Add("--analysis", arguments->Analysis, "Analysis of the series, from 1; else the last")
        .Positive()
        .Requires(from);
    words.Add("--x", arguments->X, "Column of the X values").Requires(from);
    words.Add("--y", arguments->Y, "Column of the Y values").Requires(from);
    words.Add("--input", arguments->Input, "What makes the points").OneOf(inputs).Requires(from);
    words.Add("--sweep", arguments->Sweep, "Sweep of --input events, from 1")
        .Between(1, 32767)
        .Requires(from);
    words.Add("--skip", arguments->Skip, "Points to leave out: \"3,7-9\", \"[X>0.05]\"").Requires(from);
    words.Add("--comment", arguments->Comment, "Comment of the file").Requires(from);
    const Word json = words.Flag("--json", arguments->AsJson, "Print one JSON document");
    words.Flag("--csv", arguments->AsCsv, "Print the points with all their digits").Excludes(json);
    return [arguments] { return RunWave(*arguments); };
}

}
