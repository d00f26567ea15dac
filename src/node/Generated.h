// The shape of every node class, made from its table.
//
// Generated<Class> derives from a node class and gives it its specification, constructor and generated operations, and
// what hosts know of it, so that a node file holds a table and a process() and no plumbing. When its constructor runs,
// the node's fields exist.
#pragma once

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <vector>

#include "node/Guard.h"
#include "node/Node.h"
#include "node/RowCheck.h"
#include "pipeline/Failure.h"

// Node classes name their fields freely, so names below may happen to be those of a field.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"

namespace zun {

/// The name of an option's type in messages; the same text stands in the condition of a failed setOption().
template <class T>
std::string optionTypeName() {
    return usualSpelling(std::string(TypeName<T>::text));
}

/// The value of a default that a table gives as text.
template <class T>
T defaultFromText(std::string_view text) {
    if constexpr (std::is_same_v<T, std::string>) {
        return std::string(text);
    } else if constexpr (std::is_same_v<T, bool>) {
        return text == "true";
    } else if constexpr (std::is_arithmetic_v<T>) {
        T value{};
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    } else {
        static_assert(std::is_same_v<T, OptionNode>, "options of this type have no default");
        return OptionNode::ofString(std::string(text));
    }
}

/// A class template says what its parameter is; see TemplateParameter.
template <class Class>
concept ClassTemplate = requires {
    Class::templateParameter;
};

/// A node class may have, beside its table and process(),
///
///   bool mayOverlap() const                  if its ticks may overlap with some options and not with others
///   Verdict guard(Arriving const &in) const  if values can hurt it, apart from unsound frames; see node/Guard.h
///   Forecast forecast() const                if it knows its outputs or files ahead of the run
///   Forecast forecast(Variant const *source) const  the same, with what the source of its frames tells; may be null
template <class Class>
class Generated final : public Class {
    using Table = typename Class::Table;
    static constexpr NodeRow const &row = Table::node;

public:
    Generated(NodeConstructionInfo const &info, NodeConfig const &config) : Class(info, config) {
        fillOptions(config);
        connectInputs(config);
        connectOutputs(config);
        fillLimits(config);
        checkType(config.getType());
    }

    static NodeSpecification const &specification();
    static NodeDocumentation documentation();
    static NodeFacts facts();

    std::string getType() override { return row.type; }
    bool canSelfParallelise() const override {
        if constexpr (requires(Class const &node) { node.mayOverlap(); })
            return row.parallelCode == 1 && Class::mayOverlap();
        else
            return row.parallelCode == 1;
    }

    std::shared_ptr<PipelineNode> createInstance(NodeConstructionInfo const &info, NodeConfig const &config) override {
        return std::shared_ptr<PipelineNode>(new Generated(info, config));
    }

    std::set<std::string> const &getInputStreams() override { return connectedStreams(inputSet, Table::inputs); }
    std::set<std::string> const &getOutputStreams() override { return connectedStreams(outputSet, Table::outputs); }

    std::vector<OutputLimit> getOutputLimits() override {
        std::vector<OutputLimit> limits;
        forEachRow(Table::outputs, [&](auto const &output) {
            limits.push_back({(this->*output.stream).name, (this->*output.stream).limit, 0});
        });
        return limits;
    }

    std::int32_t getOutputBufferSpace() override {
        unsigned const hardwareThreads = std::thread::hardware_concurrency();
        std::int32_t least = std::numeric_limits<std::int32_t>::max();
        forEachRow(Table::outputs, [&](auto const &output) {
            auto const &stream = this->*output.stream;
            std::uint64_t const buffered = stream.limit == 0 ? 0 : this->state->getStreamBufferCount(stream.name);
            least = std::min(least, outputSpace(stream.limit, hardwareThreads, buffered));
        });
        return least;
    }

