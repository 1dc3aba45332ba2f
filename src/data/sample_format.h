// Sample formats: conversion between the four formats of raw samples, reduction of samples by a stride,
// and the bits of digital channels. Plain array routines in the machine's byte order; foreign samples are
// swapped before they come here. Bytes need no alignment.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

// The values of TrDataFormat. A byte from a file may hold any other value: it is an unknown format.
enum class DataFormat : std::uint8_t { Int16 = 0, Int32 = 1, Real32 = 2, Real64 = 3 };

namespace SampleFormat {

// Bytes of one sample; 0 for an unknown format.
[[nodiscard]] std::size_t SampleSize(DataFormat format);

// target = source * scale + offset for each point.
//
// Real targets: the samples are first widened (or narrowed) as they are, then multiplied and added to in
// the target's own precision, with scale and offset taken to that precision.
// Integer targets: computed in f64, then integer sources are truncated, real sources rounded to the nearest
// (half away from zero). Beyond the target's range the nearest end is taken; a NaN becomes 0.
//
// forRam refuses integer targets. False after an alert for these and for unknown formats, and false
// when one of the buffers is too short for the points; the target is then untouched.
[[nodiscard]] bool ConvertFormat(DataFormat sourceFormat, DataFormat targetFormat,
                                 std::span<const std::byte> source, std::span<std::byte> target,
                                 std::size_t points, double scale, double offset, bool forRam);

// Least and greatest sample. A NaN never wins; infinities count as values.
struct Extremes {
    float Min = 0;
    float Max = 0;
    bool Known = false; // false when there is no sample that is a number; Min and Max are then 0
};
[[nodiscard]] Extremes FindExtremes(std::span<const float> samples);

// How Compress reduces. Each group of Stride samples gives one value; an incomplete last group gives none.
struct Reduction {
    std::size_t Stride = 1;                 // samples a group, at least 1
    std::size_t Block = 1;                  // samples of the mean, from the group's first; 1 to Stride
    std::uint32_t DigitalMask = NoMask;     // bits of digital words to keep; 65535 and more: analog samples
    DataFormat Format = DataFormat::Real32; // of the source: Int16 or Real32
    bool Add = false;                       // add to (digital: or with) what the target holds
    bool Plain = false;                     // the group's first sample instead of the mean of the block
    bool Filter = false;                    // first filter with a corner of 1 / Stride; needs a stride of 2
    double Scale = 1;
    double Offset = 0;

    static constexpr std::uint32_t NoMask = 65535;
};

// Analog: value * Scale + Offset, where the mean is the block's sum times (Scale / Block), in f64.
// Digital: the word at the group's start, masked, as a real value; scale and offset play no part. A word
// that is stored as a real is rounded first.
// The filter sees HalfWidth zeros on both sides of the data.
// Returns the values written to the target, at most points / Stride. 0 for a format other than
// Int16 and Real32 (with an alert), and for a source that is too short, a stride of 0 or a block outside of
// its range. The target may be shorter than points / Stride: it is then filled.
[[nodiscard]] std::size_t Compress(std::span<const std::byte> source, std::span<float> target,
                                   std::size_t points, const Reduction& reduction);

// Replaces each word by its bit, 0 or 1. A bit outside 0 to 15 is 0 in every word.
void ExtractBit(std::span<std::uint16_t> words, int bit);

// Keeps the bits of keepMask in each word and sets those of orValue.
void SetDigitalValue(std::span<std::uint16_t> words, std::uint16_t keepMask, std::uint16_t orValue);

}
