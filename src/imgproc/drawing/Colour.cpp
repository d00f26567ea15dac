#include "imgproc/drawing/Colour.h"

#include <cstdint>
#include <sstream>

#include "pipeline/Failure.h"

namespace {

std::size_t prefixLength(std::string_view text) { return text.starts_with('#') ? 1 : text.starts_with("0x") ? 2 : 0; }

} // namespace

bool isColour(std::string_view text) { return text.size() == prefixLength(text) + 6; }

zun::Vec3b parseColour(std::string text) {
    bool const taken = isColour(text);
    text.erase(0, prefixLength(text));
    if (!taken) zun::failWithoutLocation("Invalid fill colour value: ", text);

    std::stringstream digits(text);
    std::uint32_t value = 0;
    digits >> std::hex >> value;
    auto const channel = [&](int shift) { return static_cast<unsigned char>(value >> shift & 0xFF); };
    return {channel(16), channel(8), channel(0)};
}
