// Wave files: their text to the byte, every type's fit block, damage at every byte, and disks that fail.
#include "fit/logbook.h"
#include "series/wave_file.h"
#include "support/failing_files.h"
#include "support/fixtures.h"
#include "support/waves.h"

namespace {

struct Bench {
    Bench() : Fit(Store) {
        Setup::Settings.Export.LineEndMode = 2;
        Texts::ToField(Store.PreviewX.Name, "V");
        Texts::ToField(Store.PreviewX.Unit, "V");
        Texts::ToField(Store.PreviewY.Name, "PeakOfTheCurrent, inward");
        Texts::ToField(Store.PreviewY.Unit, "A");
    }
    // Three points, the second one flagged, accumulated twice; one of them a background wave.
    void Fill() {
        Support::SetPreview(Store, {{-0.08, 1E-12}, {0, -2.5E200, 1}, {0.04, 1.0 / 3}});
        EXPECT_TRUE(SGFit::WaveToBuffer(Store));
        EXPECT_TRUE(SGFit::WavesToBackground(Store));
        Support::SetPreview(Store, {{9, 3E-12}, {9, 7}, {9, 1, 1}});
        EXPECT_TRUE(SGFit::AccumulateWave(Store));
        Store.WaveComment = "a comment";
    }
    void Select(SeriesFitType type) {
        Fit.FitType = type;
        Store.FitValid = true;
        double value = 1;
        for (const ::Fit::ParamEntry& entry : ::Fit::Params(SeriesFit::SelectedFit(Fit))) {
            *entry.Param = {.Value = value /= -3, .State = FitParamState::Hold, .Store = 1};
            if (entry.Name.ends_with('2')) entry.Param->State = FitParamState::Off;
        }
    }
    std::string Text() { return WaveFile::Format(Fit, "cell_1_2_3"); }