    void setOption(std::string const &name, Variant &value) override;

protected:
    char const *sourcePath() const override { return row.sourcePath; }

private:
    [[noreturn]] static void failAbsent(char const *kind, char const *name, int line) {
        failAt({row.sourcePath, line}, unconditional, "No value specified for ", kind, " \"", name,
               "\" in a node of type ", row.typeInMessages);
    }

    void fillOptions(NodeConfig const &config) {
        std::map<std::string, OptionNode> const given = config.getParsedOptions();
        forEachRow(Table::options, [&](auto const &option) {
            using T = typename std::remove_cvref_t<decltype(option)>::Value;
            auto const found = given.find(option.name);
            if (found != given.end())
                this->*option.field = convertOption<T>(OptionNode(found->second));
            else if (option.defaultText == nullptr)
                failAbsent("Option", option.name, option.line);
            else if constexpr (!std::is_same_v<T, Vec2i>) // a pair of ints is always required
                this->*option.field = defaultFromText<T>(option.defaultText);
        });
    }

    void connectInputs(NodeConfig const &config) {
        std::map<std::string, std::string> const given = config.getInputs();
        std::size_t port = 0;
        forEachRow(Table::inputs, [&](auto const &input) {
            auto &stream = this->*input.stream;
            stream.portName = input.name;
            stream.port = port++;
            auto const found = given.find(input.name);
            if (found != given.end())
                stream.name = found->second;
            else if (!input.optional)
                failAbsent("Input", input.name, input.line);
        });
    }

    void connectOutputs(NodeConfig const &config) {
        std::map<std::string, std::string> const given = config.getOutputs();
        forEachRow(Table::outputs, [&](auto const &output) {
            auto const found = given.find(output.name);
            if (found != given.end()) (this->*output.stream).name = found->second;
        });
    }

    void fillLimits(NodeConfig const &config) {
        std::map<std::string, int> const given = config.getLimits();
        forEachRow(Table::outputs, [&](auto const &output) {
            auto const found = given.find(output.name);
            (this->*output.stream).limit = found != given.end() ? found->second : defaultLimit;
        });
    }

    void checkType(std::string const &configured) {
        std::string_view compared = configured;
        if constexpr (ClassTemplate<Class>) compared = compared.substr(0, compared.find('<'));
        if (compared != row.type)
            failWithoutLocation("Tried to initialise a node of type ", row.type,
                                " with the config for a node of type: ", configured);
    }

    template <class Rows>
    std::set<std::string> const &connectedStreams(std::set<std::string> &cached, Rows const &list) {
        if (!cached.empty()) return cached;
        forEachRow(list, [&](auto const &entry) { cached.insert((this->*entry.stream).name); });
        cached.erase(noStream);
        return cached;
    }

    static constexpr bool hasGuard = requires(Class const &node, Arriving const &in) { node.guard(in); };

    static constexpr bool readsFrames() {
        bool any = false;
        forEachRow(Table::inputs, [&]<class T>(InputRow<Class, T> const &) { any = any || holdsFrames<T>; });
        return any;
    }

    /// The guard that hosts call.
    static Verdict check(PipelineNode const &checked, TickInputs const &inputs) {
        auto const &node = static_cast<Generated const &>(checked);
        Arriving const in(inputs);
        Verdict verdict;
        forEachRow(Table::inputs, [&]<class T>(InputRow<Class, T> const &input) {
            if constexpr (holdsFrames<T>)
                if (T const *const value = in[node.*input.stream]; value != nullptr && !verdict)
                    verdict = refuseUnsound(node.*input.stream, *value);
        });
        if constexpr (hasGuard)
            if (!verdict) return node.Class::guard(in);
        return verdict;
    }

    static_assert(rowsAreTrue<Class>());

    static constexpr int defaultLimit = 2;

