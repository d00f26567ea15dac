// How frames are written, as the options of WriteFrames have it.
#pragma once

#include <string>

namespace zun::media {

inline constexpr int leastQuality = 1, mostQuality = 100;
inline constexpr int mostCrf = 63;
inline constexpr int leastPngLevel = 0, mostPngLevel = 12, usualPngLevel = 1;
inline constexpr double mostRate = 10000;

struct WriteSettings {
    std::string container;         ///< "" for that of the file's ending
    std::string codec = "auto";    ///< of a video
    bool lossless = false;         ///< of a video or a WebP: every pixel comes back as it was
    int quality = 95;              ///< of JPEG, WebP and Motion JPEG
    std::string chroma = "auto";   ///< of JPEG and Motion JPEG: 4:4:4, 4:2:0, or auto
    int pngLevel = usualPngLevel;  ///< 0: not compressed
    int crf = 18;                  ///< of a video with loss: lower is better, in the encoder's own measure
    std::string preset = "medium"; ///< of a video: how long the encoder searches
    int bitRate = 0;               ///< of a video, in kilobits a second; 0 for constant quality by `crf`
    std::string pixelFormat;       ///< of a video; "" for what most players show
    int threads = 0;               ///< of the encoder of a video; 0 for the host's budget
    double rate = 0;               ///< of a video: frames a second; 0 for the source's
    std::string times = "source";  ///< of a video: "source" or "constant"
    std::string audio = "copy";    ///< of a video: "copy" or "none"
};

} // namespace zun::media
