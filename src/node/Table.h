// The rows of a node's table: one for each stream and option, each with a pointer to the field it fills.
//
// A node class holds a public `struct Table` with four constants: `node` (a NodeRow) and `inputs`, `outputs`,
// `options`, each made by rows(). Everything else that a node class needs follows from them; see node/Generated.h. A
// row whose type expression doesn't name the type of its field does not compile.
//
// What hosts may know of a row follows it:
//
//   zun::input("frames", "zun::Mat<zun::Vec3b, 2>", &Draw::frames, "the frame to draw into").changedInPlace()
//   zun::output("output", "zun::Mat<zun::Vec3b, 2>", &Blur::output, "the frame, blurred").shapedLike("input")
//   zun::option("colour", "std::string", "0xFF00FF", &Draw::colour, "of the text").is(zun::OptionKind::Colour)
//   zun::option("quality", "int", "95", &Write::quality, "of a JPEG").between(1, 100)
//   zun::option("method", "int", "1", &Resize::method, "how").choose({{0, "nearest"}, {1, "mean"}})
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <string>
#include <tuple>

#include "containers/Variant.h"
#include "pipeline/NodeFacts.h"
#include "pipeline/NodeSpecification.h"

namespace zun {

/// A node's side of an input stream. `T` is the type of the value; Variant stands for a value of any type.
template <class T>
struct InputStream {
    std::string name = noStream;
    char const *portName = "";
    std::size_t port = 0; ///< index in the node's table

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
    bool inPlace = false;
    bool beside = false;

    /// The node writes into the frames that it reads here. It gets a copy where somebody else reads them, too.
    constexpr InputRow changedInPlace() const {
        InputRow row = *this;
        row.inPlace = true;
        return row;
    }

    /// Takes what the source of the node's frames tells of each of them. Where a description leaves the input out, it
    /// is connected to the source that the node's other inputs come from, by whatever path.
    constexpr InputRow besideFrames() const {
        InputRow row = *this;
        row.beside = true;
        return row;
    }
};

template <class Node, class T>
struct OutputRow {
    using Value = T;

    char const *name;
    char const *type;
    OutputStream<T> Node::*stream;
    char const *about;
    int line;
    char const *likeInput = "";
    char const *typeOption = "";
    bool beside = false;

    /// The values have the shape of those at an input, or at the only one that is connected (connectedInput).
    constexpr OutputRow shapedLike(char const *input) const {
        OutputRow row = *this;
        row.likeInput = input;
        return row;
    }

    /// The values are of the type whose expression an option holds.
    constexpr OutputRow typeFrom(char const *option) const {
        OutputRow row = *this;
        row.typeOption = option;
        return row;
    }

    /// What a source tells of each of its frames that the frame itself can't hold. It reaches the inputs besideFrames()
    /// of the nodes that the frames come to, without a word in the description.
    constexpr OutputRow besideFrames() const {
        OutputRow row = *this;
        row.beside = true;
        return row;
    }
};

template <class Node, class T>
struct OptionRow {
    using Value = T;

    static constexpr std::size_t mostChoices = 8;

    char const *name;
    char const *type;
    char const *defaultText; ///< null for a required option
    T Node::*field;
    char const *about;
    int line;
    OptionKind kind = OptionKind::Plain;
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    std::array<OptionChoice, mostChoices> choices{};

    constexpr OptionRow is(OptionKind meaning) const {
        OptionRow row = *this;
        row.kind = meaning;
        return row;
    }

    /// The values that make sense, both ends among them.
    constexpr OptionRow between(double lowest, double highest) const {
        OptionRow row = *this;
        row.least = lowest;
        row.most = highest;
        return row;
    }

    constexpr OptionRow atLeast(double lowest) const { return between(lowest, most); }

    /// The only values that make sense, and what they stand for.
    constexpr OptionRow choose(std::initializer_list<OptionChoice> values) const {
        OptionRow row = *this;
        std::size_t count = 0;
        for (OptionChoice const &choice : values) row.choices[count++] = choice;
        return row;
    }
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
                                    char const *about, int line = __builtin_LINE()) {
    return {name, type, stream, about, line};
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

/// The parameter of a class template of nodes, which its type expressions name. Such a class holds one as a static
/// constant `templateParameter`: what the parameter is called, and for each choice what stands in the type string and
/// the type expression. `T` is the choice that the class is instantiated with.
template <class T>
struct TemplateParameter {
    using Type = T;

    struct Choice {
        char const *label;
        char const *type;
    };

    char const *name;
    std::array<Choice, 2> choices;
};

} // namespace zun