    Messages::Recorder Said;
    Support::OpenStore Store;
    SeriesFit::Engine Fit;
};

const std::string Golden = Support::ReadWhole(Support::DataFile("waves/dose_response.wav"));

TEST(WaveFile, IsWrittenToTheByte) {
    Bench bench;
    bench.Fill();
    bench.Select(SeriesFitType::DoseResponse);
    EXPECT_EQ(bench.Text(), Golden);
    Setup::Settings.Export.LineEndMode = 1;
    std::string crlf;
    for (const char c : Golden) crlf += c == '\n' ? "\r\n" : std::string(1, c);
    EXPECT_EQ(bench.Text(), crlf);
    Logbook::WithHeadLine = true;
    Setup::Settings.Files.Username = "Jo";
    EXPECT_TRUE(bench.Text().starts_with("File: , User: Jo\r\nQorvaniteWave V1\r\n"));
    Logbook::WithHeadLine = false;
    bench.Store.WaveComment = "two\nlines" + std::string(200, 'x');
    const std::string text = bench.Text();
    EXPECT_NE(text.find("two linesxxx"), std::string::npos);
}

TEST(WaveFile, IsReadBackWithAllLineEnds) {
    const Support::TempFolder folder;
    for (const char* const end : {"\n", "\r\n", "\r"}) {
        std::string text;
        for (const char c : Golden) text += c == '\n' ? end : std::string(1, c);
        Bench bench;
        ASSERT_TRUE(WaveFile::LoadWaveBuffer(bench.Fit, folder.Write("a.wav", text))) << bench.Said.Alerts;
        EXPECT_EQ(bench.Said.Notes, "Load WaveFile originating from \"cell_1_2_3\"\nComment: a comment\n");
        EXPECT_EQ(bench.Store.BufferPoints, 3);
        EXPECT_EQ(bench.Store.BufferSkip[1], 1);
        EXPECT_EQ(bench.Store.BufferCnt[0] + 10 * bench.Store.BufferCnt[1] + 100 * bench.Store.BufferCnt[2],
                  112);
        EXPECT_EQ(bench.Store.AccumData[0][1], -2.5E200);
        EXPECT_EQ(bench.Store.BackgroundPoints[0], 3);
        EXPECT_TRUE(bench.Store.FitValid);
        EXPECT_EQ(bench.Fit.FitType, SeriesFitType::DoseResponse);
        EXPECT_EQ(bench.Fit.Records.DoseResponse.KD.State, FitParamState::Hold);
        EXPECT_EQ(Texts::FromField(bench.Store.BufferY.Name), "PeakOfTheCurrent"); // its first 16 bytes
        EXPECT_EQ(bench.Store.WavePoints, 3);
    }
}

TEST(WaveFile, NumbersThatAreNotFiniteComeBack) {
    Bench bench;
    Support::SetPreview(bench.Store, {{INFINITY, -INFINITY}, {NAN, 1E300}});
    ASSERT_TRUE(SGFit::WaveToBuffer(bench.Store));
    const std::string text = bench.Text();
    EXPECT_NE(text.find("1,          INF,         -INF\n1,          NAN,  1.00000E+300\n"),
              std::string::npos);
    WaveFile::Content content;
    std::string message;
    ASSERT_TRUE(WaveFile::Parse(text, bench.Fit.Records, content, message)) << message;
    EXPECT_EQ(content.Buffer[0].Y, -INFINITY);
    EXPECT_TRUE(std::isnan(content.Buffer[1].X));
    EXPECT_FALSE(content.HasFit);
}

TEST(WaveFile, EveryTypesParametersComeBack) {
    for (int i = 0; i < SeriesFitTypes; ++i) {
        const auto type = static_cast<SeriesFitType>(i);
        SCOPED_TRACE(NameOf(type).Short);
        Bench bench;
        bench.Fill();
        bench.Select(type);
        bench.Fit.Records.Polynomial.Order = 5;
        bench.Fit.Records.Boltzmann.Terms[1].Power = 100;
        bench.Fit.Records.CurrentVoltage.GHK = 1;
        bench.Fit.Records.CurrentVoltage.Power = 0;
        bench.Fit.Records.GenExponential.Terms[1].Rising = 0;
        Texts::ToField(bench.Fit.Records.Parsed.Equation, std::string(255, '1')); // longer than other lines
        const std::string text = bench.Text();
        WaveFile::Content content;
        std::string message;
        ASSERT_TRUE(WaveFile::Parse(text, Fit::DefaultSeriesRecords(), content, message)) << message << "\n"
                                                                                          << text;
        EXPECT_TRUE(content.HasFit);
        EXPECT_EQ(content.FitType, type);
        // Written again, it is the same text: the file holds all that it holds of the record.
        bench.Fit.Records = content.Records;
        EXPECT_EQ(bench.Text(), text);
    }
}

TEST(WaveFile, ALineThatIsNoParameterEndsTheBlock) {
    Bench bench;
    bench.Fill();
    bench.Fit.FitType = SeriesFitType::ParsedEquation;
    bench.Store.FitValid = true;
    const std::string text = bench.Text();
    const std::size_t at = text.find(", fit, 1, a0+a1"); // the user's name of a coefficient
    ASSERT_NE(at, std::string::npos);
    WaveFile::Content content;
    std::string message;
    ASSERT_TRUE(WaveFile::Parse(text.substr(0, at - 12) + "broken\n", {}, content, message));
    EXPECT_TRUE(message.empty());
    EXPECT_STREQ(content.Records.Parsed.CoeffNames[1], "a0");
    EXPECT_STREQ(content.Records.Parsed.CoeffNames[2], "");
}

// The text with one of its lines replaced.
std::string WithLine(const std::string& text, int line, const std::string& content) {
    std::size_t start = 0;
    for (int i = 1; i < line; ++i) start = text.find('\n', start) + 1;
    return text.substr(0, start) + content + text.substr(text.find('\n', start));
}

TEST(WaveFile, WhatIsWrongIsSaidWithItsLine) {
    Bench bench;
    for (const auto& c : Support::CaseTable("wave_lines")) {
        WaveFile::Content content;
        std::string message;
        EXPECT_FALSE(
            WaveFile::Parse(WithLine(Golden, std::stoi(c[0]), c[1]), bench.Fit.Records, content, message));
        EXPECT_EQ(message, c[2]);
    }
    WaveFile::Content content;
    std::string message;
    EXPECT_FALSE(
        WaveFile::Parse(WithLine(Golden, 3, std::string(161, 'x')), bench.Fit.Records, content, message));
    EXPECT_EQ(message, "Error reading wave file (line 3)");
    EXPECT_TRUE(
        WaveFile::Parse(WithLine(Golden, 3, std::string(160, 'x')), bench.Fit.Records, content, message));
}

TEST(WaveFile, LimitsOfFitBlocksAreThoseOfTheirTypes) {
    constexpr const char* Wrong = "Error reading fit parameters.";
    const struct {
        SeriesFitType Type;
        std::string From, To, Message; // a message: refused
    } cases[] = {
        {SeriesFitType::Boltzmann, "    1, Exponent1", "    0, Exponent1", Wrong},
        {SeriesFitType::Boltzmann, "    1, Exponent1", "  101, Exponent1", Wrong},
        {SeriesFitType::Boltzmann, "    1, Exponent1", "  100, Exponent1", ""},
        {SeriesFitType::CurrentVoltage, "    3, Exponent", "    0, Exponent", ""},
        {SeriesFitType::CurrentVoltage, "linear iV", "curved iV", Wrong},
        {SeriesFitType::Polynomial, "    3, Order", "   10, Order", "Illegal PolyOrder"},
        {SeriesFitType::Polynomial, "    2, Polynomial", "   12, Something", ""}, // falls back
        {SeriesFitType::GenExponential, "1, 1-Exp", "x, 1-Exp", Wrong},
    };
    for (const auto& c : cases) {
        Bench bench;
        bench.Fill();
        bench.Select(c.Type);
        std::string text = bench.Text(), message;
        text.replace(text.find(c.From), c.From.size(), c.To);
        WaveFile::Content content;
        EXPECT_EQ(WaveFile::Parse(text, bench.Fit.Records, content, message), c.Message.empty()) << c.To;
        EXPECT_TRUE(message.starts_with(c.Message)) << message;
        EXPECT_TRUE(!c.Message.empty() || content.FitType == c.Type);
    }
}

// A file cut anywhere before its last line is refused, and what was loaded before stays. A changed byte may
// make another sound file, but nothing else than a whole one.
TEST(WaveFile, DamageIsRefusedAndLosesNothing) {
    const Support::TempFolder folder(Support::Memory());
    Bench bench;
    bench.Fill();
    bench.Select(SeriesFitType::Exponential);
    const std::string before = bench.Text();
    const std::size_t lastLine = Golden.rfind('\n', Golden.size() - 2) + 1;
    for (std::size_t length = 0; length < Golden.size(); ++length) {
        const bool loads =
            WaveFile::LoadWaveBuffer(bench.Fit, folder.Write("a.wav", Golden.substr(0, length)));
        // Of the last line its name may be missing, and a digit of its flag is a flag.
        ASSERT_EQ(loads, length >= lastLine + 21) << length;
        if (loads) break;
        ASSERT_EQ(bench.Text(), before) << length;
    }
    for (std::size_t at = 0; at < Golden.size(); ++at)
        for (const char byte : {'\0', '\n', ',', '9', '\xFF'}) {
            std::string damaged = Golden;
            damaged[at] = byte;
            const std::string state = bench.Text();
            if (WaveFile::LoadWaveBuffer(bench.Fit, folder.Write("a.wav", damaged)))
                ASSERT_EQ(bench.Store.BufferPoints, 3) << at;
            else
                ASSERT_EQ(bench.Text(), state) << at;
        }
}

TEST(WaveFile, AFailedStoreLeavesTheOldFile) {
    const Support::TempFolder folder;
    const std::string path = folder.Write("a.wav", "old");
    Bench bench;
    EXPECT_FALSE(WaveFile::SaveWaveBuffer(bench.Fit, path, "")); // an empty buffer could not be read back
    bench.Fill();
    using Support::Disk;
    for (const auto& [error, word] : {std::pair{&Disk::OpenError, "opening"},
                                      {&Disk::FlushError, "closing"},
                                      {&Disk::RenameError, "closing"}}) {
        const Support::FailingFiles failing;
        Support::TheDisk.*error = EIO;
        bench.Said.Alerts.clear();
        EXPECT_FALSE(WaveFile::SaveWaveBuffer(bench.Fit, path, "s"));
        EXPECT_TRUE(bench.Said.Alerts.starts_with(std::string("Error ") + word + " WaveFile \""));
        EXPECT_EQ(Support::ReadWhole(path), "old");
        EXPECT_EQ(folder.Count() + Support::TheDisk.OpenHandles, 1);
    }
    EXPECT_TRUE(WaveFile::SaveWaveBuffer(bench.Fit, path, "cell_1_2_3"));
    EXPECT_EQ(Support::ReadWhole(path), bench.Text());
    EXPECT_FALSE(WaveFile::LoadWaveBuffer(bench.Fit, folder.At("none.wav")));
}

TEST(WaveFile, AWaveOfAllPointsLoads) {
    Bench bench;
    bench.Store.PreviewPoints = SGFit::MaxPoints;
    for (int k = 0; k < SGFit::MaxAccumulated; ++k) ASSERT_TRUE(SGFit::AccumulateWave(bench.Store));
    const Support::TempFolder folder;
    ASSERT_TRUE(WaveFile::SaveWaveBuffer(bench.Fit, folder.At("a.wav"), "s"));
    ASSERT_TRUE(WaveFile::LoadWaveBuffer(bench.Fit, folder.At("a.wav"))) << bench.Said.Alerts;
    EXPECT_TRUE(bench.Store.AccumCount == 32 && bench.Store.BufferPoints == 4000);
}

}
