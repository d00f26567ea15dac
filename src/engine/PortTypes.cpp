#include "engine/PortTypes.h"

#include <cctype>

#include "pipeline/NodeRegistry.h"

namespace zun::engine {
namespace {

bool isWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == ':'; }

/// Replaces `word` where it stands by itself.
std::string replaceWord(std::string text, std::string const &word, std::string const &replacement) {
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
        std::size_t const end = at + word.size();
        bool const alone =
            (at == 0 || !isWordCharacter(text[at - 1])) && (end == text.size() || !isWordCharacter(text[end]));
        if (alone) text.replace(at, word.size(), replacement);
        at += alone ? replacement.size() : word.size();
    }
    return text;
}

} // namespace

std::string resolveTemplates(std::string const &expression, NodeSpecification const &specification,
                             std::string const &typeString) {
    std::size_t const open = typeString.find('<'), close = typeString.rfind('>');
    if (open == std::string::npos || close == std::string::npos || close < open) return expression;
    std::string const choice = typeString.substr(open + 1, close - open - 1);
    std::string resolved = expression;
    for (NodeSpecification::Template const &parameter : specification.templates) {
        auto const chosen = parameter.choices.find(choice);
        if (chosen != parameter.choices.end()) resolved = replaceWord(resolved, parameter.parameter, chosen->second);
    }
    return resolved;
}

std::string inputType(NodeDescription const &node, std::string const &port) {
    NodeRegistry::Entry const *const type = NodeRegistry::find(node.type);
    if (type == nullptr) return "any";
    auto const input = type->specification.inputs.find(port);
    if (input == type->specification.inputs.end()) return "any";
    return resolveTemplates(input->second.type, type->specification, node.type);
}

} // namespace zun::engine
