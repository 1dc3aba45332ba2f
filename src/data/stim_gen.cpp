#include "data/stim_gen.h"

#include "base/messages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace StimGen {

namespace {

using StimTree::IncrementMode;
using StimTree::SegmentClass;

constexpr std::int32_t HoldingSource = 1;
constexpr std::int32_t FirstParamSource = 2;
constexpr std::int16_t DigitalBits = 2;
constexpr std::int16_t DigitalBySign = 3;

struct ModeParts {
    IncrementMode Base;
    bool Logarithmic;
};

ModeParts PartsOf(std::uint8_t mode) {
    if (mode >= 5 && mode <= 9) return {static_cast<IncrementMode>(mode - 5), true};
    if (mode > 11) return {IncrementMode::Increment, false};
    if (mode == 11) return {IncrementMode::Toggle, true};
    return {static_cast<IncrementMode>(mode), false};
}

bool IsOdd(std::int64_t n) {
    return n % 2 != 0;
}

// The sweep whose place an interleaved one takes: 1, 3, 2, 5, 4, ..
std::int64_t Interleaved(std::int64_t n, std::int64_t sweeps) {
    if (n < 2) return 1;
    if (IsOdd(n)) return n - 1;
    return n >= sweeps ? sweeps : n + 1;
}

bool Has(const Source& source, std::size_t index) {
    return index < source.Segments.size() && source.Segments[index] != nullptr;
}

bool IsComplete(const Source& source) {
    return std::ranges::find(source.Segments, nullptr) == source.Segments.end();
}

double ParamOf(const Source& source, std::int32_t number) {
    const auto entry = static_cast<std::size_t>(number - FirstParamSource);
    return entry < source.StParams.size() ? source.StParams[entry] : 0.0;
}

bool HasFlag(const Source& source, int flag) {
    return (source.Channel.ChStimFlags & flag) != 0;
}

// The places of one segment in the target.
struct Places {
    std::span<float> Target;
    std::size_t First;
    std::size_t Increment;
    std::size_t Count;

    [[nodiscard]] float& operator[](std::size_t i) const { return Target[First + i * Increment]; }
    void Fill(std::size_t from, std::size_t to, double value) const {
        for (std::size_t i = from; i < to; ++i) (*this)[i] = static_cast<float>(value);
    }
};

// What the classes need to know of their segment.
struct Shape {
    double Voltage;
    double Previous;
    double Period;
    double Amplitude;
    double Interval;
};

double Conditioned(const Source& source, double value) {
    if (HasFlag(source, StimTree::StimFlags::Photo) && source.Photo != nullptr) value = source.Photo(value);
    if (!HasFlag(source, StimTree::StimFlags::Scaling) || source.ScaleTable.empty()) return value;
    for (const ScaleRow& row : source.ScaleTable)
        if (!(row.Limit < value)) return row.Value;
    return source.ScaleTable.back().Value;
}

void WriteConstant(const Source& source, const Shape& shape, const Places& places) {
    places.Fill(0, places.Count, Conditioned(source, shape.Voltage));
}

void WriteRamp(const Source&, const Shape& shape, const Places& places) {
    const auto count = static_cast<double>(places.Count);
    for (std::size_t i = 0; i < places.Count; ++i)
        places[i] = static_cast<float>(shape.Previous +
                                       static_cast<double>(i + 1) * (shape.Voltage - shape.Previous) / count);
}

void WriteSinewave(const Source&, const Shape& shape, const Places& places) {
    const bool waves = shape.Period > 0;
    for (std::size_t i = 0; i < places.Count; ++i) {
        // The whole cycles go first, so that the sine of a late sample is as exact as that of an early one.
        const double cycles =
            waves ? std::fmod(static_cast<double>(i) * shape.Interval, shape.Period) / shape.Period : 0.0;
        places[i] =
            static_cast<float>(shape.Voltage + shape.Amplitude * std::sin(2 * std::numbers::pi * cycles));
    }
}

void WriteSquarewave(const Source& source, const Shape& shape, const Places& places) {
    const auto cycle = static_cast<std::size_t>(PointsOf(shape.Period, shape.Interval));
    std::size_t at = 0;
    if (cycle >= 2) {
        const double high = Conditioned(source, shape.Voltage + shape.Amplitude);
        const double low = Conditioned(source, shape.Voltage - shape.Amplitude);
        for (; at + cycle <= places.Count; at += cycle) {
            places.Fill(at, at + cycle / 2, high);
            places.Fill(at + cycle / 2, at + cycle, low);
        }
    }
    places.Fill(at, places.Count, Conditioned(source, shape.Voltage));
}

using WriteProcedure = void (*)(const Source& source, const Shape& shape, const Places& places);

// In the order of SegmentClass; a continuous segment has no samples to write.
constexpr std::array<WriteProcedure, 5> Writers{WriteConstant, WriteRamp, nullptr, WriteSinewave,
                                                WriteSquarewave};

std::uint16_t WordOf(double value) {
    if (std::isnan(value)) return 0;
    constexpr double Limit = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::uint16_t>(
        static_cast<std::int32_t>(std::clamp(std::round(value), -Limit, Limit)));
}

bool IsDigital(const Source& source) {
    return source.Channel.ChDacMode == DigitalBits || source.Channel.ChDacMode == DigitalBySign;
}

void WriteDigital(const Source& source, double voltage, const Places& places) {
    if (source.Channel.ChDacChannel < 0 || source.Channel.ChDacChannel > 15) return;
    const auto bit = static_cast<std::uint16_t>(1 << source.Channel.ChDacChannel);
    const bool bySign = source.Channel.ChDacMode == DigitalBySign;
    if (bySign && !(voltage > 0) && !(voltage < 0)) return;
    const bool set = bySign ? voltage > 0 : (WordOf(voltage) & bit) != 0;
    for (std::size_t i = 0; i < places.Count; ++i) {
        const std::uint16_t word = WordOf(static_cast<double>(places[i]));
        places[i] = static_cast<float>(set ? word | bit : word & ~bit);
    }
}

bool RefuseSize() {
    Messages::Alert("Stimulus is larger than MaxStimPoints!");
    return false;
}

}

