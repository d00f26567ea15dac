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
/// which stands for the tick as well; {number:05} likewise, and {time:05} before the point. {{ and }} stand for braces,
/// %% for a percent sign.
class OutputName {
public:
    /// Throws zun::Exception for an unknown field, with the nearest known one.
    explicit OutputName(std::string const &path);

    /// As it was given.
    std::string const &text() const { return path; }

    /// With each field as {tick}, whatever it was written as; equal for paths that give the same names.
    std::string pattern() const;

    /// Whether a file in the folder of the path could be one of these. The folder itself isn't looked at.
    bool gives(std::string const &name) const;

    /// Whether it has a field, so that there may be several files.
    bool varies() const;

    /// Whether it has a field with another value at each tick: {tick}, {number} or {time}.
    bool variesByTick() const;

    /// Whether it takes more than the tick to fill the fields in.
    bool needsSource() const;

    /// The name at a tick. Throws zun::Exception where it needs a source and there is none.
    std::string file(Tick tick, FrameSource const *source) const;

    /// What would be lost if all files of a source were written, ahead of the run.
    struct Clash {
        std::string first;
        std::string second; ///< empty where `output` would replace `first` itself, which the source reads
        std::string output;

        /// "'a/x.png' and 'b/x.png' would both be written as 'out/x.jpg'", and what to do.
        std::string text() const;
    };

    /// The first such clash, as far as the names depend on the source's files. The frames of one video are not told
    /// apart here, and names with {tick} or {number} never clash.
    std::optional<Clash> clash(SourceInfo const &source) const;

    /// The files that a node writes under such names, for its forecast. A field other than one number stands for
    /// itself there, so that two nodes are told apart unless their paths are alike.
    FileUse use() const;

private:
    struct Part {
        enum class Kind { Text, Tick, Number, Time, Name, Stem, Parent } kind = Kind::Text;
        std::string text;
        std::size_t digits = 0;
    };

    // Read the field at a place in the path, and return the place of its last character.
    std::size_t addField(std::size_t at);
    std::size_t addNumber(std::size_t at);

    std::string path;
    std::vector<Part> parts;
};

} // namespace zun::media
