#include "media/reading/YuvToRgb.h"

#include <array>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zun::media {
namespace {

struct Case {
    int width, height;
    AVPixelFormat format;
    AVColorSpace matrix;
    AVColorRange range;
};

/// Noise, hard edges of chroma, and a gradient, in turns; rows end in what belongs to no pixel.
void fill(AVFrame &picture) {
    std::mt19937 random(7);
    for (int plane = 0; plane < 3; plane++)
        for (int row = 0; row < picture.height / (plane == 0 ? 1 : 2); row++)
            for (int column = 0; column < picture.linesize[plane]; column++) {
                auto const any = static_cast<int>(random() & 255);
                std::array const values{any, any % 2 * 255, 120 + row % 8 + column / 16};
                picture.data[plane][row * picture.linesize[plane] + column] =
                    static_cast<unsigned char>(values[static_cast<std::size_t>(row / 4 % 3)]);
            }
}

TEST(YuvToRgb, GivesTheBitsOfFfmpeg) {
    constexpr auto yuv = AV_PIX_FMT_YUV420P, fullYuv = AV_PIX_FMT_YUVJ420P;
    constexpr std::array cases{
        Case{16, 16, yuv, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED},
        Case{640, 362, yuv, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED},
        Case{1280, 720, yuv, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG},
        Case{322, 200, yuv, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG},
        Case{1000, 90, yuv, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG},
        Case{18, 766, yuv, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG},
        Case{334, 200, yuv, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG},
        Case{200, 334, fullYuv, AVCOL_SPC_BT470BG, AVCOL_RANGE_UNSPECIFIED},
        Case{64, 48, fullYuv, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_JPEG},
        Case{96, 64, yuv, AVCOL_SPC_SMPTE240M, AVCOL_RANGE_MPEG},
        Case{98, 66, yuv, AVCOL_SPC_FCC, AVCOL_RANGE_JPEG},
    };
    std::vector<YuvToRgb> conversions;
    for (std::size_t form = 0; form < YuvToRgb::formCount(); form++) conversions.emplace_back(form);
    for (Case const &one : cases) {
        SCOPED_TRACE(std::to_string(one.width) + "x" + std::to_string(one.height));
        av::Frame const picture = av::makeFrame(one.width, one.height, one.format);
        picture->colorspace = one.matrix;
        picture->color_range = one.range;
        fill(*picture);
        ASSERT_TRUE(YuvToRgb::takes(*picture));
        av::Frame const expected = av::convert(*picture, AV_PIX_FMT_RGB24);
        std::size_t const rowBytes = 3 * static_cast<std::size_t>(one.width);
        std::string rgb(rowBytes * static_cast<std::size_t>(one.height), '\0');
        for (std::size_t form = 0; form < YuvToRgb::formCount(); form++) {
            conversions[form].convert(*picture, reinterpret_cast<unsigned char *>(rgb.data()));
            for (int row = 0; row < one.height; row++) {
                auto const *const from =
                    reinterpret_cast<char const *>(expected->data[0] + row * expected->linesize[0]);
                ASSERT_TRUE(rgb.compare(static_cast<std::size_t>(row) * rowBytes, rowBytes, from, rowBytes) == 0)
                    << "form " << form << ", row " << row;
            }
            rgb.assign(rgb.size(), '\0');
        }
    }
}

TEST(YuvToRgb, LeavesOtherFormsToFfmpeg) {
    constexpr std::array others{Case{17, 16, AV_PIX_FMT_YUV420P, {}, {}}, Case{16, 17, AV_PIX_FMT_YUV420P, {}, {}},
                                Case{14, 64, AV_PIX_FMT_YUV420P, {}, {}}, Case{64, 14, AV_PIX_FMT_YUV420P, {}, {}},
                                Case{64, 64, AV_PIX_FMT_YUV422P, {}, {}}, Case{64, 64, AV_PIX_FMT_YUV420P10, {}, {}}};
    for (Case const &one : others)
        EXPECT_FALSE(YuvToRgb::takes(*av::makeFrame(one.width, one.height, one.format)))
            << one.width << "x" << one.height << " " << av_get_pix_fmt_name(one.format);
}

} // namespace
} // namespace zun::media
