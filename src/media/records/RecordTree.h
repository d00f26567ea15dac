// A value taken apart into scalars and lists, for nodes that look into values of any type.
//
// Every type with a Record can be taken apart, those of plug-ins too; pipeline/types/Record.h says into what. All
// functions are thread-safe and throw zun::Exception.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/types/RecordSink.h"
#include "pipeline/types/ValueType.h"

namespace zun::media {

struct RecordTree {
    using List = std::vector<RecordTree>;

    std::variant<std::int64_t, double, float, bool, std::string, List> value;

    List const *list() const { return std::get_if<List>(&value); }
    std::string const *text() const { return std::get_if<std::string>(&value); }

    /// Whether it is a number; a bool is none.
    bool isNumber() const { return value.index() < 3; }

    /// Of a number; 0 for what is none.
    double number() const;
};

/// Throws for a type without records.
RecordTree treeOf(Variant const &value);

/// Writes a tree as the value was written that it was made of.
void writeTree(RecordTree const &tree, RecordSink &sink);

/// The type of a value. Throws where nobody has made it known, or where it has no records.
ValueType const &recordTypeOf(Variant const &value);

/// How the values of a type are divided, as its canonical expression says.
struct Division {
    bool isList = false;            ///< a list of elements, or else one element
    std::vector<std::string> parts; ///< of each element: x, y, width, height of a box; none of what has no parts
    std::string element;            ///< type of an element, as people write it
};
Division divisionOf(ValueType const &type);

/// A value under the name of its stream or field, by elements.
class Column {
public:
    Column(std::string const &columnName, Variant const &value);

    /// One element without parts.
    Column(std::string const &columnName, RecordTree scalar);

    std::string const &name() const { return title; }
    Division const &division() const { return divided; }

    /// How many elements there are: 1 of what is not a list.
    std::size_t count() const;

    /// What is not a list has the same element everywhere.
    RecordTree const &element(std::size_t index) const;

private:
    std::string title;
    Division divided;
    RecordTree tree;
};

/// A part of a column's elements: "x", or "area" of boxes, or, for "", the element itself.
class ColumnPart {
public:
    /// Throws where elements have no such part. The column has to outlive the part.
    ColumnPart(Column const &elements, std::string_view part);

    RecordTree of(std::size_t index) const;

private:
    enum class Kind { Whole, Part, Area };

    Column const &column;
    Kind kind = Kind::Whole;
    std::size_t place = 0;
};

/// Lists that belong together have equal lengths. Takes those of all lists, and throws for two that differ, with the
/// names of both.
class Steps {
public:
    /// `noun` is what the names are of, such as "stream".
    explicit Steps(char const *noun) : kind(noun) {}

    void add(std::string const &name, std::size_t length);

    /// The length of all lists; 1 where there is none.
    std::size_t count() const { return any ? steps : 1; }

private:
    char const *kind;
    std::string first;
    std::size_t steps = 0;
    bool any = false;
};

} // namespace zun::media
