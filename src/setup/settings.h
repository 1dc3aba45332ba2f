// Setup.Settings: the one global record of all settings, read by the tools at each of their steps.
//
// Every member has the default of a first start, so that the program comes up without any file. A member
// bears the name of its key in the settings file; where members stand in a group, the group's name and the
// member's make the key (Osci.Left is OsciLeft, Colors.Back is BackRGB). Where the names differ, the key
// stands behind the member.
//
// Arrays over traces are indexed by the trace's number, 1 to 32; the first place is unused unless told.
// The members of the amplifier and of the interface are kept for the programs that record, and do nothing
// here.
#pragma once
#include "setup/fit_params.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Setup {

inline constexpr int MaxTraces = 32; // a trace count above it does not load
inline constexpr std::int32_t MaxSamplePointsLowest = 16382;
inline constexpr std::int32_t MaxSamplePointsHighest = 100'000'000;

inline constexpr std::size_t PathMax = 259; // longest of the kinds of texts, in characters
inline constexpr std::size_t NameMax = 79;
inline constexpr std::size_t FontNameMax = 31;

inline constexpr int FlagGroups = 4;               // of the Parameters window
inline constexpr std::size_t FlagsBlockSize = 256; // rows of a flag group, at most
inline constexpr int Values = 32;                  // entries of Protocol.Values
inline constexpr int Probes = 8;
inline constexpr int FavouriteSolutions = 8;

template <class T>
using PerTrace = std::array<T, MaxTraces + 1>;
template <class T>
constexpr PerTrace<T> EachTrace(const T& value) {
    PerTrace<T> all{};
    all.fill(value);
    return all;
}

// The start of the settings file.
struct ConfigurationHeader {
    std::string ConfigSignature = "Qorvanite"; // CONFIGURATION; at most 15 characters
    std::int32_t FileVersion = 1;
    std::int32_t NextMBBufferSize = 16; // MB, from the next start on
    bool IsLittleEndian = true;         // byte order of the machine that wrote the file
    bool NeverStored = true;            // these are the built-in defaults: until the user saves them
    std::uint8_t FileOS = 3;            // writer's system: 1 MacOS, 2 Windows, 3 UNIX
    bool operator==(const ConfigurationHeader&) const = default;
};

struct WindowPlace {
    std::int16_t Left = 0, Top = 0, Width = 0, Height = 0; // pixels; a window that is not sized has no extent
    bool Show = false;                                     // open when the program starts
    bool operator==(const WindowPlace&) const = default;
};

struct FontChoice {
    std::string Name = "Sans"; // key without "Name"
    std::int16_t Size = 10;    // points
    bool operator==(const FontChoice&) const = default;
};

struct ColorSettings {
    Color Hard = {0, 0, 0};
    Color Back = {56000, 56000, 56000}, Text = {0, 0, 0}, TextLow = {28000, 28000, 28000};
    Color Button = {60000, 60000, 60000}, SwitchOn = {65535, 30000, 30000}, SwitchOff = {48000, 48000, 48000};
    Color WBack = {65535, 65535, 65535}, TermWBack = {65535, 65535, 65535}, OsciBack = {65535, 65535, 65535};
    Color TreeIcon = {30000, 30000, 50000}, TreeSelect = {65535, 55000, 20000},
          TreeLine = {20000, 20000, 20000};
    PerTrace<Color> Trace = DefaultTraces(); // TraceRGB1 ...
    Color DimmedTrace = {45000, 45000, 45000}, Grid = {50000, 50000, 50000}, Fit = {50000, 0, 0};

    static PerTrace<Color> DefaultTraces();
    bool operator==(const ColorSettings&) const = default;
};

