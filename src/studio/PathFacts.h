// Whether the files behind a path are still the same.
#pragma once

#include <string>

namespace zun::studio {

/// A text that changes when the file of this path does: by its size, the time of its last change, or its place on the
/// disk. For a folder, a numbered sequence and a glob it stands for all the files that they may mean. A path that is
/// relative is also looked for where fonts are installed. Thread-safe.
std::string pathFacts(std::string const &path);

} // namespace zun::studio
