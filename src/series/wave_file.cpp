#include "series/wave_file.h"

#include "base/files.h"
#include "base/messages.h"
#include "base/text.h"
#include "fit/logbook.h"
#include "series/fit_block.h"
#include "series/wave_text.h"
#include "setup/settings.h"
#include "trees/tree.h"

#include <algorithm>

namespace WaveFile {

namespace {

// More than all points that a file can hold take with lines of the greatest length.
constexpr std::int64_t MostBytes = 64 << 20;

bool Refuse(std::string_view text, const std::string& path, int error) {
    std::string message(text);
    message += " \"" + path + "\"";
    if (error != 0) message += ": " + Files::ErrorText(error);
    Messages::Alert(message);
    return false;
}

// What would end a line or split a field is taken out of a text.
std::string OneLine(std::string_view text, std::size_t most) {
    std::string line(text.substr(0, most));
    for (char& c : line)
        if (c == '\r' || c == '\n' || c == '\0') c = ' ';
    return line;
}
std::string LabelField(std::span<const char> field) {
    std::string text = OneLine(Texts::FromField(field), field.size());
    for (std::size_t at = 0; (at = text.find(WaveText::Separator, at)) != std::string::npos;)
        text.erase(at + 1, 1);
    return text;
}

class Text {
public:
    Text& Line(std::string_view line) {
        Whole.append(line).append(End);
        return *this;
    }
    Text& Counted(int count, std::string_view name) {
        return Line(WaveText::IntegerField(count).append(WaveText::Separator).append(name));
    }
    Text& Reals(std::string_view flag, std::initializer_list<double> values) {
        std::string line(flag);
        for (const double value : values) {
            if (!line.empty()) line.append(WaveText::Separator);
            line += WaveText::RealField(value);
        }
        return Line(line);
    }

