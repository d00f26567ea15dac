// JPEG pictures by libjpeg-turbo, decoded where the frame will be.

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include <turbojpeg.h>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/reading/Decoder.h"
#include "media/reading/WholePicture.h"

namespace zun::media {
namespace {

struct FreeHandle {
    void operator()(void *handle) const { tjDestroy(handle); }
};

/// With 255 for no ink, as programs write it.
void fromInks(unsigned char const *inks, RgbFrame const &rgb) {
    constexpr std::uint32_t full = 255;
    for (std::uint32_t i = 0; i < rgb.count; i++, inks += 4)
        for (int c = 0; c < 3; c++)
            rgb.first()[i][c] = static_cast<unsigned char>((std::uint32_t(inks[c]) * inks[3] + full / 2) / full);
}

/// Whether a warning of the decoder means that the picture is whole.
bool isHarmless(std::string_view warning) {
    constexpr std::array<std::string_view, 3> known{"Invalid SOS parameters", "unknown JFIF revision",
                                                    "Unknown Adobe color transform"};
    return std::any_of(known.begin(), known.end(),
                       [&](std::string_view text) { return warning.find(text) != warning.npos; });
}

class JpegDecoder final : public Decoder {
    std::string path, bytes;
    std::unique_ptr<void, FreeHandle> handle{tjInitDecompress()};
    int columns = 0, rows = 0, sampling = 0, colours = 0;
    bool done = false;

public:
    explicit JpegDecoder(Input &input) : path(input.path()), bytes(input.all()) {
        if (!handle) throw std::bad_alloc();
        if (!reachesEndOfJpeg(bytes))
            throw Exception("'" + path + "' is cut short: the JPEG file ends before its picture does");
    }

    /// False for what libjpeg-turbo doesn't read, such as lossless JPEG.
    bool readHeader() {
        if (tjDecompressHeader3(handle.get(), data(), bytes.size(), &columns, &rows, &sampling, &colours) != 0)
            return false;
        width = static_cast<std::uint32_t>(columns);
        height = static_cast<std::uint32_t>(rows);
        orientation = orientationOfJpeg(bytes);
        count = 1;
        return true;
    }

    bool next(WantedFrames wanted, Frames &frames) override {
        if (done) return false;
        done = true;
        if (colours == TJCS_GRAY) {
            GreyFrame grey({height, width});
            decode(grey.first(), 1, TJPF_GRAY);
            frames = framesOf(std::move(grey), wanted);
            return true;
        }
        RgbFrame rgb({height, width});
        if (colours == TJCS_CMYK || colours == TJCS_YCCK) {
            Mat<Vec4b, 2> const inks({height, width});
            decode(inks.first(), 4, TJPF_CMYK);
            fromInks(reinterpret_cast<unsigned char const *>(inks.first()), rgb);
        } else {
            decode(rgb.first(), 3, TJPF_RGB);
        }
        frames = framesOf(std::move(rgb), wanted);
        return true;
    }

private:
    unsigned char const *data() const { return reinterpret_cast<unsigned char const *>(bytes.data()); }

    void decode(void *memory, int channels, int format) {
        if (tjDecompress2(handle.get(), data(), bytes.size(), static_cast<unsigned char *>(memory), columns,
                          columns * channels, rows, format, 0) == 0)
            return;
        // A fatal error after a warning counts as a warning, too: only the text tells.
        std::string const why = tjGetErrorStr2(handle.get());
        if (why.find("extraneous bytes before marker 0xd9") != why.npos) // as some cameras write
            warnOnce("'" + path + "' has bytes that belong to nothing before its end; it may be damaged");
        else if (!isHarmless(why))
            throw Exception("'" + path + "' is damaged: " + why);
    }
};

} // namespace

std::unique_ptr<Decoder> openJpeg(Source &input) {
    auto decoder = std::make_unique<JpegDecoder>(*input);
    if (!decoder->readHeader()) return nullptr;
    return decoder;
}

} // namespace zun::media
