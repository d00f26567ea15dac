#include "description/Description.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>
#include <utility>

#include "description/DiagnosticList.h"
#include "description/Scalars.h"
#include "description/Setting.h"
#include "description/Variables.h"
#include "description/Yaml.h"
#include "pipeline/NodeSpecification.h"

namespace zun::engine {
namespace {

using Kind = YamlNode::Kind;

/// A setting of the user's, with its value read.
struct ReadSetting {
    Setting setting;
    YamlOrigin origin;
    YamlNode value;
};

/// Takes the tree apart. Whatever can't be read is reported and left out, or stands in the result as an empty name or a
/// value of type NONE, so that nothing follows from it that would be reported again.
class Reader {
public:
    Reader(std::string const &file, DiagnosticList &list) : origin{file, true}, diagnostics(list) {
        result.file = file;
    }

    Description read(std::string const &text, Overrides const &overrides);

private:
    void readNodes(YamlNode const &list);
    void readNode(YamlNode const &node);
    void readField(std::string const &field, YamlEntry const &entry, NodeDescription &node);
    void readPorts(YamlEntry const &field, std::vector<PortBinding> &ports);
    void readOptions(YamlEntry const &field, NodeDescription &node);
    void readLimits(YamlEntry const &field, NodeDescription &node);
    std::string readName(YamlEntry const &entry, std::string const &what);
    std::vector<YamlEntry> const &entriesOf(YamlEntry const &field, char const *example);
    std::optional<std::string> knownKey(YamlNode const &map, YamlNode const &key, std::string const &where,
                                        std::vector<std::string> const &known);
    void nameNodes();

    std::optional<ReadSetting> readSetting(std::string const &text);
    void apply(ReadSetting const &given);

