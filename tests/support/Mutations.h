// Texts near to a sound one: what a reader of texts has to survive.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace zun::test {

/// The text with up to four pieces replaced: by nothing, by another piece, by one of the signs given, or by any byte.
inline std::string mutated(std::string text, std::vector<std::string> const &signs, std::mt19937 &random) {
    auto const below = [&](std::size_t end) { return end == 0 ? 0 : random() % end; };
    for (std::size_t changes = below(5); changes > 0; changes--) {
        std::string const pieces[] = {"", text.substr(below(text.size()), below(12)), signs[below(signs.size())],
                                      std::string(1, static_cast<char>(below(256)))};
        text.replace(below(text.size()), below(2) * below(12), pieces[below(4)]);
    }
    return text;
}

} // namespace zun::test
