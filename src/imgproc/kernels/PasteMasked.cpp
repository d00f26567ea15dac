#include "imgproc/kernels/PasteMasked.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace zun::kernels {
namespace {

/// `length` pixels one after the other. That is a block copy unless it comes upon pixels that it has written itself.
void pasteRun(Vec3b *target, Vec3b const *source, std::uint32_t length) {
    std::less<> const before;
    if (!before(source, target) || !before(target, source + length)) {
        std::memmove(target, source, std::uint64_t(length) * sizeof(Vec3b));
        return;
    }
    for (std::uint32_t i = 0; i < length; i++) {
        Vec3b const pixel = source[i];
        target[i] = pixel;
    }
}

void pasteRow(unsigned char const *mask, std::uint32_t width, Vec3b *target, Vec3b const *source) {
    for (std::uint32_t first = 0; first < width;) {
        bool const set = mask[first] != 0;
        std::uint32_t end = first + 1;
        while (end < width && (mask[end] != 0) == set) end++;
        if (set) pasteRun(target + first, source + first, end - first);
        first = end;
    }
}

} // namespace

void pasteMasked(unsigned char const *mask, std::uint32_t count, std::uint32_t width, Vec3b *target,
                 std::uint32_t targetGap, Vec3b const *source, std::uint32_t sourceGap) {
    while (count > 0) {
        std::uint32_t const length = width == 0 ? count : std::min(count, width); // a width of 0 is never reached
        pasteRow(mask, length, target, source);
        count -= length;
        if (count == 0) return;
        mask += length;
        target += std::uint64_t(length) + targetGap;
        source += std::uint64_t(length) + sourceGap;
    }
}

} // namespace zun::kernels
