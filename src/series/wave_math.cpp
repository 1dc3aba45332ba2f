#include "series/wave_math.h"

#include "base/messages.h"
#include "base/number_text.h"
#include "base/text.h"
#include "setup/settings.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace SGFit {

namespace {

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

constexpr OperationName MathNames[MathKinds] = {
    {"abs", "Abs"},
    {"inverse", "Inverse"},
    {"square", "Square"},
    {"sqrt", "Sqrt"},
    {"ln", "Ln"},
    {"log 10", "Log10"},
    {"exp", "Exp"},
    {"add const", "Add "},
    {"sub const", "Sub "},
    {"mul const", "Mul "},
    {"div const", "Div "},
    {"add value", "Add Value "},
    {"sub value", "Sub Value "},
    {"mul value", "Mul Value "},
    {"div value", "Div Value "},
    {"event corr", "Event Correction"},
};

constexpr OperationName WaveNames[WaveKinds] = {
    {"add preview", "AddWave"}, {"sub preview", "SubWave"},     {"mul preview", "MulWave"},
    {"div preview", "DivWave"}, {"histo preview", "HistoWave"},
};

bool HasConstant(std::uint8_t op) {
    return op >= static_cast<int>(MathKind::AddConst) && op <= static_cast<int>(MathKind::DivConst);
}
bool HasTableValue(std::uint8_t op) {
    return op >= static_cast<int>(MathKind::AddValue) && op <= static_cast<int>(MathKind::DivValue);
}

// The number that the selected operation computes with.
double Operand(const Store& store) {
    if (!HasTableValue(store.MathOp)) return store.MathConst;
    const auto& values = Setup::Settings.Protocol.Values;
    const auto index = static_cast<std::size_t>(std::max<int>(store.MathValue, 0));
    return values[std::min(index, values.size() - 1)];
}

double Computed(std::uint8_t op, double v, double operand) {
    switch (static_cast<MathKind>(op)) {
    case MathKind::Abs: return std::fabs(v);
    case MathKind::Inverse: return 1.0 / v;
    case MathKind::Square: return v * v;
    case MathKind::Sqrt: return std::sqrt(v);
    case MathKind::Ln: return std::log(v);
    case MathKind::Log10: return std::log10(v);
    case MathKind::Exp: return std::exp(v);
    case MathKind::AddConst:
    case MathKind::AddValue: return v + operand;
    case MathKind::SubConst:
    case MathKind::SubValue: return v - operand;
    case MathKind::MulConst:
    case MathKind::MulValue: return v * operand;
    case MathKind::DivConst:
    case MathKind::DivValue: return v / operand;
    case MathKind::EventCorrection: break;
    }
    return v;
}

// On each value of an axis of the active wave, and on those of the accumulated waves where they belong to it.
void ComputeValues(Store& store, AxisKind axis) {
    const double operand = Operand(store);
    const Wave wave = ActiveWaveOf(store);
    double* const values = axis == AxisKind::X ? wave.X : wave.Y;
    const int accumulated = axis == AxisKind::Y && store.ActiveWave == Active::Buffer ? store.AccumCount : 0;
    for (int i = 0; i < wave.Points; ++i) {
        values[i] = Computed(store.MathOp, values[i], operand);
        for (int k = 0; k < accumulated; ++k)
            store.AccumData[k][i] = Computed(store.MathOp, store.AccumData[k][i], operand);
    }
}

// A flagged event takes the flag of the next one along, which does not take it further. The place behind the
// wave may get one too.
void SpreadFlags(const Wave& wave) {
    for (int i = 0; i < wave.Points; ++i)
        if (wave.Skip[i] && ++i < MaxPoints) wave.Skip[i] = 1;
}

void CorrectEvents(Store& store, AxisKind axis) {
    if (store.ActiveWave != Active::Preview) return;
    const Wave wave = WaveOf(store, Active::Preview);
    SpreadFlags(wave);
    double* const values = axis == AxisKind::X ? wave.X : wave.Y;
    int anchor = 0;
    for (int i = 0; i < wave.Points; ++i) {
        if (!wave.Skip[i])
            anchor = i;
        else
            values[anchor] += values[i];
    }
}

struct Bin {
    int Index = 0;
    bool Counts = false;
};

// Truncated towards 0, so that the first bin is two wide.
Bin BinOf(double value, double left, double size) {
    const double bin = (value - left) / size;
    if (!(bin > -1.0 && bin < MaxPoints)) return {};
    return {static_cast<int>(bin), true};
}

void Histogram(Store& store, AxisKind axis) {
    const Setup::FitParams& options = Setup::Settings.FitParams;
    const bool ofX = axis == AxisKind::X;
    const double* const binned = ofX ? store.XPreview : store.YPreview;
    const double* const ranged = ofX ? store.YPreview : store.XPreview;
    ClearBuffer(store);
    int highest = -1;
    for (int i = 0; i < store.PreviewPoints; ++i) {
        if (options.SelectRange && !(options.LowerRange < ranged[i] && ranged[i] < options.UpperRange))
            continue;
        if (store.PreviewSkip[i]) continue;
        const Bin bin = BinOf(binned[i], options.LeftEdge, options.BinSize);
        if (!bin.Counts) continue;
        store.YBuffer[bin.Index] += 1;
        highest = std::max(highest, bin.Index);
    }
    store.BufferPoints = static_cast<std::int16_t>(highest + 1);
    for (int bin = 0; bin <= highest; ++bin) {
        store.XBuffer[bin] = (bin + 0.5) * options.BinSize + options.LeftEdge;
        store.BufferCnt[bin] = 1;
    }
    store.BufferX = ofX ? store.PreviewX : store.PreviewY;
    store.BufferY = {};
    Texts::ToField(store.BufferY.Name, "Count");
    store.ActiveWave = Active::Buffer;
}

double Combined(WaveKind kind, double buffer, double preview) {
    switch (kind) {
    case WaveKind::Add: return buffer + preview;
    case WaveKind::Sub: return buffer - preview;
    case WaveKind::Mul: return buffer * preview;
    case WaveKind::Div: return buffer / preview;
    case WaveKind::Histogram: break;
    }
    return buffer;
}

void CombineWaves(Store& store, AxisKind axis) {
    const auto kind = static_cast<WaveKind>(store.MathBufferOp);
    const bool ofX = axis == AxisKind::X;
    double* const values = ofX ? store.XBuffer : store.YBuffer;
    const double* const preview = ofX ? store.XPreview : store.YPreview;
    for (int i = 0; i < store.BufferPoints; ++i) {
        values[i] = Combined(kind, values[i], preview[i]);
        if (ofX) continue;
        for (int k = 0; k < store.AccumCount; ++k)
            store.AccumData[k][i] = Combined(kind, store.AccumData[k][i], preview[i]);
    }
}

double ExtremeOf(const Store& store, AxisKind axis, Extreme extreme) {
    const WaveStats& stats = store.Stats;
    if (axis == AxisKind::X) return extreme == Extreme::Min ? stats.XMin : stats.XMax;
    return extreme == Extreme::Min ? stats.YMin : stats.YMax;
}

bool MathWith(Store& store, AxisKind axis, MathKind kind, double constant) {
    const auto formerOp = store.MathOp;
    const double formerConst = store.MathConst;
    store.MathOp = static_cast<std::uint8_t>(kind);
    store.MathConst = constant;
    const bool done = MathWave(store, axis);
    store.MathOp = formerOp;
    store.MathConst = formerConst;
    return done;
}

}

