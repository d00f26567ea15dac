#include "studio/ValueFacts.h"

#include <algorithm>

#include "containers/Exception.h"
#include "media/records/Fields.h"
#include "observers/Picture.h"

namespace zun::studio {
namespace {

FrameFacts frameFacts(Variant const &value, std::size_t index) try {
    observers::Picture const picture = observers::pictureOf(value, index);
    FrameFacts facts{
        picture.pixels.width, picture.pixels.height, picture.pixels.channels, picture.binary, {}, picture.x, picture.y};
    if (picture.range) facts.range.emplace(picture.range->from, picture.range->to);
    return facts;
} catch (Exception const &) { // without pixels
    return {};
}

} // namespace

ValueFacts factsOf(Variant const &value, ValueType const *type) {
    ValueFacts facts;
    std::size_t const count = observers::frameCount(value);
    bool const isList = observers::isFrameList(value);
    bool const isRecord = dynamic_cast<VariantType<media::Fields> const *>(&value) != nullptr;
    if (count > 0 || isList)
        facts.kind = isList ? "frames" : "frame";
    else if ((type != nullptr && type->writeRecord != nullptr) || isRecord)
        facts.kind = "record";
    if (type != nullptr) {
        facts.summary = type->summary(value);
        facts.bytes = type->bytes(value);
    }
    for (std::size_t i = 0; i < std::min(count, ValueFacts::mostFrames); i++)
        facts.frames.push_back(frameFacts(value, i));
    return facts;
}

} // namespace zun::studio
