// The rows of a node's table: one for each stream and option, each with a pointer to the field it fills.
//
// A node class holds a public `struct Table` with four constants: `node` (a NodeRow) and `inputs`, `outputs`,
// `options`, each made by rows(). Everything else that a node class needs follows from them; see frame/Framed.h.
#pragma once

#include <string>
#include <tuple>

#include "containers/Variant.h"
#include "pipeline/NodeSpecification.h"

namespace zun {

/// A node's side of an input stream. `T` is the type of the value; Variant stands for a value of any type.
template <class T>
struct InputStream {
    std::string name = noStream;

    bool connected() const { return name != noStream; }
};

/// A node's side of an output stream.
template <class T>
struct OutputStream {
    std::string name = noStream;
    int limit = 0;

    bool connected() const { return name != noStream; }
};

/// What a class is: its name, its source file, and its codes (see NodeSpecification).
struct NodeRow {
    char const *type;
    char const *sourcePath; ///< of the node's file, under the source root, without ending
    int classCode = 3;
    int parallelCode = 1;
    char const *summary = "";
    char const *typeInMessages = type; ///< differs for a class template, which is named with its parameter
    int line = __builtin_LINE();
};

template <class Node, class T>
struct InputRow {
    using Value = T;

    char const *name;
    char const *type;
    InputStream<T> Node::*stream;
    char const *about;
    bool optional;
    int line; ///< the row's own line in the node's file, where failures about the input point
};

template <class Node, class T>
struct OutputRow {
    using Value = T;

    char const *name;
    char const *type;
    OutputStream<T> Node::*stream;
    char const *about;
};

template <class Node, class T>
struct OptionRow {
    using Value = T;

    char const *name;
    char const *type;
    char const *defaultText; ///< null for a required option
    T Node::*field;
    char const *about;
    int line;
};

template <class Node, class T>
constexpr InputRow<Node, T> input(char const *name, char const *type, InputStream<T> Node::*stream, char const *about,
                                  int line = __builtin_LINE()) {
    return {name, type, stream, about, false, line};
}

template <class Node, class T>
constexpr InputRow<Node, T> optionalInput(char const *name, char const *type, InputStream<T> Node::*stream,
                                          char const *about, int line = __builtin_LINE()) {
    return {name, type, stream, about, true, line};
}

template <class Node, class T>
constexpr OutputRow<Node, T> output(char const *name, char const *type, OutputStream<T> Node::*stream,
                                    char const *about) {
    return {name, type, stream, about};
}

/// An option with a default, in the text that a description would hold for it.
template <class Node, class T>
constexpr OptionRow<Node, T> option(char const *name, char const *type, char const *defaultText, T Node::*field,
                                    char const *about, int line = __builtin_LINE()) {
    return {name, type, defaultText, field, about, line};
}

template <class Node, class T>
constexpr OptionRow<Node, T> requiredOption(char const *name, char const *type, T Node::*field, char const *about,
                                            int line = __builtin_LINE()) {
    return {name, type, nullptr, field, about, line};
}

template <class... Rows>
constexpr std::tuple<Rows...> rows(Rows... list) {
    return {list...};
}

/// Calls `visit` with each row, in order.
template <class Rows, class Visitor>
constexpr void forEachRow(Rows const &list, Visitor &&visit) {
    std::apply([&](auto const &...row) { (visit(row), ...); }, list);
}

} // namespace zun
