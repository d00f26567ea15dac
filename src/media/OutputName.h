// The names of the files that a writer makes, a tick each or all in one.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "media/Source.h"
#include "pipeline/NodeFacts.h"
#include "pipeline/Tick.h"

namespace zun::media {

/// A path with fields in it: {tick}, {number}, {time} (seconds with 6 decimals), {name} (of the source's file, with its
/// ending), {stem} (without), {parent} (the name of its folder). {tick:05} has at least five digits, and so has %05d,
/// which stands for the tick as well. {{ and }} stand for braces, %% for a percent sign.
class OutputName {
public:
    /// Throws zun::Exception for an unknown field, with the nearest known one.
    explicit OutputName(std::string const &path);

    /// Whether it has a field, so that there may be several files.
    bool varies() const;

    /// Whether it takes more than the tick to fill the fields in.
    bool needsSource() const;

    /// The name at a tick. Throws zun::Exception where it needs a source and there is none.
    std::string file(Tick tick, FrameSource const *source) const;

    /// The two first files of a source that would be written under one name, if there are any; ahead of the run.
    struct Clash {
        std::string first, second, output;
    };
    std::optional<Clash> clash(SourceInfo const &source) const;

    /// The files that a node writes under such names, for its forecast.
    FileUse use() const;

private:
    struct Part {
        enum class Kind { Text, Tick, Number, Time, Name, Stem, Parent } kind = Kind::Text;
        std::string text;
        std::size_t digits = 0;
    };

    std::string path;
    std::vector<Part> parts;
};

} // namespace zun::media
