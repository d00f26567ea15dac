// A pipeline description: the nodes of a pipeline and the streams between them, read from a YAML file.
//
//   variables: {photo: coffee.png}       # defaults of ${photo}
//   nodes:
//     - type: ReadFrames
//       name: reader                     # optional
//       outputs: {rgb: picture}          # port -> stream
//       options: {path: "${photo}"}
//     - type: NegativeImage
//       inputs: {input: picture}
//       outputs: {output: negative}
//       limits: {output: -1}             # how many values the stream may buffer
//
// A node without a name is called by its type; the second such node of a type "NegativeImage2", and so on, past names
// that are taken. A stream named "-" is not a stream: the port is left unconnected.
//
// ${name} in a value stands for a variable, and $${ for a literal ${. Its value is put into the text of the scalar
// before that is resolved: without quotes, ${n} with n=3 is the int 3; in quotes it is a string. Within { } and [ ],
// where YAML reads the brace as its own, it needs the quotes, so numbers from variables go in maps of one entry a line.
// A default may use the variables above it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "pipeline/Diagnostic.h"
#include "pipeline/NodeConfig.h"
#include "pipeline/config/OptionNode.h"

namespace zun::engine {

struct PortBinding {
    std::string port;
    std::string stream; ///< "-" for a port that is left unconnected on purpose; empty where it could not be read
    Place place;        ///< of the port's name
};

struct OptionSetting {
    std::string name;
    OptionNode value; ///< of type NONE where the description held none that could be read
    Place place;
};

struct LimitSetting {
    std::string port;
    int limit = 0;
    Place place;
};

struct NodeDescription {
    std::string type;
    std::string name; ///< unique in a description without errors
    std::vector<PortBinding> inputs, outputs;
    std::vector<OptionSetting> options;
    std::vector<LimitSetting> limits;
    Place place;     ///< of the node
    Place typePlace; ///< of its type

    /// `reader (ReadFrames)`, as messages name a node.
    std::string label() const { return "'" + name + "' (" + type + ")"; }

    /// What the node is built from.
    NodeConfig config() const;
};

struct Description {
    std::string file;
    std::vector<NodeDescription> nodes;
    Diagnostics diagnostics; ///< what is wrong with the form, in the order of the file
};

/// What the user gives along with a description.
struct Overrides {
    std::map<std::string, std::string> variables; ///< values of ${name}, over the file's defaults
    std::vector<std::string> settings;            ///< "node.option=value"; see description/Setting.h
};

/// The largest description that is read, in bytes.
inline constexpr std::uint64_t largestDescription = 4u << 20;

/// Reads a description. What is wrong with its form is in its diagnostics, all of it at once, and what could be read is
/// in the rest. Throws nothing for bad input.
Description parseDescription(std::string const &text, std::string const &file, Overrides const &overrides = {});

/// The same for a file; a file that can't be read is a diagnostic.
Description readDescription(std::string const &file, Overrides const &overrides = {});

} // namespace zun::engine
