#include "media/files/NameClaim.h"

#include <filesystem>

#include "containers/Exception.h"

namespace zun::media {

NameClaim::NameClaim(OutputName const &names) {
    std::string const pattern = names.pattern();
    // Folders with a field in their name may be missing still; then the claim stands in the first that has none.
    std::size_t const fields = names.varies() ? pattern.find('{') : pattern.size();
    std::size_t const slash = pattern.rfind('/', fields);
    std::size_t const from = slash == std::string::npos ? 0 : slash + 1;
    std::string name = pattern.substr(from);
    bool const inFolder = name.find('/') == std::string::npos;
    for (char &c : name)
        if (c == '/') c = ':';
    claim.emplace(pattern.substr(0, from) + name, Claim::Path, names.text());
    if (!inFolder || !names.varies()) return;
    removeAbandoned(from == 0 ? "." : pattern.substr(0, from),
                    [&](std::string const &final) { return names.gives(final); });
}

} // namespace zun::media
