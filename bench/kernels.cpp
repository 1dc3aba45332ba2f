// Question: do the loops that every trace passes on its way from the file to the screen run at the speed of
// the machine?
//
// Last answer (EPYC, two cores with AVX2, GCC 12, best of seven, bench/filter_peer):
//   filter, 110 coefficients a side, 1 million real32: 13.2 ms, 6.1 times as fast as SciPy 1.10 in the same
//   run. The sums take 12.1 ns a point.
//   int16 to real32, 10 million: 2.0 to 4.2 ms, by run. Copying 20 MB and 40 MB takes 5.6 to 6.1 ms, so 0.3
//   to 0.7 times that; copying 30 MB, the conversion's own traffic, takes 2.4 to 2.6 ms, so 0.8 to 1.6 times
//   that. The search of the extremes takes 1.3 ms.
#include "data/sample_format.h"
#include "math/gauss_filter.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t FilterPoints = 1'000'000;
constexpr std::size_t ConvertPoints = 10'000'000;

template <class T>
std::vector<T> Noise(std::size_t count) {
    std::vector<T> samples(count);
    std::uint32_t state = 1;
    for (T& sample : samples) {
        state = state * 1664525u + 1013904223u;
        sample = static_cast<T>(static_cast<std::int16_t>(state >> 16));
    }
    return samples;
}

void Filter110(benchmark::State& state) {
    const auto source = Noise<float>(FilterPoints);
    std::vector<float> target(FilterPoints);
    GaussFilter::FilterRecord record;
    if (GaussFilterDesign(record, 0.004216) != 110) state.SkipWithError("not 110 coefficients a side");
    for (auto step : state) {
        if (!GaussFilterApply(record, source, target)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(FilterPoints) * state.iterations());
}

// Yardsticks of the conversion, which reads 20 MB and writes 40 MB: both copied (so 60 MB read and 60 MB
// written), and 30 MB copied (as many bytes through the memory as the conversion moves).
void CopyBoth(benchmark::State& state) {
    const auto narrow = Noise<std::int16_t>(ConvertPoints);
    const auto wide = Noise<float>(ConvertPoints);
    std::vector<std::int16_t> narrowCopy(ConvertPoints);
    std::vector<float> wideCopy(ConvertPoints);
    for (auto step : state) {
        std::memcpy(narrowCopy.data(), narrow.data(), ConvertPoints * 2);
        std::memcpy(wideCopy.data(), wide.data(), ConvertPoints * 4);
        benchmark::DoNotOptimize(narrowCopy.data());
        benchmark::DoNotOptimize(wideCopy.data());
        benchmark::ClobberMemory();
    }
}

void CopySameTraffic(benchmark::State& state) {
    const auto source = Noise<std::int16_t>(ConvertPoints * 3 / 2);
    std::vector<std::int16_t> target(source.size());
    for (auto step : state) {
        std::memcpy(target.data(), source.data(), source.size() * 2);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
}

void ConvertInt16ToReal32(benchmark::State& state) {
    const auto source = Noise<std::int16_t>(ConvertPoints);
    std::vector<float> target(ConvertPoints);
    for (auto step : state) {
        if (!SampleFormat::ConvertFormat(
                DataFormat::Int16, DataFormat::Real32, std::as_bytes(std::span(source)),
                std::as_writable_bytes(std::span(target)), ConvertPoints, 3.125e-13, 0.0, true))
            state.SkipWithError("refused");
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(ConvertPoints) * state.iterations());
}

void ExtremesOfReal32(benchmark::State& state) {
    const auto samples = Noise<float>(ConvertPoints);
    for (auto step : state) benchmark::DoNotOptimize(SampleFormat::FindExtremes(samples));
    state.SetItemsProcessed(static_cast<std::int64_t>(ConvertPoints) * state.iterations());
}

BENCHMARK(Filter110)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyBoth)->Unit(benchmark::kMillisecond);
BENCHMARK(CopySameTraffic)->Unit(benchmark::kMillisecond);
BENCHMARK(ConvertInt16ToReal32)->Unit(benchmark::kMillisecond);
BENCHMARK(ExtremesOfReal32)->Unit(benchmark::kMillisecond);

}
