// Loading of libraries that register node types.
#pragma once

#include <string>

namespace zun::engine {

/// Loads a plug-in, given by path (with a "/" in it, or the name of a ".so" in the working folder) or by name:
/// "imgproc" is lib/zun/imgproc.so under the installation prefix or in the build tree. It stays loaded until the
/// process ends, because values of its types may live that long. Throws zun::Exception with the loader's reason, with
/// the type strings that are registered twice, or, before any code of it has run, with both versions if it was built
/// against other headers.
void loadPlugin(std::string const &pathOrName);

} // namespace zun::engine
