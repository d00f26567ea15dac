#include "description/Edit.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "containers/Exception.h"
#include "description/Description.h"
#include "description/Scalars.h"
#include "description/SourceText.h"
#include "description/WrittenValue.h"

namespace zun::engine {
namespace {

using Kind = YamlNode::Kind;
using Given = std::map<std::string, std::string>;

constexpr char const *byHand = "this value can't be changed in place; edit the file by hand";

std::string lineText(int line) { return line == 0 ? "" : "line " + std::to_string(line) + ": "; }

YamlEntry *find(YamlNode &map, std::string const &key) {
    auto const found = std::find_if(map.entries.begin(), map.entries.end(),
                                    [&](YamlEntry const &entry) { return entry.key.text == key; });
    return found == map.entries.end() ? nullptr : &*found;
}

/// A description without errors, and the tree that it was read from.
struct Document {
    Document(std::string const &text, Given const &given) : description(parseDescription(text, "", {given, {}})) {
        for (Diagnostic const &one : description.diagnostics)
            if (one.severity == Diagnostic::Severity::Error) throw Exception(lineText(one.place.line) + one.message);
        DiagnosticList unused;
        root = parseYaml(text, {"", true}, unused).value();
        // Whatever a default looks like, it is a text.
        if (YamlEntry *const variables = find(root, "variables"))
            for (YamlEntry &entry : variables->value.entries) entry.value.quoted = true;
    }

    /// Where a node stands among the others.
    std::size_t indexOf(std::string const &name) const {
        std::vector<std::string> names;
        for (NodeDescription const &node : description.nodes) names.push_back(node.name);
        auto const found = std::find(names.begin(), names.end(), name);
        if (found == names.end())
            throw Exception("no node has the name " + quoted(name) + DiagnosticList().knownNames(name, names));
        return static_cast<std::size_t>(found - names.begin());
    }

    YamlNode &node(std::size_t index) { return find(root, "nodes")->value.items[index]; }

    /// An option as the file holds it, if it does.
    YamlEntry *option(std::size_t index, std::string const &name) {
        YamlEntry *const options = find(node(index), "options");
        return options == nullptr ? nullptr : find(options->value, name);
    }

    Description description;
    YamlNode root;
};

/// What replaces a part of a text.
struct Change {
    std::size_t begin = 0, end = 0;
    std::string text;

