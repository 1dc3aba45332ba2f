// The reader of wave files: text in, content out.
#include "base/text.h"
#include "series/wave_file.h"
#include "series/wave_text.h"

#include <algorithm>

namespace WaveFile {

namespace {

constexpr std::size_t NameRead = 16, UnitRead = 8;

class Parser {
public:
    Parser(std::string_view text, Content& content, std::string& message)
        : Rest(text), To(content), Message(message) {}

    bool All();
    [[nodiscard]] int LineNumber() const { return Lines; }

private:
    using Step = bool (Parser::*)();

    bool Line(std::string_view& line, std::size_t most = LineMax);
    bool Fail(std::string_view text);
    bool Count(int least, int most, std::string_view refusal, int& count);

    bool Head();
    bool Counts();
    bool FitLine();
    bool Labels();
    bool BufferPoints();
    bool AccumulatedWaves();
    bool BackgroundWaves();
    bool FitBlock();
    bool BackgroundWave(std::vector<Point>& wave);

    std::string_view Rest;
    Content& To;
    std::string& Message;
    int Lines = 0;
    int Points = 0, Accumulated = 0, Background = 0;
};

// Behind the last line, and for one that is too long, there is none.
bool Parser::Line(std::string_view& line, std::size_t most) {
    if (Rest.empty()) return Fail("Error reading wave file");
    const std::size_t end = std::min(Rest.find_first_of("\r\n"), Rest.size());
    ++Lines;
    if (end > most) return Fail("Error reading wave file");
    line = Rest.substr(0, end);
    Rest.remove_prefix(end);
    if (Rest.starts_with("\r\n"))
        Rest.remove_prefix(2);
    else if (!Rest.empty())
        Rest.remove_prefix(1);
    return true;
}

// The first reason is the one that counts.
bool Parser::Fail(std::string_view text) {
    if (Message.empty()) Message = text;
    return false;
}

bool Parser::Count(int least, int most, std::string_view refusal, int& count) {
    std::string_view line;
    if (!Line(line)) return false;
    if (WaveText::Fields(line).NextInteger(count) && count >= least && count <= most) return true;
    return Fail(refusal);
}

bool Parser::Head() {
    std::string_view line;
    if (!Line(line)) return false;
    if (line.find("QorvaniteWave") == std::string_view::npos) return Fail("No proper QorvaniteWave file");
    if (!Line(line)) return Fail("Error reading data source.");
    To.Source = line;
    if (!Line(line)) return Fail("Error reading comment.");
    To.Comment = line.substr(0, SGFit::CommentSize - 1);
    return true;
}

bool Parser::Counts() {
    return Count(1, SGFit::MaxPoints, "Illegal number of points.", Points) &&
           Count(0, SGFit::MaxAccumulated, "Illegal number of accumulated waves.", Accumulated) &&
           Count(0, SGFit::MaxBackground, "Illegal number of background waves.", Background);
}

bool Parser::FitLine() {
    std::string_view line;
    int type = 0;
    if (!Line(line)) return false;
    if (!WaveText::Fields(line).NextInteger(type)) return Fail("Error reading FitType.");
    if (type < 0) return Fail("Illegal FitType");
    To.HasFit = type > 0;
    if (To.HasFit)
        To.FitType =
            type <= SeriesFitTypes ? static_cast<SeriesFitType>(type - 1) : SeriesFitType::Polynomial;
    return true;
}

bool Parser::Labels() {
    std::string_view line;
    if (!Line(line)) return false;
    WaveText::Fields fields(line, WaveText::Separator);
    for (SGFit::WaveLabel* const label : {&To.X, &To.Y}) {
        std::string_view name, unit;
        if (!fields.Next(name) || !fields.Next(unit)) return Fail("Error reading labels and units.");
        name = name.substr(0, NameRead);
        unit = unit.substr(0, UnitRead);
        *label = {};
        std::ranges::copy(name, label->Name);
        std::ranges::copy(unit, label->Unit);
    }
    return true;
}

bool Parser::BufferPoints() {
    To.Buffer.resize(static_cast<std::size_t>(Points));
    for (Point& point : To.Buffer) {
        std::string_view line;
        if (!Line(line)) return false;
        WaveText::Fields fields(line);
        bool used = false;
        if (!fields.NextFlag(used) || !fields.NextReal(point.X) || !fields.NextReal(point.Y))
            return Fail("Error reading wave data. ");
        point.Skip = !used;
    }
    return true;
}

bool Parser::AccumulatedWaves() {
    for (int k = 0; k < Accumulated; ++k) {
        std::string_view line;
        if (!Line(line)) return false; // its name
        std::vector<Point>& wave = To.Accumulated.emplace_back(To.Buffer.size());
        for (Point& point : wave) {
            if (!Line(line)) return false;
            WaveText::Fields fields(line);
            bool used = false;
            if (!fields.NextFlag(used) || !fields.NextReal(point.Y)) return Fail("Error reading wave data. ");
            point.Skip = !used;
        }
    }
    return true;
}

bool Parser::BackgroundWave(std::vector<Point>& wave) {
    std::string_view line;
    int points = 0;
    if (!Line(line)) return false; // its name
    if (!Line(line)) return false;
    if (!WaveText::Fields(line).NextInteger(points) || points < 0) return false;
    if (points > SGFit::MaxPoints) return Fail("Too many points per wave.");
    for (int i = 0; i < points; ++i) {
        if (!Line(line)) return false;
        WaveText::Fields fields(line);
        Point& point = wave.emplace_back();
        if (!fields.NextReal(point.X) || !fields.NextReal(point.Y)) return false;
    }
    return true;
}

bool Parser::BackgroundWaves() {
    for (int k = 0; k < Background; ++k)
        if (!BackgroundWave(To.Background.emplace_back())) return Fail("Error reading background waves");
    return true;
}

bool Parser::FitBlock() {
    if (!To.HasFit) return true;
    const Fit::Selected selected = Fit::Select(To.Records, To.FitType);
    const auto next = [this](std::string_view& line, std::size_t most) { return Line(line, most); };
    return FitBlock::Read(selected, To.FitType, next, Message) || Fail("Error reading fit parameters.");
}

bool Parser::All() {
    for (const Step step :
         {&Parser::Head, &Parser::Counts, &Parser::FitLine, &Parser::Labels, &Parser::BufferPoints,
          &Parser::AccumulatedWaves, &Parser::BackgroundWaves, &Parser::FitBlock})
        if (!(this->*step)()) return false;
    return true;
}

}

bool Parse(std::string_view text, const Fit::SeriesRecords& records, Content& content, std::string& message) {
    content = {};
    content.Records = records;
    message.clear();
    Parser parser(text, content, message);
    if (parser.All()) {
        message.clear();
        return true;
    }
    message += " (line " + std::to_string(parser.LineNumber()) + ")";
    return false;
}

}
