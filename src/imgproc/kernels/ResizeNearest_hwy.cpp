#include "imgproc/kernels/Resize.h"

#include "imgproc/kernels/ResizePicks-inl.h"
#include "imgproc/kernels/ResizePicks.h"
#include "imgproc/kernels/ResizeTables.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

struct NearestScratch {
    std::uint32_t const *rows;
    Picks picks;
    std::uint32_t *picked;
};

using PickPixels = void(NearestScratch scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

static void nearestWith(PickPixels pickPixels, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<std::uint32_t> const rows = nearestSources(from.rows, to.rows),
                                     columns = nearestSources(from.columns, to.columns);
    PickScratch const tables(1, to.columns);
    Picks const picks = tables.picks(0, to.columns, [&](std::size_t j) { return columns[j]; });
    Scratch<std::uint32_t> const picked(picks.count);
    pickPixels({rows.data(), picks, picked.data()}, in, from, out, to);
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

void pickPixels(NearestScratch scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    makeWindows(scratch.picks, from.columns);
    if (!scratch.picks.windowed) return plain::resizeNearest(in, from, out, to);
    RowWriter const writer;
    std::size_t const inBytes = 3 * std::size_t(from.columns), outBytes = 3 * std::size_t(to.columns);
    auto const *const frame = reinterpret_cast<std::uint8_t const *>(in);
    auto *row = reinterpret_cast<std::uint8_t *>(out);
    for (std::uint32_t i = 0; i < to.rows; i++, row += outBytes) {
        if (i > 0 && scratch.rows[i] == scratch.rows[i - 1]) {
            std::memcpy(row, row - outBytes, outBytes);
        } else {
            pick(scratch.picks, frame + scratch.rows[i] * inBytes, scratch.picked);
            writer.storeRow(row, to.columns, scratch.picked);
        }
    }
}

void resizeNearest(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    nearestWith(pickPixels, in, from, out, to);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(resizeNearest)
