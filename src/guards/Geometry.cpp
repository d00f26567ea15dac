#include "guards/Geometry.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "guards/Cropping.h"

namespace zun::guards {
namespace {

using Frame = Mat<Vec3b, 2>;

struct Size {
    std::int64_t rows, columns;

    friend bool operator==(Size const &, Size const &) = default;
};

bool fitsInMemory(Size size) {
    return size.rows == 0 || size.columns == 0 ||
           std::uint64_t(size.rows) * std::uint64_t(size.columns) <= largestCutBytes / sizeof(Vec3b);
}

/// How the node scales lengths: by a fraction of which both terms are below 16384 in magnitude.
class Scale {
public:
    Scale(std::int64_t target, std::int64_t source) {
        std::int64_t const common = std::gcd(target, source);
        std::int64_t num = target / common, den = source / common;
        while (std::abs(num) >= 16384 || std::abs(den) >= 16384) {
            num /= 2;
            den /= 2;
        }
        factor = den == 0 ? 16383.0 : static_cast<double>(num) / static_cast<double>(den);
    }

    std::int64_t of(std::int64_t length) const {
        return truncateToInt(std::round(factor * static_cast<double>(length)));
    }

private:
    double factor;
};

/// The size that the node gives a frame, computed as the node does; none for a frame that passes as it is.
std::optional<Size> sizeAfterResize(engine::GuardView const &view, Size frame) {
    int width = view.option("width", 0), height = view.option("height", 0);
    if (int const largest = view.option("largestSize", 0)) {
        bool const wide = frame.columns > frame.rows;
        width = wide ? largest : 0;
        height = wide ? 0 : largest;
    }
    if (width == 0 && height == 0) return std::nullopt;
    if (width != 0 && height != 0)
        return Size{Scale(height, frame.rows).of(frame.rows), Scale(width, frame.columns).of(frame.columns)};

    std::int64_t const target = width != 0 ? width : height, side = width != 0 ? frame.columns : frame.rows;
    bool const goesOn =
        (side < target || view.option("allowDownscale", true)) && (view.option("allowUpscale", true) || side > target);
    if (!goesOn) return std::nullopt;
    Scale const scale(target, side);
    return Size{scale.of(frame.rows), scale.of(frame.columns)};
}

} // namespace

std::optional<engine::Refusal> resizeImage(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("input");
    int const algorithm = view.option("algorithm", 1);
    if (frame == nullptr || algorithm < 0 || algorithm > 2) return std::nullopt;
    Size const from{frame->shape[0], frame->shape[1]};
    std::optional<Size> const to = sizeAfterResize(view, from);
    if (!to || *to == from) return std::nullopt;

    constexpr std::int64_t longest = std::numeric_limits<int>::max();
    bool const empty = to->rows < 1 || to->columns < 1;
    if (!empty && fitsInMemory(*to) && from.rows <= longest && from.columns <= longest) return std::nullopt;
    std::ostringstream reason;
    reason << "the frame of " << from.rows << " rows and " << from.columns << " columns would become one of "
           << to->rows << " rows and " << to->columns << " columns, "
           << (empty ? "and both have to be at least 1; set height and width both, or to larger numbers"
                     : "which is larger than any frame may be; set height, width or largestSize to smaller numbers");
    return engine::Refusal{"input", reason.str()};
}

std::optional<engine::Refusal> warpAffine(engine::GuardView const &view) {
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
    if (!negative && fitsInMemory({size[0], size[1]})) return std::nullopt;
    std::ostringstream reason;
    reason << "the option size is (" << size[0] << ", " << size[1] << "), "
           << (negative ? "which holds a negative number" : "which is larger than any frame may be")
           << "; set it to the rows and columns that the output is to have";
    return engine::Refusal{"image", reason.str()};
}

} // namespace zun::guards