struct WindowSettings {
    WindowPlace Osci = {320, 40, 760, 560, true}, Ctrl = {10, 40, 300, 330, true}, Prot = {340, 80, 520, 480};
    WindowPlace Marker = {360, 120}, Pgf = {60, 60}, Setup = {80, 60}, Online = {100, 80};
    WindowPlace Graph1 = {320, 620, 375, 260}, Graph2 = {705, 620, 375, 260}, Icon = {10, 10, 400, 24};
    WindowPlace ShowParam = {120, 80}, IOParam = {140, 80}, Tree = {10, 390, 300, 490, true};
    WindowPlace LockIn = {160, 80}, Photo = {180, 80, 300, 200}, Ampl = {200, 80, 300, 400}, Sol = {220, 80};
    FontChoice DialogFont, ProtListFont = {"Monospace", 10}, OnlineFont, TreeFont;
    std::string FrameWDescr, NotebookWDescr; // descriptions of the frame and of the notebook's window
    std::uint8_t WindowSwitch = 0;           // the set of windows in use
    bool operator==(const WindowSettings&) const = default;
};

// The recording side, kept as it was read.
struct RecordingSettings {
    std::int16_t AmplVersion = 0, ActiveAmpl = 1, OldAmpl = 0;
    std::uint8_t ADBoard = 0;
    std::int16_t ADBoardNo = 0, AmplBoards = 0, AmplBoard2 = 0;
    bool Ampk10Quadro = false;
    std::uint8_t Selector = 0;
    std::array<std::uint8_t, Setup::Probes> Probes{}; // Probes1 ...
    std::array<double, Setup::Probes> AdcInputRanges = {10.24, 10.24, 10.24, 10.24,
                                                        10.24, 10.24, 10.24, 10.24}; // V, AdcInputRanges1 ...
    bool Elec3Mode = false, AutoFilter = false, ZapOnCellOnly = false;
    double ZapDur = 2E-4, ZapAmpl = 0.6; // s, V
    bool LockInOn = false;
    std::uint8_t HoldOut = 0, CurrentIn = 0, VoltageIn = 1; // channels
    double WindowScaling = 1.0, VCStimScale = 0.1, CCStimScale = 1E-9, VmonInScale = 0.1;
    double VCAmplitude = 5E-3, CCAmplitude = 1E-11, TestFilterFactor = 0.2, TestAmplitude = 5E-3;
    double TestDuration = 5E-3, TestVScale = 1.0, TestVOffset = 0.0, TestTrigAmplitude = 5.0;
    std::int16_t TestTrigChannel = 0, TestTrigBit = 0;
    std::uint8_t TestTrigMode = 0;
    std::int16_t TestTrace = 1;
    std::uint8_t TestPulseMode = 0, OldTestPulseMode = 0;
    bool TestNoise = false, TestScalingEnabled = false, TestOverlay = false;
    bool OneDigBit = false, LastQ7 = false, WasAmpk9N = false;
    bool RoundToDacUnits = false, SECM = false;
    bool ShowAdcs = false, ShowDigIn = false, ShowDigOut = false, ShowDacs = false;
    std::uint8_t PhotoKind = 0;
    bool SerialOn = false;
    std::string SerialString;
    bool DacTheo = true, AdcTheo = true; // theoretical calibration
    std::string TestSeries;
    std::uint8_t AmplWindMode = 0;
    bool operator==(const RecordingSettings&) const = default;
};

// The parameters that come with a sweep where the amplifier tells none.
struct ParameterSettings {
    double IGain = 1E9, CSlow = 0.0, RSeries = 0.0, GLeak = 0.0; // V/A, F, Ohm, S
    double CellPotential = 0.0, Temperature = 20.0, RsValue = 0.0, PipettePressure = 0.0, RMSNoise = 0.0;
    double PipetteResistance = 0.0, SealResistance = 0.0, Bandwidth = 0.0, LockInExtPhase = 0.0;
    std::string UserParam1 = "User Param 1", UserParam2 = "User Param 2"; // names
    bool operator==(const ParameterSettings&) const = default;
};

