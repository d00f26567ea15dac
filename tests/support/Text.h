// What a text has to say.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zun::test {

/// Expects each of the parts somewhere in the text.
inline void expectParts(std::string const &text, std::vector<std::string> const &parts) {
    for (std::string const &part : parts)
        EXPECT_NE(text.find(part), std::string::npos) << "expected: " << part << "\nfound:    " << text;
}

} // namespace zun::test
