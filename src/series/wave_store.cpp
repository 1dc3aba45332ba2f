#include "series/wave_store.h"

#include "base/buffer.h"
#include "base/messages.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace SGFit {

namespace {

bool Refuse(std::string_view text) {
    Messages::Alert(text);
    return false;
}

template <class T>
T* Allocate(Store& store, std::size_t count) {
    return static_cast<T*>(store.Heap->Allocate(count * sizeof(T)));
}

template <class T>
bool AllocateArray(Store& store, T*& array, const char* name, T start) {
    array = Allocate<T>(store, MaxPoints);
    if (!array) return Refuse(std::string("Allocation of ") + name + " for SGFit failed");
    std::fill_n(array, MaxPoints, start);
    return true;
}

bool AllocateArrays(Store& store) {
    constexpr std::uint8_t Skipped = 1;
    return AllocateArray(store, store.XPreview, "XPreview", 0.0) &&
           AllocateArray(store, store.YPreview, "YPreview", 0.0) &&
           AllocateArray(store, store.PreviewSkip, "PreviewSkip", Skipped) &&
           AllocateArray(store, store.XBuffer, "XBuffer", 0.0) &&
           AllocateArray(store, store.YBuffer, "YBuffer", 0.0) &&
           AllocateArray(store, store.BufferSkip, "BufferSkip", Skipped) &&
           AllocateArray(store, store.BufferCnt, "BufferCnt", std::int16_t{0});
}

template <class T>
void GiveBack(Store& store, T*& array, std::size_t count) {
    store.Heap->Free(array, count * sizeof(T));
    array = nullptr;
}

// X and Y of each point, and room for one where there is none.
std::size_t BackgroundSize(std::int32_t points) {
    return 2 * static_cast<std::size_t>(std::max(points, 1));
}

// One axis of the points that count.
struct Axis {
    double Min = 0, Max = 0, Mean = 0, SD = 0;
};

Axis AxisOf(const double* values, const Wave& wave) {
    Axis axis;
    int n = 0;
    for (int i = 0; i < wave.Points; ++i) {
        if (wave.Skip[i]) continue;
        const double value = values[i];
        if (n++ == 0) {
            axis.Min = axis.Max = value;
        } else {
            if (value < axis.Min) axis.Min = value;
            if (value > axis.Max) axis.Max = value;
        }
        axis.Mean += value;
    }
    if (n < 2) return axis; // the sum of one point is its mean
    axis.Mean /= n;
    double squares = 0;
    for (int i = 0; i < wave.Points; ++i)
        if (!wave.Skip[i]) squares += (axis.Mean - values[i]) * (axis.Mean - values[i]);
    axis.SD = std::sqrt(squares / (n - 1));
    return axis;
}

void Extremes(const double* values, int points, double& lowest, double& highest) {
    lowest = highest = values[0];
    for (int i = 0; i < points; ++i) {
        if (values[i] < lowest) lowest = values[i];
        if (values[i] > highest) highest = values[i];
    }
}

void TakeFirstWave(Store& store) {
    for (int i = 0; i < store.PreviewPoints; ++i) {
        const bool skip = store.PreviewSkip[i] != 0;
        store.XBuffer[i] = store.XPreview[i];
        store.BufferSkip[i] = store.PreviewSkip[i];
        store.YBuffer[i] = skip ? 0.0 : store.YPreview[i];
        store.BufferCnt[i] = skip ? 0 : 1;
    }
    store.BufferX = store.PreviewX;
    store.BufferY = store.PreviewY;
}

void TakeNextWave(Store& store) {
    for (int i = 0; i < store.PreviewPoints; ++i) {
        if (store.PreviewSkip[i]) continue;
        const double count = store.BufferCnt[i];
        store.YBuffer[i] = (count * store.YBuffer[i] + store.YPreview[i]) / (count + 1);
        ++store.BufferCnt[i];
    }
}

// The byte of an accumulated wave that a swap of the points j-1 and j exchanges with its flag of j-1 is the
// j-th byte of its values, not its flag of j: waves that were accumulated and sorted have been like that in
// every version.
void SwapAccumulated(Store& store, int j) {
    for (int k = 0; k < store.AccumCount; ++k) {
        double* const data = store.AccumData[k];
        std::swap(data[j - 1], data[j]);
        std::swap(store.AccumSkip[k][j - 1], reinterpret_cast<std::uint8_t*>(data)[j]);
    }
}

void Sort(Store& store, bool byX) {
    const Wave wave = ActiveWaveOf(store);
    if (wave.Points <= 0) return;
    const double* const key = byX ? wave.X : wave.Y;
    for (int i = 1; i < wave.Points; ++i)
        for (int j = wave.Points - 1; j >= i; --j) {
            if (!(key[j - 1] > key[j])) continue;
            std::swap(wave.X[j - 1], wave.X[j]);
            std::swap(wave.Y[j - 1], wave.Y[j]);
            std::swap(wave.Skip[j - 1], wave.Skip[j]);
            SwapAccumulated(store, j);
        }
    store.FitValid = false;
    Refresh(store);
}

}

