// Values of several streams at one tick, each under a name: a record that is written as one object or one table.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "containers/Variant.h"
#include "media/records/RecordTree.h"
#include "pipeline/types/Contents.h"
#include "pipeline/types/TypeTable.h"

namespace zun::media {

/// The values are those of the streams, which they share. They must not be changed.
struct Fields {
    struct Field {
        std::string name;
        std::shared_ptr<Variant> value; ///< null for what came from no stream
        RecordTree scalar;              ///< instead of the value

        /// Throws for a type without records, with the field's name.
        Column column() const;
    };

    std::vector<Field> list; ///< in the order in which they are written

    /// Throws zun::Exception for a name that is there.
    void add(Field field);
};

} // namespace zun::media

template <>
struct zun::TypeName<zun::media::Fields> {
    static constexpr std::string_view text = "zun::media::Fields";
};

template <>
struct zun::Contents<zun::media::Fields> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(media::Fields const &fields);
    static media::Fields copy(media::Fields const &fields);
    static bool soleOwner(media::Fields const &) { return false; }
    static bool sound(media::Fields const &) { return true; }
};