std::int64_t IncrementStep(std::int32_t n, std::int32_t sweeps, std::uint8_t mode) {
    // 64 bits: the difference of two numbers from a file need not fit in 32.
    const std::int64_t sweep = n;
    const std::int64_t all = sweeps;
    switch (PartsOf(mode).Base) {
    case IncrementMode::Decrement: return all - sweep;
    case IncrementMode::IncreaseInterleaved: return Interleaved(sweep, all) - 1;
    case IncrementMode::DecreaseInterleaved: return all - Interleaved(sweep, all);
    case IncrementMode::Alternate: return IsOdd(sweep) ? sweep / 2 : all - sweep / 2;
    case IncrementMode::Toggle: return sweep / 2;
    default: return sweep - 1;
    }
}

double Increment(std::int32_t n, std::int32_t sweeps, double start, double increment, double factor,
                 std::uint8_t mode) {
    const ModeParts parts = PartsOf(mode);
    const auto step = static_cast<double>(IncrementStep(n, sweeps, mode));
    double change = 0;
    if (step == 0)
        change = 0;
    else if (factor == 1.0)
        change = step * increment;
    else if (factor > 0 && parts.Logarithmic)
        change = std::exp(std::log(factor) * (step - 1)) * increment;
    else if (factor > 0)
        change = (std::exp(std::log(factor) * step) - 1) * start + step * increment;
    return parts.Base == IncrementMode::Toggle && IsOdd(n) ? start - change : start + change;
}

double HoldingFor(const Source& source) {
    return source.Channel.ChHolding;
}

double SegmentVoltage(std::int32_t n, const Source& source, std::size_t index, double holding) {
    if (!Has(source, index)) return 0;
    const StimSegment& segment = *source.Segments[index];
    if (segment.SgVoltageSource == HoldingSource) return holding;
    double base = segment.SgVoltageSource >= FirstParamSource ? ParamOf(source, segment.SgVoltageSource)
                                                              : segment.SgVoltage;
    if (HasFlag(source, StimTree::StimFlags::RelativeToHolding)) base += holding;
    return Increment(n, source.Stimulation.SsNumberSweeps, base, segment.SgDeltaVIncrement,
                     segment.SgDeltaVFactor, segment.SgVoltageIncMode);
}

double SegmentDuration(std::int32_t n, const Source& source, std::size_t index) {
    if (!Has(source, index)) return 0;
    const StimSegment& segment = *source.Segments[index];
    double base = segment.SgDuration;
    if (segment.SgDurationSource >= FirstParamSource) {
        base = ParamOf(source, segment.SgDurationSource);
        if (base < 0) base = 0;
    }
    const double value = Increment(n, source.Stimulation.SsNumberSweeps, base, segment.SgDeltaTIncrement,
                                   segment.SgDeltaTFactor, segment.SgDurationIncMode);
    const bool ramp = static_cast<SegmentClass>(segment.SgClass) == SegmentClass::Ramp;
    if (source.Stimulation.SsUseScanRates == 0 || !ramp) return value;
    if (!(value > 0)) return 0;
    const double holding = HoldingFor(source);
    const double start = index > 0 ? SegmentVoltage(n, source, index - 1, holding) : holding;
    return std::abs(SegmentVoltage(n, source, index, holding) - start) / value;
}

std::int32_t PointsOf(double duration, double interval) {
    if (!(interval > 0)) return 0;
    const double points = std::round(duration / interval);
    if (!(points > 0)) return 0;
    constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();
    return points < static_cast<double>(Most) ? static_cast<std::int32_t>(points) : Most;
}

