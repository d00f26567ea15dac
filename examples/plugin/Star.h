// A type of values of one's own. A port of type "stars::Star" or "zun::List<stars::Star>" makes it known to the host.
#pragma once

#include "pipeline/types/Record.h"
#include "pipeline/types/TypeTable.h"

namespace stars {

struct Star {
    int row, column;
    unsigned char brightness;
};

} // namespace stars

/// How tables and descriptions write the type.
template <>
struct zun::TypeName<stars::Star> {
    static constexpr std::string_view text = "stars::Star";
};

/// How a star stands in a file or a description, as [row, column, brightness]: for ReadRecords, WriteRecords and
/// Constant.
template <>
struct zun::Record<stars::Star> {
    static stars::Star read(OptionNode const &node, RecordPlace const &place) {
        RecordItems const &items = recordItems(3, node, place, "numbers: row, column, brightness");
        return {Record<int>::read(*items[0], {&place, 0}), Record<int>::read(*items[1], {&place, 1}),
                Record<unsigned char>::read(*items[2], {&place, 2})};
    }
    static void write(stars::Star const &star, RecordSink &sink) {
        sink.beginList();
        for (int const number : {star.row, star.column, int(star.brightness)}) Record<int>::write(number, sink);
        sink.endList();
    }
};
