#include "media/WholePicture.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

#include "containers/Exception.h"

namespace zun::media {
namespace {

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";
constexpr std::string_view jpegSignature = "\xFF\xD8";

std::uint32_t bigEndian(unsigned char const *bytes) {
    return std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 | std::uint32_t(bytes[2]) << 8 | bytes[3];
}

/// From the first chunk on.
bool reachesEndOfPng(std::istream &in) {
    constexpr int checksum = 4;
    std::array<unsigned char, 8> head{}; // length and type; the length is that of the data between type and checksum
    while (in.read(reinterpret_cast<char *>(head.data()), head.size())) {
        bool const last = std::memcmp(head.data() + 4, "IEND", 4) == 0;
        in.seekg(std::streamoff(bigEndian(head.data())) + checksum - 1, std::ios::cur);
        if (in.get() == std::istream::traits_type::eof()) return false;
        if (last) return true;
    }
    return false;
}

/// Whether a marker stands by itself, and not at the head of a segment. Below the first marker that any file has are
/// zero, for a byte 0xFF of a scan's data, and, in JPEG-LS, more such bytes.
bool hasNoSegment(unsigned char marker) {
    constexpr unsigned char first = 0xC0, firstRestart = 0xD0, lastRestart = 0xD7, start = 0xD8;
    return marker < first || (marker >= firstRestart && marker <= lastRestart) || marker == start;
}

} // namespace

bool reachesEndOfJpeg(std::string_view bytes) {
    constexpr unsigned char end = 0xD9;
    auto const at = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    std::size_t place = 0;
    while (true) {
        // What is passed over here is the data of a scan, which follows the segment of its header.
        place = bytes.find_first_not_of('\xFF', bytes.find('\xFF', place));
        if (place == std::string_view::npos) return false;
        unsigned char const marker = at(place++);
        if (marker == end) return true;
        if (hasNoSegment(marker)) continue;
        if (place + 2 > bytes.size()) return false;
        place += std::size_t(at(place)) << 8 | at(place + 1); // the length counts itself
    }
}

void requireWholePicture(std::string const &file) {
    std::ifstream in(file, std::ios::binary);
    std::string head(pngSignature.size(), '\0');
    if (!in.read(head.data(), static_cast<std::streamsize>(head.size()))) return;
    char const *format = nullptr;
    if (head == pngSignature && !reachesEndOfPng(in)) format = "PNG";
    if (head.starts_with(jpegSignature)) {
        in.seekg(0);
        if (!reachesEndOfJpeg(std::string(std::istreambuf_iterator<char>(in), {}))) format = "JPEG";
    }
    if (format != nullptr)
        throw Exception("'" + file + "' is cut short: the " + format + " file ends before its picture does");
}

} // namespace zun::media
