#include "media/reading/Orientation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace zun::media {
namespace {

/// Numbers of EXIF data, which are in one order of bytes or the other.
struct ExifNumbers {
    std::string_view bytes;
    bool littleEndian;

    std::uint32_t at(std::size_t place, std::size_t size) const {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; i++)
            value = value << 8 | static_cast<unsigned char>(bytes[place + (littleEndian ? size - 1 - i : i)]);
        return value;
    }
};

/// Where a pixel of the result comes from is linear in its row and column.
template <class T>
Mat<T, 2> turned(Mat<T, 2> const &picture, Orientation orientation) {
    constexpr std::uint32_t tile = 32; // a tile of either picture stays in the cache
    std::int64_t const rows = picture.shape[0], columns = picture.shape[1];
    Mat<T, 2> result(orientation.swapsSides() ? Shape<2>{picture.shape[1], picture.shape[0]} : picture.shape);
    std::int64_t start = 0, perRow = columns, perColumn = 1;
    switch (orientation.rotation) {
    case 90:
        start = (rows - 1) * columns, perRow = 1, perColumn = -columns;
        break;
    case 180:
        start = rows * columns - 1, perRow = -columns, perColumn = -1;
        break;
    case 270:
        start = columns - 1, perRow = -1, perColumn = columns;
        break;
    default:
        break;
    }
    if (orientation.mirrored) {
        start += perColumn * (std::int64_t(result.shape[1]) - 1);
        perColumn = -perColumn;
    }
    T const *const from = picture.first() + start;
    for (std::uint32_t top = 0; top < result.shape[0]; top += tile)
        for (std::uint32_t left = 0; left < result.shape[1]; left += tile)
            for (std::uint32_t row = top; row < std::min(top + tile, result.shape[0]); row++) {
                T *const to = result.first() + std::size_t(row) * result.shape[1];
                for (std::uint32_t column = left; column < std::min(left + tile, result.shape[1]); column++)
                    to[column] = from[row * perRow + column * perColumn];
            }
    return result;
}

} // namespace

Orientation orientationFromExif(unsigned value) {
    constexpr std::array<Orientation, 9> known{
        {{}, {}, {0, true}, {180, false}, {180, true}, {90, true}, {90, false}, {270, true}, {270, false}}};
    return value < known.size() ? known[value] : Orientation{};
}

Orientation orientationOfExif(std::string_view exif) {
    constexpr std::size_t headerSize = 8, entrySize = 12;
    constexpr std::uint32_t orientationTag = 0x0112;
    if (exif.size() < headerSize + 2 || (!exif.starts_with("II") && !exif.starts_with("MM"))) return {};
    ExifNumbers const numbers{exif, exif.starts_with("II")};
    std::size_t const table = numbers.at(4, 4);
    if (table > exif.size() - 2) return {};
    std::size_t const entries = numbers.at(table, 2);
    for (std::size_t i = 0, place = table + 2; i < entries && place + entrySize <= exif.size(); i++, place += entrySize)
        if (numbers.at(place, 2) == orientationTag) return orientationFromExif(numbers.at(place + 8, 2));
    return {};
}

Orientation orientationOfMatrix(std::int32_t const *matrix) {
    // A point moves from (x, y) to (a x + c y, b x + d y).
    double a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
    Orientation orientation;
    if (a * d - b * c < 0) {
        orientation.mirrored = true;
        a = -a;
        c = -c;
    }
    if (std::abs(a + d) >= std::abs(b - c))
        orientation.rotation = a + d >= 0 ? 0 : 180;
    else
        orientation.rotation = b - c > 0 ? 90 : 270;
    return orientation;
}

Mat<Vec3b, 2> oriented(Mat<Vec3b, 2> const &picture, Orientation orientation) {
    return orientation.upright() || picture.count == 0 ? picture : turned(picture, orientation);
}

Mat<unsigned char, 2> oriented(Mat<unsigned char, 2> const &picture, Orientation orientation) {
    return orientation.upright() || picture.count == 0 ? picture : turned(picture, orientation);
}

} // namespace zun::media
