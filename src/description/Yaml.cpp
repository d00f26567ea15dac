#include "description/Yaml.h"

#include <map>
#include <sstream>
#include <string_view>
#include <utility>

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include "description/YamlHints.h"

namespace zun::engine {
namespace {

constexpr std::size_t deepestNesting = 32;

/// Ends parsing at once.
struct Refusal {
    YAML::Mark mark;
    std::string message;
};

class TreeBuilder final : public YAML::EventHandler {
public:
    TreeBuilder(YamlOrigin const &textOrigin, SourceLines const &lines, std::size_t textSize, DiagnosticList &list)
        : origin(textOrigin), source(lines), diagnostics(list), eventsLeft(4 * textSize + 16) {}

    YamlNode takeRoot() { return std::move(root); }

    void OnDocumentStart(YAML::Mark const &mark) override {
        if (documents++ > 0) throw Refusal{mark, "a second document begins here; a description is a single one"};
    }
    void OnDocumentEnd() override {}

    void OnNull(YAML::Mark const &mark, YAML::anchor_t) override { add(at(mark, YamlNode::Kind::Null)); }

    void OnAlias(YAML::Mark const &mark, YAML::anchor_t) override {
        YamlNode const alias = at(mark, YamlNode::Kind::Refused);
        diagnostics.error(origin.place(alias),
                          "descriptions have no aliases (*name); write the value out, or use ${name}");
        add(alias);
    }

    void OnAnchor(YAML::Mark const &mark, std::string const &name) override {
        diagnostics.error(origin.place(at(mark, YamlNode::Kind::Refused)),
                          "descriptions have no anchors (" + quoted("&" + name) + "); leave it out");
    }

    void OnScalar(YAML::Mark const &mark, std::string const &tag, YAML::anchor_t, std::string const &text) override {
        YamlNode node = at(mark, YamlNode::Kind::Scalar);
        node.quoted = tag == "!";
        node.text = text;
        refuseTag(tag, node);
        add(std::move(node));
    }

    void OnSequenceStart(YAML::Mark const &mark, std::string const &tag, YAML::anchor_t,
                         YAML::EmitterStyle::value) override {
        open(mark, tag, YamlNode::Kind::List);
    }
    void OnSequenceEnd() override { close(); }

    void OnMapStart(YAML::Mark const &mark, std::string const &tag, YAML::anchor_t,
                    YAML::EmitterStyle::value) override {
        open(mark, tag, YamlNode::Kind::Map);
    }
    void OnMapEnd() override { close(); }

private:
    /// A list or map that is being read.
    struct Open {
        YamlNode node;
        std::optional<YamlNode> key; ///< of a map: the key whose value comes next
        std::map<std::string, Place> keys;
    };

    YamlNode at(YAML::Mark const &mark, YamlNode::Kind kind) {
        // The parser can go on for ever on some texts; no text has more parts than this.
        if (eventsLeft-- == 0) throw Refusal{mark, "this can't be read as YAML"};
        YamlNode node;
        node.kind = kind;
        node.line = mark.line + 1;
        node.column = mark.column + 1;
        return node;
    }

    void open(YAML::Mark const &mark, std::string const &tag, YamlNode::Kind kind) {
        if (stack.size() == deepestNesting)
            throw Refusal{mark, "lists and maps are nested deeper than " + std::to_string(deepestNesting) + " here"};
        stack.push_back({at(mark, kind), {}, {}});
        refuseTag(tag, stack.back().node);
    }

    void close() {
        YamlNode complete = std::move(stack.back().node);
        stack.pop_back();
        add(std::move(complete));
    }

    void add(YamlNode node) {
        if (stack.empty()) {
            root = std::move(node);
        } else if (Open &parent = stack.back(); parent.node.kind == YamlNode::Kind::List) {
            parent.node.items.push_back(std::move(node));
        } else if (!parent.key) {
            checkKey(node, parent);
            parent.key = std::move(node);
        } else {
            YamlNode key = *std::exchange(parent.key, std::nullopt);
            if (node.kind == YamlNode::Kind::Null) node.comment = commentAfter(key);
            if (key.kind == YamlNode::Kind::Scalar) parent.node.entries.push_back({std::move(key), std::move(node)});
        }
    }

