#include "media/writing/OutputForecast.h"

#include <filesystem>

#include "media/reading/Input.h"
#include "media/writing/OutputFormats.h"
#include "media/writing/SoundCopy.h"
#include "media/writing/VideoTimes.h"

namespace zun::media {
namespace {

std::string text(Rational const &value) {
    std::string const numerator = std::to_string(value.numerator);
    return value.denominator == 1 ? numerator : numerator + "/" + std::to_string(value.denominator);
}

std::string quoted(SourceInfo const &source) { return inputName(source.path); }

/// Why the sound of a source is left out; empty if it is copied.
std::string whyNoSound(OutputFormat const &format, WriteSettings const &settings, SourceInfo const &source) {
    std::error_code ignored;
    if (source.files.size() != 1) return ", which has several files: write each to a video of its own";
    if (source.live || !std::filesystem::is_regular_file(source.files[0], ignored))
        return ", which can't be read a second time: save it to a file first";
    if (!keepsPace(&source, settings))
        return ", as the frames are given other times: leave out the options fps and times";
    if (!takesSound(format, source.sound)) {
        std::string const others = formatsForSound(source.sound);
        return ", which " + std::string(format.name) + " can't hold" + (others.empty() ? "" : ": write " + others);
    }
    return "";
}

void forecastVideo(OutputFormat const &format, WriteSettings const &settings, SourceInfo const &source,
                   Forecast &forecast) {
    std::string note;
    if (takesTimes(&source, settings)) {
        bool const rated = source.rate.numerator > 0;
        note = std::string("takes ") + (rated ? "frame rate " + text(source.rate) + " and times" : "times") +
               (source.variableRate ? " (uneven)" : "") + " from " + quoted(source);
        if (format.spacing == OutputFormat::Spacing::Even && (source.variableRate || !rated))
            forecast.warnings.push_back("fails at the first frame that isn't evenly spaced, as those of " +
                                        quoted(source) +
                                        " may not be: write .mp4, .mov or .mkv, or set times: constant");
    }
    if (!source.sound.empty() && settings.audio == "copy") {
        std::string const why = whyNoSound(format, settings, source);
        if (why.empty())
            note += std::string(note.empty() ? "" : ", and ") + "copies " + (note.empty() ? "the" : "its") +
                    " sound (" + source.sound + ")" + (note.empty() ? " of " + quoted(source) : "");
        else
            forecast.warnings.push_back("leaves out the sound (" + source.sound + ") of " + quoted(source) + why +
                                        "; audio: none leaves it out without this warning");
    }
    if (!note.empty()) forecast.notes.push_back(note);
}

} // namespace

void forecastOutput(std::string const &path, WriteSettings const &settings, SourceInfo const *source,
                    Forecast &forecast) {
    OutputFormat const &format = *formatOf(path, settings.container);
    bool const moving = source != nullptr && source->moving;
    bool const holdsAspect = !format.isPicture() && format.name != "rawvideo" && format.name != "image2pipe";
    if (!format.isPicture() && moving) forecastVideo(format, settings, *source, forecast);
    if (!format.isPicture() && !moving && settings.rate == 0)
        forecast.notes.push_back("writes 25 frames a second; the option fps sets another rate");
    if (source != nullptr && !(source->pixelAspect == Rational{1, 1}) && !holdsAspect)
        forecast.warnings.push_back("leaves out the pixel aspect " + text(source->pixelAspect) + " of " +
                                    quoted(*source) + ", so that pictures look " +
                                    (source->pixelAspect.value() > 1 ? "narrower" : "wider") +
                                    " than in a player: resize the frames, or write a video");
}

} // namespace zun::media
