// Texts with placeholders: "{count}: {areas:.1} px".
//
// A placeholder is {name}, {name.part}, {name:width}, {name.part:width.decimals}; {{ and }} stand for braces. Shorter
// values are padded with blanks, numbers at their left and others at their right; a width that begins with 0 pads
// numbers with zeros.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media/records/RecordTree.h"

namespace zun::media {

class TextFormat {
public:
    /// What a placeholder may be called, and what it then stands for; several names may stand for one thing.
    struct Name {
        std::string text;
        std::size_t id = 0;
    };

    struct Field {
        std::size_t name = 0; ///< Name::id
        std::string part;     ///< "" for the whole
        std::size_t width = 0;
        bool zeros = false;
        std::optional<int> decimals;

        /// The text of a value. Throws for decimals of what has no numbers in it.
        std::string text(RecordTree const &value) const;
    };

    /// A literal text, and the field after it.
    struct Piece {
        std::string literal;
        std::optional<Field> field; ///< none at the end
    };

    /// Reads a format whose placeholders may have these names; of several that fit the longest, and of equal ones the
    /// first. Throws zun::Exception for another name, and for what is not a placeholder.
    TextFormat(std::string const &format, std::vector<Name> const &names);

    std::vector<Piece> const &pieces() const { return parts; }

    bool uses(std::size_t id) const;

private:
    Field readField(std::string_view placeholder, std::vector<Name> const &names) const;

    std::string whole;
    std::vector<Piece> parts;
};

} // namespace zun::media
