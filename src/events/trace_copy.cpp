#include "events/trace_copy.h"

#include <limits>

namespace TraceCopy {

std::size_t BlockCount(std::size_t samples, std::int32_t blockSize) {
    return blockSize < 1 ? 0 : samples / static_cast<std::size_t>(blockSize);
}

std::vector<double> BlockMeans(std::span<const float> samples, std::int32_t blockSize, std::size_t blocks) {
    std::vector<double> means(blocks, std::numeric_limits<double>::quiet_NaN());
    const auto size = static_cast<std::size_t>(blockSize);
    for (std::size_t block = 0; block < blocks && (block + 1) * size <= samples.size(); ++block) {
        double sum = 0.0;
        for (const float y : samples.subspan(block * size, size)) sum += y;
        means[block] = sum / static_cast<double>(size);
    }
    return means;
}

std::vector<double> BlockTimes(double first, double interval, std::int32_t blockSize, std::size_t blocks) {
    std::vector<double> times(blocks, 0.0);
    std::size_t i = 0;
    for (double& time : times) {
        double sum = 0.0;
        for (std::int32_t n = 0; n < blockSize; ++n, ++i) sum += static_cast<double>(i) * interval + first;
        time = sum / blockSize;
    }
    return times;
}

}
