// TIFF files by libtiff, a frame a page. What matters is what can be decoded: a tag that is unknown is no damage.

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <tiffio.h>

#include "containers/Exception.h"
#include "media/reading/Decoder.h"

namespace zun::media {
namespace {

/// What libtiff says of one file: the first error, and warnings that tell of lost data.
struct Complaints {
    std::string first;

    static int error(TIFF *, void *self, char const *, char const *format, std::va_list arguments) {
        static_cast<Complaints *>(self)->keep(format, arguments, true);
        return 1;
    }
    static int warning(TIFF *, void *self, char const *, char const *format, std::va_list arguments) {
        static_cast<Complaints *>(self)->keep(format, arguments, false);
        return 1;
    }

private:
    void keep(char const *format, std::va_list arguments, bool isError) {
        std::array<char, 512> text{};
        std::vsnprintf(text.data(), text.size(), format, arguments);
        std::string_view const said = text.data();
        bool const lost = said.find("Corrupt") != said.npos || said.find("Premature") != said.npos;
        if (first.empty() && (isError || lost)) first = said;
    }
};

struct CloseTiff {
    void operator()(TIFF *tiff) const { TIFFClose(tiff); }
    void operator()(TIFFOpenOptions *options) const { TIFFOpenOptionsFree(options); }
};

/// How the samples of a page are laid out.
struct Page {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 1, samples = 1, kind = PHOTOMETRIC_MINISBLACK, planar = PLANARCONFIG_CONTIG,
                  format = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE, orientation = ORIENTATION_TOPLEFT;
    std::uint16_t inkSet = INKSET_CMYK, extras = 0;

    explicit Page(TIFF *tiff) {
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
        TIFFGetFieldDefaulted(tiff, TIFFTAG_INKSET, &inkSet);
        std::uint16_t *kinds = nullptr;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
        if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &kind) == 0 && samples - extras >= 3) kind = PHOTOMETRIC_RGB;
        if (compression == COMPRESSION_JPEG && kind == PHOTOMETRIC_YCBCR && planar == PLANARCONFIG_CONTIG) {
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
            kind = PHOTOMETRIC_RGB;
        }
        bool const hasAlpha = extras > 0 || (kind == PHOTOMETRIC_RGB && samples > 3);
        alpha = hasAlpha && kind != PHOTOMETRIC_PALETTE;
    }

    bool alpha = false;

    bool isGrey() const { return kind == PHOTOMETRIC_MINISBLACK || kind == PHOTOMETRIC_MINISWHITE; }

    /// The samples of a pixel that become its colour.
    std::uint16_t used() const {
        return kind == PHOTOMETRIC_SEPARATED ? 4 : kind == PHOTOMETRIC_RGB ? 3 : 1; // palettes and grey: one
    }

    /// Whether the samples can be read as they are here; libtiff converts the other kinds itself.
    bool isPlain() const {
        bool const known = isGrey() || kind == PHOTOMETRIC_PALETTE || kind == PHOTOMETRIC_RGB ||
                           (kind == PHOTOMETRIC_SEPARATED && inkSet == INKSET_CMYK);
        bool const whole = bits == 8 || bits == 16 || ((bits == 1 || bits == 2 || bits == 4) && samples == 1);
        return known && whole && samples >= used() && !(kind == PHOTOMETRIC_PALETTE && bits == 16);
    }
};

/// A part of a page, as it is decoded: a strip or a tile, of one plane or of all samples.
struct Block {
    std::uint32_t left, top, width, height; ///< that is inside of the page
    std::size_t rowBytes;
    std::uint16_t plane, samples; ///< that the block holds, a pixel
};