    std::set<std::string> inputSet, outputSet;
};

template <class Class>
void Generated<Class>::setOption(std::string const &name, Variant &value) {
    bool known = false;
    forEachRow(Table::options, [&](auto const &option) {
        if (known || name != option.name) return;
        known = true;
        using T = typename std::remove_cvref_t<decltype(option)>::Value;
        auto *const held = dynamic_cast<VariantType<T> *>(&value);
        if (held == nullptr) {
            std::string const type = optionTypeName<T>();
            std::string const condition = "dynamic_cast<zun::VariantType<" + type + "> *>(&value)";
            failAt({row.sourcePath, option.line}, condition.c_str(), "Option ", option.name, " of ", row.typeInMessages,
                   " is not of type ", type);
        }
        this->*option.field = held->value;
    });
    if (!known)
        failAt({row.sourcePath, row.line}, unconditional, "Unknown Option for ", row.typeInMessages, ": ", name);
}

template <class Class>
NodeSpecification const &Generated<Class>::specification() {
    using Kind = XPut::StreamType;
    static NodeSpecification built;
    built.name = row.type;
    built.classCode = row.classCode;
    built.baseType = "PipelineNode";
    built.parallelCode = row.parallelCode;
    if constexpr (ClassTemplate<Class>) {
        NodeSpecification::Template parameter{"typename", Class::templateParameter.name, {}};
        for (auto const &[label, type] : Class::templateParameter.choices) parameter.choices[label] = type;
        built.templates = {parameter};
    }

    built.inputs.clear();
    forEachRow(Table::inputs, [](auto const &input) {
        char const *const fallback = input.optional ? noStream : "";
        built.inputs.insert({input.name, {input.name, input.type, input.optional, fallback, false, Kind::Linear}});
    });
    built.outputs.clear();
    forEachRow(Table::outputs, [](auto const &output) {
        built.outputs.insert(
            {output.name, {output.name, output.type, true, noStream, false, defaultLimit, Kind::Linear}});
    });
    built.options.clear();
    forEachRow(Table::options, [](auto const &option) {
        bool const optional = option.defaultText != nullptr;
        built.options.insert({option.name, {option.name, option.type, optional, optional ? option.defaultText : ""}});
    });
    return built;
}

template <class Class>
NodeDocumentation Generated<Class>::documentation() {
    NodeDocumentation about;
    about.summary = row.summary;
    forEachRow(Table::inputs, [&](auto const &input) { about.inputs[input.name] = input.about; });
    forEachRow(Table::outputs, [&](auto const &output) { about.outputs[output.name] = output.about; });
    forEachRow(Table::options, [&](auto const &option) { about.options[option.name] = option.about; });
    return about;
}

template <class Class>
NodeFacts Generated<Class>::facts() {
    NodeFacts facts;
    forEachRow(Table::inputs, [&]<class T>(InputRow<Class, T> const &input) {
        facts.inputs.push_back({input.name, valueType<T>(), input.inPlace, input.beside});
    });
    forEachRow(Table::outputs, [&]<class T>(OutputRow<Class, T> const &output) {
        facts.outputs.push_back({output.name, valueType<T>(), output.likeInput, output.typeOption, output.beside});
    });
    forEachRow(Table::options, [&]<class T>(OptionRow<Class, T> const &option) {
        OptionSense sense{option.kind, option.least, option.most, {}};
        for (OptionChoice const &choice : option.choices)
            if (choice.name != nullptr) sense.choices.push_back(choice);
        facts.options.push_back({option.name, optionConversion<T>(), std::move(sense)});
    });
    if constexpr (hasGuard || readsFrames()) facts.guard = check;
    if constexpr (requires(Class const &node, Variant const *source) { node.forecast(source); })
        facts.forecast = [](PipelineNode const &node, Variant const *source) {
            return static_cast<Generated const &>(node).Class::forecast(source);
        };
    else if constexpr (requires(Class const &node) { node.forecast(); })
        facts.forecast = [](PipelineNode const &node, Variant const *) {
            return static_cast<Generated const &>(node).Class::forecast();
        };
    return facts;
}

} // namespace zun

#pragma GCC diagnostic pop
