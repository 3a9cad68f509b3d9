#pragma once
// The median of a benchmark's samples.

#include <algorithm>
#include <vector>

namespace Orvik::Bench {

// The middle value; the mean of the two middle ones for an even count.
inline double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace Orvik::Bench