OperationName NameOfMath(std::uint8_t mathOp) {
    return mathOp < MathKinds ? MathNames[mathOp] : OperationName{"", "unknown"};
}

OperationName NameOfWaveOperation(std::uint8_t mathBufferOp) {
    return mathBufferOp < WaveKinds ? WaveNames[mathBufferOp] : OperationName{"", "unknown"};
}

std::string ConstantPrompt(const Store& store, AxisKind axis) {
    if (!HasConstant(store.MathOp)) return {};
    return std::string("Enter ") + (axis == AxisKind::X ? "X" : "Y") + "-Constant: ";
}

std::string MathArgument(const Store& store) {
    std::string text(NameOfMath(store.MathOp).Macro);
    if (HasConstant(store.MathOp) || HasTableValue(store.MathOp))
        text += NumberText::Scientific(Operand(store), 12);
    return text;
}

bool MathWave(Store& store, AxisKind axis) {
    if (ActiveWaveOf(store).Points <= 0) return Refuse("Empty waves buffer");
    const bool correction = store.MathOp == static_cast<int>(MathKind::EventCorrection);
    if (correction && store.ActiveWave == Active::Preview && store.PreviewSkip[0])
        return Refuse("Event correction: the first point is skipped, so there is no event before it.");
    store.FitValid = false;
    if (correction)
        CorrectEvents(store, axis);
    else
        ComputeValues(store, axis);
    Refresh(store);
    return true;
}

bool MathBuffer(Store& store, AxisKind axis) {
    const bool histogram = store.MathBufferOp == static_cast<int>(WaveKind::Histogram);
    if (store.PreviewPoints <= 0) return Refuse("No preview data available");
    if (!histogram && store.PreviewPoints != store.BufferPoints)
        return Refuse("Array sizes in preview and buffer incompatible");
    store.FitValid = false;
    if (histogram)
        Histogram(store, axis);
    else
        CombineWaves(store, axis);
    Refresh(store);
    return true;
}

bool ZeroTo(Store& store, AxisKind axis, Extreme extreme) {
    return MathWith(store, axis, MathKind::SubConst, ExtremeOf(store, axis, extreme));
}

bool NormalizeTo(Store& store, AxisKind axis, Extreme extreme) {
    if (!MathWith(store, axis, MathKind::DivConst, ExtremeOf(store, axis, extreme))) return false;
    const Wave wave = ActiveWaveOf(store);
    Texts::ToField((axis == AxisKind::X ? wave.XLabel : wave.YLabel).Unit, "");
    return true;
}

}
