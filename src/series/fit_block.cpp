#include "series/fit_block.h"

#include "base/text.h"
#include "fit/parsed_equation.h"
#include "series/wave_text.h"

#include <algorithm>
#include <span>

namespace FitBlock {

namespace {

enum class LineKind : std::uint8_t {
    Param,   // a FitParam of the record
    Integer, // a field that is none
    Mode,    // the direction of an exponential, as number and word
    IvKind,  // ohmic or Goldman-Hodgkin-Katz, as a word
};

struct Row {
    LineKind Kind;
    const char* Field; // of the record
    const char* Name;  // in the file
    int Min = 0, Max = 0;
    int FromOrder = 0; // of a polynomial: the line is there from this order on
};

constexpr Row Param(const char* field, const char* name, int fromOrder = 0) {
    return {LineKind::Param, field, name, 0, 0, fromOrder};
}
constexpr Row Integer(const char* field, const char* name, int min, int max) {
    return {LineKind::Integer, field, name, min, max};
}

constexpr int HighestOrder = Fit::PolyCoeffs - 1;

constexpr Row Polynomial[] = {
    Integer("Order", "Order", 0, HighestOrder),
    Param("Coeff0", "Coeff0"),
    Param("Coeff1", "Coeff1", 1),
    Param("Coeff2", "Coeff2", 2),
    Param("Coeff3", "Coeff3", 3),
    Param("Coeff4", "Coeff4", 4),
    Param("Coeff5", "Coeff5", 5),
    Param("Coeff6", "Coeff6", 6),
    Param("Coeff7", "Coeff7", 7),
    Param("Coeff8", "Coeff8", 8),
    Param("Coeff9", "Coeff9", 9),
    Param("XPeak", "XPeak"),
    Param("YPeak", "YPeak"),
    Param("XZero", "XZero"),
    Param("Residual", "Residual"),
};

// Both residuals bear one name, as both crossings of an exponential do.
constexpr Row TwoRegressions[] = {
    Param("Coeff1_0", "Coeff1_0"),   Param("Coeff1_1", "Coeff1_1"),     Param("Coeff2_0", "Coeff2_0"),
    Param("Coeff2_1", "Coeff2_1"),   Param("Xintersept", "Xintersept"), Param("Yintersept", "Yintersept"),
    Param("Residual1", "Residual2"), Param("Residual2", "Residual2"),
};

constexpr Row Exponential[] = {
    Param("Amp0", "Amp0"),         Param("Amp1", "Amp1"),         Param("Tau1", "Tau1"),
    Param("Amp2", "Amp2"),         Param("Tau2", "Tau2"),         Param("Amp3", "Amp3"),
    Param("Tau3", "Tau3"),         Param("XZero", "XZero"),       Param("YZero", "XZero"),
    Param("Integral", "Integral"), Param("Residual", "Residual"),
};

constexpr Row GenExponential[] = {
    Param("X0", "x0"),
    Param("Amp0", "Amp0"),
    {LineKind::Mode, "Rising1", ""},
    Param("Power1", "wstr"),
    Param("Amp1", "Amp1"),
    Param("Tau1", "Tau1"),
    {LineKind::Mode, "Rising2", ""},
    Param("Power2", "wstr"),
    Param("Amp2", "Amp2"),
    Param("Tau2", "Tau2"),
    {LineKind::Mode, "Rising3", ""},
    Param("Power3", "wstr"),
    Param("Amp3", "Amp3"),
    Param("Tau3", "Tau3"),
    Param("Integral", "Integral"),
    Param("Residual", "Residual"),
};

constexpr Row Boltzmann[] = {
    Param("Offset", "Offset"),   Integer("Power1", "Exponent1", 1, 100),
    Param("Amp1", "Amplitude1"), Param("Xhalf1", "XHalf1"),
    Param("Slope1", "Slope1"),   Integer("Power2", "Exponent2", 1, 100),
    Param("Amp2", "Amplitude2"), Param("Xhalf2", "XHalf2"),
    Param("Slope2", "Slope2"),   Param("Residual", "Residual"),
};

constexpr Row DoseResponse[] = {
    Param("Offset", "Offset"),     Param("KD", "kD"), Param("Hill", "Hill"), Param("Amp", "Amplitude"),
    Param("Residual", "Residual"),
};

// The fourth term is not kept.
constexpr Row Gaussian[] = {
    Param("Amp1", "Amplitude1"),   Param("Sigma1", "Sigma1"),     Param("Mean1", "Mean1"),
    Param("Amp2", "Amplitude2"),   Param("Sigma2", "Sigma2"),     Param("Mean2", "Mean2"),
    Param("Amp3", "Amplitude3"),   Param("Sigma3", "Sigma3"),     Param("Mean3", "Mean3"),
    Param("Integral", "Integral"), Param("Residual", "Residual"),
};

constexpr Row CurrentVoltage[] = {
    {LineKind::IvKind, "GHK", ""},    Integer("Power", "Exponent", 0, 100),
    Param("Vhalf", "mVHalf"),         Param("Slope", "mSlope"),
    Param("Cond", "Gamma"),           Param("Erev", "Reversal"),
    Param("PBlVh", "PosBlock VHalf"), Param("PBlSl", "PosBlock Slope"),
    Param("NBlVh", "NegBlock VHalf"), Param("NBlSl", "NegBlock Slope"),
    Param("XPeak", "XPeak"),          Param("YPeak", "YPeak"),
    Param("Residual", "Residual"),
};

// Files have room for a fourth term, which takes the two results in.
constexpr Row PowerSpectrum[] = {
    Param("Sinf", "Sinf"),         Param("S1", "Amplitude1"),
    Param("Fc1", "fc1"),           Param("S2", "Amplitude2"),
    Param("Fc2", "fc2"),           Param("S3", "Amplitude3"),
    Param("Fc3", "fc3"),           Param("Integral", "Amplitude4"),
    Param("Residual", "fc4"),      Param("Integral", "Integral"),
    Param("Residual", "Residual"),
};

std::span<const Row> RowsOf(SeriesFitType type) {
    switch (type) {
    case SeriesFitType::Polynomial: return Polynomial;
    case SeriesFitType::TwoRegressions: return TwoRegressions;
    case SeriesFitType::Exponential:
    case SeriesFitType::OneExponential: return Exponential;
    case SeriesFitType::GenExponential: return GenExponential;
    case SeriesFitType::Boltzmann: return Boltzmann;
    case SeriesFitType::DoseResponse: return DoseResponse;
    case SeriesFitType::Gaussian: return Gaussian;
    case SeriesFitType::CurrentVoltage: return CurrentVoltage;
    case SeriesFitType::PowerSpectrum: return PowerSpectrum;
    case SeriesFitType::ParsedEquation: break;
    }
    return {};
}

int IntegerOf(const Fit::Selected& selected, const char* field) {
    for (const Fit::SettingEntry& setting : Fit::Settings(selected))
        if (setting.Name == field) return static_cast<int>(setting.Value);
    return 0;
}

// Beyond the order that the block begins with there are no coefficients.
bool IsLeftOut(const Fit::Selected& selected, const Row& row) {
    return row.FromOrder > 0 && row.FromOrder > IntegerOf(selected, "Order");
}

const char* StateWord(FitParamState state) {
    switch (state) {
    case FitParamState::Fit: return "fit";
    case FitParamState::Hold: return "hold";
    default: return "skip";
    }
}

FitParamState StateOf(std::string_view text) {
    if (text.find("fit") != std::string_view::npos) return FitParamState::Fit;
    if (text.find("hold") != std::string_view::npos) return FitParamState::Hold;
    return FitParamState::Off;
}

std::string ParamLine(const FitParam& param, std::string_view name) {
    std::string line = WaveText::RealField(param.Value);
    line.append(WaveText::Separator).append(StateWord(param.State));
    line.append(WaveText::Separator).append(param.Store != 0 ? "1" : "0");
    return line.append(WaveText::Separator).append(name);
}

bool ReadParam(WaveText::Fields& fields, FitParam& param) {
    FitParam read;
    std::string_view state;
    bool store = false;
    if (!fields.NextReal(read.Value) || !fields.Next(state) || !fields.NextFlag(store)) return false;
    read.State = StateOf(state);
    read.Store = store ? 1 : 0;
    param = read;
    return true;
}
bool ReadParam(std::string_view line, FitParam& param) {
    WaveText::Fields fields(line);
    return ReadParam(fields, param);
}

// The name of a coefficient that has none of its own.
std::string PlainName(int index) {
    return "Coeff" + std::to_string(index + 1);
}

void AddParsed(const Fit::ParsedRecord& record, std::vector<std::string>& lines) {
    std::string equation(Texts::FromField(record.Equation));
    for (char& c : equation)
        if (c == '\r' || c == '\n') c = ' ';
    lines.push_back(std::move(equation));
    for (int i = 0; i < Fit::ParsedCoeffs; ++i) {
        const std::string_view name = Texts::FromField(record.CoeffNames[i]);
        lines.push_back(ParamLine(record.Coeffs[i], name.empty() ? PlainName(i) : std::string(name)));
    }
    lines.push_back(ParamLine(record.Residual, "Residual"));
}

bool ReadCoefficient(std::string_view line, Fit::ParsedRecord& record, int index) {
    WaveText::Fields fields(line);
    std::string_view name;
    if (!ReadParam(fields, record.Coeffs[index])) return false;
    if (!fields.Next(name)) name = {};
    if (name.starts_with(' ')) name.remove_prefix(1);
    Texts::ToField(record.CoeffNames[index], name == PlainName(index) ? "" : name);
    return true;
}

bool ReadParsed(Fit::ParsedRecord& record, const NextLine& next) {
    std::string_view line;
    if (!next(line, EquationMax)) return false;
    Texts::ToField(record.Equation, line);
    for (int i = 0; i < Fit::ParsedCoeffs; ++i)
        if (!next(line, LineMax) || !ReadCoefficient(line, record, i)) return true;
    if (next(line, LineMax)) (void)ReadParam(line, record.Residual);
    return true;
}

std::string LineOf(const Fit::Selected& selected, const Row& row) {
    if (row.Kind == LineKind::Param) return ParamLine(*Fit::FindParam(selected, row.Field)->Param, row.Name);
    const int value = IntegerOf(selected, row.Field);
    switch (row.Kind) {
    case LineKind::Mode: return value != 0 ? "1, 1-Exp" : "0, Exp";
    case LineKind::IvKind: return value != 0 ? "GHK iV" : "linear iV";
    default: return WaveText::IntegerField(value).append(WaveText::Separator).append(row.Name);
    }
}

bool ReadInteger(const Fit::Selected& selected, const Row& row, std::string_view line, std::string& message) {
    int value = 0;
    if (!WaveText::Fields(line).NextInteger(value)) return false;
    if (value < row.Min || value > row.Max) {
        if (row.Field == std::string_view("Order")) message = "Illegal PolyOrder";
        return false;
    }
    return Fit::SetByName(selected, row.Field, value);
}

bool ReadMode(const Fit::Selected& selected, const Row& row, std::string_view line) {
    bool rising = false;
    return WaveText::Fields(line).NextFlag(rising) && Fit::SetByName(selected, row.Field, rising ? 1 : 0);
}

bool ReadIvKind(const Fit::Selected& selected, const Row& row, std::string_view line) {
    const bool ghk = line.find("GHK") != std::string_view::npos;
    if (!ghk && line.find("linear") == std::string_view::npos) return false;
    return Fit::SetByName(selected, row.Field, ghk ? 1 : 0);
}

bool ReadLine(const Fit::Selected& selected, const Row& row, std::string_view line, std::string& message) {
    switch (row.Kind) {
    case LineKind::Param: return ReadParam(line, *Fit::FindParam(selected, row.Field)->Param);
    case LineKind::Integer: return ReadInteger(selected, row, line, message);
    case LineKind::Mode: return ReadMode(selected, row, line);
    case LineKind::IvKind: return ReadIvKind(selected, row, line);
    }
    return false;
}

}

std::vector<std::string> Lines(const Fit::Selected& selected, SeriesFitType type) {
    std::vector<std::string> lines;
    if (!selected) return lines;
    if (const Fit::ParsedRecord* const parsed = Fit::ParsedRecordOf(selected)) AddParsed(*parsed, lines);
    for (const Row& row : RowsOf(type))
        if (!IsLeftOut(selected, row)) lines.push_back(LineOf(selected, row));
    return lines;
}

bool Read(const Fit::Selected& selected, SeriesFitType type, const NextLine& next, std::string& message) {
    if (!selected) return false;
    if (Fit::ParsedRecord* const parsed = Fit::ParsedRecordOf(selected)) return ReadParsed(*parsed, next);
    for (const Row& row : RowsOf(type)) {
        if (IsLeftOut(selected, row)) continue;
        std::string_view line;
        if (!next(line, LineMax) || !ReadLine(selected, row, line, message)) return false;
    }
    return true;
}

}
