#include "media/reading/WholePicture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace zun::media {
namespace {

std::uint32_t bigEndian(char const *bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; i++) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::uint32_t littleEndian(char const *bytes) {
    std::uint32_t value = 0;
    for (int i = 4; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

void readPngHeader(char const *data, PngFacts &facts) {
    constexpr std::uint32_t mostSide = 0x7FFFFFFF;
    constexpr unsigned char palette = 3, greyAlpha = 4, rgbAlpha = 6;
    facts.width = bigEndian(data);
    facts.height = bigEndian(data + 4);
    unsigned char const type = static_cast<unsigned char>(data[9]);
    facts.sound = facts.width != 0 && facts.height != 0 && facts.width <= mostSide && facts.height <= mostSide;
    facts.bitDepth = type == palette ? 8 : static_cast<unsigned char>(data[8]);
    facts.alpha = type == greyAlpha || type == rgbAlpha;
}

void readPngChunk(Input const &input, std::uint64_t place, std::string_view type, std::uint32_t length,
                  PngFacts &facts) {
    constexpr std::uint32_t headerSize = 13, mostExif = 1 << 16;
    std::string data(std::min(length, mostExif), '\0');
    if (type == "IHDR" && length == headerSize && input.readAt(place, data.data(), data.size()) == data.size())
        readPngHeader(data.data(), facts);
    if (type == "tRNS") facts.alpha = true;
    if (type == "acTL" && length >= 8 && input.readAt(place, data.data(), data.size()) == data.size()) {
        facts.animated = true;
        facts.loops = bigEndian(data.data() + 4);
    }
    if (type == "eXIf" && input.readAt(place, data.data(), data.size()) == data.size())
        facts.orientation = orientationOfExif(data);
}

/// Whether a marker stands by itself, and not at the head of a segment. Below the first marker that any file has are
/// zero, for a byte 0xFF of a scan's data, and, in JPEG-LS, more such bytes.
bool hasNoSegment(unsigned char marker) {
    constexpr unsigned char first = 0xC0, firstRestart = 0xD0, lastRestart = 0xD7, start = 0xD8;
    return marker < first || (marker >= firstRestart && marker <= lastRestart) || marker == start;
}

/// Calls `visit` with each segment's marker and content, until it returns false. Returns whether it reaches the last
/// marker or was stopped.
template <class Visit>
bool walkJpeg(std::string_view bytes, Visit visit) {
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
        std::size_t const length = std::size_t(at(place)) << 8 | at(place + 1); // counts itself
        if (length > 2 && !visit(marker, bytes.substr(place + 2, length - 2))) return true;
        place += length;
    }
}

/// The content of a WebP file's chunk; empty if there is none.
std::string_view webpChunk(std::string_view bytes, std::string_view type) {
    constexpr std::size_t fileHeader = 12, chunkHeader = 8;
    for (std::size_t place = fileHeader; place + chunkHeader <= bytes.size();) {
        std::size_t const length = littleEndian(bytes.data() + place + 4);
        if (bytes.substr(place, 4) == type) return bytes.substr(place + chunkHeader, length);
        place += chunkHeader + length + length % 2;
    }
    return {};
}

/// A number of Matroska, whose first byte says how long it is. With all bits set it stands for an unknown size.
std::optional<std::uint64_t> matroskaNumber(std::string_view bytes, std::size_t &place, bool keepMarker) {
    if (place >= bytes.size()) return std::nullopt;
    unsigned char const lead = static_cast<unsigned char>(bytes[place]);
    std::size_t length = 1;
    while (length <= 8 && (lead & (0x100u >> length)) == 0) length++;
    if (length > 8 || place + length > bytes.size()) return std::nullopt;
    std::uint64_t value = keepMarker ? lead : lead & ((0x100u >> length) - 1);
    bool unknown = (lead | (0xFFu << (8 - length) & 0xFFu)) == 0xFFu;
    for (std::size_t i = 1; i < length; i++) {
        unsigned char const next = static_cast<unsigned char>(bytes[place + i]);
        value = value << 8 | next;
        unknown = unknown && next == 0xFF;
    }
    place += length;
    if (unknown && !keepMarker) return std::nullopt;
    return value;
}

bool isMatroskaCut(std::string_view head, std::uint64_t size) {
    constexpr std::uint64_t segment = 0x18538067;
    std::size_t place = 4;
    std::optional<std::uint64_t> const header = matroskaNumber(head, place, false);
    if (!header || *header > head.size()) return false;
    place += static_cast<std::size_t>(*header);
    if (matroskaNumber(head, place, true) != segment) return false;
    std::optional<std::uint64_t> const length = matroskaNumber(head, place, false);
    return length && *length > size - std::min<std::uint64_t>(place, size);
}

bool isMp4Cut(Input const &input) {
    constexpr int mostBoxes = 100'000;
    std::uint64_t place = 0;
    std::array<char, 16> head{};
    for (int i = 0; i < mostBoxes && place < input.size(); i++) {
        if (input.readAt(place, head.data(), head.size()) < 8) return false;
        std::uint64_t length = bigEndian(head.data());
        if (length == 0) return false; // to the end of the file
        if (length == 1) length = std::uint64_t(bigEndian(head.data() + 8)) << 32 | bigEndian(head.data() + 12);
        if (length < 8) return false;
        if (length > input.size() - place) return true;
        place += length;
    }
    return false;
}

/// Whether the file ends within a block. One without the mark at the end, but with whole blocks, is whole.
bool isGifCut(Input const &input) {
    constexpr unsigned char extension = 0x21, image = 0x2C, hasTable = 0x80;
    std::uint64_t place = 0;
    bool ended = false;
    auto const take = [&](std::uint64_t count) { // the last of so many bytes
        unsigned char last = 0;
        ended = ended || input.readAt(place + count - 1, &last, 1) == 0;
        place += count;
        return last;
    };
    auto const passTable = [&](unsigned char flags) {
        if ((flags & hasTable) != 0) take(std::uint64_t(6) << (flags & 7));
    };
    unsigned char const flags = take(11);
    take(2);
    passTable(flags);
    while (!ended && place < input.size()) {
        unsigned char const kind = take(1);
        if (kind != extension && kind != image) return false; // the end, or damage
        if (kind == image) passTable(take(9));
        take(1);
        while (unsigned char const length = ended ? 0 : take(1)) take(length);
    }
    return ended;
}

} // namespace

std::string_view pnmName(std::string_view head) {
    constexpr std::array<std::string_view, 7> names{"pbm", "pgm", "ppm", "pbm", "pgm", "ppm", "pam"};
    bool const known = head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '7' &&
                       std::string_view(" \t\r\n").find(head[2]) != std::string_view::npos;
    return known ? names[static_cast<std::size_t>(head[1] - '1')] : std::string_view();
}

PngFacts pngFacts(Input const &input) {
    constexpr std::uint32_t checksum = 4;
    PngFacts facts;
    bool first = true;
    std::array<char, 8> head{}; // length and type; the length is that of the data between type and checksum
    for (std::uint64_t place = pngSignature.size();
         input.readAt(place, head.data(), head.size()) == head.size() && !facts.whole; first = false) {
        std::uint32_t const length = bigEndian(head.data());
        std::string_view const type(head.data() + 4, 4);
        if (first != (type == "IHDR")) return facts;
        readPngChunk(input, place + head.size(), type, length, facts);
        place += head.size() + length + checksum;
        if (place > input.size()) return facts;
        facts.whole = type == "IEND";
    }
    return facts;
}

bool reachesEndOfJpeg(std::string_view bytes) {
    return walkJpeg(bytes, [](unsigned char, std::string_view) { return true; });
}

Orientation orientationOfJpeg(std::string_view bytes) {
    constexpr unsigned char application1 = 0xE1, scan = 0xDA;
    constexpr std::string_view mark("Exif\0\0", 6);
    Orientation orientation;
    walkJpeg(bytes, [&](unsigned char marker, std::string_view content) {
        bool const found = marker == application1 && content.starts_with(mark);
        if (found) orientation = orientationOfExif(content.substr(mark.size()));
        return !found && marker != scan;
    });
    return orientation;
}

Orientation orientationOfWebp(std::string_view bytes) {
    constexpr std::string_view mark("Exif\0\0", 6); // which some writers put before the data
    std::string_view exif = webpChunk(bytes, "EXIF");
    if (exif.starts_with(mark)) exif.remove_prefix(mark.size());
    return orientationOfExif(exif);
}

bool isAnimatedWebp(std::string_view bytes) { return !webpChunk(bytes, "ANIM").empty(); }

bool isCutShort(Input const &input) {
    constexpr std::uint32_t unknown = 0xFFFFFFFF;
    std::string head(64, '\0');
    head.resize(input.readAt(0, head.data(), head.size()));
    if (head.size() < 16) return false;
    if (head.starts_with("RIFF")) {
        std::uint32_t const length = littleEndian(head.data() + 4);
        return length != unknown && length > input.size() - 8 + 1; // a byte of padding may be missing
    }
    if (head.starts_with("\x1A\x45\xDF\xA3")) return isMatroskaCut(head, input.size());
    if (head.substr(4, 4) == "ftyp") return isMp4Cut(input);
    if (head.starts_with("GIF8")) return isGifCut(input);
    return false;
}

} // namespace zun::media
