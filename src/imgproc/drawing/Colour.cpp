#include "imgproc/drawing/Colour.h"

#include <cstdint>
#include <sstream>

#include "pipeline/Failure.h"

zun::Vec3b parseColour(std::string text) {
    if (text.starts_with('#'))
        text.erase(0, 1);
    else if (text.starts_with("0x"))
        text.erase(0, 2);
    if (text.size() != 6) zun::failWithoutLocation("Invalid fill colour value: ", text);

    std::stringstream digits(text);
    std::uint32_t value = 0;
    digits >> std::hex >> value;
    auto const channel = [&](int shift) { return static_cast<unsigned char>(value >> shift & 0xFF); };
    return {channel(16), channel(8), channel(0)};
}