class TiffDecoder final : public Decoder {
    std::string path;
    Complaints complaints;
    std::unique_ptr<TIFF, CloseTiff> tiff;
    std::vector<std::uint64_t> pages; ///< places of their directories
    std::uint64_t position = 0;

public:
    explicit TiffDecoder(std::string const &file) : path(file) {
        std::unique_ptr<TIFFOpenOptions, CloseTiff> const options(TIFFOpenOptionsAlloc());
        if (!options) throw std::bad_alloc();
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Complaints::error, &complaints);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Complaints::warning, &complaints);
        tiff.reset(TIFFOpenExt(path.c_str(), "rm", options.get())); // not mapped: a file may shrink meanwhile
        if (!tiff) fail("is not a TIFF file that can be read");
        findPages();
        Page const page(tiff.get());
        requireReadable(page);
        width = page.width;
        height = page.height;
        orientation = orientationFromExif(page.orientation);
        count = pages.size();
        info.bitDepth = page.bits;
        info.alpha = page.alpha;
        if (page.alpha) leftOut.emplace_back("has an alpha channel, which is left out");
        if (page.bits > 8)
            leftOut.push_back("has " + std::to_string(page.bits) + " bits a channel, of which the frames keep 8");
    }

    bool jump(std::uint64_t index) override {
        position = index;
        return true;
    }

    bool next(WantedFrames wanted, Frames &frames) override {
        if (position >= pages.size()) return false;
        if (TIFFSetSubDirectory(tiff.get(), pages[position]) == 0) failDamaged();
        Page const page(tiff.get());
        requireReadable(page);
        orientation = orientationFromExif(page.orientation);
        if (!page.isPlain()) {
            frames = framesOf(readConverted(page), wanted);
        } else if (page.isGrey()) {
            frames = framesOf(readGrey(page), wanted);
        } else {
            frames = framesOf(readColour(page), wanted);
        }
        position++;
        return true;
    }

