// The array that every frame travels in, and the view of a part of it.
//
// A Mat is a small header, copied by value, over shared storage: copying one copies no element, and the storage goes
// with the last header. Nothing here checks an index or a shape. Headers may be copied from several threads at once;
// the elements have no protection of their own.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include "containers/Arithmetic.h"
#include "containers/Vec.h"
#include "vexa_core/MatAlloc.h"

namespace zun {

/// Dense and row-major: the one form in use.
template <int A, int B>
struct MatOptions {};

template <int N>
using Shape = std::array<std::uint32_t, N>;

/// The strides of a dense array of this shape, in elements.
template <int N>
constexpr Shape<N> denseStrides(Shape<N> const &shape) {
    Shape<N> strides{};
    std::uint32_t step = 1;
    for (int i = N; i-- > 0;) {
        strides[i] = step;
        step *= shape[i];
    }
    return strides;
}

/// The number of elements, modulo 2^32.
template <int N>
constexpr std::uint32_t elementCount(Shape<N> const &shape) {
    std::uint32_t count = 1;
    for (std::uint32_t extent : shape) count *= extent;
    return count;
}

template <class T, int N>
struct MatView;

template <class T, int N, class Options = MatOptions<1, 1>>
struct Mat {
    /// Scalars are held as vectors of one: the same bytes.
    using Element = std::conditional_t<std::is_arithmetic_v<T>, Vec<T, 1>, T>;

    std::uint32_t count = 0;       ///< number of elements: the product of `shape`, modulo 2^32
    Shape<N> shape{};              ///< extents; of a frame: rows (height), columns (width)
    std::shared_ptr<Element> data; ///< the first element, and the storage with it
    std::shared_ptr<void> owner;   ///< whatever else has to live as long as this header; empty unless a host fills it
    Shape<N> strides{};            ///< elements from one index to the next; always those of a dense array

    /// Empty: all zero, no storage.
    Mat() = default;

    /// Fresh storage, contents undefined.
    explicit Mat(Shape<N> const &extents) {
        describe(extents);
        data = MatAlloc::getGlobalMatAlloc()->getElements<Element>(count);
    }

    /// Fresh storage, every element set to `value`.
    Mat(Shape<N> const &extents, T const &value) : Mat(extents) { std::fill_n(first(), count, value); }

    /// The first element; row-major, the element at row r and column c of a frame is first()[r * shape[1] + c].
    T *first() const { return reinterpret_cast<T *>(data.get()); }

    std::uint64_t bytes() const { return std::uint64_t(count) * sizeof(T); }

    /// A further header of another shape on the same storage, whose elements the product of `extents` must not exceed.
    Mat reshape(Shape<N> const &extents) const {
        Mat result = *this;
        result.describe(extents);
        return result;
    }

    /// The same elements in fresh storage.
    Mat clone() const {
        Mat result(shape);
        if (count != 0) std::memcpy(result.first(), first(), bytes());
        return result;
    }

    /// A view of a rectangle, in columns and rows; this Mat has to outlive it.
    MatView<T, N> region(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height) const
        requires(N == 2) {
        MatView<T, N> view;
        view.count = height * width;
        view.shape = {height, width};
        view.data = first() + (std::uint64_t(y) * strides[0] + x);
        view.strides = strides;
        return view;
    }

    /// A header over memory that it doesn't own; the real owner has to outlive every copy of it.
    static Mat wrap(T *memory, Shape<N> const &extents) {
        Mat result;
        result.describe(extents);
        result.data = std::shared_ptr<Element>(reinterpret_cast<Element *>(memory), [](Element *) {});
        return result;
    }

private:
    void describe(Shape<N> const &extents) {
        shape = extents;
        strides = denseStrides<N>(extents);
        count = elementCount<N>(extents);
    }
};

/// A strided view of part of a Mat, for use inside one function; it keeps nothing alive.
template <class T, int N>
struct MatView {
    std::uint32_t count = 0;
    Shape<N> shape{};
    T *data = nullptr;           ///< the view's first element
    std::shared_ptr<void> owner; ///< empty
    Shape<N> strides{};          ///< elements from one index to the next

    T &at(std::uint32_t row, std::uint32_t column) const requires(N == 2) {
        return data[std::uint64_t(row) * strides[0] + std::uint64_t(column) * strides[1]];
    }

    /// The view's elements in a dense Mat on fresh storage.
    Mat<T, N> toMat() const requires(N == 2) {
        Mat<T, N> result(shape);
        if (result.count == 0) return result;
        T *out = result.first();
        for (std::uint32_t row = 0; row < shape[0]; row++, out += shape[1]) {
            if (strides[1] == 1)
                std::memcpy(out, &at(row, 0), std::uint64_t(shape[1]) * sizeof(T));
            else
                for (std::uint32_t column = 0; column < shape[1]; column++) out[column] = at(row, column);
        }
        return result;
    }

    /// True for equal shapes with equal elements in row order; stops at the first difference.
    friend bool operator==(MatView const &a, MatView const &b) requires(N == 2) {
        if (a.count == 0 && b.count == 0) return true;
        if (a.shape != b.shape) return false;
        for (std::uint32_t row = 0; row < a.shape[0]; row++)
            for (std::uint32_t column = 0; column < a.shape[1]; column++)
                if (!(a.at(row, column) == b.at(row, column))) return false;
        return true;
    }
};

/// A dense Mat of a rectangle that may lie partly outside the source; what lies outside repeats the nearest edge
/// element. Rows that no row of the rectangle overlaps stay zero. A rectangle that lies wholly left or right of the
/// source, on rows that overlap it, writes outside its rows: callers keep rectangles that overlap the source.
template <class T>
Mat<T, 2> cropReplicate(Mat<T, 2> const &source, int x, int y, int width, int height) {
    Mat<T, 2> result({static_cast<std::uint32_t>(height), static_cast<std::uint32_t>(width)});
    if (result.count == 0) return result;
    std::memset(static_cast<void *>(result.first()), 0, result.bytes());

    int const rows = static_cast<int>(source.shape[0]), columns = static_cast<int>(source.shape[1]);
    int const right = wrappingAdd(x, width), bottom = wrappingAdd(y, height);
    auto const resultAt = [&](int row, int column) {
        return result.first() + (std::int64_t(row) - y) * width + (std::int64_t(column) - x);
    };
    auto const sourceRow = [&](int row) { return source.first() + std::int64_t(row) * columns; };
    auto const copyRow = [&](int from, int to) {
        std::memcpy(static_cast<void *>(resultAt(to, x)), resultAt(from, x), std::size_t(width) * sizeof(T));
    };

    int const innerLeft = std::max(x, 0), innerRight = std::min(right, columns);
    for (int row = std::max(y, 0); row < std::min(bottom, rows); row++) {
        if (innerLeft < innerRight)
            std::memcpy(static_cast<void *>(resultAt(row, innerLeft)), sourceRow(row) + innerLeft,
                        std::size_t(innerRight - innerLeft) * sizeof(T));
        for (int column = x; column < 0; column++) *resultAt(row, column) = sourceRow(row)[0];
        for (int column = columns; column < right; column++) *resultAt(row, column) = sourceRow(row)[columns - 1];
    }

    bool const reachesSource = y <= 0 && height > wrappingSubtract(0, y);
    if (reachesSource)
        for (int row = y; row < std::min(bottom, 0); row++) copyRow(0, row);

    int const last = wrappingSubtract(rows - 1, y); // the result's row that holds the source's last
    if (last >= 0 && last < height)
        for (int row = std::max(rows, y); row < bottom; row++) copyRow(rows - 1, row);
    return result;
}

} // namespace zun
