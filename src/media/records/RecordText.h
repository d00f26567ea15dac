// Records as text: one line of JSON for each value.
//
// pipeline/types/Record.h says which lists and scalars a value consists of. Here a float has the digits that bring the
// same float back, and is "NaN", "Infinity" or "-Infinity" where JSON has no number. Every type with a Record takes
// part, those of plug-ins too. All functions are thread-safe and throw zun::Exception.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "containers/Variant.h"
#include "media/records/RecordTree.h"
#include "pipeline/config/OptionNode.h"
#include "pipeline/types/ValueType.h"

namespace zun::media {

/// A value as one line of JSON, without the line's end; Fields are an object. Throws for a type without records, and
/// for text that is not UTF-8.
std::string recordText(Variant const &value);

/// The same of a value that was taken apart.
std::string recordText(RecordTree const &tree);

/// The same, but a text without quotes and as it is, and numbers that JSON doesn't have without quotes, too.
std::string plainText(RecordTree const &tree);

/// Throws for a text that is not UTF-8.
void requireUtf8(std::string const &text);

/// The lists and scalars of one JSON text. Throws for what is not JSON, for null and objects, and for lists nested
/// deeper than those of any value.
OptionNode parseJson(std::string_view text);

/// The same of one field of a JSON object. Throws where the text holds no object, or one without the field.
OptionNode parseJsonField(std::string_view text, std::string const &field);

/// The value that a record stands for. Throws as recordType() does, and for a record that doesn't fit the type, with
/// the place in it: "[3][1]: expected a number, found \"abc\"".
std::shared_ptr<Variant> valueOfRecord(OptionNode const &record, std::string const &typeExpression);

/// The type that an expression names. Throws where it names none, or one without records.
ValueType const &recordType(std::string const &typeExpression);

} // namespace zun::media
