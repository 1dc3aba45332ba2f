// The wave store: the numbers that the series fit works on.
//
// A wave is a list of X,Y points with a skip flag each. Results of a series are taken into the preview wave
// (series/extraction.h); it is copied, appended or accumulated into the buffer wave; whichever of the two is
// active is sorted, computed with and fitted. Background waves are frozen copies behind the graph.
//
// A flagged point stays in its wave, and is left out by statistics, fits and histograms. Nothing guards the
// arithmetic: infinities and non-numbers stay in the data. Every operation that is refused says why in an
// alert and changes nothing. An operation that changed a wave ends in Refresh.
//
// The arrays lie in the heap "SGFitBuffer". All hold MaxPoints elements, so that no count leads beyond them.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Buffer {
class Heap;
}

namespace SGFit {

inline constexpr int MaxPoints = 4000; // of a wave
inline constexpr int MaxAccumulated = 32;
inline constexpr int MaxBackground = 32;
inline constexpr int CommentSize = 160; // bytes

inline constexpr const char* HeapName = "SGFitBuffer";

struct WaveLabel {
    char Name[32] = {};
    char Unit[8] = {};
    bool operator==(const WaveLabel&) const = default;
};

// What is taken from the analysis tree (series/extraction.h).
enum class DataSource : std::uint8_t { Results, SweepEvents, AllEvents, AddSweepwise, AvgSweepwise };

enum class Active : std::uint8_t { Preview, Buffer };

// Over the points that are not flagged, but for the fields ending in All. 0 where there is nothing to tell.
struct WaveStats {
    double XMinAll = 0, XMaxAll = 0, YMinAll = 0, YMaxAll = 0;
    double XMin = 0, XMax = 0, YMin = 0, YMax = 0;
    double MeanX = 0, MeanY = 0;
    double SDX = 0, SDY = 0; // sample standard deviations
    std::int16_t SkipCount = 0;
};

struct Store {
    Store() = default;
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    Buffer::Heap* Heap = nullptr; // none until Open

    double *XPreview = nullptr, *YPreview = nullptr;
    std::uint8_t* PreviewSkip = nullptr; // not 0: left out
    double *XBuffer = nullptr, *YBuffer = nullptr;
    std::uint8_t* BufferSkip = nullptr;
    std::int16_t* BufferCnt = nullptr; // accumulated waves in which the point was not flagged

    std::int16_t PreviewPoints = 0, BufferPoints = 0;
    Active ActiveWave = Active::Preview;
    std::int16_t WavePoints = 0; // of the active wave, as of the last Refresh
    WaveStats Stats;             // of the active wave, as of the last Refresh
    WaveLabel PreviewX, PreviewY, BufferX, BufferY;

    // The buffer wave is their mean, its X and flags are those of the first.
    std::int16_t AccumCount = 0;
    double* AccumData[MaxAccumulated] = {};
    std::uint8_t* AccumSkip[MaxAccumulated] = {};

    std::int16_t BackgroundCount = 0;
    std::int32_t BackgroundPoints[MaxBackground] = {};
    double* BackgroundData[MaxBackground] = {}; // X, Y, X, Y ...

    std::string WaveComment;       // less than CommentSize bytes
    std::uint8_t MathOp = 7;       // MathKind; a number beyond its list leaves values as they are
    std::int16_t MathValue = 0;    // 0 to 31, into Setup.Settings.Protocol.Values
    std::uint8_t MathBufferOp = 0; // WaveKind
    double MathConst = 0;          // of add, sub, mul and div const
    SGFit::DataSource DataSource = SGFit::DataSource::Results;
    std::int16_t EventsSweep = 1; // the sweep of DataSource::SweepEvents, from 1
    bool FitValid = false;        // the active wave has a fit result that may be shown

    std::function<void()> Refreshed; // the window's redrawing; may be empty
};

// Allocates the arrays. False, with an alert and nothing allocated, when there is no memory for them, and
// while another store is open. limitBytes is the most that the heap may take from the system, 0 for no limit.
[[nodiscard]] bool Open(Store& store, std::size_t limitBytes = 0);

// One of the two waves, to be read and changed in place.
struct Wave {
    double *X, *Y;
    std::uint8_t* Skip;
    std::int16_t& Points;
    WaveLabel &XLabel, &YLabel;
};
[[nodiscard]] Wave WaveOf(Store& store, Active which);
[[nodiscard]] inline Wave ActiveWaveOf(Store& store) {
    return WaveOf(store, store.ActiveWave);
}

// Brings WavePoints and Stats up to date and calls Refreshed.
void Refresh(Store& store);
[[nodiscard]] WaveStats StatsOf(const Wave& wave);

void SelectActiveWave(Store& store, Active which);

// The buffer wave becomes the preview wave, as the first of new accumulated ones.
[[nodiscard]] bool WaveToBuffer(Store& store);
// The buffer becomes the mean of the accumulated waves and the preview wave, point by point.
[[nodiscard]] bool AccumulateWave(Store& store);
// Memory for one more accumulated wave; the caller counts it. False after an alert.
[[nodiscard]] bool AddAccumulated(Store& store);

void ClearBuffer(Store& store);
void ClearPreview(Store& store);
void ClearWave(Store& store); // both

// A frozen copy of the active wave, without its flags. True, and nothing done, for an empty wave.
[[nodiscard]] bool WavesToBackground(Store& store);
// Memory for one more background wave of so many points, not yet counted. False after the given alert.
[[nodiscard]] bool AddBackground(Store& store, std::int32_t points, std::string_view refusal);
void WipeBackground(Store& store);

// Ascending; points of equal keys keep their order. The values of the accumulated waves move along.
void SortXWave(Store& store);
void SortYWave(Store& store);

// The user sets the number of points by hand. False, with nothing changed, outside 0 to MaxPoints.
[[nodiscard]] bool ManualWavePoints(Store& store, int points);

}
