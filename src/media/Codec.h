// Stream values as text: lists of numbers and texts, in JSON lines and in descriptions alike.
//
// A scalar is itself; a vector or point [a, b]; a box [x, y, width, height]; a list the list of its elements; a frame
// or a transform the list of its rows; line segments [[x0, y0, x1, y1], ...]; a mask [[x, y, width, height], rows].
// Floats are written with the digits that bring the same float back, and as "NaN", "Infinity" and "-Infinity" where
// JSON has no number.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "containers/Variant.h"
#include "pipeline/config/OptionNode.h"

namespace zun::media {

/// The value of a type that a tree of lists and scalars stands for. Throws zun::Exception for one that doesn't fit,
/// with the place in it: "[3][1]: expected a number, found \"abc\"". Thread-safe, as all functions here.
std::shared_ptr<Variant> decodeValue(OptionNode const &value, std::string const &typeExpression);

/// One line of JSON, without its end. Throws zun::Exception for a value of an unknown type, or a text that is no UTF-8.
std::string encodeValue(Variant const &value);

/// The tree of one JSON text. Throws zun::Exception for what is no JSON, for objects, and for lists nested deeper than
/// any value.
OptionNode parseJson(std::string_view text);

} // namespace zun::media
