#include "data/sample_format.h"

#include "base/bytes.h"
#include "base/messages.h"
#include "math/gauss_filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>
#include <vector>

namespace SampleFormat {

namespace {

// Samples per pass of the inner loops. The count is fixed and a pass works on local arrays, so that the
// compiler turns it into vector code without a check for overlap or a loop for the rest. With more than
// eight int16 samples it would keep the arrays in memory between the steps.
constexpr std::size_t Pass = 8;

template <class To, class From>
To Converted(From sample, double scale, double offset) {
    if constexpr (std::is_floating_point_v<To>) {
        return static_cast<To>(sample) * static_cast<To>(scale) + static_cast<To>(offset);
    } else {
        double value = static_cast<double>(sample) * scale + offset;
        if (std::isnan(value)) return 0;
        if constexpr (std::is_floating_point_v<From>) value = std::round(value);
        constexpr auto Least = static_cast<double>(std::numeric_limits<To>::min());
        constexpr auto Greatest = static_cast<double>(std::numeric_limits<To>::max());
        return static_cast<To>(std::clamp(value, Least, Greatest));
    }
}

template <class From, class To>
void ConvertAll(const std::byte* source, std::byte* target, std::size_t points, double scale, double offset) {
    std::size_t i = 0;
    for (; i + Pass <= points; i += Pass) {
        From in[Pass];
        To out[Pass];
        std::memcpy(in, source + i * sizeof(From), sizeof in);
        for (std::size_t k = 0; k < Pass; ++k) out[k] = Converted<To>(in[k], scale, offset);
        std::memcpy(target + i * sizeof(To), out, sizeof out);
    }
    for (; i < points; ++i)
        Bytes::Store(target + i * sizeof(To),
                     Converted<To>(Bytes::Load<From>(source + i * sizeof(From)), scale, offset));
}

using ConvertProcedure = void (*)(const std::byte* source, std::byte* target, std::size_t points,
                                  double scale, double offset);

template <class From>
constexpr std::array<ConvertProcedure, 4> ConvertFrom{ConvertAll<From, std::int16_t>,
                                                      ConvertAll<From, std::int32_t>, ConvertAll<From, float>,
                                                      ConvertAll<From, double>};

struct FormatRow {
    std::size_t Size;
    std::string_view RamRefusal; // empty: the format may stand in RAM
    std::array<ConvertProcedure, 4> To;
};

// One row a format, in the order of DataFormat.
constexpr std::array<FormatRow, 4> Formats{{
    {2, "Error: \"int16\" RAM-format not supported.", ConvertFrom<std::int16_t>},
    {4, "Error: \"int32\" RAM-format not supported.", ConvertFrom<std::int32_t>},
    {4, "", ConvertFrom<float>},
    {8, "", ConvertFrom<double>},
}};

const FormatRow* RowOf(DataFormat format) {
    const auto index = static_cast<std::size_t>(format);
    return index < Formats.size() ? &Formats[index] : nullptr;
}

std::uint16_t DigitalWord(float value) {
    return static_cast<std::uint16_t>(Converted<std::int32_t>(value, 1.0, 0.0));
}

std::uint16_t WordAt(std::span<const std::byte> source, DataFormat format, std::size_t index) {
    if (format == DataFormat::Int16) return Bytes::Load<std::uint16_t>(source.data() + index * 2);
    return DigitalWord(Bytes::Load<float>(source.data() + index * 4));
}

// The samples as reals, behind the filter where one is wanted.
std::vector<float> AnalogSamples(std::span<const std::byte> source, std::size_t points,
                                 const Reduction& reduction) {
    GaussFilter::FilterRecord filter;
    std::size_t padding = 0;
    if (reduction.Filter && reduction.Stride >= 2)
        padding =
            static_cast<std::size_t>(GaussFilterDesign(filter, 1.0 / static_cast<double>(reduction.Stride)));
    std::vector<float> samples(points + 2 * padding);
    RowOf(reduction.Format)
        ->To[static_cast<std::size_t>(DataFormat::Real32)](
            source.data(), reinterpret_cast<std::byte*>(samples.data() + padding), points, 1.0, 0.0);
    if (padding == 0) return samples;
    filter.PaddedLeft = true;
    filter.SkipTail = true;
    std::vector<float> filtered(points);
    if (!GaussFilterApply(filter, samples, filtered)) filtered.clear();
    return filtered;
}

}

std::size_t SampleSize(DataFormat format) {
    const FormatRow* const row = RowOf(format);
    return row != nullptr ? row->Size : 0;
}

bool ConvertFormat(DataFormat sourceFormat, DataFormat targetFormat, std::span<const std::byte> source,
                   std::span<std::byte> target, std::size_t points, double scale, double offset,
                   bool forRam) {
    const FormatRow* const from = RowOf(sourceFormat);
    const FormatRow* const to = RowOf(targetFormat);
    if (forRam && to != nullptr && !to->RamRefusal.empty()) {
        Messages::Alert(to->RamRefusal);
        return false;
    }
    if (from == nullptr) {
        Messages::Alert("Error: unknown data-format of source.");
        return false;
    }
    if (to == nullptr) {
        Messages::Alert("Error: unknown data-format of target");
        return false;
    }
    if (source.size() / from->Size < points || target.size() / to->Size < points) return false;
    from->To[static_cast<std::size_t>(targetFormat)](source.data(), target.data(), points, scale, offset);
    return true;
}

Extremes FindExtremes(std::span<const float> samples) {
    constexpr float Infinite = std::numeric_limits<float>::infinity();
    constexpr std::size_t Lanes = 4, Chains = 4;
    using Reals [[gnu::vector_size(Lanes * sizeof(float))]] = float;
    // Several pairs of extremes, so that no comparison waits for the one before it. It is false for a NaN,
    // which so leaves them as they are.
    Reals low[Chains], high[Chains];
    for (std::size_t c = 0; c < Chains; ++c) {
        low[c] = Reals{} + Infinite;
        high[c] = Reals{} - Infinite;
    }
    std::size_t i = 0;
    for (; i + Chains * Lanes <= samples.size(); i += Chains * Lanes) {
#pragma GCC unroll 4
        for (std::size_t c = 0; c < Chains; ++c) {
            Reals in;
            std::memcpy(&in, samples.data() + i + c * Lanes, sizeof in);
            low[c] = in < low[c] ? in : low[c];
            high[c] = in > high[c] ? in : high[c];
        }
    }
    float least = Infinite, greatest = -Infinite;
    const auto take = [&](float lowest, float highest) {
        least = lowest < least ? lowest : least;
        greatest = highest > greatest ? highest : greatest;
    };
    for (std::size_t c = 0; c < Chains; ++c)
        for (std::size_t lane = 0; lane < Lanes; ++lane) take(low[c][lane], high[c][lane]);
    for (; i < samples.size(); ++i) take(samples[i], samples[i]);
    if (least > greatest) return {};
    return {.Min = least, .Max = greatest, .Known = true};
}

std::size_t Compress(std::span<const std::byte> source, std::span<float> target, std::size_t points,
                     const Reduction& reduction) {
    if (reduction.Format != DataFormat::Int16 && reduction.Format != DataFormat::Real32) {
        Messages::Alert("Compress: illegal data format");
        return 0;
    }
    const std::size_t stride = reduction.Stride;
    const std::size_t block = reduction.Block;
    if (source.size() / SampleSize(reduction.Format) < points || stride < 1 || block < 1 || block > stride)
        return 0;
    const std::size_t groups = std::min(points / stride, target.size());

    if (reduction.DigitalMask < Reduction::NoMask) {
        for (std::size_t i = 0; i < groups; ++i) {
            std::uint32_t word = WordAt(source, reduction.Format, i * stride) & reduction.DigitalMask;
            if (reduction.Add) word |= DigitalWord(target[i]);
            target[i] = static_cast<float>(word);
        }
        return groups;
    }
    const std::vector<float> samples = AnalogSamples(source, points, reduction);
    if (samples.size() < points) return 0;
    const double scale = reduction.Plain ? reduction.Scale : reduction.Scale / static_cast<double>(block);
    for (std::size_t i = 0; i < groups; ++i) {
        const float* const group = samples.data() + i * stride;
        double sum = static_cast<double>(group[0]);
        for (std::size_t j = 1; j < block && !reduction.Plain; ++j) sum += static_cast<double>(group[j]);
        const auto value = static_cast<float>(sum * scale + reduction.Offset);
        target[i] = reduction.Add ? target[i] + value : value;
    }
    return groups;
}

void ExtractBit(std::span<std::uint16_t> words, int bit) {
    for (std::uint16_t& word : words)
        word = bit < 0 || bit > 15 ? std::uint16_t{0} : static_cast<std::uint16_t>(word >> bit & 1);
}

void SetDigitalValue(std::span<std::uint16_t> words, std::uint16_t keepMask, std::uint16_t orValue) {
    for (std::uint16_t& word : words) word = static_cast<std::uint16_t>((word & keepMask) | orValue);
}

}
