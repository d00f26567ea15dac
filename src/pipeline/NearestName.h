// What a misspelt name most likely means.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zun {

/// The known name nearest to a misspelt one, or nothing if none is near. Case doesn't count; a name without its end
/// ("Crop" for "Crop<Vec3b>") is near. Of several that are equally near the first.
std::optional<std::string> nearestName(std::string const &wrong, std::vector<std::string> const &known);

/// The end of a message about an unknown name: "; did you mean 'x'?", or nothing if none is near.
std::string suggestion(std::string const &wrong, std::vector<std::string> const &known);

/// The keys of a map.
template <class Map>
std::vector<std::string> keysOf(Map const &map) {
    std::vector<std::string> keys;
    for (auto const &entry : map) keys.push_back(entry.first);
    return keys;
}

} // namespace zun
