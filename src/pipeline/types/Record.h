// Values as lists of scalars, and back: what records in files and values in descriptions have in common.
//
// A scalar is itself; a vector or point is [a, b]; a box [x, y, width, height]; a list the list of its elements; a
// frame or a transform the list of its rows; line segments [[x0, y0, x1, y1], ...]; a mask
// [[x, y, width, height], rows].
#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "pipeline/config/OptionNode.h"
#include "pipeline/types/Contents.h"
#include "pipeline/types/RecordSink.h"

namespace zun {

/// A place in a value, for messages: "[3][1]".
struct RecordPlace {
    RecordPlace const *outer = nullptr;
    std::size_t index = 0;

    std::string text() const { return outer == nullptr ? "" : outer->text() + "[" + std::to_string(index) + "]"; }
};

/// Throws zun::Exception: "[3][1]: expected a number, found "abc"".
[[noreturn]] void rejectRecord(OptionNode const &node, RecordPlace const &place, std::string const &expected);

using RecordItems = std::vector<std::shared_ptr<OptionNode>>;

/// The elements of a list, or of one with `count` elements.
RecordItems const &recordItems(OptionNode const &node, RecordPlace const &place, std::string const &expected);
RecordItems const &recordItems(std::size_t count, OptionNode const &node, RecordPlace const &place,
                               std::string const &what);

/// Throws zun::Exception for a frame whose shape says more than the frame holds, as that of a mask with negative sides.
void requireSoundFrame(bool sound);

/// How a type is read from a tree of lists and scalars, and written. A type without a specialisation has no records.
template <class T>
struct Record;

template <class T>
concept HasRecord = requires(T const &value, OptionNode const &node, RecordSink &sink) {
    Record<T>::read(node, RecordPlace{});
    Record<T>::write(value, sink);
};

/// Integers that std::int64_t holds.
template <class Integer>
requires(std::is_integral_v<Integer> && !std::is_same_v<Integer, bool> &&
         std::numeric_limits<Integer>::digits < 64) struct Record<Integer> {
    static Integer read(OptionNode const &node, RecordPlace const &place) {
        using Limits = std::numeric_limits<Integer>;
        bool const fits =
            node.type == OptionNode::Type::INT && node.intValue >= Limits::min() && node.intValue <= Limits::max();
        if (!fits)
            rejectRecord(node, place,
                         "a whole number from " + std::to_string(Limits::min()) + " to " +
                             std::to_string(Limits::max()));
        return static_cast<Integer>(node.intValue);
    }
    static void write(Integer value, RecordSink &sink) { sink.write(static_cast<std::int64_t>(value)); }
};

template <class Float>
requires std::is_floating_point_v<Float>
struct Record<Float> {
    using Limits = std::numeric_limits<Float>;

