// Texts near to a sound one: what a reader of texts has to survive.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace zun::test {

/// The text with up to four pieces removed, repeated, changed, or added out of the signs given.
inline std::string mutated(std::string text, std::vector<std::string> const &signs, std::mt19937 &random) {
    auto const below = [&](std::size_t end) { return end == 0 ? 0 : random() % end; };
    for (std::size_t changes = below(5); changes > 0; changes--) {
        std::size_t const at = below(text.size()), length = below(12);
        switch (below(4)) {
        case 0:
            text.erase(at, length);
            break;
        case 1:
            text.insert(at, text.substr(below(text.size()), length));
            break;
        case 2:
            text.insert(at, signs[below(signs.size())]);
            break;
        default:
            if (!text.empty()) text[at] = static_cast<char>(below(256));
        }
    }
    return text;
}

} // namespace zun::test
