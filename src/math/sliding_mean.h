// The means of so many neighbouring samples at each place, compared with a threshold on the way along.
//
// The mean at a place is the sum of its samples from left to right, in 64 bits, divided by their number. To
// sum each anew takes as many steps as samples are in it; here the sum of the place before is carried on. It
// is the same sum where all sums are exact: the samples are multiples of a number that is not too small, as
// those of a 16-bit converter are for averages up to 16 000. Elsewhere its distance from the mean is bounded,
// and a mean that lies within it of the threshold is summed anew.
#pragma once
#include <cstddef>
#include <span>

namespace Measure {

// The mean itself, at + average not beyond the samples.
[[nodiscard]] double MeanAt(std::span<const float> samples, std::size_t at, std::size_t average);

class SlidingMean {
public:
    // average: 1 to the number of samples, which must outlive the record. The threshold is a number.
    SlidingMean(std::span<const float> samples, std::size_t average, double threshold);

    // A value that is above, at or below the threshold, or none of these, as the mean at the place is. Quick
    // where the place is the one behind that of the call before.
    [[nodiscard]] double At(std::size_t place);

private:
    void Sum(std::size_t place);
    void Count(float sample, int sign);

    std::span<const float> Samples;
    std::size_t Average;
    double Threshold;
    double Doubt = 0.0; // the most that the carried mean may be off

    std::size_t Place = 0;
    std::size_t Carried = 0;                                // places since the sum was made anew
    double Finite = 0.0;                                    // sum of the samples that are finite
    std::ptrdiff_t NotNumbers = 0, Highest = 0, Lowest = 0; // how many of the others; the latter two infinite
};

}
