#include "pipeline/types/Record.h"

#include "containers/Exception.h"
#include "pipeline/Diagnostic.h"

namespace zun {
namespace {

std::string show(OptionNode const &node) {
    constexpr std::size_t longest = 40;
    switch (node.type) {
    case OptionNode::Type::VECTOR:
        return "a list of " + std::to_string(node.vectorValue.size());
    case OptionNode::Type::STRING:
        return quoted(node.stringValue, longest, '"');
    case OptionNode::Type::BOOL:
        return node.boolValue ? "true" : "false";
    case OptionNode::Type::NONE:
        return "nothing";
    default:
        return shortened(convertOption<std::string>(node), longest);
    }
}

} // namespace

void rejectRecord(OptionNode const &node, RecordPlace const &place, std::string const &expected) {
    std::string const where = place.text();
    throw Exception((where.empty() ? "" : where + ": ") + "expected " + expected + ", found " + show(node));
}

RecordItems const &recordItems(OptionNode const &node, RecordPlace const &place, std::string const &expected) {
    if (node.type != OptionNode::Type::VECTOR) rejectRecord(node, place, expected);
    return node.vectorValue;
}

RecordItems const &recordItems(std::size_t count, OptionNode const &node, RecordPlace const &place,
                               std::string const &what) {
    std::string const expected = "a list of " + std::to_string(count) + " " + what;
    RecordItems const &items = recordItems(node, place, expected);
    if (items.size() != count) rejectRecord(node, place, expected);
    return items;
}

void requireSoundFrame(bool sound) {
    if (!sound) throw Exception("a frame whose shape says more than it holds can't be written as a record");
}

Mask Record<Mask>::read(OptionNode const &node, RecordPlace const &place) {
    RecordItems const &parts = recordItems(2, node, place, "parts: a rectangle and the rows of its mask");
    RecordPlace const rectanglePlace{&place, 0}, maskPlace{&place, 1};
    Mask const mask{Record<Rect<int>>::read(*parts[0], rectanglePlace),
                    Record<Mat<unsigned char, 2>>::read(*parts[1], maskPlace)};
    auto const is = [](std::uint32_t extent, int side) { return std::int64_t(extent) == side; };
    bool const fits = mask.mask.count == 0 ? mask.rectangle.width == 0 || mask.rectangle.height == 0
                                           : is(mask.mask.shape[0], mask.rectangle.height) &&
                                                 is(mask.mask.shape[1], mask.rectangle.width);
    if (!fits)
        rejectRecord(*parts[1], maskPlace,
                     std::to_string(mask.rectangle.height) + " rows of " + std::to_string(mask.rectangle.width) +
                         " elements, as the rectangle says");
    return mask;
}

void Record<Mask>::write(Mask const &mask, RecordSink &sink) {
    sink.beginList();
    Record<Rect<int>>::write(mask.rectangle, sink);
    Record<Mat<unsigned char, 2>>::write(mask.mask, sink);
    sink.endList();
}

} // namespace zun
