#include <array>
#include <cstring>
#include <memory>
#include <new>

#include <libdeflate.h>

#include "media/writing/PictureEncoders.h"

namespace zun::media {
namespace {

constexpr std::array<unsigned char, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t chunkFrame = 12; ///< length, name and checksum

using Compressor = std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor *)>;

void storeBig(unsigned char *place, std::size_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) *place++ = static_cast<unsigned char>(value >> shift);
}

/// Fills in what stands around the content of a chunk that begins at `chunk`. Returns its end.
unsigned char *closeChunk(unsigned char *chunk, char const *name, std::size_t content) {
    storeBig(chunk, content);
    std::memcpy(chunk + 4, name, 4);
    storeBig(chunk + 8 + content, libdeflate_crc32(0, chunk + 4, content + 4));
    return chunk + chunkFrame + content;
}

/// Each byte less the one above it, which is faster to make and to undo than the other filters, and on photos hardly
/// larger. The filter's number stands before each row.
std::unique_ptr<unsigned char[]> filtered(Pixels const &pixels) {
    constexpr unsigned char up = 2;
    std::size_t const row = pixels.rowBytes(), rows = static_cast<std::size_t>(pixels.height);
    std::unique_ptr<unsigned char[]> result(new unsigned char[(row + 1) * rows]);
    unsigned char const *source = pixels.bytes.get();
    unsigned char *target = result.get();
    for (std::size_t y = 0; y < rows; y++, source += row, target += row) {
        *target++ = up;
        if (y == 0)
            std::memcpy(target, source, row);
        else
            for (std::size_t i = 0; i < row; i++) target[i] = static_cast<unsigned char>(source[i] - (source - row)[i]);
    }
    return result;
}

} // namespace

Bytes encodePng(Pixels const &pixels, int level) {
    constexpr std::size_t headerSize = 13;
    constexpr unsigned char grey = 0, rgb = 2, rgba = 6, bits = 8;
    std::size_t const size = (pixels.rowBytes() + 1) * static_cast<std::size_t>(pixels.height);
    Compressor const compressor(libdeflate_alloc_compressor(level), libdeflate_free_compressor);
    if (compressor == nullptr) throw std::bad_alloc();
    std::size_t const bound = libdeflate_zlib_compress_bound(compressor.get(), size);
    Bytes file(signature.size() + 3 * chunkFrame + headerSize + bound);
    std::memcpy(file.data(), signature.data(), signature.size());
    unsigned char *chunk = file.data() + signature.size();
    storeBig(chunk + 8, static_cast<std::size_t>(pixels.width));
    storeBig(chunk + 12, static_cast<std::size_t>(pixels.height));
    chunk[16] = bits;
    chunk[17] = pixels.channels == 1 ? grey : pixels.channels == 3 ? rgb : rgba;
    chunk = closeChunk(chunk, "IHDR", headerSize);
    chunk = closeChunk(chunk, "IDAT",
                       libdeflate_zlib_compress(compressor.get(), filtered(pixels).get(), size, chunk + 8, bound));
    chunk = closeChunk(chunk, "IEND", 0);
    file.resize(static_cast<std::size_t>(chunk - file.data()));
    return file;
}

} // namespace zun::media