    std::string in(std::string whole) const { return whole.replace(begin, end - begin, text); }
};

void refuseComments(bool comments, std::string const &key) {
    if (comments)
        throw Exception(quoted(key) +
                        " can't be changed in place: comments stand between its lines; edit the file by hand");
}

/// How a text is quoted where another value stood.
Quotes quotesAfter(char first, YamlNode const &old, YamlNode const &value, bool isText) {
    if (first == '"') return Quotes::Double;
    if (first == '\'') return Quotes::Single;
    bool const wasPlain = old.kind == Kind::Scalar && first != '|' && first != '>';
    bool const wasPlainText = wasPlain && (isText || resolvePlain(old.text).value.type == OptionNode::Type::STRING);
    return wasPlainText || !value.quoted ? Quotes::None : Quotes::Double;
}

/// Gives an entry of a map another value.
Change replacement(SourceText const &source, YamlNode const &map, YamlEntry const &entry, YamlNode const &value,
                   bool isText) {
    Extent const old = source.extent(entry.value);
    char const first = source.at(old.begin);
    // What takes the place of a list in lines of its own stands after the key.
    bool const moves = entry.value.kind == Kind::List && !source.isFlow(entry.value);
    std::size_t const begin = moves ? source.afterColon(entry.key) : old.begin;
    refuseComments(old.comments || source.hasComment(begin, old.begin), entry.key.text);
    Writing const writing{source.isFlow(map), quotesAfter(first, entry.value, value, isText), isText};
    return {begin, old.end, (moves ? " " : "") + writtenValue(value, writing)};
}

std::string writtenEntry(YamlEntry const &entry, bool inFlow) {
    return writtenValue(entry.key, {inFlow, Quotes::None, true}) + ": " +
           writtenValue(entry.value, {inFlow, entry.value.quoted ? Quotes::Double : Quotes::None, false});
}

/// Adds an entry, as it is written, to the end of a map.
Change addition(SourceText const &source, YamlNode const &map, std::string const &entry) {
    if (map.entries.empty()) {
        Extent const braces = source.extent(map);
        return {braces.begin + 1, braces.comments ? braces.begin + 1 : braces.end - 1, entry};
    }
    std::size_t const last = source.extent(map.entries.back()).end;
    if (source.isFlow(map)) return {last, last, ", " + entry};
    std::size_t const end = source.lineEnd(last);
    std::string const indentation(static_cast<std::size_t>(map.entries.front().key.column - 1), ' ');
    return {end, end, std::string(source.lineBreak()) + indentation + entry};
}

/// Adds an option to a node, in the text and in the tree.
Change addOption(SourceText const &source, YamlNode &node, YamlEntry const &option) {
    YamlEntry *const options = find(node, "options");
    Change change;
    if (options == nullptr) {
        change = addition(source, node, "options: {" + writtenEntry(option, true) + "}");
        YamlEntry added;
        added.key.kind = Kind::Scalar;
        added.key.text = "options";
        added.value.kind = Kind::Map;
        node.entries.push_back(std::move(added));
    } else if (options->value.kind == Kind::Null) {
        change = {source.afterColon(options->key), source.extent(*options).end,
                  " {" + writtenEntry(option, true) + "}"};
        options->value.kind = Kind::Map;
    } else {
        change = addition(source, options->value, writtenEntry(option, source.isFlow(options->value)));
    }
    find(node, "options")->value.entries.push_back(option);
    return change;
}

/// Takes an entry out of a map. A comment after it stays.
Change removal(SourceText const &source, YamlNode const &map, std::size_t index) {
    auto const &entries = map.entries;
    Extent gone = source.extent(entries[index]);
    if (source.isFlow(map)) {
        Extent const entry = gone, braces = source.extent(map);
        if (index > 0)
            gone.begin = source.extent(entries[index - 1]).end;
        else if (entries.size() > 1)
            gone.end = source.begin(entries[1].key);
        else
            gone = {braces.begin + 1, braces.end - 1, braces.comments};
        gone.comments |= source.hasComment(gone.begin, entry.begin) || source.hasComment(entry.end, gone.end);
    }
    refuseComments(gone.comments, entries[index].key.text);
    if (source.isFlow(map)) return {gone.begin, gone.end, ""};
    std::size_t const comment = source.piece(gone.end, source.lineEnd(gone.end)).find('#');
    if (comment != std::string_view::npos) return {gone.begin, gone.end + comment, ""};
    return {source.lineBegin(gone.begin), source.nextLine(gone.end), ""};
}

/// The changed text as a description, which has to be the expected one.
Document verified(std::string const &text, YamlNode const &expected, Given const &given) {
    std::string reason;
    try {
        Document after(text, given);
        if (sameMeaning(after.root, expected)) return after;
    } catch (Exception const &error) {
        reason = std::string(": ") + error.what();
    }
    throw Exception(byHand + reason);
}

Place placeOf(YamlNode const &node) { return {"", node.line, node.column}; }

/// The name in ${name}, where nothing else stands.
std::optional<std::string> variableIn(YamlNode const &value) {
    std::string const &text = value.text;
    bool const isVariable = text.size() > 3 && text.starts_with("${") && text.find('}') == text.size() - 1;
    return isVariable ? std::optional(text.substr(2, text.size() - 3)) : std::nullopt;
}

/// Changes the default of the variable that an option takes its value from.
TextEdit editDefault(std::string const &text, Document &document, std::string const &name, std::string const &option,
                     YamlNode const &wanted, Given const &given) {
    if (given.contains(name)) throw Exception(option + " takes its value from -D " + name + "=...; change it there");
    if (wanted.kind != Kind::Scalar)
        throw Exception(option + " takes its value from the variable " + quoted(name) +
                        ", which holds a text and not a list; edit the file by hand");
    YamlNode &defaults = find(document.root, "variables")->value;
    YamlEntry &entry = *find(defaults, name);
    std::string changed = replacement(SourceText(text), defaults, entry, wanted, true).in(text);
    entry.value.text = wanted.text;
    Document after = verified(changed, document.root, given);
    return {std::move(changed), placeOf(find(find(after.root, "variables")->value, name)->value), name};
}

/// Whether an option got its value through a variable. Where ${name} stands in quotes, any value is a text.
bool hasArrived(NodeDescription const &node, std::string const &option, OptionNode const &wanted) {
    OptionNode const found = node.config().getParsedOptions().at(option);
    return found.text == wanted.text && (found.type == wanted.type || found.type == OptionNode::Type::STRING);
}

} // namespace

TextEdit editOption(std::string const &text, std::string const &node, std::string const &option,
                    std::string const &value, Given const &givenVariables) {
    OptionNode const meant = parseValue(value);
    DiagnosticList unused;
    YamlNode const wanted = parseYaml(value, {"", false}, unused).value();
    Document document(text, givenVariables);
    std::size_t const index = document.indexOf(node);
    YamlEntry *const entry = document.option(index, option);
    if (entry != nullptr && sameMeaning(entry->value, wanted)) return {text, placeOf(entry->value), ""};
    if (auto const variable = entry == nullptr ? std::nullopt : variableIn(entry->value)) {
        TextEdit edit = editDefault(text, document, *variable, option, wanted, givenVariables);
        Description const after = parseDescription(edit.text, "", {givenVariables, {}});
        if (!hasArrived(after.nodes[index], option, meant)) throw Exception(byHand);
        return edit;
    }

    SourceText const source(text);
    Change change;
    if (entry == nullptr) {
        YamlNode key;
        key.kind = Kind::Scalar;
        key.text = option;
        change = addOption(source, document.node(index), {key, wanted});
    } else {
        change = replacement(source, find(document.node(index), "options")->value, *entry, wanted, false);
        entry->value = wanted;
    }
    std::string changed = change.in(text);
    Document after = verified(changed, document.root, givenVariables);
    return {std::move(changed), placeOf(after.option(index, option)->value), ""};
}

TextEdit removeOption(std::string const &text, std::string const &node, std::string const &option,
                      Given const &givenVariables) {
    Document document(text, givenVariables);
    std::size_t const index = document.indexOf(node);
    YamlEntry const *const entry = document.option(index, option);
    if (entry == nullptr) return {text, placeOf(document.node(index)), ""};
    YamlNode &options = find(document.node(index), "options")->value;
    auto const at = entry - options.entries.data();
    Place const place = placeOf(entry->value);
    std::string changed = removal(SourceText(text), options, static_cast<std::size_t>(at)).in(text);
    options.entries.erase(options.entries.begin() + at);
    verified(changed, document.root, givenVariables);
    return {std::move(changed), place, ""};
}

} // namespace zun::engine
