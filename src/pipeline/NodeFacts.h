// What a node type declares to hosts, beside its specification and its documentation.
//
// All of it comes from the node's own file (see node/Table.h), so that every plug-in has the same means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/Diagnostic.h"
#include "pipeline/Tick.h"
#include "pipeline/types/OptionConversion.h"
#include "pipeline/types/ValueType.h"

namespace zun {

class PipelineNode;

/// What an option's value means.
enum class OptionKind {
    Plain,
    Colour, ///< a colour string, such as "#FF8000"
    Path,   ///< of a file or folder
    Angle,  ///< in radians
    Pixels, ///< a length or position
    Ratio,  ///< from 0 to 1
};

/// One of an option's values, and what it stands for.
struct OptionChoice {
    int value = 0;
    char const *name = nullptr;
};

/// What makes sense for an option. A node takes other values, too, and does with them what it is defined to do; hosts
/// warn of them ahead of the run.
struct OptionSense {
    OptionKind kind = OptionKind::Plain;
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
    std::vector<OptionChoice> choices; ///< empty: any value in the range
};

/// The values that a node is about to read at a tick, by the index of its inputs in its table. Each is of its input's
/// type: a host compares the types before it hands values to a guard.
class TickInputs {
public:
    TickInputs(Tick tick, Variant const *const *byPort) : currentTick(tick), values(byPort) {}

    Tick now() const { return currentTick; }

    /// Null for an input that is not connected, or has no value at this tick.
    Variant const *at(std::size_t port) const { return values[port]; }

private:
    Tick currentTick;
    Variant const *const *values;
};

/// A file that a node will read or write. With a number in its name, as in frames/in-%05d.png, it stands for all files
/// of such a name.
struct FileUse {
    enum class Access { Read, Write };

    Access access = Access::Read;
    std::string beforeNumber; ///< or the whole path, if it has no number
    std::string afterNumber;
    bool numbered = false;

    /// As the description has it.
    std::string text;
};

/// What a node knows ahead of the run.
struct Forecast {
    std::map<std::string, std::uint64_t> bytes; ///< output port -> bytes of one value, where known
    std::vector<std::string> problems;          ///< why the node would fail, such as an input file that is missing
    std::vector<std::string> warnings;          ///< what it will leave out, such as the sound of a video
    std::vector<std::string> notes;             ///< what it settles by itself, such as the frame rate of a video
    std::vector<FileUse> files;

    /// Of a node with an output `besideFrames`: what holds for all of its frames, for the nodes that these reach.
    std::shared_ptr<Variant const> source;

    /// Whether its frames follow one another in time. Where frames come from several sources, such a one goes before.
    bool moves = false;
};

/// An output that has the shape of the only input that is connected.
inline constexpr char const *connectedInput = "*";

struct NodeFacts {
    struct Input {
        std::string name;
        ValueType const *type = nullptr; ///< null for one that takes values of every type
        bool changedInPlace = false;     ///< the node writes into the frames that it reads here
        bool besideFrames = false;       ///< a host connects it by itself; see OutputRow::besideFrames()
    };

    struct Output {
        std::string name;
        ValueType const *type = nullptr;
        std::string shapedLike; ///< an input whose frames have the same shape, or connectedInput; "" for none
        std::string typeOption; ///< the option that holds the type expression of its values; "" for none
        bool besideFrames = false;
    };

    struct Option {
        std::string name;
        OptionConversion conversion;
        OptionSense sense;
    };

    // In the order of the node's table.
    std::vector<Input> inputs;
    std::vector<Output> outputs;
    std::vector<Option> options;

    /// Refuses the values of a tick with which process() would read or write outside of memory, divide integers by
    /// zero, never end, or take more memory than a frame may; nothing else. `node` is of this type. Null for a type
    /// that no value can hurt. Thread-safe; called before process(), on the same thread.
    std::optional<Diagnostic> (*guard)(PipelineNode const &node, TickInputs const &inputs) = nullptr;

    /// Asked ahead of the run of a node that is built and not yet initialised; null for a type without a forecast.
    /// `source` is what the node that its input `besideFrames` is connected to has forecast; null where there is none.
    Forecast (*forecast)(PipelineNode const &node, Variant const *source) = nullptr;

    Input const *inputBesideFrames() const { return findBeside(inputs); }
    Output const *outputBesideFrames() const { return findBeside(outputs); }

    Input const *findInput(std::string const &name) const { return find(inputs, name); }
    Output const *findOutput(std::string const &name) const { return find(outputs, name); }
    Option const *findOption(std::string const &name) const { return find(options, name); }

private:
    template <class Entries>
    static typename Entries::value_type const *findBeside(Entries const &entries) {
        for (auto const &entry : entries)
            if (entry.besideFrames) return &entry;
        return nullptr;
    }

    template <class Entries>
    static typename Entries::value_type const *find(Entries const &entries, std::string const &name) {
        for (auto const &entry : entries)
            if (entry.name == name) return &entry;
        return nullptr;
    }
};

} // namespace zun
