#include "events/power_spectrum.h"

#include "math/fft.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace PowerSpectrum {

namespace {

// The sum over blocks, scaled: first the DC term, then the frequencies up to half of the sampling rate.
struct Sums {
    double Dc = 0.0;
    std::vector<double> Spectrum; // at 0, unused, and up
    std::int64_t Blocks = 0;
};

bool AddBlocks(std::span<const float> samples, std::int32_t points, bool removeMean, double scale, Sums& sums,
               const std::function<bool(double)>& progress) {
    const std::size_t block = 2 * static_cast<std::size_t>(points), places = block / 2 + 1;
    const Fft::Plan plan = Fft::MakePlan(block);
    Fft::Work work;
    std::vector<double> power(places * Fft::GroupSize);
    sums.Spectrum.assign(places, 0.0);
    const std::size_t blocks = samples.size() > block ? (samples.size() - block - 1) / block + 1 : 0;
    constexpr std::size_t AskEvery = 1024;
    for (std::size_t first = 0; first < blocks; first += Fft::GroupSize) {
        const std::size_t count = std::min(Fft::GroupSize, blocks - first);
        Fft::Power(plan, samples.subspan(first * block, count * block), count, removeMean, work, power);
        for (std::size_t i = 0; i < count; ++i) {
            const double* const one = power.data() + i * places;
            sums.Dc += one[0] * scale;
            for (std::size_t k = 1; k < places; ++k) sums.Spectrum[k] += one[k] * scale;
        }
        const double done = static_cast<double>(first + count) / static_cast<double>(blocks);
        if (progress && first % AskEvery == 0 && !progress(done)) return false;
    }
    sums.Blocks = static_cast<std::int64_t>(blocks);
    return true;
}

}

bool IsPossible(std::int32_t points) {
    return points >= 1 && points <= MostPoints && std::has_single_bit(static_cast<std::uint32_t>(points));
}

std::vector<std::int32_t> BinSizes(std::int32_t points, std::int32_t bins, double df) {
    if (bins < 1) return std::vector<std::int32_t>(static_cast<std::size_t>(points) + 1, 1);
    std::vector<std::int32_t> sizes(static_cast<std::size_t>(bins) + 1, 0);
    const double first = std::log(df);
    const double width = (std::log(points * df) - first) / bins;
    std::size_t j = 0;
    for (std::int32_t k = 1; k < points; ++k) {
        const double step = std::trunc((std::log(k * df) - first) / width);
        const bool moves = step >= static_cast<double>(j) && j + 1 < sizes.size();
        if (moves && sizes[j] > 0) ++j;
        const bool wasEmpty = sizes[j] == 0;
        ++sizes[j];
        // An empty bin takes its frequency and is left all the same.
        if (moves && wasEmpty && step >= static_cast<double>(j) && j + 1 < sizes.size()) ++j;
    }
    return sizes;
}

Spectrum Compute(std::span<const float> samples, double interval, std::int32_t points, std::int32_t bins,
                 bool removeMean, const std::function<bool(double)>& progress) {
    const double block = 2.0 * points;
    const double df = 1.0 / (block * interval);
    Sums sums;
    if (!AddBlocks(samples, points, removeMean, 2.0 / df / block / block, sums, progress)) return {};
    const double share = 1.0 / static_cast<double>(sums.Blocks);
    for (double& value : sums.Spectrum) value *= share;
    sums.Dc *= share;

    Spectrum spectrum;
    spectrum.Blocks = sums.Blocks;
    std::size_t k = 0;
    for (const std::int32_t size : BinSizes(points, bins, df)) {
        double frequency = 0.0, density = 0.0;
        for (std::int32_t i = 0; i < size; ++i, ++k) {
            frequency += static_cast<double>(k) * df;
            density += sums.Spectrum[k];
        }
        spectrum.Frequencies.push_back(frequency / size);
        spectrum.Densities.push_back(spectrum.Densities.empty() ? sums.Dc : density / size);
    }
    return spectrum;
}

void Merge(std::span<double> densities, std::int64_t blocks, const Spectrum& added) {
    const auto n = static_cast<double>(added.Blocks), former = static_cast<double>(blocks);
    for (std::size_t j = 0; j < densities.size() && j < added.Densities.size(); ++j)
        densities[j] = (densities[j] * former + n * added.Densities[j]) / (n + former);
}

}
