// The claim on all files that a writer makes during a run.
#pragma once

#include <optional>

#include "media/files/PartialFile.h"
#include "media/writing/OutputName.h"

namespace zun::media {

/// While it lives, no other claim on the same names holds, in this process or another. A writer of one file a tick has
/// one from its start on, and makes its files with Claim::None. What a killed run left of such files is removed.
class NameClaim {
public:
    /// Throws zun::Exception where the names are taken: "'out-%05d.png' is being written by process 1234".
    explicit NameClaim(OutputName const &names);

private:
    std::optional<PartialFile> claim; ///< an empty file that is named like the path, and never completed
};

} // namespace zun::media
