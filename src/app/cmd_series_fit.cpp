// series-fit: points of a text or of a wave file, with the models of the series or of the sweep level.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/csv.h"
#include "app/fit_words.h"
#include "app/interrupt.h"
#include "base/files.h"
#include "base/messages.h"
#include "base/text.h"
#include "fit/formula.h"
#include "series/skip_points.h"

#include <cstdio>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Type, Level = "series", Skip;
    std::vector<std::string> Params;
    std::optional<int> MaxIterations;
    std::optional<double> Step, Epsilon;
    bool AsJson = false;
};

void TakeControl(const Arguments& arguments, Fit::FitControl& control) {
    control.MaxIterations = arguments.MaxIterations.value_or(control.MaxIterations);
    control.StepSize = arguments.Step.value_or(control.StepSize);
    control.Epsilon = arguments.Epsilon.value_or(control.Epsilon);
    control.BreakProc = Interrupt::Requested;
}

// What a fit left behind.
struct Fitted {
    std::string_view Type;
    Fit::Selected Selected;
    Fit::Outcome Outcome;
    std::size_t Points = 0;
};

bool PrintTable(const Fitted& fitted, const std::vector<FitWords::Result>& results) {
    const Fit::Outcome& outcome = fitted.Outcome;
    std::printf("%s\n\n", Fit::PlainText(Fit::FormulaOf(fitted.Selected)).c_str());
    std::printf("%s, %zu points", std::string(fitted.Type).c_str(), fitted.Points);
    if (outcome.Iterations)
        std::printf(", %d evaluations, %s", *outcome.Iterations, Fit::NameOf(outcome.FitTermination));
    std::printf("\n");
    constexpr const char* States[] = {"fit", "hold", "off"};
    for (const FitWords::Result& result : results) {
        if (result.Param.State >= FitParamState::Off) continue;
        const char* const state = result.Derived ? "" : States[static_cast<int>(result.Param.State)];
        std::printf("%-12s %14.6g %-6s %s\n", Texts::Utf8(result.Name).c_str(), result.Param.Value,
                    Texts::Utf8(result.Unit).c_str(), state);
    }
    return std::fflush(stdout) == 0;
}

bool PrintJson(const Fitted& fitted, const std::vector<FitWords::Result>& results) {
    Json::Value document;
    document["Type"] = fitted.Type;
    document["Formula"] = Fit::PlainText(Fit::FormulaOf(fitted.Selected));
    FitWords::AddOutcome(document, fitted.Outcome);
    document["FitPoints"] = fitted.Points;
    FitWords::AddResults(document, results);
    document["Cycles"] = Json::Value::array();
    document["Events"] = Json::Value::array();
    return Json::Print(document);
}

int Report(const Arguments& arguments, const SeriesFit::Engine& engine, const Fitted& fitted) {
    const bool buffer = engine.Store.ActiveWave == SGFit::Active::Buffer;
    const SGFit::WaveLabel &x = buffer ? engine.Store.BufferX : engine.Store.PreviewX,
                           &y = buffer ? engine.Store.BufferY : engine.Store.PreviewY;
    const std::vector<FitWords::Result> results =
        FitWords::Results(fitted.Selected, Texts::FromField(x.Unit), Texts::FromField(y.Unit));
    const auto print = arguments.AsJson ? PrintJson : PrintTable;
    if (!print(fitted, results)) return CommandLine::Failed;
    if (!Interrupt::Requested()) return CommandLine::Done;
    Messages::Alert("Stopped by the user.");
    return CommandLine::Failed;
}

std::vector<WaveFile::Point> PointsOf(const SGFit::Wave& wave) {
    std::vector<WaveFile::Point> points;
    for (int i = 0; i < wave.Points; ++i) points.push_back({wave.X[i], wave.Y[i], wave.Skip[i] != 0});
    return points;
}

bool TooLong(std::size_t points) {
    if (points <= SGFit::MaxPoints) return false;
    Messages::Alert("A wave holds at most " + std::to_string(SGFit::MaxPoints) + " points; the file has " +
                    std::to_string(points) + ".");
    return true;
}

void TakeIntoPreview(SGFit::Store& store, const Csv::Points& points) {
    SGFit::ClearPreview(store);
    store.PreviewX = points.X;
    store.PreviewY = points.Y;
    const std::size_t count = std::min<std::size_t>(points.List.size(), SGFit::MaxPoints);
    for (std::size_t i = 0; i < count; ++i) {
        store.XPreview[i] = points.List[i].X;
        store.YPreview[i] = points.List[i].Y;
        store.PreviewSkip[i] = points.List[i].Skip ? 1 : 0;
    }
    store.PreviewPoints = static_cast<std::int16_t>(count);
    SGFit::Refresh(store);
}

bool ReadCsv(const std::string& path, Csv::Points& points) {
    std::string text, message;
    constexpr std::int64_t MostBytes = 256 << 20;
    if (const int error = Files::ReadWhole(path, MostBytes, text); error != 0)
        message = Files::ErrorText(error);
    else if (Csv::ReadPoints(text, points, message))
        return true;
    Messages::Alert("\"" + path + "\": " + message);
    return false;
}

