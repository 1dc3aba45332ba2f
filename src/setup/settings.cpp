#include "setup/settings.h"

#include "base/bytes.h"
#include "setup/limits.h"

#include <algorithm>
#include <array>

namespace Setup {

SettingsRecord Settings;

// The block of a tool must be at least as large as the tool's own record.
static_assert(sizeof(SettingsRecord::FitParams) >= sizeof(FitParams),
              "SIZE( Setup.Settings.FitParams ) < SIZE( ParamType )");

PerTrace<Color> ColorSettings::DefaultTraces() {
    static constexpr Color Palette[] = {{0, 0, 0},         {50000, 0, 0},        {0, 0, 50000},
                                        {0, 35000, 0},     {45000, 0, 45000},    {0, 38000, 45000},
                                        {52000, 30000, 0}, {30000, 30000, 30000}};
    PerTrace<Color> colors{};
    for (std::size_t trace = 1; trace < colors.size(); ++trace)
        colors[trace] = Palette[(trace - 1) % std::size(Palette)];
    return colors;
}

const char* EndOfLine() {
    constexpr std::array<const char*, 3> Ends = {"\r", "\r\n", "\n"};
    return Ends[std::min<std::size_t>(Settings.Export.LineEndMode, Ends.size() - 1)];
}

void SetDefaults() {
    Settings = {};
    Settings.Header.IsLittleEndian = Bytes::MachineIsLittle;
}

double* ValueOf(int number) {
    return number >= 1 && number <= Values ? &Settings.Protocol.Values[static_cast<std::size_t>(number - 1)]
                                           : nullptr;
}

void SettingsLimits(SettingsRecord& s) {
    const SettingsRecord defaults;
    Limits::Range(s.NextMaxSamplePoints, MaxSamplePointsLowest, MaxSamplePointsHighest);
    Limits::Range(s.NextMaxStimPoints, MaxSamplePointsLowest, MaxSamplePointsHighest);
    Limits::Range(s.Header.NextMBBufferSize, 1, 4096);
    Limits::AtLeast(s.MaxFileBytes, 0);
    for (double& corner : s.TraceFilterFactor) Limits::AtLeast(corner, 0.0);
    for (FontChoice* const font :
         {&s.Windows.DialogFont, &s.Windows.ProtListFont, &s.Windows.OnlineFont, &s.Windows.TreeFont})
        Limits::Range<std::int16_t>(font->Size, 4, 96);
    Limits::Range<std::int16_t>(s.Display.ShownTraces, 1, MaxTraces);
    Limits::Range<std::int16_t>(s.Display.MaxStimTraces, 1, MaxTraces);
    Limits::Range<std::int16_t>(s.Display.GridXdigits, 1, 15);
    Limits::Range<std::int16_t>(s.Display.GridYdigits, 1, 15);
    for (std::uint8_t* const level :
         {&s.Replay.ShowLevel, &s.Replay.HighShow, &s.Replay.LowShow, &s.Replay.Tracing})
        Limits::Choice(*level, 4, 4);
    Limits::Choice(s.Export.ExportTime, 3, defaults.Export.ExportTime);
    Limits::Choice(s.Export.ASCIISeparator, 2, defaults.Export.ASCIISeparator);
    Limits::Choice(s.Export.LineEndMode, 2, defaults.Export.LineEndMode);
    Limits::Choice(s.Export.ExportTarget, 6, defaults.Export.ExportTarget);
    Limits::Choice(s.Export.ExportOnline, 2, defaults.Export.ExportOnline);
    Limits::Choice(s.Export.IgorOS, 1, defaults.Export.IgorOS);
    Limits::Choice(s.Export.IgorMode, 2, defaults.Export.IgorMode);
    Limits::Range<std::int16_t>(s.Export.GraphsPerPage, 1, 32);
    Limits::Range(s.Online.OnlineSweeps, 1, 100'000);
    Limits::Range(s.Online.OnlineResults, 1, 1000);
    Limits::AtLeast<std::int16_t>(s.Online.OnlineMaxSwp, 1);
    Limits::Choice(s.Batch.BatchCommKind, 2, defaults.Batch.BatchCommKind);
    Limits::Range(s.Program.NotebookLength, 100, 10'000'000);
    Limits::Range<std::int16_t>(s.Program.NotebookDigits, 1, 15);
    Limits::Range<std::int16_t>(s.Program.TimerDigits, 0, 9);
    Limits::AtLeast(s.Protocol.MinWaitTime, 0.0);
    FitParamsLimits(s.FitParams);
}

std::int32_t LimitedSamplePoints(std::int64_t points) {
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(points, MaxSamplePointsLowest, MaxSamplePointsHighest));
}

}