Store::~Store() {
    if (Heap) Buffer::Release(Heap);
}

bool Open(Store& store, std::size_t limitBytes) {
    store.Heap = Buffer::Create(HeapName, Buffer::Kind::Unique);
    if (!store.Heap) return Refuse("Allocation of XPreview for SGFit failed");
    store.Heap->SetLimit(limitBytes);
    if (AllocateArrays(store)) return true;
    Buffer::Release(store.Heap);
    return false;
}

Wave WaveOf(Store& store, Active which) {
    if (which == Active::Preview)
        return {store.XPreview,      store.YPreview, store.PreviewSkip,
                store.PreviewPoints, store.PreviewX, store.PreviewY};
    return {store.XBuffer, store.YBuffer, store.BufferSkip, store.BufferPoints, store.BufferX, store.BufferY};
}

WaveStats StatsOf(const Wave& wave) {
    WaveStats stats;
    if (wave.Points < 1 || wave.Points > MaxPoints) return stats;
    Extremes(wave.X, wave.Points, stats.XMinAll, stats.XMaxAll);
    Extremes(wave.Y, wave.Points, stats.YMinAll, stats.YMaxAll);
    const Axis x = AxisOf(wave.X, wave), y = AxisOf(wave.Y, wave);
    stats.XMin = x.Min;
    stats.XMax = x.Max;
    stats.YMin = y.Min;
    stats.YMax = y.Max;
    stats.MeanX = x.Mean;
    stats.MeanY = y.Mean;
    stats.SDX = x.SD;
    stats.SDY = y.SD;
    stats.SkipCount = static_cast<std::int16_t>(
        std::count_if(wave.Skip, wave.Skip + wave.Points, [](std::uint8_t flag) { return flag != 0; }));
    return stats;
}

void Refresh(Store& store) {
    const Wave wave = ActiveWaveOf(store);
    store.WavePoints = wave.Points;
    store.Stats = StatsOf(wave);
    if (store.Refreshed) store.Refreshed();
}

void SelectActiveWave(Store& store, Active which) {
    store.ActiveWave = which;
    Refresh(store);
}

bool WaveToBuffer(Store& store) {
    ClearBuffer(store);
    return AccumulateWave(store);
}

bool AddAccumulated(Store& store) {
    const auto wave = static_cast<std::size_t>(store.AccumCount);
    if (!(store.AccumData[wave] = Allocate<double>(store, MaxPoints)))
        return Refuse("Allocation of accumulator data buffer failed.");
    if (!(store.AccumSkip[wave] = Allocate<std::uint8_t>(store, MaxPoints))) {
        GiveBack(store, store.AccumData[wave], MaxPoints);
        return Refuse("Allocation of accumulator skip buffer failed.");
    }
    std::fill_n(store.AccumData[wave], MaxPoints, 0.0);
    std::fill_n(store.AccumSkip[wave], MaxPoints, std::uint8_t{0});
    return true;
}