// The points of the file, which are also the active wave as far as that has room.
bool LoadPoints(const Arguments& arguments, SeriesFit::Engine& engine, std::vector<WaveFile::Point>& points) {
    if (Files::ExtensionOf(arguments.File) == WaveFile::Extension) {
        if (!WaveFile::LoadWaveBuffer(engine, arguments.File)) return false;
    } else {
        Csv::Points read;
        if (!ReadCsv(arguments.File, read)) return false;
        TakeIntoPreview(engine.Store, read);
        points = std::move(read.List);
        if (points.size() > SGFit::MaxPoints) return true;
    }
    if (!arguments.Skip.empty()) SGFit::SkipPoints(engine.Store, arguments.Skip);
    points = PointsOf(SGFit::ActiveWaveOf(engine.Store));
    return true;
}

int UnknownType(const Arguments& arguments, const std::string& known) {
    return CommandLine::Misused("The type \"" + arguments.Type + "\" cannot be fitted. Types: " + known +
                                ".");
}

int FitSeriesLevel(const Arguments& arguments, SeriesFit::Engine& engine) {
    const std::optional<SeriesFitType> type = FitWords::SeriesType(arguments.Type);
    if (!type || !Fit::Select(engine.Records, *type))
        return UnknownType(arguments, FitWords::NamesOfModels(engine.Records));
    std::vector<WaveFile::Point> points;
    if (!LoadPoints(arguments, engine, points) || TooLong(points.size())) return CommandLine::Failed;
    engine.FitType = *type; // a wave file may have brought another one along
    const int taken = FitWords::SetParams(SeriesFit::SelectedFit(engine), arguments.Params);
    if (taken != CommandLine::Done) return taken;
    TakeControl(arguments, engine.Control);
    if (!SeriesFit::FitWave(engine)) return CommandLine::Failed;
    return Report(
        arguments, engine,
        {NameOf(*type).Short, SeriesFit::SelectedFit(engine), engine.Outcome, engine.FitDataX.size()});
}

// Results of the sweep level are derived on an even grid from the first point to the last.
Fit::Grid GridOf(const std::vector<double>& x) {
    return {x.size(), (x.back() - x.front()) / static_cast<double>(x.size() - 1), x.front()};
}

int FitSweepLevel(const Arguments& arguments, SeriesFit::Engine& engine) {
    Fit::SweepRecords records = Fit::DefaultSweepRecords();
    const std::optional<SweepFitType> type = FitWords::SweepType(arguments.Type);
    const Fit::Selected selected = type ? Fit::Select(records, *type) : Fit::Selected{};
    if (!selected || !Fit::IsModel(*selected.Model))
        return UnknownType(arguments, FitWords::NamesOfModels(records));
    const int taken = FitWords::SetParams(selected, arguments.Params);
    if (taken != CommandLine::Done) return taken;
    std::vector<WaveFile::Point> points;
    if (!LoadPoints(arguments, engine, points)) return CommandLine::Failed;
    std::vector<double> x, y;
    for (const WaveFile::Point& point : points) {
        if (point.Skip) continue;
        x.push_back(point.X);
        y.push_back(point.Y);
    }
    if (x.size() < 2) {
        Messages::Alert("Insufficient data in fit wave");
        return CommandLine::Failed;
    }
    Fit::FitControl control = Fit::DefaultControl(Fit::Level::Sweep);
    TakeControl(arguments, control);
    const Fit::Outcome outcome = Fit::Run(selected, {x, y, GridOf(x), {}, {}}, control);
    if (!outcome.Ok) {
        Messages::Alert(outcome.Message);
        return CommandLine::Failed;
    }
    return Report(arguments, engine, {NameOf(*type).Short, selected, outcome, x.size()});
}

int RunSeriesFit(const Arguments& arguments) {
    SGFit::Store store;
    if (!SGFit::Open(store)) return CommandLine::Failed;
    SeriesFit::Engine engine(store);
    const Interrupt::Guard interruptible;
    return arguments.Level == "sweep" ? FitSweepLevel(arguments, engine) : FitSeriesLevel(arguments, engine);
}

}

Procedure DeclareSeriesFit(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Points X,Y as text, or a wave file (.wav)").Needed();
    words.Add("--type", arguments->Type, "Fit type, such as Boltzmann or Dose-Response").Needed();
    words.Add("--level", arguments->Level, "Models of the series or of the sweep level")
        .OneOf({"series", "sweep"});
    words.Add("--param", arguments->Params, "NAME=VALUE[:fit|hold|off], as often as needed").Repeated();
    words.Add("--skip", arguments->Skip, "Points to leave out: \"3,7-9\", \"[X>0.05]\"");
    words.Add("--max-iterations", arguments->MaxIterations, "Stop after so many evaluations").NotNegative();
    words.Add("--step", arguments->Step, "Relative size of the starting simplex").NotNegative();
    words.Add("--epsilon", arguments->Epsilon, "Relative spread of residuals that counts as converged")
        .NotNegative();
    words.Flag("--json", arguments->AsJson, "Print one JSON document");
    return [arguments] { return RunSeriesFit(*arguments); };
}

}
