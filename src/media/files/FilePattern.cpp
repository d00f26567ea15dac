#include "media/files/FilePattern.h"

#include <cctype>

#include "containers/Exception.h"

namespace zun::media {

FilePattern::FilePattern(std::string const &pathWithNumber) : path(pathWithNumber) {
    auto const reject = [&](char const *why) {
        throw Exception("the path '" + path + "' " + why +
                        ": write %05d for a number of five digits, %% for a percent sign");
    };
    std::string *part = &before;
    for (std::size_t i = 0; i < path.size(); i++) {
        if (path[i] != '%') {
            part->push_back(path[i]);
            continue;
        }
        if (i + 1 < path.size() && path[i + 1] == '%') {
            part->push_back('%');
            i++;
            continue;
        }
        std::size_t at = i + 1;
        while (at < path.size() && std::isdigit(static_cast<unsigned char>(path[at])) != 0) at++;
        if (at == path.size() || path[at] != 'd') reject("has a % that doesn't begin a number");
        if (hasNumber) reject("has two numbers");
        std::string const width = path.substr(i + 1, at - i - 1);
        if (width.size() > 3 || (!width.empty() && width.front() != '0')) reject("has a number of an unknown form");
        if (!width.empty()) digits = std::stoul(width);
        hasNumber = true;
        part = &after;
        i = at;
    }
}

std::string FilePattern::file(std::uint64_t number) const {
    if (!hasNumber) return before;
    std::string text = std::to_string(number);
    if (text.size() < digits) text.insert(0, digits - text.size(), '0');
    return before + text + after;
}

FileUse FilePattern::use(FileUse::Access access) const { return {access, before, after, hasNumber, path}; }

} // namespace zun::media
