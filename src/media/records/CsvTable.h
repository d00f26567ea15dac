// Records as rows of CSV, as RFC 4180 has it, with lines that end in "\n".
//
// A list gives one row for each of its elements, and what is not a list one row. Of Fields, lists have to be in step,
// and what is not a list is repeated; without any element there is no row. Boxes and points have a column for each of
// their numbers; elements of other types that consist of several, such as masks, stand in one column as JSON.
#pragma once

#include <string>

#include "containers/Variant.h"

namespace zun::media {

/// Not thread-safe.
class CsvTable {
public:
    /// The rows of a value, each with its line end, and before those of the first value the header. Columns are named
    /// by field and part ("boxes.x"), without Fields by part alone, or "value". Throws zun::Exception, and then the
    /// table stays as it was: for lists that are not in step, types without records, texts that are not UTF-8, and a
    /// value with other columns than the first.
    std::string rows(Variant const &value);

private:
    std::string header;
};

} // namespace zun::media
