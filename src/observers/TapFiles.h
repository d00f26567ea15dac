// The files that show a value.
#pragma once

#include <string>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"

namespace zun::observers {

struct TapFile {
    std::string name;
    std::string bytes;
};

/// What was tapped.
struct TapSubject {
    std::string stream;
    Tick tick = 0;
    ValueType const *type = nullptr; ///< null where nobody has made it known
};

/// Whether values of a type show as pictures: frames, masks, and lists of them.
bool showsAsPictures(ValueType const &type);

/// The frames of a value as the files "name.png", or, of a list, "name-0.png", "name-1.png" ..., in the format of the
/// name's ending; see Picture.h. TIFF keeps floats. What a picture can't say stands beside it, in "name.json": the
/// range of floats, and the rectangle of a mask. Throws zun::Exception for frames that the format can't hold, and for
/// those without pixels. Thread-safe.
std::vector<TapFile> pictureFiles(Variant const &value, std::string const &name, TapSubject const &subject);

/// A value as one line of JSON, with the line's end: {"tick":5,"value":...}. Throws as media::recordText() does.
/// Thread-safe.
std::string recordLine(Variant const &value, Tick tick);

} // namespace zun::observers
