// Where the installed files of the system lie.
#pragma once

#include <string>

namespace zun {

/// The folder above the `lib/` that this library was loaded from: the installation prefix, or the build folder, which
/// has the same layout (`bin/`, `lib/`, `share/`). Thread-safe.
std::string installationPrefix();

/// Resolves the path of a file that may come with the installation.
///
/// An absolute path comes back as it is. A relative one is looked for under installationPrefix(), if
/// `searchInstallation` is true, and then under the working directory; the first that exists comes back as an absolute
/// path. A path that is found nowhere comes back as it was given, so that whoever fails to open it names what the user
/// wrote. Never throws for a missing file. Thread-safe.
std::string resolve_relative_path(std::string const &path, bool searchInstallation);

} // namespace zun