    std::string Whole;

private:
    std::string_view End = Setup::EndOfLine();
};

std::string_view UseFlag(std::uint8_t skip) {
    return skip != 0 ? "0" : "1";
}

void AddWaves(const SGFit::Store& store, Text& text) {
    for (int i = 0; i < store.BufferPoints; ++i)
        text.Reals(UseFlag(store.BufferSkip[i]), {store.XBuffer[i], store.YBuffer[i]});
    for (int k = 0; k < store.AccumCount; ++k) {
        text.Line("Wave" + std::to_string(k + 1));
        for (int i = 0; i < store.BufferPoints; ++i)
            text.Reals(UseFlag(store.AccumSkip[k][i]), {store.AccumData[k][i]});
    }
    for (int k = 0; k < store.BackgroundCount; ++k) {
        text.Line("BackgroundWave" + std::to_string(k + 1));
        text.Line(WaveText::IntegerField(store.BackgroundPoints[k]));
        const double* const data = store.BackgroundData[k];
        for (std::int32_t i = 0; i < store.BackgroundPoints[k]; ++i)
            text.Reals("", {data[2 * i], data[2 * i + 1]});
    }
}

bool WriteWhole(const std::string& path, const std::string& text) {
    Files::Replacement file;
    if (const int error = file.Begin(path); error != 0) return Refuse("Error opening WaveFile", path, error);
    if (const int error = Files::WriteAt(file.Content, 0, std::as_bytes(std::span(text))); error != 0)
        return Refuse("Error writing to WaveFile", path, error);
    if (const int error = file.Commit(); error != 0) return Refuse("Error closing WaveFile", path, error);
    return true;
}

bool ReadText(const std::string& path, std::string& text) {
    const int error = Files::ReadWhole(path, MostBytes, text);
    return error == 0 || Refuse("Error opening WaveFile", path, error);
}

bool TakeAccumulated(SGFit::Store& store, const std::vector<Point>& wave) {
    if (!SGFit::AddAccumulated(store)) return false;
    for (std::size_t i = 0; i < wave.size(); ++i) {
        store.AccumData[store.AccumCount][i] = wave[i].Y;
        store.AccumSkip[store.AccumCount][i] = wave[i].Skip ? 1 : 0;
        if (!wave[i].Skip) ++store.BufferCnt[i];
    }
    ++store.AccumCount;
    return true;
}

bool TakeBackground(SGFit::Store& store, const std::vector<Point>& wave) {
    const auto points = static_cast<std::int32_t>(wave.size());
    if (!SGFit::AddBackground(store, points, "Allocation of background data buffer failed.")) return false;
    double* to = store.BackgroundData[store.BackgroundCount++];
    for (const Point& point : wave) {
        *to++ = point.X;
        *to++ = point.Y;
    }
    return true;
}

bool TakeWaves(SGFit::Store& store, const Content& content) {
    store.WaveComment = content.Comment;
    SGFit::ClearBuffer(store);
    store.BufferX = content.X;
    store.BufferY = content.Y;
    store.BufferPoints = static_cast<std::int16_t>(content.Buffer.size());
    for (std::size_t i = 0; i < content.Buffer.size(); ++i) {
        store.XBuffer[i] = content.Buffer[i].X;
        store.YBuffer[i] = content.Buffer[i].Y;
        store.BufferSkip[i] = content.Buffer[i].Skip ? 1 : 0;
    }
    for (const std::vector<Point>& wave : content.Accumulated)
        if (!TakeAccumulated(store, wave)) return false;
    if (content.Background.empty()) return true;
    SGFit::WipeBackground(store);
    for (const std::vector<Point>& wave : content.Background)
        if (!TakeBackground(store, wave)) return false;
    return true;
}

// The path of the data file without its extension, or its name alone where a line has no room for the path.
std::string BaseName(const std::string& path, std::size_t room) {
    std::string base = path.substr(0, path.size() - Files::ExtensionOf(path).size());
    if (base.size() > room) base.erase(0, base.rfind('/') + 1);
    return base.substr(0, room);
}

}

std::string SourceOf(const DataSession& session, int analysis) {
    const auto number = [](int n) { return "_" + std::to_string(n); };
    const std::string place =
        number(Tree::IndexOf(session.CurGroup)) + number(Tree::IndexOf(session.CurSeries)) + number(analysis);
    return BaseName(session.FileName, LineMax - place.size()) + place;
}

std::string Format(SeriesFit::Engine& engine, std::string_view source) {
    const SGFit::Store& store = engine.Store;
    Text text;
    if (Logbook::WithHeadLine)
        text.Line(OneLine("File: " + (engine.Session ? engine.Session->FileName : "") +
                              ", User: " + Setup::Settings.Files.Username,
                          LineMax));
    text.Line("QorvaniteWave V1").Line(OneLine(source, LineMax));
    text.Line(OneLine(store.WaveComment, SGFit::CommentSize - 1));
    text.Counted(store.BufferPoints, "BufferPoints").Counted(store.AccumCount, "Accumulated Waves");
    text.Counted(store.BackgroundCount, "BackgroundWaves");
    const int type = static_cast<int>(engine.FitType);
    if (store.FitValid)
        text.Counted(type + 1, NameOf(engine.FitType).Short);
    else
        text.Counted(0, "no fit");
    std::string labels = LabelField(store.BufferX.Name);
    for (const auto& field :
         {LabelField(store.BufferX.Unit), LabelField(store.BufferY.Name), LabelField(store.BufferY.Unit)})
        labels.append(WaveText::Separator).append(field);
    text.Line(labels);
    AddWaves(store, text);
    if (store.FitValid)
        for (const std::string& line : FitBlock::Lines(SeriesFit::SelectedFit(engine), engine.FitType))
            text.Line(line);
    return std::move(text.Whole);
}

bool SaveWaveBuffer(SeriesFit::Engine& engine, const std::string& path, std::string_view source) {
    SGFit::SelectActiveWave(engine.Store, SGFit::Active::Buffer);
    if (engine.Store.BufferPoints <= 0) {
        Messages::Alert("No data in wave buffer");
        return false;
    }
    return WriteWhole(path, Format(engine, source));
}

bool LoadWaveBuffer(SeriesFit::Engine& engine, const std::string& path) {
    std::string text, message;
    Content content;
    if (!ReadText(path, text)) return false;
    if (!Parse(text, engine.Records, content, message)) return Refuse(message, path, 0);
    Messages::Log("Load WaveFile originating from \"" + content.Source + "\"");
    Messages::Log("Comment: " + content.Comment);
    engine.Store.ActiveWave = SGFit::Active::Buffer;
    const bool taken = TakeWaves(engine.Store, content);
    if (taken && content.HasFit) {
        engine.FitType = content.FitType;
        engine.Records = content.Records;
        engine.Store.FitValid = true;
    }
    SGFit::Refresh(engine.Store);
    return taken;
}

}
