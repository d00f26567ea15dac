#include "media/writing/VideoTimes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "containers/Exception.h"

namespace zun::media {
namespace {

constexpr AVRational usualRate{25, 1};
constexpr int finestUnit = 10'000; ///< times are counted in at least so many parts of a second
constexpr AVRational gifUnit{1, 100};

AVRational rational(Rational const &value) {
    AVRational result{0, 1};
    av_reduce(&result.num, &result.den, value.numerator, value.denominator, std::numeric_limits<int>::max());
    return result;
}

std::string inSeconds(double seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f s", seconds);
    return text;
}

} // namespace

AVRational exactRate(double rate) {
    constexpr double close = 0.005;
    if (std::abs(rate - std::round(rate)) < 1e-4) return {static_cast<int>(std::lround(rate)), 1};
    double const television = std::round(rate * 1001 / 1000);
    if (std::abs(rate - television * 1000 / 1001) < close) return {static_cast<int>(television) * 1000, 1001};
    return av_d2q(rate, 100'000);
}

bool takesTimes(SourceInfo const *source, WriteSettings const &settings) {
    return source != nullptr && source->moving && settings.rate == 0 && settings.times == "source";
}

bool keepsPace(SourceInfo const *source, WriteSettings const &settings) {
    if (takesTimes(source, settings)) return true;
    if (source == nullptr || !source->moving || source->variableRate || source->rate.numerator == 0) return false;
    return settings.rate == 0 || av_cmp_q(exactRate(settings.rate), rational(source->rate)) == 0;
}

VideoTimes::VideoTimes(std::string const &path, OutputFormat const &format, WriteSettings const &settings,
                       FrameSource const *source)
    : file(path), spacing(format.spacing), formatName(format.name) {
    SourceInfo const *const info = source != nullptr ? source->info.get() : nullptr;
    bool const moving = info != nullptr && info->moving;
    bool const stated = moving && info->rate.numerator > 0;
    fromSource = takesTimes(info, settings);
    frameRate = settings.rate > 0 ? exactRate(settings.rate) : stated ? rational(info->rate) : usualRate;
    isEven = !fromSource || (stated && !info->variableRate) || spacing == OutputFormat::Spacing::Even;
    base = isEven ? av_inv_q(frameRate) : rational(info->timeBase);
    if (fromSource && isEven && spacing == OutputFormat::Spacing::Any)
        while (base.den / base.num < finestUnit && base.den < std::numeric_limits<int>::max() / 2) {
            base.den *= 2;
            frameUnits *= 2;
        }
    if (!isEven) frameUnits = 0;
    if (format.name == "gif") {
        base = gifUnit;
        frameUnits = 0;
    }
}

VideoTimes::Span VideoTimes::next(FrameSource const *source) {
    bool const known = fromSource && source != nullptr && source->info != nullptr;
    Span const span = known ? sourceSpan(*source) : constantSpan();
    if (known) lastSource = *source;
    last = span;
    frames++;
    return span;
}

VideoTimes::Span VideoTimes::constantSpan() const {
    AVRational const frame = av_inv_q(frameRate);
    std::int64_t const start = av_rescale_q(frames, frame, base);
    if (frames > 0 && start <= last.start)
        throw Exception("'" + file + "' counts time in 1/100 s, so it can't have " +
                        std::to_string(std::lround(av_q2d(frameRate))) + " frames a second: set fps to 50 or less");
    return {start, av_rescale_q(frames + 1, frame, base) - start};
}

/// A time in `base`, at the regular place where it is no further from it than the source can tell.
std::int64_t VideoTimes::inBase(std::int64_t sourceTime, SourceInfo const &info) const {
    AVRational const unit = rational(info.timeBase);
    std::int64_t const exact = av_rescale_q(sourceTime, unit, base);
    if (frameUnits <= 1) return exact;
    std::int64_t const place = (exact + frameUnits / 2) / frameUnits * frameUnits;
    std::int64_t const tolerance = std::min(av_rescale_q_rnd(1, unit, base, AV_ROUND_UP), frameUnits / 4);
    return std::abs(exact - place) <= tolerance ? place : exact;
}

VideoTimes::Span VideoTimes::sourceSpan(FrameSource const &source) {
    SourceInfo const &info = *source.info;
    bool const goesOn = frames > 0 && source.time > lastSource.time && source.file == lastSource.file;
    if (!goesOn) {
        wasMoved = frames > 0;
        offset = frames > 0 ? last.start + last.duration : 0;
        origin = source.time;
    }
    std::int64_t const relative = source.time - origin;
    Span span{offset + inBase(relative, info), 0};
    if (source.duration > 0)
        span.duration = offset + inBase(relative + source.duration, info) - span.start;
    else if (frameUnits > 0)
        span.duration = frameUnits;
    else
        span.duration = goesOn && !isEven ? span.start - last.start : av_rescale_q(1, av_inv_q(frameRate), base);
    span.duration = std::max<std::int64_t>(span.duration, 1);
    double const away = double(relative) * info.timeBase.value() - double(span.start - offset) * av_q2d(base);
    bool const regular = span.start == frames && std::abs(away) <= info.timeBase.value();
    if (frameUnits > 1 && goesOn && span.start <= last.start) span.start = last.start + 1; // the place was taken
    if (spacing == OutputFormat::Spacing::Even && !regular) failToPlace(source, frames);
    if (frames > 0 && span.start <= last.start) failToPlace(source, last.start + 1);
    return span;
}

void VideoTimes::failToPlace(FrameSource const &source, std::int64_t place) const {
    double const first = double(origin) * source.info->timeBase.value() - double(offset) * av_q2d(base);
    throw Exception("'" + file + "': frame " + std::to_string(source.number) + " of '" + source.file + "' comes at " +
                    inSeconds(source.seconds() - first) + ", but the container " + std::string(formatName) +
                    " can hold the next frame at " + inSeconds(double(place) * av_q2d(base)) +
                    (spacing == OutputFormat::Spacing::Even ? " only" : " at the earliest") +
                    ": write .mp4, .mov or .mkv, or set times: constant");
}

} // namespace zun::media
