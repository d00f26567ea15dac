#include "description/Variables.h"

#include <utility>

namespace zun::engine {

Variables::Variables(std::map<std::string, std::string> const &given, DiagnosticList &list) : diagnostics(list) {
    for (auto const &[name, value] : given) {
        variables[name].value = value;
        variables[name].given = true;
    }
}

void Variables::readDefaults(YamlNode const &map, YamlOrigin const &origin) {
    if (map.kind == YamlNode::Kind::Null || map.kind == YamlNode::Kind::Refused) return;
    if (map.kind != YamlNode::Kind::Map) {
        diagnostics.error(origin.place(map), "'variables' has to be a map, such as {photo: coffee.png}");
        return;
    }
    for (YamlEntry const &entry : map.entries) {
        YamlNode value = entry.value;
        Place const place = origin.place(entry.key);
        if (value.kind == YamlNode::Kind::Scalar) substituteScalar(value, origin);
        bool const isText = value.kind == YamlNode::Kind::Scalar;
        if (!isText && value.kind != YamlNode::Kind::Refused)
            diagnostics.error(place,
                              "variable " + quoted(entry.key.text) + " needs a text" +
                                  (value.comment.empty() ? "; an empty one is written \"\"" : commentHint(value)));
        Variable &variable = variables[entry.key.text];
        variable.place = place;
        if (variable.given) continue;
        variable.known = isText;
        variable.value = std::move(value.text);
    }
}

void Variables::substitute(YamlNode &tree, YamlOrigin const &origin) {
    if (tree.kind == YamlNode::Kind::Scalar) substituteScalar(tree, origin);
    for (YamlNode &item : tree.items) substitute(item, origin);
    for (YamlEntry &entry : tree.entries) substitute(entry.value, origin);
}

void Variables::substituteScalar(YamlNode &scalar, YamlOrigin const &origin) {
    std::string result;
    std::string const &text = scalar.text;
    auto const refuse = [&](std::string const &message) {
        diagnostics.error(origin.place(scalar), message);
        scalar.kind = YamlNode::Kind::Refused;
        scalar.text.clear();
    };

    std::size_t at = 0;
    for (std::size_t dollar; (dollar = text.find('$', at)) != std::string::npos;) {
        result.append(text, at, dollar - at);
        at = dollar + 1;
        if (text.compare(dollar, 3, "$${") == 0) {
            result += "${";
            at = dollar + 3;
        } else if (text.compare(dollar, 2, "${") != 0) {
            result += '$';
        } else {
            std::size_t const end = text.find('}', dollar);
            if (end == std::string::npos) return refuse("a ${ without its }; a literal ${ is written $${");
            std::string const name = text.substr(dollar + 2, end - dollar - 2);
            auto const found = variables.find(name);
            if (found == variables.end()) return refuse(unknown(name));
            found->second.used = true;
            if (!found->second.known) return void(scalar.kind = YamlNode::Kind::Refused);
            if (found->second.value.size() > spaceLeft)
                return refuse("the variables make the description larger than is read; use fewer or shorter ones");
            spaceLeft -= found->second.value.size();
            result += found->second.value;
            at = end + 1;
        }
    }
    result.append(text, at);
    scalar.text = std::move(result);
}

std::string Variables::unknown(std::string const &name) {
    return "there is no variable " + quoted(name) + diagnostics.knownNames(name, keysOf(variables)) +
           " (give it with -D " + name + "=VALUE, or a default under 'variables')";
}

void Variables::reportUnused() {
    std::vector<std::string> inFile;
    for (auto const &[name, variable] : variables)
        if (!variable.given || variable.used || variable.place.line != 0) inFile.push_back(name);
    for (auto const &[name, variable] : variables) {
        if (variable.used) continue;
        if (variable.given)
            diagnostics.error({"variable " + quoted(name), 0, 0},
                              "the description doesn't use ${" + name + "}" + diagnostics.knownNames(name, inFile));
        else
            diagnostics.warning(variable.place, "variable " + quoted(name) + " is not used");
    }
}

} // namespace zun::engine
