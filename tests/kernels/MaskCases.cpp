#include <algorithm>
#include <cstring>

#include "KernelCase.h"
#include "imgproc/kernels/BlendCoverage.h"
#include "imgproc/kernels/Ellipse.h"
#include "imgproc/kernels/PasteMasked.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

constexpr std::uint32_t mostMore = 100;

/// Mask bytes followed by source pixels, pasted into the output, which has `gap` pixels between its rows.
KernelCase paste(std::string name, Content content, std::uint32_t gap) {
    return {"pasteMasked " + name, content, frameBytes<4>, frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                std::uint32_t const width = size.columns - std::min(gap, size.columns);
                std::uint32_t const rest = size.columns - width;
                if (width == 0) return;
                formOf(form, plain::pasteMasked,
                       pasteMasked)(in, width * size.rows, width, reinterpret_cast<Vec3b *>(out), rest,
                                    reinterpret_cast<Vec3b const *>(in + std::size_t(size.rows) * size.columns), rest);
            }};
}

/// The output into itself, `distance` pixels on; back for a negative one.
KernelCase pasteOnItself(std::int64_t distance) {
    return {"pasteMasked on itself, " + std::string(distance < 0 ? "back by " : "on by ") +
                std::to_string(distance < 0 ? -distance : distance),
            Content::binary, frameBytes<1>, frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                auto *const frame = reinterpret_cast<Vec3b *>(out);
                std::int64_t const pixels = std::int64_t(size.rows) * size.columns, width = size.columns / 2,
                                   rows = size.rows - std::min<std::int64_t>(size.rows, 1);
                std::int64_t const space = pixels - rows * size.columns;
                std::int64_t const shift = std::clamp(distance, -space, space);
                if (width == 0 || rows == 0) return;
                auto const gap = static_cast<std::uint32_t>(size.columns - width);
                formOf(form, plain::pasteMasked, pasteMasked)(
                    in, static_cast<std::uint32_t>(width * rows), static_cast<std::uint32_t>(width),
                    frame + std::max<std::int64_t>(shift, 0), gap, frame + std::max<std::int64_t>(-shift, 0), gap);
            }};
}

/// The ellipse of a mask holds those pixels that are copied.
KernelCase ellipse(std::string name, int addedToRow, int addedToColumn, int divisor) {
    auto const shape = [=](FrameSize size) {
        auto const rows = static_cast<int>(size.rows), columns = static_cast<int>(size.columns);
        return Ellipse{rows / 2 + addedToRow, columns / 2 + addedToColumn, columns / divisor, rows / divisor};
    };
    return {"copyEllipse " + name, Content::bytes, frameBytes<3>, frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                if (form == Form::fast) {
                    copyEllipse(reinterpret_cast<Vec3b const *>(in), reinterpret_cast<Vec3b *>(out), size, shape(size));
                    return;
                }
                std::vector<unsigned char> mask(std::size_t(size.rows) * size.columns);
                fillEllipse(mask.data(), static_cast<int>(size.rows), static_cast<int>(size.columns), 1, shape(size));
                for (std::size_t i = 0; i < frameBytes<3>(size); i++)
                    out[i] = mask[i / 3] != 0 ? in[i] : static_cast<unsigned char>(0);
            }};
}

std::size_t mapBytes(FrameSize size) {
    return (std::size_t(size.rows) / 2 + mostMore) * (std::size_t(size.columns) / 2 + mostMore + 1);
}

/// A map of half the frame's extents and some more, with a byte between its rows; or from the last row to the first.
KernelCase blend(std::string name, int top, int left, std::uint32_t more, bool upward = false) {
    auto const mapOf = [=](FrameSize size) { return FrameSize{size.rows / 2 + more, size.columns / 2 + more}; };
    return {"blendCoverage " + name, Content::bytes, mapBytes, frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                FrameSize const map = mapOf(size);
                std::int64_t const pitch = std::int64_t(map.columns) + 1;
                // The array ends with the map's last byte.
                unsigned char const *const end = in + mapBytes(size);
                unsigned char const *const lastRow = end - map.columns;
                if (map.rows == 0) return;
                Coverage const coverage = {upward ? lastRow : lastRow - (map.rows - 1) * pitch, upward ? -pitch : pitch,
                                           map.rows, map.columns};
                formOf(form, plain::blendCoverage, blendCoverage)(coverage, reinterpret_cast<Vec3b *>(out), size, top,
                                                                  left, {255, 0, 130});
            }};
}

} // namespace

std::vector<KernelCase> maskCases() {
    std::vector<KernelCase> all;
    all.insert(all.end(), {paste("through 0 and 1", Content::binary, 0), paste("through any bytes", Content::bytes, 0),
                           paste("into part of a frame", Content::binary, 20), pasteOnItself(0), pasteOnItself(1),
                           pasteOnItself(-1), pasteOnItself(20), pasteOnItself(-60), pasteOnItself(1000)});
    all.insert(all.end(), {ellipse("that fits the frame", 0, 0, 1), ellipse("of half the size", 0, 0, 2),
                           ellipse("beside the middle", -3, 20, 1), ellipse("below the frame", 1000, 0, 1),
                           ellipse("of no size", 0, 0, 1000)});
    all.insert(all.end(),
               {blend("inside", 0, 0, 0), blend("further inside", 3, 5, 0),
                blend("over the right and the bottom edge", 1, 20, 7),
                blend("over the left and the top edge", -1, -19, 10), blend("over all edges", -9, -40, mostMore),
                blend("from the last row", -1, 3, 1, true), blend("beside the frame", 0, 1000, 0),
                blend("at the largest ints", 2147483647, -2147483647 - 1, 3)});
    return all;
}

} // namespace zun::kernels
