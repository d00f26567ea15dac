#include "media/Source.h"

#include <cmath>

namespace zun {

media::FrameSource Record<media::FrameSource>::read(OptionNode const &node, RecordPlace const &place) {
    constexpr std::int64_t microseconds = 1'000'000;
    RecordItems const &items = recordItems(3, node, place, "elements: file, number, seconds");
    auto const info = std::make_shared<media::SourceInfo>();
    media::FrameSource source;
    source.file = Record<std::string>::read(*items[0], {&place, 0});
    source.number = static_cast<std::uint64_t>(Record<std::int64_t>::read(*items[1], {&place, 1}));
    source.time = std::llround(Record<double>::read(*items[2], {&place, 2}) * double(microseconds));
    info->path = source.file;
    info->files = {source.file};
    info->timeBase = {1, microseconds};
    source.info = info;
    return source;
}

void Record<media::FrameSource>::write(media::FrameSource const &source, RecordSink &sink) {
    sink.beginList();
    sink.write(std::string_view(source.file));
    sink.write(static_cast<std::int64_t>(source.number));
    sink.write(source.seconds());
    sink.endList();
}

} // namespace zun