std::vector<SegmentRow> SegmentTable(std::int32_t n, const Source& source) {
    std::vector<SegmentRow> table;
    if (!IsComplete(source)) return table;
    table.reserve(source.Segments.size());
    const double holding = HoldingFor(source);
    std::int64_t first = 0;
    std::int64_t storedFirst = 0;
    for (std::size_t index = 0; index < source.Segments.size(); ++index) {
        SegmentRow row{.Voltage = SegmentVoltage(n, source, index, holding),
                       .Duration = SegmentDuration(n, source, index),
                       .FirstPoint = first,
                       .StoredFirst = storedFirst,
                       .Stored = source.Segments[index]->SgStoreKind != 0};
        row.Points = PointsOf(row.Duration, source.Stimulation.SsSampleInterval);
        first += row.Points;
        if (row.Stored) storedFirst += row.Points;
        table.push_back(row);
    }
    return table;
}

bool Segment(std::int32_t n, const Source& source, std::size_t index, std::size_t increment,
             std::span<float> target, std::size_t& position, double& previous, bool& continuous) {
    if (!Has(source, index) || increment < 1) return false;
    const double interval = source.Stimulation.SsSampleInterval;
    const auto points = static_cast<std::size_t>(PointsOf(SegmentDuration(n, source, index), interval));
    if (points == 0) return true;
    const std::size_t kind = source.Segments[index]->SgClass;
    if (!HasFlag(source, StimTree::StimFlags::FileTemplate)) {
        if (kind >= Writers.size()) {
            Messages::Alert("StimGen.Segment: illegal segment class.");
            return false;
        }
        if (static_cast<SegmentClass>(kind) == SegmentClass::Continuous) {
            continuous = true;
            return true;
        }
    }
    if (position >= target.size() || points - 1 > (target.size() - 1 - position) / increment)
        return RefuseSize();

    const double holding = HoldingFor(source);
    const double voltage = SegmentVoltage(n, source, index, holding);
    const Places places{target, position, increment, points};
    if (HasFlag(source, StimTree::StimFlags::FileTemplate)) {
        for (std::size_t i = 0; HasFlag(source, StimTree::StimFlags::RelativeToHolding) && i < points; ++i)
            places[i] += static_cast<float>(holding);
    } else if (IsDigital(source)) {
        WriteDigital(source, voltage, places);
    } else {
        Writers[kind](source,
                      {.Voltage = voltage,
                       .Previous = previous,
                       .Period = source.Channel.ChSquareParams[0],
                       .Amplitude = source.Channel.ChSquareParams[1],
                       .Interval = interval},
                      places);
    }
    previous = voltage;
    position += increment * points;
    return true;
}

bool Stimulus(std::int32_t n, const Source& source, std::vector<float>& target, bool& continuous) {
    target.clear();
    continuous = false;
    if (!IsComplete(source) || n < 1 || !(source.Stimulation.SsSampleInterval > 0)) {
        Messages::Alert("StimGen.Stimulus: illegal parameters.");
        return false;
    }
    // The size is known before anything is allocated.
    const bool isTemplate = HasFlag(source, StimTree::StimFlags::FileTemplate);
    std::size_t total = 0;
    for (std::size_t index = 0; index < source.Segments.size(); ++index) {
        const auto points = static_cast<std::size_t>(
            PointsOf(SegmentDuration(n, source, index), source.Stimulation.SsSampleInterval));
        const auto kind = static_cast<SegmentClass>(source.Segments[index]->SgClass);
        if (points > 0 && kind == SegmentClass::Continuous && !isTemplate) break;
        total += points;
        if (total > source.MaxStimPoints) return RefuseSize();
    }
    target.assign(total, 0.0f);
    std::size_t position = 0;
    double previous = HoldingFor(source);
    for (std::size_t index = 0; index < source.Segments.size() && !continuous; ++index) {
        if (Segment(n, source, index, 1, target, position, previous, continuous)) continue;
        target.clear();
        return false;
    }
    return true;
}

void KeepStored(std::span<const SegmentRow> table, std::vector<float>& stimulus) {
    const std::size_t size = stimulus.size();
    std::size_t from = 0;
    std::size_t to = 0;
    const auto copyDown = [&](std::size_t count) {
        if (to != from)
            std::copy_n(stimulus.begin() + static_cast<std::ptrdiff_t>(from), count,
                        stimulus.begin() + static_cast<std::ptrdiff_t>(to));
        to += count;
    };
    for (const SegmentRow& row : table) {
        const std::size_t count = std::min(size - from, static_cast<std::size_t>(std::max(row.Points, 0)));
        if (row.Stored) copyDown(count);
        from += count;
    }
    copyDown(size - from);
    stimulus.resize(to);
}

}
