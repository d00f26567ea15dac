// The static description of a node type: its streams, options and codes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zun {

/// The name of a stream that is not connected.
inline constexpr char const *noStream = "-";

/// What inputs, outputs and options share.
struct CommonMeta {
    CommonMeta(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText);

    std::string name;
    std::string type; ///< type expression: the text that names the value's type, such as "zun::Mat<zun::Vec3b, 2>"
    bool optional;
    std::string defaultValue; ///< as a description would write it; "" where a value is required
};

/// What inputs and outputs share.
struct XPut : CommonMeta {
    /// How values follow one another on the stream. Linear: at most one a tick, in order.
    enum class StreamType : std::int32_t { Linear = 0 };

    XPut(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText, bool isInternal,
         StreamType kind);

    bool internal; ///< for the framework's own use: hosts don't list such a port
    StreamType streamType;
};

/// One entry of NodeRegistry: everything that a host can know of a node type without building a node.
struct NodeSpecification {
    struct Input : XPut {
        Input(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText,
              bool isInternal, StreamType kind);
    };

    struct Output : XPut {
        Output(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText,
               bool isInternal, std::int32_t defaultLimit, StreamType kind);

        std::int32_t limit; ///< how many values the stream buffers, unless the description says so; see outputSpace()
    };

    struct Option : CommonMeta {
        using CommonMeta::CommonMeta;
    };

    /// A parameter of the type expressions, chosen by the type string: "Crop<Vec3b>" makes "T" "zun::Vec3b".
    struct Template {
        std::string kind; ///< "typename"
        std::string parameter;
        std::map<std::string, std::string> choices; ///< what stands in the type string -> type expression
    };

    std::string name;
    std::map<std::string, Input> inputs;
    std::map<std::string, Output> outputs;
    std::map<std::string, Option> options;
    std::vector<Template> templates;

    /// What a host may do with the type, a set of bits. Bit 0: build it from a description. Bit 1: build further
    /// instances of a node with createInstance() and spread its ticks over them.
    std::int32_t classCode = 0;

    /// The class whose operations the node implements. A host builds only what it knows: "PipelineNode".
    std::string baseType;

    /// 1: process() of one node may run for several ticks at once, as canSelfParallelise() says of a node that is
    /// built; 0: one tick at a time.
    std::int32_t parallelCode = 0;
};

/// A type expression of a specification with its template parameters replaced by what the type string chooses:
/// "zun::Mat<T, 2>" is "zun::Mat<zun::Vec3b, 2>" in a "Crop<Vec3b>".
std::string chooseParameters(std::string const &expression, NodeSpecification const &specification,
                             std::string const &typeString);

/// What a type means to a person; shown by hosts, read by nothing.
struct NodeDocumentation {
    std::string summary;
    std::map<std::string, std::string> inputs, outputs, options; ///< port or option -> what it carries or means
};

} // namespace zun