// What the Oscilloscope draws, and how.
struct DisplaySettings {
    std::int16_t ShownTraces = 16, MaxStimTraces = 5;
    bool GrayBackTrace = false, AutoShow = true, ZeroLine = false, FreezeZeroLine = false;
    bool OverlayTraces = true, OverlaySweeps = false, OverlayAll = false, OverlayPages = false;
    bool ShowLeak = false, AutoYScaling = false, FixedXWidth = false, FixedYScale = false;
    std::uint8_t PgfPictMode = 0, PgfGridMode = 0, GridMode = 0; // labelling
    std::int16_t GridXdigits = 3, GridYdigits = 3;               // 1 to 15
    std::uint8_t Graph3d = 0;
    double GraphdX = 0.0, GraphdY = 0.0;
    double StartTime = 0.0, EndTime = 100.0; // percent of the sweep
    double FixedXmin = 0.0, FixedXmax = 1.0; // s
    PerTrace<double> FixedYmin = EachTrace(-1E-9), FixedYmax = EachTrace(1E-9);
    PerTrace<double> DispGain = EachTrace(1.0), DispOffset = EachTrace(0.0);
    PerTrace<std::uint8_t> DrawKind{}; // marker of the points
    PerTrace<std::uint8_t> TBufScale{};
    bool operator==(const DisplaySettings&) const = default;
};

struct ReplaySettings {
    std::uint8_t ShowLevel = 4, HighShow = 0, LowShow = 4, Tracing = 4; // levels, 0 Root to 4 Trace
    bool ShowTreeInfo = false;
    bool operator==(const ReplaySettings&) const = default;
};

struct ExportSettings {
    std::uint8_t ExportTime = 0;     // time relative to: 0 Sweep, 1 Series, 2 Timer, 3 relative trace time
    std::uint8_t ASCIISeparator = 1; // 0 Space, 1 Comma, 2 TAB
    bool ASCIIHeaders = true;
    std::uint8_t LineEndMode = 1; // 0 CR, 1 CR LF, 2 LF
    std::uint8_t ExportTarget =
        0; // 0 ASCII, 1 Igor, 2 MatLab, 3 old format, 4 picture, 5 Info File, 6 Printer
    bool ExportSweep = true, ExportStimulus = false;
    std::uint8_t ExportOnline = 0; // analysis: 0 none, 1 all, 2 what goes to the notebook
    std::uint8_t IgorOS = 1;       // 0 MacOS, 1 Windows
    bool IgorGraph = true, IgorLayout = false, IgorOneGraph = false;
    std::uint8_t IgorMode = 1;               // 0 raw data access, 1 binary wave, 2 text wave
    bool ExpTrace1 = true, ExpTrace2 = true; // the displayed traces; all that are marked for it
    std::string PrinterParams;
    std::int16_t GraphsPerPage = 4; // 1 to 32
    bool operator==(const ExportSettings&) const = default;
};

struct OnlineSettings {
    std::int32_t OnlineSweeps = 1000,
                 OnlineResults = 64; // size of the table of results: 1 to 100000, 1 to 1000
    std::uint8_t OnlineMode = 0;     // 2: wrap
    std::int16_t OnlineMaxSwp = 1000;
    std::int16_t ActiveMethodIndex = 0, MethodScrollOffset = 0;
    bool operator==(const OnlineSettings&) const = default;
};

struct BatchSettings {
    std::uint8_t BatchCommKind = 0; // 0 off, 1 receiver, 2 sender
    bool BatchCommNoWrite = false, BatchCommSync = false;
    std::string BatchCommPath; // with its separator at the end
    bool operator==(const BatchSettings&) const = default;
};

struct ProtocolSettings {
    bool ShowEvents = true, WriteEvents = false; // the second: into the notebook
    bool HideCtrlPGF = false, HideCtrlProt = false, HideCtrlText = false, FixedProtocols = false;
    std::int16_t ShownValues = 8, ShownListValues = 8;
    std::string StartProtocol;
    std::array<bool, Setup::Values> Value{};            // shown; Value0 ...
    std::array<std::string, Setup::Values> ValueName{}; // ValueName0 ...
    // The one table of numbers that protocols, batches, results of online functions, equations and waves
    // share.
    std::array<double, Setup::Values> Values{}; // Value-0 ...
    double MinWaitTime = 0.0;                   // s
    bool operator==(const ProtocolSettings&) const = default;
};

struct FileSettings {
    std::string CommonPath, DataFile, PgfFile, OnlineFile, ProtocolFile, DiaFilesPath;
    std::int32_t NextExpNumber = 1;
    bool AskForData = false; // the open dialog comes up at start
    bool FileFlush = true;
    std::string Username, NameDescr = "[DATE]_[001]"; // the second: of new data files, at most 63 characters
    bool AutoName = true, ClearComment = true, WipeAtStart = true;
    bool operator==(const FileSettings&) const = default;
};

