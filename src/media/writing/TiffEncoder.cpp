#include <algorithm>
#include <cstring>

#include <tiffio.h>

#include "containers/Exception.h"
#include "media/writing/PictureEncoders.h"

namespace zun::media {
namespace {

/// The file in memory, as libtiff's functions take it.
struct Memory {
    Bytes bytes;
    std::size_t position = 0;

    static Memory &of(thandle_t handle) { return *static_cast<Memory *>(handle); }

    static tmsize_t read(thandle_t handle, void *to, tmsize_t count) {
        Memory &memory = of(handle);
        std::size_t const there = memory.bytes.size() - std::min(memory.position, memory.bytes.size());
        std::size_t const step = std::min(there, static_cast<std::size_t>(count));
        std::memcpy(to, memory.bytes.data() + memory.position, step);
        memory.position += step;
        return static_cast<tmsize_t>(step);
    }

    static tmsize_t write(thandle_t handle, void *from, tmsize_t count) {
        Memory &memory = of(handle);
        std::size_t const end = memory.position + static_cast<std::size_t>(count);
        if (end > memory.bytes.size()) memory.bytes.resize(end);
        std::memcpy(memory.bytes.data() + memory.position, from, static_cast<std::size_t>(count));
        memory.position = end;
        return count;
    }

    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        Memory &memory = of(handle);
        std::size_t const from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? memory.position : memory.bytes.size();
        return memory.position = from + offset;
    }

    static toff_t size(thandle_t handle) { return of(handle).bytes.size(); }
    static int close(thandle_t) { return 0; }
};

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF *)>;

void setFields(TIFF *tiff, Pixels const &pixels) {
    constexpr std::uint32_t stripBytes = 1 << 18;
    bool const floats = pixels.floats != nullptr;
    auto const samples = static_cast<std::uint16_t>(pixels.channels);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(pixels.height));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, floats ? 32 : 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, floats ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, floats ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    if (samples == 4) {
        std::uint16_t const alpha = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    auto const row = static_cast<std::uint32_t>(pixels.rowBytes() * (floats ? sizeof(float) : 1));
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, std::max(stripBytes / row, 1u));
}

} // namespace

Bytes encodeTiff(std::string const &file, Pixels const &pixels) {
    static bool const silenced = [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
        return true;
    }();
    static_cast<void>(silenced);
    Memory memory;
    std::size_t const row = pixels.rowBytes() * (pixels.floats != nullptr ? sizeof(float) : 1);
    std::size_t const total = row * static_cast<std::size_t>(pixels.height);
    char const *const mode = total > (std::size_t(1) << 31) ? "w8" : "w"; // with 64-bit offsets
    Tiff tiff(TIFFClientOpen(file.c_str(), mode, &memory, Memory::read, Memory::write, Memory::seek, Memory::close,
                             Memory::size, nullptr, nullptr),
              TIFFClose);
    if (tiff == nullptr) throw Exception("'" + file + "' can't be written: libtiff can't begin a file");
    setFields(tiff.get(), pixels);
    auto const *const first =
        pixels.floats != nullptr ? reinterpret_cast<unsigned char const *>(pixels.floats.get()) : pixels.bytes.get();
    std::vector<unsigned char> line(row); // libtiff's predictor changes what it is given
    for (int y = 0; y < pixels.height; y++) {
        std::memcpy(line.data(), first + static_cast<std::size_t>(y) * row, row);
        if (TIFFWriteScanline(tiff.get(), line.data(), static_cast<std::uint32_t>(y)) < 0)
            throw Exception("'" + file + "' can't be written: libtiff can't encode row " + std::to_string(y));
    }
    if (TIFFFlush(tiff.get()) == 0) throw Exception("'" + file + "' can't be written: libtiff can't end the file");
    tiff.reset();
    return std::move(memory.bytes);
}

} // namespace zun::media
