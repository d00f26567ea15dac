// What a user wants to see of a stream: "blurred@0:100:10=out/{tick:05}.png".
#pragma once

#include <string>
#include <vector>

#include "pipeline/Tick.h"

namespace zun::observers {

/// Some ticks, as a user names them: all of the ranges together.
class TickSet {
public:
    /// `5`, `a:b` (a up to but not including b), `a:b:step`, where a and b may be left out; several by commas. Throws
    /// zun::Exception for other texts.
    static TickSet parse(std::string const &text);

    /// Every tick.
    static TickSet all() { return parse(":"); }

    bool contains(Tick tick) const;

    /// Whether it holds no more than one tick.
    bool isOne() const;

private:
    struct Range {
        Tick first = 0, end = endless, step = 1;
    };

    static Range parseRange(std::string const &text);

    std::vector<Range> ranges;
};

struct TapRequest {
    std::string text; ///< as it was given
    std::string stream;
    TickSet ticks = TickSet::all();
    std::string pattern; ///< of the files; empty where none was given
};

/// Reads "STREAM[@TICKS][=PATTERN]". The first "=" ends the ticks, and the last "@" before it begins them. Throws
/// zun::Exception for other texts.
TapRequest parseTap(std::string const &text);

} // namespace zun::observers
