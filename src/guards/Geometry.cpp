#include "guards/Geometry.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "guards/Cropping.h"
#include "guards/Drawing.h"
#include "imgproc/kernels/ResizeSize.h"

namespace zun::guards {
namespace {

using Frame = Mat<Vec3b, 2>;

bool fitsInMemory(std::int64_t rows, std::int64_t columns) {
    return rows == 0 || columns == 0 || std::uint64_t(rows) * std::uint64_t(columns) <= largestCutBytes / sizeof(Vec3b);
}

} // namespace

std::optional<engine::Refusal> resizeImage(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("input");
    int const algorithm = view.option("algorithm", 1);
    if (frame == nullptr || algorithm < 0 || algorithm > 2) return std::nullopt;
    kernels::FrameSize const from{frame->shape[0], frame->shape[1]};
    kernels::ResizeRequest const request{view.option("width", 0), view.option("height", 0),
                                         view.option("largestSize", 0), view.option("allowDownscale", true),
                                         view.option("allowUpscale", true)};
    std::optional<kernels::FrameSize> const to = kernels::resizedSize(from, request);
    if (!to || *to == from) return std::nullopt;

    constexpr std::uint32_t longest = std::numeric_limits<int>::max();
    auto const rows = static_cast<int>(to->rows), columns = static_cast<int>(to->columns);
    bool const empty = rows < 1 || columns < 1;
    if (!empty && fitsInMemory(rows, columns) && from.rows <= longest && from.columns <= longest) return std::nullopt;
    std::ostringstream reason;
    reason << "the frame of " << from.rows << " rows and " << from.columns << " columns would become one of " << rows
           << " rows and " << columns << " columns, "
           << (empty ? "and both have to be at least 1; set height and width both, or to larger numbers"
                     : "which is larger than any frame may be; set height, width or largestSize to smaller numbers");
    return engine::Refusal{"input", reason.str()};
}

std::optional<engine::Refusal> warpAffine(engine::GuardView const &view) {
    if (colourFails(view, "borderColour")) return std::nullopt;
    if (auto const *const matrix = view.input<Mat<float, 2>>("transform")) {
        if (matrix->shape[0] < 2 || matrix->shape[1] < 3) {
            std::ostringstream reason;
            reason << "the transform has " << matrix->shape[0] << " rows and " << matrix->shape[1]
                   << " columns; send a matrix of at least 2 rows and 3 columns";
            return engine::Refusal{"transform", reason.str()};
        }
    }
    auto const size = view.option("size", Vec2i{});
    bool const negative = size[0] < 0 || size[1] < 0;
    if (!negative && fitsInMemory(size[0], size[1])) return std::nullopt;
    std::ostringstream reason;
    reason << "the option size is (" << size[0] << ", " << size[1] << "), "
           << (negative ? "which holds a negative number" : "which is larger than any frame may be")
           << "; set it to the rows and columns that the output is to have";
    return engine::Refusal{"image", reason.str()};
}

} // namespace zun::guards