    YamlOrigin origin;
    DiagnosticList &diagnostics;
    Description result;
};

Description Reader::read(std::string const &text, Overrides const &overrides) {
    std::optional<YamlNode> root = parseYaml(text, origin, diagnostics);
    if (!root) return std::move(result);
    if (root->kind != Kind::Map && root->kind != Kind::Refused)
        diagnostics.error(root->kind == Kind::Null ? Place{result.file, 1, 1} : origin.place(*root),
                          "a description is a map with the key 'nodes'");
    if (root->kind != Kind::Map) return std::move(result);

    YamlEntry const *variables = nullptr;
    YamlEntry *nodes = nullptr;
    for (YamlEntry &entry : root->entries) {
        auto const key = knownKey(*root, entry.key, "a description", {"nodes", "variables"});
        if (key == "nodes") nodes = &entry;
        if (key == "variables") variables = &entry;
    }

    std::vector<ReadSetting> settings;
    for (std::string const &setting : overrides.settings)
        if (auto read = readSetting(setting)) settings.push_back(std::move(*read));

    Variables values(overrides.variables, diagnostics);
    if (variables != nullptr) values.readDefaults(variables->value, origin);
    if (nodes != nullptr) values.substitute(nodes->value, origin);
    for (ReadSetting &setting : settings) values.substitute(setting.value, setting.origin);
    bool const allRead = settings.size() == overrides.settings.size();
    if (allRead) values.reportUnused();

    if (nodes == nullptr)
        diagnostics.error({result.file, 1, 1}, "the key 'nodes' is missing: the list of the pipeline's nodes");
    else
        readNodes(nodes->value.kind == Kind::Null ? nodes->key : nodes->value);
    nameNodes();
    for (ReadSetting const &setting : settings) apply(setting);
    return std::move(result);
}

/// The key, or the one that it most likely means, which is reported.
std::optional<std::string> Reader::knownKey(YamlNode const &map, YamlNode const &key, std::string const &where,
                                            std::vector<std::string> const &known) {
    if (std::find(known.begin(), known.end(), key.text) != known.end()) return key.text;
    diagnostics.error(origin.place(key),
                      where + " has no key " + quoted(key.text) + diagnostics.knownNames(key.text, known));
    std::optional<std::string> const meant = diagnostics.nearest(key.text, known);
    bool const taken = meant && std::any_of(map.entries.begin(), map.entries.end(),
                                            [&](YamlEntry const &entry) { return entry.key.text == *meant; });
    return taken ? std::nullopt : meant;
}

void Reader::readNodes(YamlNode const &list) {
    if (list.kind == Kind::Refused) return;
    if (list.kind != Kind::List || list.items.empty()) {
        diagnostics.error(origin.place(list), "'nodes' has to be a list with one entry, '- type: ...', for each node");
        return;
    }
    for (YamlNode const &node : list.items) {
        if (node.kind == Kind::Map)
            readNode(node);
        else if (node.kind != Kind::Refused)
            diagnostics.error(origin.place(node), "a node has to be a map that begins with '- type: ...'");
    }
}

void Reader::readNode(YamlNode const &map) {
    NodeDescription node;
    node.place = node.typePlace = origin.place(map);
    bool hasType = false;
    for (YamlEntry const &entry : map.entries) {
        auto const key = knownKey(map, entry.key, "a node", {"type", "name", "inputs", "outputs", "options", "limits"});
        if (!key) continue;
        hasType |= *key == "type";
        readField(*key, entry, node);
    }
    if (!hasType) diagnostics.error(node.place, "this node has no 'type'");
    result.nodes.push_back(std::move(node));
}

void Reader::readField(std::string const &field, YamlEntry const &entry, NodeDescription &node) {
    if (field == "type") {
        node.type = readName(entry, "the type of a node");
        node.typePlace = origin.place(entry.value.kind == Kind::Null ? entry.key : entry.value);
    } else if (field == "name") {
        node.name = readName(entry, "the name of a node");
    } else if (field == "inputs") {
        readPorts(entry, node.inputs);
    } else if (field == "outputs") {
        readPorts(entry, node.outputs);
    } else if (field == "options") {
        readOptions(entry, node);
    } else {
        readLimits(entry, node);
    }
}

/// A name that is not empty, or an empty one that was reported.
std::string Reader::readName(YamlEntry const &entry, std::string const &what) {
    constexpr std::size_t longest = 255; // messages repeat names
    YamlNode const &value = entry.value;
    bool const isText = value.kind == Kind::Scalar && !value.text.empty();
    if (isText && value.text.size() <= longest) return value.text;
    if (isText)
        diagnostics.error(origin.place(value), what + " is longer than " + std::to_string(longest) + " characters");
    else if (value.kind == Kind::List || value.kind == Kind::Map)
        diagnostics.error(origin.place(value), what + " has to be a single text");
    else if (value.kind != Kind::Refused)
        diagnostics.error(origin.place(entry.key), what + " is empty" + commentHint(value));
    return "";
}

/// The entries of a field that is a map; one without a value has none.
std::vector<YamlEntry> const &Reader::entriesOf(YamlEntry const &field, char const *example) {
    if (field.value.kind == Kind::Scalar || field.value.kind == Kind::List)
        diagnostics.error(origin.place(field.value), quoted(field.key.text) + " has to be a map, such as " + example);
    return field.value.entries;
}

void Reader::readPorts(YamlEntry const &field, std::vector<PortBinding> &ports) {
    for (YamlEntry const &entry : entriesOf(field, "{input: picture}, from ports to streams"))
        ports.push_back(
            {entry.key.text, readName(entry, "the stream of port " + quoted(entry.key.text)), origin.place(entry.key)});
}

void Reader::readOptions(YamlEntry const &field, NodeDescription &node) {
    for (YamlEntry const &entry : entriesOf(field, "{clamp: true}")) {
        Place const place = origin.place(entry.key);
        node.options.push_back({entry.key.text,
                                optionFrom(entry.value, origin, place, "option " + quoted(entry.key.text), diagnostics),
                                place});
    }
}

void Reader::readLimits(YamlEntry const &field, NodeDescription &node) {
    using Limits = std::numeric_limits<int>;
    for (YamlEntry const &entry : entriesOf(field, "{output: 2}")) {
        if (entry.value.kind == Kind::Refused) continue;
        OptionNode limit;
        if (entry.value.kind == Kind::Scalar && !entry.value.quoted) limit = resolvePlain(entry.value.text).value;
        Place const place = origin.place(entry.key);
        bool const fits =
            limit.type == OptionNode::Type::INT && limit.intValue >= Limits::min() && limit.intValue <= Limits::max();
        if (fits)
            node.limits.push_back({entry.key.text, static_cast<int>(limit.intValue), place});
        else
            diagnostics.error(place, "the limit of output " + quoted(entry.key.text) + " has to be an int of 32 bits");
    }
}

/// Gives a name to each node that has none, and sees to it that no two have the same.
void Reader::nameNodes() {
    std::map<std::string, Place> taken;
    for (NodeDescription const &node : result.nodes) {
        if (node.name.empty()) continue;
        auto const [first, isNew] = taken.emplace(node.name, node.place);
        if (!isNew)
            diagnostics.error(node.place, "a second node with the name " + quoted(node.name) + ", after the one at " +
                                              first->second.text() + "; give it another name");
    }
    std::map<std::string, int> numbers;
    for (NodeDescription &node : result.nodes) {
        while (node.name.empty()) {
            std::string const base = node.type.empty() ? "node" : node.type;
            int const number = ++numbers[base];
            std::string const candidate = number == 1 ? base : base + std::to_string(number);
            if (taken.emplace(candidate, node.place).second) node.name = candidate;
        }
    }
}

std::optional<ReadSetting> Reader::readSetting(std::string const &text) {
    YamlOrigin const from{"setting " + quoted(text), false};
    std::optional<Setting> setting = parseSetting(text);
    if (!setting) {
        diagnostics.error({from.name, 0, 0}, "a setting has the form node.option=value");
        return std::nullopt;
    }
    auto value = parseYaml(setting->value, from, diagnostics);
    if (!value) return std::nullopt;
    return ReadSetting{*std::move(setting), from, *std::move(value)};
}

void Reader::apply(ReadSetting const &given) {
    auto const &[nodeName, optionName, text] = given.setting;
    Place const place = given.origin.place(given.value);
    auto const node = std::find_if(result.nodes.begin(), result.nodes.end(),
                                   [&](NodeDescription const &candidate) { return candidate.name == nodeName; });
    if (node == result.nodes.end()) {
        std::vector<std::string> names;
        for (NodeDescription const &known : result.nodes) names.push_back(known.name);
        diagnostics.error(place, "no node has the name " + quoted(nodeName) + diagnostics.knownNames(nodeName, names));
        return;
    }
    OptionSetting option{optionName, {}, place};
    option.value = optionFrom(given.value, given.origin, place, "option " + quoted(optionName), diagnostics);
    auto const present = std::find_if(node->options.begin(), node->options.end(),
                                      [&](OptionSetting const &other) { return other.name == option.name; });
    if (present != node->options.end())
        *present = std::move(option);
    else
        node->options.push_back(std::move(option));
}

} // namespace

NodeConfig NodeDescription::config() const {
    auto const connections = [](std::vector<PortBinding> const &ports) {
        std::map<std::string, std::string> streams;
        for (PortBinding const &binding : ports)
            if (binding.stream != noStream) streams[binding.port] = binding.stream;
        return streams;
    };
    std::map<std::string, OptionNode> optionValues;
    for (OptionSetting const &option : options) optionValues[option.name] = option.value;
    std::map<std::string, int> limitValues;
    for (LimitSetting const &limit : limits) limitValues[limit.port] = limit.limit;
    return NodeConfig(type, std::move(optionValues), connections(inputs), connections(outputs), std::move(limitValues));
}

Description parseDescription(std::string const &text, std::string const &file, Overrides const &overrides) {
    DiagnosticList diagnostics;
    Description description = Reader(file, diagnostics).read(text, overrides);
    description.diagnostics = diagnostics.takeSorted();
    return description;
}

Description readDescription(std::string const &file, Overrides const &overrides) {
    std::ifstream in(file, std::ios::binary);
    std::string text(largestDescription + 1, '\0');
    if (in) in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad() || !in.is_open()) {
        std::string const reason = std::strerror(errno);
        DiagnosticList diagnostics;
        diagnostics.error({file, 0, 0}, "can't be read: " + reason);
        Description unread{file, {}, diagnostics.takeSorted()};
        return unread;
    }
    text.resize(static_cast<std::size_t>(in.gcount()));
    return parseDescription(text, file, overrides);
}

} // namespace zun::engine
