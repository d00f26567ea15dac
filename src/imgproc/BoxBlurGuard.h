// The guard that GreyBoxBlur and RGBBoxBlur share.
#pragma once

#include <cstdint>
#include <limits>

#include "containers/Mat.h"
#include "node/Guard.h"

namespace zun {

/// A box of a negative size reads outside the frame, and the frame with the box added to continue its edges has to be
/// countable in 32 bits. On an empty frame every box passes. A box without pixels passes, too, and gives zeros.
template <class T>
Verdict checkBoxBlur(InputStream<Mat<T, 2>> const &at, Mat<T, 2> const *frame, int width, int height) {
    if (frame == nullptr || frame->count == 0) return pass;
    if (width < 0) return refuse(at, "kernelSizeX is ", width, "; set it to 1 or more");
    if (height < 0) return refuse(at, "kernelSizeY is ", height, "; set it to 1 or more");

    constexpr std::uint64_t longest = std::numeric_limits<int>::max(), most = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t const rows = std::uint64_t(frame->shape[0]) + static_cast<unsigned>(height),
                        columns = std::uint64_t(frame->shape[1]) + static_cast<unsigned>(width);
    if (rows <= longest && columns <= longest && rows * columns <= most) return pass;
    return refuse(at, "the frame of ", sizeOf(*frame), ", with kernelSizeX ", width, " and kernelSizeY ", height,
                  " added to continue its edges, is larger than any frame may be; set smaller sizes");
}

} // namespace zun
