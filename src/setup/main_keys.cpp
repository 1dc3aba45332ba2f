// The keys of the settings file, in their order.
#include "setup/settings.h"

#include "setup/config.h"

namespace Setup {

namespace {

// The keys of an array, from the index of its first place on.
template <class Array, class Procedure>
void Each(std::string_view key, Array& places, std::size_t first, std::size_t base, Procedure configAt) {
    Config.ConfigIndex = static_cast<int>(base);
    for (std::size_t i = first; i < places.size(); ++i) configAt(key, static_cast<int>(i - first), places[i]);
    Config.ConfigIndex = 0;
}

template <class T, class Procedure>
void EachFromOne(std::string_view key, PerTrace<T>& places, Procedure configAt) {
    Each(key, places, 1, 1, configAt);
}

void Corner(const std::string& window, WindowPlace& place) {
    ConfigShort(window + "Left", place.Left);
    ConfigShort(window + "Top", place.Top);
}

void Place(const std::string& window, WindowPlace& place) {
    Corner(window, place);
    ConfigShort(window + "Width", place.Width);
    ConfigShort(window + "Height", place.Height);
}

void Font(const std::string& key, FontChoice& font) {
    ConfigString(key, font.Name, FontNameMax);
    ConfigShort(key + "Size", font.Size);
}

void ColorKeys(ColorSettings& c) {
    ConfigColor("HardRGB", c.Hard);
    ConfigColor("BackRGB", c.Back);
    ConfigColor("TextRGB", c.Text);
    ConfigColor("TextLowRGB", c.TextLow);
    ConfigColor("ButtonRGB", c.Button);
    ConfigColor("SwitchOnRGB", c.SwitchOn);
    ConfigColor("SwitchOffRGB", c.SwitchOff);
    ConfigColor("WBackRGB", c.WBack);
    ConfigColor("TermWBackRGB", c.TermWBack);
    ConfigColor("OsciBackRGB", c.OsciBack);
    ConfigColor("TreeIconRGB", c.TreeIcon);
    ConfigColor("TreeSelectRGB", c.TreeSelect);
    ConfigColor("TreeLineRGB", c.TreeLine);
    EachFromOne("TraceRGB", c.Trace, ConfigColorAt);
    ConfigColor("DimmedTraceRGB", c.DimmedTrace);
    ConfigColor("GridRGB", c.Grid);
    ConfigColor("FitRGB", c.Fit);
}

void WindowKeys(WindowSettings& w, ReplaySettings& replay) {
    ConfigString("FrameWDescr", w.FrameWDescr, NameMax);
    ConfigString("NotebookWDescr", w.NotebookWDescr, NameMax);
    Font("DialogFont", w.DialogFont);
    Place("Osci", w.Osci);
    ConfigBool("OsciShow", w.Osci.Show);
    Place("Ctrl", w.Ctrl);
    ConfigBool("CtrlShow", w.Ctrl.Show);
    Place("Prot", w.Prot);
    Font("ProtListFont", w.ProtListFont);
    ConfigBool("ProtShow", w.Prot.Show);
    Corner("Marker", w.Marker);
    ConfigBool("MarkerShow", w.Marker.Show);
    Corner("Pgf", w.Pgf);
    Corner("Setup", w.Setup);
    Corner("Online", w.Online);
    Font("OnlineFont", w.OnlineFont);
    ConfigBool("OnlineShow", w.Online.Show);
    Place("Graph1", w.Graph1);
    ConfigBool("Graph1Show", w.Graph1.Show);
    Place("Graph2", w.Graph2);
    ConfigBool("Graph2Show", w.Graph2.Show);
    Place("Icon", w.Icon);
    ConfigBool("IconShow", w.Icon.Show);
    Corner("ShowParam", w.ShowParam);
    ConfigBool("ShowParamShow", w.ShowParam.Show);
    Corner("IOParam", w.IOParam);
    ConfigBool("IOParamShow", w.IOParam.Show);
    ConfigEnum("ShowLevel", replay.ShowLevel);
    Place("Tree", w.Tree);
    Font("TreeFont", w.TreeFont);
    ConfigBool("TreeShow", w.Tree.Show);
    ConfigEnum("HighShow", replay.HighShow);
    ConfigEnum("LowShow", replay.LowShow);
    ConfigEnum("Tracing", replay.Tracing);
    Corner("LockIn", w.LockIn);
    Place("Photo", w.Photo);
    ConfigBool("PhotoShow", w.Photo.Show);
    Place("Ampl", w.Ampl);
    ConfigBool("AmplShow", w.Ampl.Show);
}

void AmplifierKeys(RecordingSettings& r) {
    ConfigShort("AmplVersion", r.AmplVersion);
    ConfigShort("ActiveAmpl", r.ActiveAmpl);
    ConfigShort("OldAmpl", r.OldAmpl);
    ConfigEnum("ADBoard", r.ADBoard);
    ConfigShort("ADBoardNo", r.ADBoardNo);
    ConfigShort("AmplBoards", r.AmplBoards);
    ConfigShort("AmplBoard2", r.AmplBoard2);
    ConfigBool("Ampk10Quadro", r.Ampk10Quadro);
    ConfigEnum("Selector", r.Selector);
    Each("Probes", r.Probes, 0, 1, ConfigEnumAt);
    Each("AdcInputRanges", r.AdcInputRanges, 0, 1, ConfigRealAt);
    ConfigBool("Elec3Mode", r.Elec3Mode);
    ConfigBool("AutoFilter", r.AutoFilter);
    ConfigBool("ZapOnCellOnly", r.ZapOnCellOnly);
    ConfigReal("ZapDur", r.ZapDur);
    ConfigReal("ZapAmpl", r.ZapAmpl);
    ConfigBool("LockInOn", r.LockInOn);
}

void TestPulseKeys(RecordingSettings& r) {
    ConfigEnum("HoldOut", r.HoldOut);
    ConfigEnum("CurrentIn", r.CurrentIn);
    ConfigEnum("VoltageIn", r.VoltageIn);
    ConfigReal("WindowScaling", r.WindowScaling);
    ConfigReal("VCStimScale", r.VCStimScale);
    ConfigReal("CCStimScale", r.CCStimScale);
    ConfigReal("VmonInScale", r.VmonInScale);
    ConfigReal("VCAmplitude", r.VCAmplitude);
    ConfigReal("CCAmplitude", r.CCAmplitude);
    ConfigReal("TestFilterFactor", r.TestFilterFactor);
    ConfigReal("TestAmplitude", r.TestAmplitude);
    ConfigReal("TestDuration", r.TestDuration);
    ConfigReal("TestVScale", r.TestVScale);
    ConfigReal("TestVOffset", r.TestVOffset);
    ConfigReal("TestTrigAmplitude", r.TestTrigAmplitude);
    ConfigShort("TestTrigChannel", r.TestTrigChannel);
    ConfigShort("TestTrigBit", r.TestTrigBit);
    ConfigEnum("TestTrigMode", r.TestTrigMode);
    ConfigShort("TestTrace", r.TestTrace);
    ConfigEnum("TestPulseMode", r.TestPulseMode);
    ConfigEnum("OldTestPulseMode", r.OldTestPulseMode);
    ConfigBool("TestNoise", r.TestNoise);
    ConfigBool("TestScalingEnabled", r.TestScalingEnabled);
    ConfigBool("TestOverlay", r.TestOverlay);
    ConfigBool("OneDigBit", r.OneDigBit);
    ConfigBool("LastQ7", r.LastQ7);
    ConfigBool("WasAmpk9N", r.WasAmpk9N);
}

void DisplayKeys(SettingsRecord& s) {
    ConfigBool("GrayBackTrace", s.Display.GrayBackTrace);
    ConfigBool("AutoShow", s.Display.AutoShow);
    ConfigBool("ZeroLine", s.Display.ZeroLine);
    ConfigBool("FreezeZeroLine", s.Display.FreezeZeroLine);
    ConfigBool("OverlayTraces", s.Display.OverlayTraces);
    ConfigBool("OverlaySweeps", s.Display.OverlaySweeps);
    ConfigBool("OverlayAll", s.Display.OverlayAll);
    ConfigBool("OverlayPages", s.Display.OverlayPages);
    ConfigEnum("ExportTime", s.Export.ExportTime);
    ConfigBool("ShowLeak", s.Display.ShowLeak);
    bool subtractLeak = !s.NoLeakSubtraction;
    ConfigBool("SubtractLeak", subtractLeak);
    s.NoLeakSubtraction = !subtractLeak;
    ConfigBool("SubtractZero", s.SubtractZero);
    ConfigBool("AutoYScaling", s.Display.AutoYScaling);
    ConfigBool("ShowTreeInfo", s.Replay.ShowTreeInfo);
    ConfigBool("ShowEvents", s.Protocol.ShowEvents);
    ConfigBool("WriteEvents", s.Protocol.WriteEvents);
    ConfigBool("FixedXWidth", s.Display.FixedXWidth);
    ConfigBool("FixedYScale", s.Display.FixedYScale);
    ConfigBool("SubRefSeries", s.SubtractReference);
    ConfigBool("SubTBuffers", s.UseTraceBuffers);
    ConfigBool("SECM", s.Recording.SECM);
    ConfigInt("NotebookLength", s.Program.NotebookLength);
}

void ExportKeys(ExportSettings& e) {
    ConfigEnum("ASCIISeparator", e.ASCIISeparator);
    ConfigBool("ASCIIHeaders", e.ASCIIHeaders);
    ConfigEnum("LineEndMode", e.LineEndMode);
    ConfigEnum("ExportTarget", e.ExportTarget);
    ConfigBool("ExportSweep", e.ExportSweep);
    ConfigEnum("ExportOnline", e.ExportOnline);
    ConfigBool("ExportStimulus", e.ExportStimulus);
    ConfigEnum("IgorOS", e.IgorOS);
    ConfigBool("IgorGraph", e.IgorGraph);
    ConfigEnum("IgorMode", e.IgorMode);
    ConfigBool("IgorLayout", e.IgorLayout);
    ConfigBool("IgorOneGraph", e.IgorOneGraph);
    ConfigBool("ExpTrace1", e.ExpTrace1);
    ConfigBool("ExpTrace2", e.ExpTrace2);
}

void ScaleKeys(SettingsRecord& s) {
    DisplaySettings& d = s.Display;
    ConfigEnum("PgfPictMode", d.PgfPictMode);
    ConfigEnum("PgfGridMode", d.PgfGridMode);
    ConfigEnum("GridMode", d.GridMode);
    ConfigShort("GridXdigits", d.GridXdigits);
    ConfigShort("GridYdigits", d.GridYdigits);
    ConfigShort("NotebookDigits", s.Program.NotebookDigits);
    ConfigShort("TimerDigits", s.Program.TimerDigits);
    ConfigEnum("Graph3d", d.Graph3d);
    ConfigReal("GraphdX", d.GraphdX);
    ConfigReal("GraphdY", d.GraphdY);
    ConfigReal("StartTime", d.StartTime);
    ConfigReal("EndTime", d.EndTime);
    ConfigReal("FixedXmin", d.FixedXmin);
    ConfigReal("FixedXmax", d.FixedXmax);
    EachFromOne("FixedYmin", d.FixedYmin, ConfigRealAt);
    EachFromOne("FixedYmax", d.FixedYmax, ConfigRealAt);
    EachFromOne("DispGain", d.DispGain, ConfigRealAt);
    EachFromOne("DispOffset", d.DispOffset, ConfigRealAt);
    Each("DigBandwidth", s.TraceFilterFactor, 0, 0, ConfigRealAt);
    EachFromOne("DrawKind", d.DrawKind, ConfigEnumAt);
    EachFromOne("TBufScale", d.TBufScale, ConfigEnumAt);
}

void ToolKeys(SettingsRecord& s) {
    ConfigInt("OnlineSweeps", s.Online.OnlineSweeps);
    ConfigInt("OnlineResults", s.Online.OnlineResults);
    ConfigEnum("OnlineMode", s.Online.OnlineMode);
    ConfigShort("OnlineMaxSwp", s.Online.OnlineMaxSwp);
    ConfigShort("ActiveMethodIndex", s.Online.ActiveMethodIndex);
    ConfigShort("MethodScrollOffset", s.Online.MethodScrollOffset);
    ConfigEnum("BatchCommKind", s.Batch.BatchCommKind);
    ConfigBool("BatchCommNoWrite", s.Batch.BatchCommNoWrite);
    ConfigBool("BatchCommSync", s.Batch.BatchCommSync);
    ConfigString("CommonPath", s.Files.CommonPath, PathMax);
    ConfigString("DataFile", s.Files.DataFile, PathMax);
    ConfigString("PgfFile", s.Files.PgfFile, PathMax);
    ConfigString("OnlineFile", s.Files.OnlineFile, PathMax);
    ConfigString("ProtocolFile", s.Files.ProtocolFile, PathMax);
    ConfigString("BatchCommPath", s.Batch.BatchCommPath, PathMax);
    ConfigString("DiaFilesPath", s.Files.DiaFilesPath, PathMax);
    ConfigString("TempPath", s.TempPath, PathMax);
    ConfigBool("ShowAdcs", s.Recording.ShowAdcs);
    ConfigBool("ShowDigIn", s.Recording.ShowDigIn);
    ConfigBool("ShowDigOut", s.Recording.ShowDigOut);
    ConfigBool("HideCtrlPGF", s.Protocol.HideCtrlPGF);
    ConfigBool("HideCtrlProt", s.Protocol.HideCtrlProt);
    ConfigBool("HideCtrlText", s.Protocol.HideCtrlText);
    ConfigBool("FixedProtocols", s.Protocol.FixedProtocols);
    ConfigShort("ShownValues", s.Protocol.ShownValues);
    ConfigShort("ShownListValues", s.Protocol.ShownListValues);
    ConfigBool("ShowDacs", s.Recording.ShowDacs);
    ConfigEnum("PhotoKind", s.Recording.PhotoKind);
    ConfigBool("SerialOn", s.Recording.SerialOn);
    ConfigString("SerialString", s.Recording.SerialString, NameMax);
    ConfigBool("DacTheo", s.Recording.DacTheo);
    ConfigBool("AdcTheo", s.Recording.AdcTheo);
}

void ParameterKeys(ParameterSettings& p) {
    ConfigReal("IGain", p.IGain);
    ConfigReal("CSlow", p.CSlow);
    ConfigReal("RSeries", p.RSeries);
    ConfigReal("GLeak", p.GLeak);
    ConfigReal("CellPotential", p.CellPotential);
    ConfigReal("Temperature", p.Temperature);
    ConfigReal("RsValue", p.RsValue);
    ConfigReal("PipettePressure", p.PipettePressure);
    ConfigReal("RMSNoise", p.RMSNoise);
    ConfigReal("PipetteResistance", p.PipetteResistance);
    ConfigReal("SealResistance", p.SealResistance);
    ConfigReal("Bandwidth", p.Bandwidth);
    ConfigReal("LockInExtPhase", p.LockInExtPhase);
    ConfigString("UserParam1", p.UserParam1, FontNameMax);
    ConfigString("UserParam2", p.UserParam2, FontNameMax);
}

void RecordKeys(SettingsRecord& s) {
    ConfigString("Username", s.Files.Username, NameMax);
    ConfigString("PrinterParams", s.Export.PrinterParams, PathMax);
    ConfigShort("GraphsPerPage", s.Export.GraphsPerPage);
    ConfigString("TestSeries", s.Recording.TestSeries, NameMax);
    ConfigString("StartProtocol", s.Protocol.StartProtocol, NameMax);
    ConfigString("NameDescr", s.Files.NameDescr, 63);
    ConfigBool("AutoName", s.Files.AutoName);
    Each("Value", s.Protocol.Value, 0, 0, ConfigBoolAt);
    Each("ValueName", s.Protocol.ValueName, 0, 0,
         [](std::string_view key, int index, std::string& name) { ConfigStringAt(key, index, name, 63); });
    Each("Value-", s.Protocol.Values, 0, 0, ConfigRealAt);
    Corner("Sol", s.Windows.Sol);
    ConfigBool("ShowSol", s.Windows.Sol.Show);
    ConfigInt("IntSol", s.Solutions.IntSol);
    ConfigInt("ExtSol", s.Solutions.ExtSol);
    ConfigBool("SolBaseOn", s.SolBaseOn);
    ConfigString("SolBaseFile", s.Solutions.SolBaseFile, PathMax);
    ConfigEnum("SoundMode", s.Program.SoundMode);
    Each("IntSols", s.Solutions.IntSols, 0, 1, ConfigIntAt);
    Each("ExtSols", s.Solutions.ExtSols, 0, 1, ConfigIntAt);
    ConfigEnum("AmplWindMode", s.Recording.AmplWindMode);
    ConfigBool("ClearComment", s.Files.ClearComment);
    ConfigBool("WipeAtStart", s.Files.WipeAtStart);
    ConfigReal("MinWaitTime", s.Protocol.MinWaitTime);
    ConfigEnum("WindowSwitch", s.Windows.WindowSwitch);
}

void MainKeys(SettingsRecord& s) {
    ConfigShort("ShownTraces", s.Display.ShownTraces);
    ConfigShort("MaxStimTraces", s.Display.MaxStimTraces);
    ConfigInt("NextMaxSamplePoints", s.NextMaxSamplePoints);
    ConfigInt("NextMaxStimPoints", s.NextMaxStimPoints);
    ConfigInt("MaxFileBytes", s.MaxFileBytes);
    ConfigBool("StoreOnExit", s.Program.StoreOnExit);
    ConfigBool("VerifyExit", s.Program.VerifyExit);
    ConfigBool("BreakStore", s.Program.BreakStore);
    ColorKeys(s.Colors);
    WindowKeys(s.Windows, s.Replay);
    AmplifierKeys(s.Recording);
    ConfigBool("UseBundle", s.UseBundle);
    ConfigInt("NextExpNumber", s.Files.NextExpNumber);
    TestPulseKeys(s.Recording);
    ConfigBool("BackgroundEnabled", s.Program.BackgroundEnabled);
    ConfigBool("ScientUnits", s.Program.ScientUnits);
    ConfigBool("TermIOBuffering", s.Program.TermIOBuffering);
    ConfigBool("TermIOClear", s.Program.TermIOClear);
    ConfigBool("TermWasVisible", s.Program.TermWasVisible);
    ConfigBool("AskForData", s.Files.AskForData);
    ConfigBool("FileFlush", s.Files.FileFlush);
    ConfigBool("NotebookAutoStore", s.NotebookAutoStore);
    ConfigBool("RoundToDacUnits", s.Recording.RoundToDacUnits);
    DisplayKeys(s);
    ExportKeys(s.Export);
    ScaleKeys(s);
    ToolKeys(s);
    ParameterKeys(s.Parameters);
    RecordKeys(s);
}

void ConfigHeader(ConfigurationHeader& header, const std::string& programVersion) {
    ConfigSignature(header.ConfigSignature);
    if (Config.Write) {
        std::string version = programVersion;
        ConfigString("ProgramVersion", version, 31);
    }
    ConfigInt("FileVersion", header.FileVersion);
    ConfigInt("NextMBBufferSize", header.NextMBBufferSize);
    ConfigBool("IsLittleEndian", header.IsLittleEndian);
    ConfigBool("NeverStored", header.NeverStored);
    ConfigEnum("FileOS", header.FileOS);
}

}

void ConfigSignature(std::string& signature) {
    ConfigString("CONFIGURATION", signature, 15);
}

void ConfigSettings(SettingsRecord& s, const std::string& programVersion) {
    ConfigHeader(s.Header, programVersion);
    MainKeys(s);
    ConfigBlock("WriteFlags", s.WriteFlags);
    ConfigKept("Photo_", s.Photo);
    ConfigKept("LockIn_", s.LockIn);
    ConfigFitParams(s.FitParams);
    ConfigKept("Ampl_", s.Ampl);
    ConfigBlock("GLPParams", s.GLPParams);
}

}
