// Wave files: their text to the byte, every type's fit block, damage at every byte, and disks that fail.
#include "base/messages.h"
#include "base/text.h"
#include "fit/logbook.h"
#include "series/wave_file.h"
#include "setup/settings.h"
#include "support/failing_files.h"
#include "support/fixtures.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

struct Bench {
    Bench() : Fit(Store) {
        Setup::Settings = {};
        Setup::Settings.Export.LineEndMode = 2;
        EXPECT_TRUE(SGFit::Open(Store));
        Texts::ToField(Store.PreviewX.Name, "V");
        Texts::ToField(Store.PreviewX.Unit, "V");
        Texts::ToField(Store.PreviewY.Name, "PeakOfTheCurrent, inward");
        Texts::ToField(Store.PreviewY.Unit, "A");
    }
    // Three points, the second one flagged, accumulated twice; one of them a background wave.
    void Fill() {
        Preview({{-0.08, 1E-12, false}, {0, -2.5E200, true}, {0.04, 1.0 / 3, false}});
        EXPECT_TRUE(SGFit::WaveToBuffer(Store));
        EXPECT_TRUE(SGFit::WavesToBackground(Store));
        Preview({{9, 3E-12, false}, {9, 7, false}, {9, 1, true}});
        EXPECT_TRUE(SGFit::AccumulateWave(Store));
        Store.WaveComment = "a comment";
    }
    void Preview(const std::vector<WaveFile::Point>& points) {
        Store.PreviewPoints = static_cast<std::int16_t>(points.size());
        for (std::size_t i = 0; i < points.size(); ++i) {
            Store.XPreview[i] = points[i].X;
            Store.YPreview[i] = points[i].Y;
            Store.PreviewSkip[i] = points[i].Skip ? 1 : 0;
        }
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
    SGFit::Store Store;
    SeriesFit::Engine Fit;
};

constexpr const char* Golden = "QorvaniteWave V1\n"
                               "cell_1_2_3\n"
                               "a comment\n"
                               "    3, BufferPoints\n"
                               "    2, Accumulated Waves\n"
                               "    1, BackgroundWaves\n"
                               "    8, Dose-Response\n"
                               "V, V, PeakOfTheCurrent,inward, A\n"
                               "1, -8.00000E-02,  2.00000E-12\n"
                               "0,  0.00000E+00,  7.00000E+00\n"
                               "1,  4.00000E-02,  3.33333E-01\n"
                               "Wave1\n"
                               "1,  1.00000E-12\n"
                               "0, -2.50000E+200\n"
                               "1,  3.33333E-01\n"
                               "Wave2\n"
                               "1,  3.00000E-12\n"
                               "1,  7.00000E+00\n"
                               "0,  1.00000E+00\n"
                               "BackgroundWave1\n"
                               "    3\n"
                               "-8.00000E-02,  1.00000E-12\n"
                               " 0.00000E+00,  0.00000E+00\n"
                               " 4.00000E-02,  3.33333E-01\n"
                               "-3.33333E-01, hold, 1, Offset\n"
                               " 1.11111E-01, hold, 1, kD\n"
                               "-3.70370E-02, hold, 1, Hill\n"
                               " 1.23457E-02, hold, 1, Amplitude\n"
                               "-4.11523E-03, hold, 1, Residual\n";

TEST(WaveFile, IsWrittenToTheByte) {
    Bench bench;
    bench.Fill();
    bench.Select(SeriesFitType::DoseResponse);
    EXPECT_EQ(bench.Text(), Golden);
    Setup::Settings.Export.LineEndMode = 1;
    std::string crlf;
    for (const char* c = Golden; *c != '\0'; ++c) crlf += *c == '\n' ? "\r\n" : std::string(1, *c);
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
        for (const char* c = Golden; *c != '\0'; ++c) text += *c == '\n' ? end : std::string(1, *c);
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
    bench.Preview({{INFINITY, -INFINITY, false}, {NAN, 1E300, false}});
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

TEST(WaveFile, NamesOfCoefficientsAreTheUsers) {
    Bench bench;
    bench.Fill();
    bench.Fit.FitType = SeriesFitType::ParsedEquation;
    bench.Store.FitValid = true;
    const std::string text = bench.Text();
    EXPECT_NE(text.find("\n    1, Parsed Equation\n"), std::string::npos);
    EXPECT_NE(text.find("\nc[2] {c[1]} c[2]+"), std::string::npos);
    EXPECT_NE(text.find(", fit, 1, a0+a1\n"), std::string::npos);
    EXPECT_NE(text.find(", skip, 0, Coeff5\n"), std::string::npos);
    WaveFile::Content content;
    std::string message;
    Fit::SeriesRecords records;
    ASSERT_TRUE(WaveFile::Parse(text, records, content, message));
    EXPECT_STREQ(content.Records.Parsed.CoeffNames[2], "a0+a1");
    EXPECT_STREQ(content.Records.Parsed.CoeffNames[4], "");
    // A line that is no parameter ends the block, and the file counts as read.
    const std::size_t at = text.find(", fit, 1, a0+a1");
    ASSERT_TRUE(WaveFile::Parse(text.substr(0, at - 12) + "broken\n", records, content, message));
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
    const struct {
        int Line;
        const char* Content;
        const char* Message;
    } cases[] = {
        {1, "File: x, User: y", "No proper QorvaniteWave file (line 1)"},
        {4, "    0, BufferPoints", "Illegal number of points. (line 4)"},
        {4, " 4001, BufferPoints", "Illegal number of points. (line 4)"},
        {4, "99999999999999999999", "Illegal number of points. (line 4)"},
        {4, "three", "Illegal number of points. (line 4)"},
        {5, "   33, Accumulated Waves", "Illegal number of accumulated waves. (line 5)"},
        {6, "   -1, BackgroundWaves", "Illegal number of background waves. (line 6)"},
        {7, "   -2, a fit", "Illegal FitType (line 7)"},
        {7, "fit", "Error reading FitType. (line 7)"},
        {8, "V, V, I", "Error reading labels and units. (line 8)"},
        {9, "1, -8.0x,  2.0", "Error reading wave data.  (line 9)"},
        {9, "1, 2", "Error reading wave data.  (line 9)"},
        {13, "1", "Error reading wave data.  (line 13)"},
        {21, " 4001", "Too many points per wave. (line 21)"},
        {21, "   -1", "Error reading background waves (line 21)"},
        {22, "1", "Error reading background waves (line 22)"},
        {26, "1, fit", "Error reading fit parameters. (line 26)"},
    };
    Bench bench;
    for (const auto& c : cases) {
        WaveFile::Content content;
        std::string message;
        EXPECT_FALSE(
            WaveFile::Parse(WithLine(Golden, c.Line, c.Content), bench.Fit.Records, content, message));
        EXPECT_EQ(message, c.Message);
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
    const struct {
        SeriesFitType Type;
        const char *From, *To, *Message; // a message: refused
    } cases[] = {
        {SeriesFitType::Boltzmann, "    1, Exponent1", "    0, Exponent1", "Error reading fit parameters."},
        {SeriesFitType::Boltzmann, "    1, Exponent1", "  101, Exponent1", "Error reading fit parameters."},
        {SeriesFitType::Boltzmann, "    1, Exponent1", "  100, Exponent1", nullptr},
        {SeriesFitType::CurrentVoltage, "    3, Exponent", "    0, Exponent", nullptr},
        {SeriesFitType::CurrentVoltage, "linear iV", "curved iV", "Error reading fit parameters."},
        {SeriesFitType::Polynomial, "    3, Order", "   10, Order", "Illegal PolyOrder"},
        {SeriesFitType::Polynomial, "    2, Polynomial", "   12, Something", nullptr}, // falls back
        {SeriesFitType::PowerSpectrum, "   11, PowerSpectrum", "   11, x", nullptr},
        {SeriesFitType::GenExponential, "1, 1-Exp", "x, 1-Exp", "Error reading fit parameters."},
    };
    for (const auto& c : cases) {
        Bench bench;
        bench.Fill();
        bench.Select(c.Type);
        std::string text = bench.Text();
        const std::size_t at = text.find(c.From);
        ASSERT_NE(at, std::string::npos) << c.From;
        text.replace(at, std::string_view(c.From).size(), c.To);
        WaveFile::Content content;
        std::string message;
        EXPECT_EQ(WaveFile::Parse(text, bench.Fit.Records, content, message), c.Message == nullptr) << c.To;
        if (c.Message) {
            EXPECT_TRUE(message.starts_with(c.Message)) << message;
        } else {
            EXPECT_EQ(content.FitType, c.Type);
        }
    }
}

// A file cut anywhere before its last line is refused, and what was loaded before stays. A changed byte may
// make another sound file, but nothing else than a whole one.
TEST(WaveFile, DamageIsRefusedAndLosesNothing) {
    const Support::TempFolder folder(Support::Memory());
    Bench bench;
    bench.Fill();
    bench.Select(SeriesFitType::Exponential);
    const std::string before = bench.Text(), golden = Golden;
    const std::size_t lastLine = golden.rfind('\n', golden.size() - 2) + 1;
    for (std::size_t length = 0; length < golden.size(); ++length) {
        const bool loads =
            WaveFile::LoadWaveBuffer(bench.Fit, folder.Write("a.wav", golden.substr(0, length)));
        // Of the last line its name may be missing, and a digit of its flag is a flag.
        ASSERT_EQ(loads, length >= lastLine + 21) << length;
        if (loads) break;
        ASSERT_EQ(bench.Text(), before) << length;
    }
    for (std::size_t at = 0; at < golden.size(); ++at)
        for (const char byte : {'\0', '\n', ',', '9', '\xFF'}) {
            std::string damaged = golden;
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
    bench.Store.ActiveWave = SGFit::Active::Preview;
    const struct {
        int Support::Disk::*Error;
        std::int64_t Room;
        const char* Message;
    } faults[] = {
        {&Support::Disk::OpenError, INT64_MAX, "Error opening WaveFile \""},
        {nullptr, 100, "Error writing to WaveFile \""},
        {&Support::Disk::FlushError, INT64_MAX, "Error closing WaveFile \""},
        {&Support::Disk::RenameError, INT64_MAX, "Error closing WaveFile \""},
    };
    for (const auto& fault : faults) {
        const Support::FailingFiles failing;
        Support::TheDisk.Room = fault.Room;
        if (fault.Error) Support::TheDisk.*fault.Error = EIO;
        bench.Said.Alerts.clear();
        EXPECT_FALSE(WaveFile::SaveWaveBuffer(bench.Fit, path, "s"));
        EXPECT_TRUE(bench.Said.Alerts.starts_with(fault.Message)) << bench.Said.Alerts;
        EXPECT_EQ(Support::ReadWhole(path), "old");
        EXPECT_EQ(folder.Count(), 1);
        EXPECT_EQ(Support::TheDisk.OpenHandles, 0);
    }
    EXPECT_TRUE(WaveFile::SaveWaveBuffer(bench.Fit, path, "cell_1_2_3"));
    EXPECT_EQ(Support::ReadWhole(path), bench.Text());
    EXPECT_EQ(bench.Store.ActiveWave, SGFit::Active::Buffer);
    EXPECT_FALSE(WaveFile::LoadWaveBuffer(bench.Fit, folder.At("none.wav")));
}

TEST(WaveFile, AWaveOfAllPointsLoads) {
    Bench bench;
    bench.Store.PreviewPoints = SGFit::MaxPoints;
    for (int k = 0; k < SGFit::MaxAccumulated; ++k) ASSERT_TRUE(SGFit::AccumulateWave(bench.Store));
    const Support::TempFolder folder;
    ASSERT_TRUE(WaveFile::SaveWaveBuffer(bench.Fit, folder.At("a.wav"), "s"));
    ASSERT_TRUE(WaveFile::LoadWaveBuffer(bench.Fit, folder.At("a.wav"))) << bench.Said.Alerts;
    EXPECT_EQ(bench.Store.AccumCount, 32);
    EXPECT_EQ(bench.Store.BufferPoints, 4000);
}

}