bool AccumulateWave(Store& store) {
    if (store.PreviewPoints <= 0) return Refuse("No data in preview buffer");
    if (store.AccumCount >= MaxAccumulated) return Refuse("Max. number of accumulated waves reached");
    if (store.AccumCount > 0 && store.BufferPoints != store.PreviewPoints)
        return Refuse("Sizes of preview wave and accumulator do not match.");
    if (!AddAccumulated(store)) return false;
    store.FitValid = false;
    store.ActiveWave = Active::Buffer;
    std::copy_n(store.YPreview, store.PreviewPoints, store.AccumData[store.AccumCount]);
    std::copy_n(store.PreviewSkip, store.PreviewPoints, store.AccumSkip[store.AccumCount]);
    if (store.AccumCount == 0)
        TakeFirstWave(store);
    else
        TakeNextWave(store);
    store.BufferPoints = store.PreviewPoints;
    ++store.AccumCount;
    Refresh(store);
    return true;
}

void ClearBuffer(Store& store) {
    store.FitValid = false;
    for (int k = 0; k < store.AccumCount; ++k) {
        GiveBack(store, store.AccumData[k], MaxPoints);
        GiveBack(store, store.AccumSkip[k], MaxPoints);
    }
    store.AccumCount = store.BufferPoints = 0;
    std::fill_n(store.BufferCnt, MaxPoints, std::int16_t{0});
    std::fill_n(store.BufferSkip, MaxPoints, std::uint8_t{0});
    std::fill_n(store.XBuffer, MaxPoints, 0.0);
    std::fill_n(store.YBuffer, MaxPoints, 0.0);
    store.BufferX = store.BufferY = {};
    Refresh(store);
}

void ClearPreview(Store& store) {
    store.FitValid = false;
    store.PreviewPoints = 0;
    std::fill_n(store.XPreview, MaxPoints, 0.0);
    std::fill_n(store.YPreview, MaxPoints, 0.0);
    std::fill_n(store.PreviewSkip, MaxPoints, std::uint8_t{0});
    store.PreviewX = store.PreviewY = {};
    Refresh(store);
}

void ClearWave(Store& store) {
    ClearBuffer(store);
    ClearPreview(store);
}

bool AddBackground(Store& store, std::int32_t points, std::string_view refusal) {
    double* const data = Allocate<double>(store, BackgroundSize(points));
    if (!data) return Refuse(refusal);
    store.BackgroundData[store.BackgroundCount] = data;
    store.BackgroundPoints[store.BackgroundCount] = points;
    return true;
}

bool WavesToBackground(Store& store) {
    if (store.BackgroundCount >= MaxBackground) return Refuse("Maximum number of background waves exceeded.");
    const Wave wave = ActiveWaveOf(store);
    if (wave.Points <= 0) return true;
    if (!AddBackground(store, wave.Points, "Allocation of background wave failed.")) return false;
    double* to = store.BackgroundData[store.BackgroundCount++];
    for (int i = 0; i < wave.Points; ++i) {
        *to++ = wave.X[i];
        *to++ = wave.Y[i];
    }
    return true;
}

void WipeBackground(Store& store) {
    for (int k = 0; k < store.BackgroundCount; ++k) {
        GiveBack(store, store.BackgroundData[k], BackgroundSize(store.BackgroundPoints[k]));
        store.BackgroundPoints[k] = 0;
    }
    store.BackgroundCount = 0;
}

void SortXWave(Store& store) {
    Sort(store, true);
}

void SortYWave(Store& store) {
    Sort(store, false);
}

bool ManualWavePoints(Store& store, int points) {
    if (points < 0 || points > MaxPoints) return false;
    store.FitValid = false;
    ActiveWaveOf(store).Points = static_cast<std::int16_t>(points);
    store.PreviewPoints = static_cast<std::int16_t>(points);
    Refresh(store);
    return true;
}

}
