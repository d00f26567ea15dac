#include "media/reading/Palette.h"

#include "containers/Exception.h"
#include "media/reading/Filters.h"

namespace zun::media {
namespace {

void check(int result) {
    if (result < 0) throw Exception("a palette can't be made: " + av::reason(result));
}

} // namespace

av::Frame withPalette(AVFrame const &picture) {
    av::Frame result(av_frame_alloc());
    if (!result) throw std::bad_alloc();
    std::string const form = "video_size=" + std::to_string(picture.width) + "x" + std::to_string(picture.height) +
                             ":pix_fmt=" + av_get_pix_fmt_name(static_cast<AVPixelFormat>(picture.format)) +
                             ":time_base=1/100";
    av::FilterChain const chain("buffer=" + form +
                                    ",split[a][b];[a]palettegen=stats_mode=single[palette];"
                                    "[b][palette]paletteuse=dither=sierra2_4a:new=1,buffersink",
                                "a palette can't be made");
    check(chain.give(&picture));
    check(chain.give(nullptr));
    check(chain.take(*result));
    return result;
}

} // namespace zun::media
