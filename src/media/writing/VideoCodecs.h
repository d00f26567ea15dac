// The encoders of videos; for the sources of this library alone.
#pragma once

#include <string>
#include <vector>

#include "media/Av.h"
#include "media/writing/OutputFormats.h"
#include "media/writing/Pixels.h"

namespace zun::media {

/// What the option codec takes.
std::vector<std::string> codecNames();

/// What the option preset takes, the fastest first.
std::vector<std::string> presetNames();

/// Why a video can't be encoded so: its container doesn't take the codec, the codec has no lossless form or not the
/// pixel format, or FFmpeg was built without the encoder. Empty if it can. The settings' values are known ones.
std::string whyNotEncoded(std::string const &file, OutputFormat const &format, WriteSettings const &settings);

/// What an encoder needs to know beside the settings.
struct VideoForm {
    Pixels frames; ///< size and channels
    AVRational timeBase{1, 25};
    AVRational rate{25, 1};
    bool even = true; ///< the frames are evenly spaced
    AVRational pixelAspect{1, 1};
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
};

/// An open encoder for such frames. Throws zun::Exception, with the file's name, for a form that it doesn't take.
av::Codec openEncoder(std::string const &file, OutputFormat const &format, WriteSettings const &settings,
                      VideoForm const &form);

/// The format of the pixels as they are.
AVPixelFormat bytesFormat(int channels);

} // namespace zun::media
