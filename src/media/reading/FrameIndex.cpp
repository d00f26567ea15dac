#include "media/reading/FrameIndex.h"

#include <algorithm>
#include <array>

namespace zun::media {
namespace {

/// Those whose key frames, if they are intra frames, need nothing that comes before them. The frames of animations do.
constexpr std::array beginAnew{AV_CODEC_ID_H264,    AV_CODEC_ID_HEVC,       AV_CODEC_ID_VP8,        AV_CODEC_ID_VP9,
                               AV_CODEC_ID_AV1,     AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4,
                               AV_CODEC_ID_MJPEG,   AV_CODEC_ID_PRORES,     AV_CODEC_ID_DNXHD,      AV_CODEC_ID_FFV1,
                               AV_CODEC_ID_RAWVIDEO};

} // namespace

FrameIndex::FrameIndex(AVCodecID codec)
    : usable(std::find(beginAnew.begin(), beginAnew.end(), codec) != beginAnew.end()) {}

void FrameIndex::note(std::uint64_t number, AVFrame const &frame, std::int64_t time) {
    std::int64_t const stamp = frame.best_effort_timestamp;
    if (!usable || number < seen.size()) return;
    usable = number == seen.size() && stamp != AV_NOPTS_VALUE && (seen.empty() || stamp > seen.back().stamp);
    if (!usable) return;
    bool const isIntra = frame.key_frame != 0 && frame.pict_type == AV_PICTURE_TYPE_I;
    if (isIntra && keyPackets.contains(stamp)) keys.push_back(number);
    seen.push_back({stamp, time});
}

std::optional<FrameIndex::Route> FrameIndex::route(std::uint64_t from, std::uint64_t to) const {
    if (!usable || to >= seen.size()) return std::nullopt;
    auto const after = std::upper_bound(keys.begin(), keys.end(), to);
    if (after == keys.begin()) return std::nullopt;
    std::uint64_t const key = *std::prev(after);
    if (to >= from && key <= from) return std::nullopt;
    return Route{seen[key].stamp, seen[to].stamp, to == 0 ? 0 : seen[to - 1].time};
}

} // namespace zun::media
