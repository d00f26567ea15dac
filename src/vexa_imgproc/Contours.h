// The borders of what is set in a frame.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun {

/// All borders of a frame: of every connected object the outer one, and one around each of its holes. What is not 0 is
/// foreground; foreground pixels join in eight directions, background pixels in four. A border is made of foreground
/// pixels, also that of a hole.
///
/// The frame carries a border of zeros, one pixel wide, and all coordinates are those of the frame inside it: its pixel
/// (1, 1) is (0, 0). Contours run from top to bottom: by the first row of their boxes, then by the first column; where
/// both are equal, an outer border comes before that of a hole. An object is never written to after its construction
/// and may be read from many threads.
class Contours {
public:
    struct Border {
        std::shared_ptr<std::vector<Vec<int, 2>> const> points; ///< as getPointVector() has them, at least one
        Rect<int> box{};
        bool hole = false;
    };

    class Contour {
    public:
        explicit Contour(Border const &found) : border(found) {}

        /// The smallest rectangle that holds all pixels of the border.
        Rect<int> getBoundingBox() const { return border.box; }

        /// The number of pixels that the border encloses, its own among them; what lies in holes is enclosed, too. The
        /// time it takes grows with the border's length, for a hole also with its box.
        int getArea() const;

        /// The area, by Green's theorem, of the polygon through the middles of the border's pixels; 0 for a line.
        double getGreenArea() const;

        /// The border's pixels, (x, y), each a neighbour of the one before, and the last of the first; where an object
        /// is one pixel wide, the border comes by twice. An outer border begins with its topmost pixel, of several the
        /// leftmost, and goes down on its left side. That of a hole begins to the left of the hole's topmost pixel, of
        /// several the leftmost, and goes up from there.
        std::vector<Vec<int, 2>> const &getPointVector() const { return *border.points; }

    private:
        Border border;
    };

    class Iterator {
    public:
        explicit Iterator(std::map<int, Border>::const_iterator at) : position(at) {}

        Contour operator*() const { return Contour(position->second); }
        Iterator &operator++() {
            ++position;
            return *this;
        }
        bool operator!=(Iterator const &other) const { return position != other.position; }

    private:
        std::map<int, Border>::const_iterator position;
    };

    /// Finds the borders of a frame that has a border of zeros. With `replace`, the frame becomes the label image that
    /// the search left, cut to bytes, on storage of its own. Throws zun::Exception if the frame is too large.
    Contours(Mat<unsigned char, 2> &frame, bool replace) {
        Mat<int, 2> labels(frame.shape);
        std::copy_n(frame.first(), frame.count, labels.first());
        borders = getBorders(labels);
        if (!replace) return;
        frame = Mat<unsigned char, 2>(labels.shape);
        std::transform(labels.first(), labels.first() + labels.count, frame.first(),
                       [](int label) { return static_cast<unsigned char>(label); });
    }

    std::uint64_t size() const { return borders.size(); }
    Iterator begin() const { return Iterator(borders.begin()); }
    Iterator end() const { return Iterator(borders.end()); }

private:
    /// By label: 1, 2, ... in the order that contours have. The label image stays as it is. Thread-safe.
    static std::map<int, Border> getBorders(Mat<int, 2> &labels);

    std::map<int, Border> borders;
};

} // namespace zun
