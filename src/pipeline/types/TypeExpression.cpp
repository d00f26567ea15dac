#include "pipeline/types/TypeExpression.h"

namespace zun {

std::string canonicalType(std::string_view expression) { return replaceParameter(expression, "", ""); }

bool typesAgree(std::string_view a, std::string_view b) {
    std::string const left = canonicalType(a), right = canonicalType(b);
    return left == right || left == "any" || right == "any";
}

std::string usualSpelling(std::string canonical) {
    for (TypeAlias const &alias : typeAliases) {
        if (!alias.usual || alias.name.empty()) continue;
        for (std::size_t at = 0; (at = canonical.find(alias.canonical, at)) != std::string::npos;
             at += alias.name.size())
            canonical.replace(at, alias.canonical.size(), alias.name);
    }
    return canonical;
}

std::string replaceParameter(std::string_view expression, std::string_view parameter, std::string_view choice) {
    std::string canonical;
    bool const isType = TypeReader<std::string>(expression, parameter, choice).read(canonical);
    return isType ? canonical : std::string(expression);
}

} // namespace zun