    static Float read(OptionNode const &node, RecordPlace const &place) {
        if (node.type == OptionNode::Type::INT) return static_cast<Float>(node.intValue);
        if (node.type == OptionNode::Type::FLOAT) {
            Float const value = rounded(node);
            if (std::isinf(value) && std::isfinite(node.floatValue))
                rejectRecord(node, place, "a number that a float holds, up to 3.4028235e+38");
            return value;
        }
        if (node.type == OptionNode::Type::STRING) {
            if (node.stringValue == "NaN") return Limits::quiet_NaN();
            if (node.stringValue == "Infinity") return Limits::infinity();
            if (node.stringValue == "-Infinity") return -Limits::infinity();
        }
        rejectRecord(node, place, "a number");
    }
    static void write(Float value, RecordSink &sink) { sink.write(value); }

private:
    /// From the digits where there are some, so that the number is rounded once.
    static Float rounded(OptionNode const &node) {
        Float value = 0;
        char const *const end = node.text.data() + node.text.size();
        auto const [stop, error] = std::from_chars(node.text.data(), end, value);
        bool const read = !node.text.empty() && error == std::errc() && stop == end;
        return read ? value : static_cast<Float>(node.floatValue);
    }
};

template <>
struct Record<bool> {
    static bool read(OptionNode const &node, RecordPlace const &place) {
        if (node.type != OptionNode::Type::BOOL) rejectRecord(node, place, "true or false");
        return node.boolValue;
    }
    static void write(bool value, RecordSink &sink) { sink.write(value); }
};

template <>
struct Record<std::string> {
    static std::string read(OptionNode const &node, RecordPlace const &place) {
        if (node.type != OptionNode::Type::STRING) rejectRecord(node, place, "a text in quotes");
        return node.stringValue;
    }
    static void write(std::string const &value, RecordSink &sink) { sink.write(std::string_view(value)); }
};

/// Writes a range as a list.
template <class T>
void writeRecords(T const *first, std::size_t count, RecordSink &sink) {
    sink.beginList();
    for (std::size_t i = 0; i < count; i++) Record<T>::write(first[i], sink);
    sink.endList();
}

template <HasRecord T, int N>
struct Record<Vec<T, N>> {
    static Vec<T, N> read(OptionNode const &node, RecordPlace const &place) {
        RecordItems const &items = recordItems(N, node, place, "numbers");
        Vec<T, N> value{};
        for (int i = 0; i < N; i++) {
            auto const index = static_cast<std::size_t>(i);
            value[i] = Record<T>::read(*items[index], {&place, index});
        }
        return value;
    }
    static void write(Vec<T, N> const &value, RecordSink &sink) { writeRecords(value.elements, N, sink); }
};

template <HasRecord T>
struct Record<Rect<T>> {
    static Rect<T> read(OptionNode const &node, RecordPlace const &place) {
        recordItems(4, node, place, "numbers: x, y, width, height");
        auto const numbers = Record<Vec<T, 4>>::read(node, place);
        return {numbers[0], numbers[1], numbers[2], numbers[3]};
    }
    static void write(Rect<T> const &rect, RecordSink &sink) {
        Record<Vec<T, 4>>::write({{rect.x, rect.y, rect.width, rect.height}}, sink);
    }
};

template <HasRecord T>
struct Record<std::vector<T>> {
    static std::vector<T> read(OptionNode const &node, RecordPlace const &place) {
        std::vector<T> values;
        for (auto const &item : recordItems(node, place, "a list"))
            values.push_back(Record<T>::read(*item, {&place, values.size()}));
        return values;
    }
    static void write(std::vector<T> const &values, RecordSink &sink) {
        sink.beginList();
        for (auto const &value : values) Record<T>::write(value, sink);
        sink.endList();
    }
};

template <HasRecord T>
struct Record<Mat<T, 1>> {
    static Mat<T, 1> read(OptionNode const &node, RecordPlace const &place) {
        RecordItems const &items = recordItems(node, place, "a list");
        Mat<T, 1> const mat({static_cast<std::uint32_t>(items.size())});
        for (std::size_t i = 0; i < items.size(); i++) mat.first()[i] = Record<T>::read(*items[i], {&place, i});
        return mat;
    }
    static void write(Mat<T, 1> const &mat, RecordSink &sink) { writeRecords(mat.first(), mat.count, sink); }
};

template <HasRecord T>
struct Record<Mat<T, 2>> {
    static Mat<T, 2> read(OptionNode const &node, RecordPlace const &place) {
        RecordItems const &rows = recordItems(node, place, "a list of rows");
        if (rows.empty()) return Mat<T, 2>(Shape<2>{0, 0});
        std::size_t const columns = recordItems(*rows[0], {&place, 0}, "a list, the first row").size();
        Mat<T, 2> const mat({static_cast<std::uint32_t>(rows.size()), static_cast<std::uint32_t>(columns)});
        for (std::size_t r = 0; r < rows.size(); r++) {
            RecordPlace const row{&place, r};
            RecordItems const &items = recordItems(columns, *rows[r], row, "elements, as in the first row");
            for (std::size_t c = 0; c < columns; c++)
                mat.first()[r * columns + c] = Record<T>::read(*items[c], {&row, c});
        }
        return mat;
    }
    static void write(Mat<T, 2> const &mat, RecordSink &sink) {
        requireSoundFrame(Contents<Mat<T, 2>>::sound(mat));
        sink.beginList();
        for (std::uint32_t r = 0; r < mat.shape[0]; r++)
            writeRecords(mat.first() + std::uint64_t(r) * mat.shape[1], mat.shape[1], sink);
        sink.endList();
    }
};

template <>
struct Record<Mask> {
    static Mask read(OptionNode const &node, RecordPlace const &place);
    static void write(Mask const &mask, RecordSink &sink);
};

} // namespace zun