struct ProgramSettings {
    bool StoreOnExit = false, VerifyExit = false, BreakStore = false;
    bool BackgroundEnabled = true, TermIOBuffering = false, TermIOClear = false, TermWasVisible = false;
    bool ScientUnits = false;              // numbers in scientific form, else with engineering prefixes
    std::int32_t NotebookLength = 100'000; // lines, 100 to 10000000
    std::int16_t NotebookDigits = 6, TimerDigits = 3; // 1 to 15, 0 to 9
    std::uint8_t SoundMode = 0;
    bool operator==(const ProgramSettings&) const = default;
};

struct SolutionSettings {
    std::int32_t IntSol = 0, ExtSol = 0;
    std::string SolBaseFile;
    std::array<std::int32_t, FavouriteSolutions> IntSols{}, ExtSols{}; // IntSols1 ...
    bool operator==(const SolutionSettings&) const = default;
};

struct SettingsRecord {
    ConfigurationHeader Header;

    // In use: set from the Next... members when the program starts, raised only before the scratch memory
    // exists.
    std::int32_t MaxSamplePoints = 262144; // the longest load, points
    std::int32_t MaxStimPoints = 262144;   // the longest stimulus, points
    std::int32_t NextMaxSamplePoints = 262144, NextMaxStimPoints = 262144;

    std::int32_t MaxFileBytes = 500'000'000; // a data file that grows beyond it is warned of
    bool UseBundle = true;                   // a data set is closed as a bundle
    bool NotebookAutoStore = true;           // the notebook is stored with the data set
    bool SolBaseOn = true;                   // solution trees may be changed
    std::string TempPath;                    // folder for temporary files; empty: beside the data file

    // Corrections of a loaded trace.
    bool NoLeakSubtraction = false; // SubtractLeak, which is its contrary
    bool SubtractZero = false;
    bool SubtractReference = false; // SubRefSeries
    bool UseTraceBuffers = false;   // SubTBuffers
    // Corner frequency of the digital filter in Hz, per trace number 0 to 32; 0 means no filter.
    PerTrace<double> TraceFilterFactor{}; // DigBandwidth0 ...
    // The traces, by number 0 to 32, from which the reference series is subtracted. Not stored.
    PerTrace<bool> TraceReference = EachTrace(true);

    ColorSettings Colors;
    WindowSettings Windows;
    DisplaySettings Display;
    ReplaySettings Replay;
    ExportSettings Export;
    OnlineSettings Online;
    BatchSettings Batch;
    ProtocolSettings Protocol;
    FileSettings Files;
    ProgramSettings Program;
    SolutionSettings Solutions;
    RecordingSettings Recording;
    ParameterSettings Parameters;

    std::array<std::uint8_t, FlagGroups * FlagsBlockSize> WriteFlags{}; // of the Parameters window, by group
    std::vector<std::string> Photo, LockIn,
        Ampl; // lines of the blocks Photo_, LockIn_, Ampl_, kept as they are
    Setup::FitParams FitParams;
    std::array<std::uint8_t, 2048> GLPParams{}; // bytes of another unit
    bool operator==(const SettingsRecord&) const = default;
};

extern SettingsRecord Settings;

// How the lines of text files end, by Export.LineEndMode; readers take all three.
[[nodiscard]] const char* EndOfLine();

// Fills the record with the built-in defaults.
void SetDefaults();

// The place of a value of Settings.Protocol.Values by its number from 1, as online functions and equations
// count them: number 1 is the entry 0. nullptr for a number beyond the table.
[[nodiscard]] double* ValueOf(int number);

// All keys of the record in the order of the file, from CONFIGURATION to GLPParams, in either direction.
// programVersion is the text that a writing pass puts into the file; a reading pass skips it.
void ConfigSettings(SettingsRecord& settings, const std::string& programVersion);
// CONFIGURATION alone, by which a settings file is known.
void ConfigSignature(std::string& signature);

// Brings what was read from outside into the ranges told above.
void SettingsLimits(SettingsRecord& settings);

// The value within its limits, for a setting read from outside.
[[nodiscard]] std::int32_t LimitedSamplePoints(std::int64_t points);

}