private:
    [[noreturn]] void fail(std::string const &why) const {
        throw Exception("'" + path + "' " + why + (complaints.first.empty() ? "" : ": " + complaints.first));
    }
    [[noreturn]] void failDamaged() const {
        fail("is damaged" + (pages.size() > 1 ? " at page " + std::to_string(position) : ""));
    }

    /// Smaller copies of a page and masks are no pages.
    void findPages() {
        bool more = true;
        while (more) {
            std::uint32_t use = 0;
            TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SUBFILETYPE, &use);
            if ((use & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0) pages.push_back(TIFFCurrentDirOffset(tiff.get()));
            more = TIFFLastDirectory(tiff.get()) == 0;
            if (more && TIFFReadDirectory(tiff.get()) == 0) failDamaged();
        }
        if (pages.empty()) fail("has no page of full size");
        if (pages.back() != pages.front() && TIFFSetSubDirectory(tiff.get(), pages.front()) == 0) failDamaged();
        if (!complaints.first.empty()) failDamaged();
    }

    void requireReadable(Page const &page) const {
        constexpr std::uint64_t mostPixels = std::uint64_t(1) << 29;
        std::uint64_t const pixels = std::uint64_t(page.width) * page.height;
        if (pixels == 0 || pixels > mostPixels)
            fail("is damaged: its header states " + std::to_string(page.height) + " rows and " +
                 std::to_string(page.width) + " columns");
        if (page.format == SAMPLEFORMAT_IEEEFP || page.format == SAMPLEFORMAT_COMPLEXIEEEFP)
            fail("holds floating-point numbers, which can't be read as bytes: convert it to 16 bits first");
        if (page.format == SAMPLEFORMAT_INT || page.format == SAMPLEFORMAT_COMPLEXINT)
            fail("holds numbers with a sign, which can't be read as bytes: convert it to unsigned ones first");
        if (page.bits > 16)
            fail("has " + std::to_string(page.bits) + " bits a channel, which can't be read: convert it to 16 first");
    }

    /// Calls `visit` with each block of the samples that are used, and its bytes.
    template <class Visit>
    void eachBlock(Page const &page, Visit visit) {
        bool const tiled = TIFFIsTiled(tiff.get()) != 0, separate = page.planar == PLANARCONFIG_SEPARATE;
        std::uint32_t blockWidth = page.width, blockHeight = page.height;
        if (tiled) {
            TIFFGetField(tiff.get(), TIFFTAG_TILEWIDTH, &blockWidth);
            TIFFGetField(tiff.get(), TIFFTAG_TILELENGTH, &blockHeight);
        } else {
            TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_ROWSPERSTRIP, &blockHeight);
            blockHeight = std::min(blockHeight, page.height);
        }
        if (blockWidth == 0 || blockHeight == 0) failDamaged();
        std::uint64_t const rowBytes = tiled ? TIFFTileRowSize64(tiff.get()) : TIFFScanlineSize64(tiff.get());
        std::uint64_t const most = rowBytes * blockHeight, limit = std::uint64_t(1) << 32;
        if (rowBytes == 0 || rowBytes > limit || most > limit) failDamaged();
        std::vector<unsigned char> bytes(static_cast<std::size_t>(most));

        auto const held = static_cast<std::uint16_t>(separate ? 1 : page.samples);
        for (std::uint16_t plane = 0; plane < (separate ? page.used() : 1); plane++)
            for (std::uint32_t top = 0; top < page.height; top += blockHeight)
                for (std::uint32_t left = 0; left < page.width; left += blockWidth) {
                    Block const block{left,
                                      top,
                                      std::min(blockWidth, page.width - left),
                                      std::min(blockHeight, page.height - top),
                                      static_cast<std::size_t>(rowBytes),
                                      plane,
                                      held};
                    readBlock(tiled, block, bytes);
                    visit(block, bytes.data());
                }
    }

    void readBlock(bool tiled, Block const &block, std::vector<unsigned char> &bytes) {
        TIFF *const from = tiff.get();
        tmsize_t const needed = static_cast<tmsize_t>(block.rowBytes * block.height),
                       size = static_cast<tmsize_t>(bytes.size());
        tmsize_t const got =
            tiled ? TIFFReadEncodedTile(from, TIFFComputeTile(from, block.left, block.top, 0, block.plane),
                                        bytes.data(), size)
                  : TIFFReadEncodedStrip(from, TIFFComputeStrip(from, block.top, block.plane), bytes.data(), needed);
        if (got < needed || !complaints.first.empty()) failDamaged();
    }

    /// A sample of a row of a block, as a byte.
    static unsigned char sample(unsigned char const *row, std::size_t index, std::uint16_t bits) {
        constexpr std::uint32_t byteRange = 255, wordRange = 65535;
        if (bits == 8) return row[index];
        if (bits == 16) {
            std::uint16_t value = 0;
            std::memcpy(&value, row + 2 * index, sizeof value);
            return static_cast<unsigned char>((value * byteRange + wordRange / 2) / wordRange);
        }
        std::uint32_t const range = (1u << bits) - 1;
        return static_cast<unsigned char>((rawBits(row, index, bits) * byteRange + range / 2) / range);
    }

    static std::uint32_t rawBits(unsigned char const *row, std::size_t index, std::uint16_t bits) {
        std::size_t const bit = index * bits;
        return (static_cast<std::uint32_t>(row[bit / 8]) >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
    }

    GreyFrame readGrey(Page const &page) {
        GreyFrame grey({page.height, page.width});
        unsigned char const flip = page.kind == PHOTOMETRIC_MINISWHITE ? 255 : 0;
        eachBlock(page, [&](Block const &block, unsigned char const *bytes) {
            for (std::uint32_t row = 0; row < block.height; row++, bytes += block.rowBytes) {
                unsigned char *const to = grey.first() + std::size_t(block.top + row) * page.width + block.left;
                for (std::uint32_t column = 0; column < block.width; column++)
                    to[column] = sample(bytes, std::size_t(column) * block.samples, page.bits) ^ flip;
            }
        });
        return grey;
    }

    RgbFrame readColour(Page const &page) {
        RgbFrame rgb({page.height, page.width});
        if (page.kind == PHOTOMETRIC_PALETTE) {
            readPalette(page, rgb);
        } else if (page.kind == PHOTOMETRIC_SEPARATED) {
            Mat<Vec4b, 2> const inks({page.height, page.width});
            readSamples<4>(page, reinterpret_cast<unsigned char *>(inks.first()));
            for (std::uint32_t i = 0; i < rgb.count; i++)
                for (int c = 0; c < 3; c++) {
                    std::uint32_t const rest = 255u - inks.first()[i][c], light = 255u - inks.first()[i][3];
                    rgb.first()[i][c] = static_cast<unsigned char>((rest * light + 127) / 255);
                }
        } else {
            readSamples<3>(page, reinterpret_cast<unsigned char *>(rgb.first()));
        }
        return rgb;
    }

    template <std::size_t channels>
    void readSamples(Page const &page, unsigned char *out) {
        eachBlock(page, [&](Block const &block, unsigned char const *bytes) {
            bool const separate = page.planar == PLANARCONFIG_SEPARATE;
            for (std::uint32_t row = 0; row < block.height; row++, bytes += block.rowBytes) {
                unsigned char *to = out + (std::size_t(block.top + row) * page.width + block.left) * channels;
                if (!separate && block.samples == channels && page.bits == 8) {
                    std::memcpy(to, bytes, block.width * channels);
                    continue;
                }
                for (std::uint32_t column = 0; column < block.width; column++, to += channels) {
                    std::size_t const at = std::size_t(column) * block.samples;
                    if (separate)
                        to[block.plane] = sample(bytes, at, page.bits);
                    else
                        for (std::size_t c = 0; c < channels; c++) to[c] = sample(bytes, at + c, page.bits);
                }
            }
        });
    }

    void readPalette(Page const &page, RgbFrame const &rgb) {
        std::array<std::uint16_t *, 3> map{};
        if (TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &map[0], &map[1], &map[2]) == 0) failDamaged();
        // Some programs write bytes where numbers of 16 bits belong.
        bool const isWide = std::any_of(map.begin(), map.end(), [&](std::uint16_t const *channel) {
            return std::any_of(channel, channel + (1 << page.bits), [](std::uint16_t v) { return v > 255; });
        });
        eachBlock(page, [&](Block const &block, unsigned char const *bytes) {
            for (std::uint32_t row = 0; row < block.height; row++, bytes += block.rowBytes) {
                Vec3b *const to = rgb.first() + std::size_t(block.top + row) * page.width + block.left;
                for (std::uint32_t column = 0; column < block.width; column++) {
                    std::size_t const at = std::size_t(column) * block.samples;
                    std::uint32_t const index = page.bits == 8 ? bytes[at] : rawBits(bytes, at, page.bits);
                    for (int c = 0; c < 3; c++)
                        to[column][c] = static_cast<unsigned char>(isWide ? map[c][index] >> 8 : map[c][index]);
                }
            }
        });
    }

    /// By libtiff itself.
    RgbFrame readConverted(Page const &page) {
        std::array<char, 1024> why{};
        if (TIFFRGBAImageOK(tiff.get(), why.data()) == 0) fail(std::string("can't be read: ") + why.data());
        std::vector<std::uint32_t> raster(std::size_t(page.width) * page.height);
        if (TIFFReadRGBAImageOriented(tiff.get(), page.width, page.height, raster.data(), page.orientation, 1) == 0 ||
            !complaints.first.empty())
            failDamaged();
        RgbFrame rgb({page.height, page.width});
        for (std::uint32_t i = 0; i < rgb.count; i++)
            rgb.first()[i] = {static_cast<unsigned char>(TIFFGetR(raster[i])),
                              static_cast<unsigned char>(TIFFGetG(raster[i])),
                              static_cast<unsigned char>(TIFFGetB(raster[i]))};
        return rgb;
    }
};

} // namespace

std::unique_ptr<Decoder> openTiff(Source &input) { return std::make_unique<TiffDecoder>(input->path()); }

} // namespace zun::media
