// The wave file, ".wav": the buffer wave with its accumulated and background waves, and the parameters of its
// fit. A text file; fields are separated by a comma and a blank, integers 5 and reals 12 wide.
//
//     QorvaniteWave V1
//     <where it comes from: data file_group_series_analysis>
//     <comment>
//         3, BufferPoints
//         1, Accumulated Waves
//         0, BackgroundWaves
//         5, 1-Exponential                       the type of the fit, counted from 1; "    0, no fit"
//     V, V, I, A                                 name and unit of X and Y
//     1, -8.00000E-02, -1.20000E-11              for each point: 1, or 0 for one that is left out; X; Y
//     ...
//     Wave1                                      for each accumulated wave: a name, and for each point
//     1, -1.20000E-11                            the flag and Y
//     ...
//     BackgroundWave1                            for each background wave: a name, the number of points,
//         2                                      and each point's X and Y
//      0.00000E+00,  1.00000E+00
//     ...
//     <the lines of the fit block (series/fit_block.h), if there is a fit>
//
// Reals have six significant digits here. Lines end as Setup.Settings.Export.LineEndMode says; a reader takes
// all three kinds. A line holds at most 160 bytes, that of an equation 255. Names are read back up to 16
// bytes.
#pragma once
#include "series/fit_block.h"
#include "series/series_fit.h"

#include <string>
#include <vector>

namespace WaveFile {

inline constexpr const char* Extension = ".wav";
inline constexpr std::size_t LineMax = FitBlock::LineMax;

struct Point {
    double X = 0, Y = 0;
    bool Skip = false;
};

// All of a file as it was read.
struct Content {
    std::string Source, Comment;
    SGFit::WaveLabel X, Y;
    std::vector<Point> Buffer;
    std::vector<std::vector<Point>> Accumulated; // as long as Buffer; without X
    std::vector<std::vector<Point>> Background;  // without flags
    bool HasFit = false;
    SeriesFitType FitType = SeriesFitType::Polynomial;
    Fit::SeriesRecords Records; // those handed in, with the parameters of the file in that of FitType
};

// Reads text into content; records are where the parameters start from. False with the reason in message.
[[nodiscard]] bool Parse(std::string_view text, const Fit::SeriesRecords& records, Content& content,
                         std::string& message);

// The text of the store's buffer wave. source is the second line.
[[nodiscard]] std::string Format(SeriesFit::Engine& engine, std::string_view source);

// "cell_1_2_1": of the open data set, for the analysis of that number.
[[nodiscard]] std::string SourceOf(const DataSession& session, int analysis);

// Makes the buffer wave the active one and writes it with its fit, beside the old file and in its place when
// it is whole. False, after an alert, for an empty buffer, which no reader would take, and for a failed step;
// the old file then stays as it was.
[[nodiscard]] bool SaveWaveBuffer(SeriesFit::Engine& engine, const std::string& path,
                                  std::string_view source);

// Replaces the buffer wave, its accumulated waves, and the background waves if the file has any; a fit brings
// its type and its parameters along. False, after an alert, when the file cannot be read whole: then wave and
// parameters stay as they were.
[[nodiscard]] bool LoadWaveBuffer(SeriesFit::Engine& engine, const std::string& path);

}
