// Overwriting long runs of one value along the rows and columns of a binary frame.
#pragma once

#include <cstdint>

#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

/// What of a line is overwritten, and with what.
struct RunRule {
    unsigned char runValue;  ///< the value that a run is made of
    unsigned char fillValue; ///< what it is overwritten with
    int leastLength;         ///< of a run, in pixels; below 1 see below
};

namespace plain {

/// Finds runs of at least the least length in each row of `in` and overwrites them in `out`, which has the same shape,
/// dense, and is not read. With a least length below 1 the whole row is overwritten, except each pixel that does
/// not have the run's value while the next pixel does. The two frames must not overlap.
void overwriteLongRowRuns(unsigned char const *in, unsigned char *out, std::uint32_t rows, std::uint32_t columns,
                          RunRule const &rule);

/// The same for columns; the rows of `in` start `inPitch` bytes apart.
void overwriteLongColumnRuns(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                             std::uint32_t columns, RunRule const &rule);

} // namespace plain

inline constexpr auto &overwriteLongRowRuns = Dispatched<plain::overwriteLongRowRuns>::call;
inline constexpr auto &overwriteLongColumnRuns = Dispatched<plain::overwriteLongColumnRuns>::call;

} // namespace zun::kernels
