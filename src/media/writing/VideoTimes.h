// When the frames of a video are shown; for the sources of this library alone.
#pragma once

#include <string>

#include "media/Av.h"
#include "media/Source.h"
#include "media/writing/OutputFormats.h"

namespace zun::media {

/// Frames a second as written in an option: 29.97 stands for 30000/1001, and so do the other rates of television.
AVRational exactRate(double rate);

/// Whether a video takes each frame's time from such a source. A null source tells nothing.
bool takesTimes(SourceInfo const *source, WriteSettings const &settings);

/// Whether a video written so lasts as long as the frames do in their source, so that the source's sound fits.
bool keepsPace(SourceInfo const *source, WriteSettings const &settings);

/// Gives the frames of one video their times, from 0 on. Not thread-safe.
class VideoTimes {
public:
    struct Span {
        std::int64_t start = 0, duration = 0; ///< in timeBase()
    };

    /// `source` is what is known of the first frame; null for nothing.
    VideoTimes(std::string const &file, OutputFormat const &format, WriteSettings const &settings,
               FrameSource const *source);

    AVRational timeBase() const { return base; }

    /// Frames a second, on average.
    AVRational rate() const { return frameRate; }

    /// Whether the frames are evenly spaced, as far as is known ahead.
    bool even() const { return isEven; }

    /// The place of the next frame. Source times that don't go on, as where a source is played again, are moved to the
    /// end of the frame before. Throws zun::Exception for a time that the format can't hold.
    Span next(FrameSource const *source);

    /// Whether times had to be moved, so that the sound fits no longer.
    bool moved() const { return wasMoved; }

private:
    std::int64_t inBase(std::int64_t sourceTime, SourceInfo const &info) const;
    Span constantSpan() const;
    Span sourceSpan(FrameSource const &source);
    [[noreturn]] void failToPlace(FrameSource const &source, std::int64_t place) const;

    std::string file;
    OutputFormat::Spacing spacing;
    std::string_view formatName;
    AVRational base{1, 25}, frameRate{25, 1};
    std::int64_t frameUnits = 1; ///< of `base` from one evenly spaced frame to the next; 0 for uneven ones
    bool fromSource = false, isEven = true, wasMoved = false;
    std::int64_t frames = 0;
    std::int64_t origin = 0; ///< source time of the frame at `offset`
    std::int64_t offset = 0; ///< in `base`
    FrameSource lastSource;
    Span last;
};

} // namespace zun::media
