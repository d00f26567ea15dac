// The formats that frames can be written in, found by a file's name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "media/writing/WriteSettings.h"

namespace zun::media {

enum class PictureFormat { None, Png, Jpeg, Webp, Tiff, Bmp, Ppm, Pgm };

struct OutputFormat {
    /// When a frame may come.
    enum class Spacing { Any, Even };

    std::string_view name; ///< that the option container takes
    std::vector<std::string_view> endings;
    PictureFormat picture = PictureFormat::None;

    // Of a video.
    char const *muxer = nullptr;      ///< FFmpeg's name
    std::string_view codec{};         ///< for codec: auto
    std::string_view losslessCodec{}; ///< the same, with lossless: true; "" for none
    Spacing spacing = Spacing::Any;
    bool trimsSound = false; ///< can begin within the sound's first packet

    bool isPicture() const { return picture != PictureFormat::None; }
};

/// Null for a name that says nothing of its format, and for an unknown container.
OutputFormat const *formatOf(std::string const &file, std::string const &container);

/// All formats, pictures first.
std::vector<OutputFormat> const &outputFormats();

/// Why a file of this name can't be written with these settings; empty if it can.
std::string whyUnsupported(std::string const &file, WriteSettings const &settings);

/// "a, b or c".
std::string alternatives(std::vector<std::string> const &names);

} // namespace zun::media