    /// A plain `~` is a null, too, but has no comment right after the key.
    std::string commentAfter(YamlNode const &key) const {
        std::size_t const from = static_cast<std::size_t>(key.column - 1) + key.text.size();
        return valueInComment(source.line(key.line), from);
    }

    /// An entry whose key is refused is left out.
    void checkKey(YamlNode &key, Open &map) {
        if (key.kind == YamlNode::Kind::Refused) return;
        std::string problem;
        if (key.kind != YamlNode::Kind::Scalar) {
            problem = "a key has to be a text";
        } else if (key.text == "<<" && !key.quoted) {
            problem = "descriptions have no merge keys (<<); write the entries out";
        } else {
            auto const [first, isNew] = map.keys.emplace(key.text, origin.place(key));
            if (isNew) return;
            problem = "key " + quoted(key.text) + " comes twice, first at " + first->second.text() + "; remove one";
        }
        diagnostics.error(origin.place(key), problem);
        key.kind = YamlNode::Kind::Refused;
    }

    void refuseTag(std::string const &tag, YamlNode const &node) {
        if (!tag.empty() && tag != "?" && tag != "!")
            diagnostics.error(origin.place(node), "descriptions have no tags (" + quoted(tag) +
                                                      "); a value in quotes is a text, one without is "
                                                      "what it looks like");
    }

    YamlOrigin const &origin;
    SourceLines const &source;
    DiagnosticList &diagnostics;
    std::size_t eventsLeft;
    int documents = 0;
    std::vector<Open> stack;
    YamlNode root;
};

/// Control characters other than tab and the ends of lines, which the parser would take for the end of the text.
std::optional<YamlNode> findControlCharacter(std::string_view text) {
    YamlNode where;
    where.line = where.column = 1;
    for (char const c : text) {
        bool const allowed = c < 0 || c >= ' ' || c == '\t' || c == '\n' || c == '\r';
        if (!allowed) return where;
        where.column = c == '\n' ? 1 : where.column + 1;
        where.line += c == '\n';
    }
    return std::nullopt;
}

} // namespace

std::string commentHint(YamlNode const &node) {
    if (node.comment.empty()) return "";
    return ": what begins with # is a comment unless it is in quotes; write \"" + node.comment + "\"";
}

std::optional<YamlNode> parseYaml(std::string const &text, YamlOrigin const &origin, DiagnosticList &diagnostics) {
    auto const refuse = [&](YamlNode const &where, std::string const &message) {
        diagnostics.error(origin.place(where), message);
        return std::nullopt;
    };
    auto const refuseAt = [&](YAML::Mark const &mark, std::string const &message) {
        YamlNode where;
        where.line = mark.line + 1;
        where.column = mark.column + 1;
        return refuse(where, message);
    };

    if (text.size() > largestDescription) {
        diagnostics.error({origin.name, 0, 0},
                          "larger than " + std::to_string(largestDescription >> 20) + " MiB, the most that is read");
        return std::nullopt;
    }
    if (auto const place = findControlCharacter(text)) return refuse(*place, "a control character: this is not a text");

    std::istringstream in(text);
    SourceLines const source(text);
    TreeBuilder tree(origin, source, text.size(), diagnostics);
    try {
        YAML::Parser parser(in);
        for (int documents = 0; documents < 2 && parser.HandleNextDocument(tree); documents++) continue;
    } catch (Refusal const &refusal) {
        return refuseAt(refusal.mark, refusal.message);
    } catch (YAML::Exception const &error) {
        return refuseAt(error.mark, "not valid YAML: " + error.msg +
                                        hintFor(error.msg, source, error.mark.line + 1, error.mark.column + 1));
    }
    YamlNode root = tree.takeRoot();
    if (root.kind == YamlNode::Kind::Null) root.comment = valueInComment(source.line(1), 0);
    return root;
}

} // namespace zun::engine
