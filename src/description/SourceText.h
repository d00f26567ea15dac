// Where the parts of a description's tree stand in its text, to the byte.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "description/Yaml.h"

namespace zun::engine {

/// Of a text: from one byte to just before another.
struct Extent {
    std::size_t begin = 0, end = 0;
    bool comments = false; ///< a comment stands in it
};

/// A text and the places in it. The text has to stay, and the nodes have to be of the tree that parseYaml() gave for
/// it. What can't be found where the tree says that it stands throws zun::Exception.
class SourceText {
public:
    explicit SourceText(std::string const &source);

    char at(std::size_t offset) const { return offset < text.size() ? text[offset] : '\0'; }
    std::string_view piece(std::size_t begin, std::size_t end) const;

    std::size_t begin(YamlNode const &node) const;

    /// Of a scalar, list or map, in any style.
    Extent extent(YamlNode const &node) const;

    /// From the key to the end of the value, or of the colon where there is none.
    Extent extent(YamlEntry const &entry) const;

    /// Just after the colon that follows a key.
    std::size_t afterColon(YamlNode const &key) const;

    /// Whether a list or map is written with brackets or braces.
    bool isFlow(YamlNode const &node) const { return at(begin(node)) == '[' || at(begin(node)) == '{'; }

    std::size_t lineBegin(std::size_t offset) const;
    std::size_t lineEnd(std::size_t offset) const; ///< before the line break
    std::size_t nextLine(std::size_t offset) const;
    std::string_view lineBreak() const; ///< the text's own, by its first line

    /// Whether a comment stands in a part of the text in which no scalar does.
    bool hasComment(std::size_t begin, std::size_t end) const;

private:
    std::size_t plainEnd(YamlNode const &scalar) const;
    std::size_t quotedEnd(std::size_t begin) const;
    Extent blockScalar(YamlNode const &scalar) const;
    void close(Extent &collection) const;
    std::size_t skip(std::size_t from, std::string_view characters) const;

    std::string_view text;
    std::vector<std::size_t> lines; ///< where they begin
};

} // namespace zun::engine
