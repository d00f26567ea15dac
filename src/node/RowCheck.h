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

#undef ZUN_LITERAL

template <class Class, auto const &Rows>
constexpr bool typesAreTrue() {
    using Tuple = std::remove_cvref_t<decltype(Rows)>;
    return typesAreTrue<Class, Rows>(std::make_index_sequence<std::tuple_size_v<Tuple>>());
}

/// Whether a name stands in a list of rows.
template <class Rows>
constexpr bool hasRow(Rows const &rows, std::string_view name) {
    bool found = false;
    forEachRow(rows, [&](auto const &row) { found = found || name == row.name; });
    return found;
}

template <class Class>
constexpr bool outputsReferToRows() {
    bool all = true;
    forEachRow(Class::Table::outputs, [&](auto const &output) {
        std::string_view const input = output.likeInput, option = output.typeOption;
        all = all && (input.empty() || input == connectedInput || hasRow(Class::Table::inputs, input));
        all = all && (option.empty() || hasRow(Class::Table::options, option));
    });
    return all;
}

} // namespace detail

/// Does not compile where a row of the class's table says something of its field that is not so.
template <class Class>
constexpr bool rowsAreTrue() {
    static_assert(detail::outputsReferToRows<Class>(),
                  "shapedLike() has to name an input of the same table, and typeFrom() an option");
    return detail::typesAreTrue<Class, Class::Table::inputs>() &&
           detail::typesAreTrue<Class, Class::Table::outputs>() && detail::typesAreTrue<Class, Class::Table::options>();
}

} // namespace zun
