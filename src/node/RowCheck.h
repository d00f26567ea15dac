// Compile-time checks of a node's table: what a row says of its field has to be true.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "node/Table.h"
#include "pipeline/types/TypeExpression.h"

namespace zun {
namespace detail {

/// A text as a template argument, so that the compiler's message shows it.
template <std::size_t Length>
struct Literal {
    char text[Length + 1]{};

    constexpr explicit Literal(char const *from) { std::copy_n(from, Length, text); }
};

/// What the message of a row that lies shows: which row of which class says what, and the type of its field.
template <class Class, Literal Row, Literal TypeExpression, class FieldType, bool IsTrue>
struct TypeOfRow {
    static_assert(IsTrue, "the type expression of this row does not name the type of the field that the row fills");
    static constexpr bool isTrue = IsTrue;
};

/// The same of an output that refers to another row of the table.
template <class Class, Literal Row, Literal Reference, bool IsThere>
struct ReferenceOfRow {
    static_assert(IsThere, "shapedLike() of this row has to name an input of the same table, and typeFrom() an option");
    static constexpr bool isTrue = IsThere;
};

template <class Class, class T>
constexpr bool namesFieldType(char const *expression) {
    if constexpr (requires { Class::templateParameter; }) {
        using Parameter = typename std::remove_cvref_t<decltype(Class::templateParameter)>::Type;
        return namesType<T>(expression, Class::templateParameter.name, TypeName<Parameter>::text);
    } else {
        return namesType<T>(expression);
    }
}

#define ZUN_LITERAL(text) Literal<std::string_view(text).size()>(text)

/// `Rows` is the name of a member of Class::Table.
template <class Class, auto const &Rows, std::size_t... I>
constexpr bool typesAreTrue(std::index_sequence<I...>) {
    return (TypeOfRow<Class, ZUN_LITERAL(std::get<I>(Rows).name), ZUN_LITERAL(std::get<I>(Rows).type),
                      typename std::remove_cvref_t<decltype(std::get<I>(Rows))>::Value,
                      namesFieldType<Class, typename std::remove_cvref_t<decltype(std::get<I>(Rows))>::Value>(
                          std::get<I>(Rows).type)>::isTrue &&
            ... && true);
}

template <class Class, auto const &Rows>
constexpr bool typesAreTrue() {
    using Tuple = std::remove_cvref_t<decltype(Rows)>;
    return typesAreTrue<Class, Rows>(std::make_index_sequence<std::tuple_size_v<Tuple>>());
}

/// Whether a reference leads to one of the rows; an empty one is none.
template <class Rows>
constexpr bool leadsTo(Rows const &rows, std::string_view name) {
    bool found = name.empty();
    forEachRow(rows, [&](auto const &row) { found = found || name == row.name; });
    return found;
}

template <class Class, auto const &Outputs, std::size_t... I>
constexpr bool referencesAreTrue(std::index_sequence<I...>) {
    return ((ReferenceOfRow < Class, ZUN_LITERAL(std::get<I>(Outputs).name),
             ZUN_LITERAL(std::get<I>(Outputs).likeInput),
             std::string_view(std::get<I>(Outputs).likeInput) == connectedInput ||
                 leadsTo(Class::Table::inputs, std::get<I>(Outputs).likeInput) > ::isTrue &&
                     ReferenceOfRow<Class, ZUN_LITERAL(std::get<I>(Outputs).name),
                                    ZUN_LITERAL(std::get<I>(Outputs).typeOption),
                                    leadsTo(Class::Table::options, std::get<I>(Outputs).typeOption)>::isTrue) &&
            ... && true);
}

#undef ZUN_LITERAL

} // namespace detail

/// Does not compile where a row of the class's table says something of its field that is not so.
template <class Class>
constexpr bool rowsAreTrue() {
    using Outputs = std::remove_cvref_t<decltype(Class::Table::outputs)>;
    // All are asked, so that the compiler reports every row that lies.
    constexpr bool inputs = detail::typesAreTrue<Class, Class::Table::inputs>();
    constexpr bool outputs = detail::typesAreTrue<Class, Class::Table::outputs>();
    constexpr bool options = detail::typesAreTrue<Class, Class::Table::options>();
    constexpr bool references =
        detail::referencesAreTrue<Class, Class::Table::outputs>(std::make_index_sequence<std::tuple_size_v<Outputs>>());
    return inputs && outputs && options && references;
}

} // namespace zun
