#include "media/writing/OutputName.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <map>
#include <system_error>
#include <unordered_map>
#include <utility>

#include <fnmatch.h>

#include "containers/Exception.h"
#include "media/files/FileList.h"
#include "pipeline/NearestName.h"

namespace zun::media {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> const fieldNames{"tick", "number", "time", "name", "stem", "parent"};
constexpr std::size_t mostDigits = 99;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The digits of a width such as "05"; nothing for another form.
std::optional<std::size_t> widthOf(std::string const &text) {
    if (text.size() < 2 || text.size() > 3 || text[0] != '0' || !std::all_of(text.begin(), text.end(), isDigit))
        return std::nullopt;
    std::size_t const width = std::stoul(text);
    return width >= 1 && width <= mostDigits ? std::optional(width) : std::nullopt;
}

std::string padded(std::string text, std::size_t digits) {
    if (text.size() < digits) text.insert(0, digits - text.size(), '0');
    return text;
}

/// With 6 decimals, as no locale changes them.
std::string secondsText(double seconds, std::size_t digits) {
    constexpr std::size_t decimals = 6;
    std::array<char, 400> text;
    std::to_chars_result const end =
        std::to_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed, decimals);
    return padded(std::string(text.data(), end.ptr), digits == 0 ? 0 : digits + 1 + decimals);
}

/// The name of a source's file; of an address its last part, without what follows a question mark.
std::string nameOf(std::string const &file) {
    if (file == "-") return "stdin";
    bool const address = FileList::isStream(file);
    std::string const name = fs::path(address ? file.substr(0, file.find('?')) : file).filename().string();
    return name.empty() && address ? "stream" : name;
}

std::string stemOf(std::string const &file) { return fs::path(nameOf(file)).stem().string(); }

std::string parentOf(std::string const &file) {
    if (FileList::isStream(file)) return "";
    std::error_code error;
    fs::path const whole = fs::absolute(file, error);
    return (error ? fs::path(file) : whole).lexically_normal().parent_path().filename().string();
}

/// Makes two ways to write one path equal.
class RegularPaths {
    std::map<std::string, fs::path> folders;

public:
    std::string of(std::string const &file) {
        fs::path const path(file);
        std::string const folder = path.has_parent_path() ? path.parent_path().string() : ".";
        auto const [known, isNew] = folders.try_emplace(folder);
        std::error_code error;
        if (isNew) known->second = fs::weakly_canonical(fs::absolute(folder), error);
        return ((error ? fs::path(folder) : known->second) / path.filename()).string();
    }
};

} // namespace

OutputName::OutputName(std::string const &given) : path(given) {
    std::string text;
    auto const endText = [&] {
        if (!text.empty()) parts.push_back({Part::Kind::Text, std::exchange(text, ""), 0});
    };
    for (std::size_t i = 0; i < path.size(); i++) {
        char const c = path[i];
        if (c != '{' && c != '}' && c != '%') {
            text.push_back(c);
        } else if (i + 1 < path.size() && path[i + 1] == c) {
            text.push_back(c);
            i++;
        } else if (c == '}') {
            throw Exception("the path '" + path + "' has a } without a {: write }} for a brace in the name");
        } else {
            endText();
            i = c == '{' ? addField(i) : addNumber(i);
        }
    }
    endText();
}

std::size_t OutputName::addField(std::size_t at) {
    std::size_t const end = path.find('}', at);
    if (end == std::string::npos)
        throw Exception("the path '" + path + "' has a { without a }: write {{ for a brace in the name");
    std::string const field = path.substr(at + 1, end - at - 1);
    std::size_t const colon = std::min(field.find(':'), field.size());
    std::string const name = field.substr(0, colon);
    auto const known = std::find(fieldNames.begin(), fieldNames.end(), name);
    if (known == fieldNames.end()) {
        std::string const near = suggestion(name, fieldNames);
        throw Exception("the path '" + path + "' has an unknown field {" + field + "}" + (near.empty() ? "." : near) +
                        " The fields are {tick}, {number}, {time}, {name}, {stem} and {parent}; {{ and }} stand for "
                        "braces");
    }
    auto const kind = static_cast<Part::Kind>(1 + (known - fieldNames.begin()));
    std::optional<std::size_t> digits = 0;
    if (colon != field.size()) digits = kind <= Part::Kind::Time ? widthOf(field.substr(colon + 1)) : std::nullopt;
    if (!digits)
        throw Exception("the path '" + path + "' has a field {" + field +
                        "} of an unknown form: write {tick:05} for at least five digits, which only {tick}, {number} "
                        "and {time} can have");
    parts.push_back({kind, name, *digits});
    return end;
}

std::size_t OutputName::addNumber(std::size_t at) {
    std::size_t const end = std::min(path.find_first_not_of("0123456789", at + 1), path.size());
    std::string const width = path.substr(at + 1, end - at - 1);
    std::optional<std::size_t> const digits = width.empty() ? std::optional<std::size_t>(0) : widthOf(width);
    if (end == path.size() || path[end] != 'd' || !digits)
        throw Exception("the path '" + path +
                        "' has a % that doesn't begin a number: write %05d for a number of five digits, %% for a "
                        "percent sign");
    parts.push_back({Part::Kind::Tick, "tick", *digits});
    return end;
}

std::string OutputName::pattern() const {
    std::string all;
    for (Part const &part : parts) all += part.kind == Part::Kind::Text ? part.text : "{" + part.text + "}";
    return all;
}

bool OutputName::gives(std::string const &name) const {
    std::string form;
    for (Part const &part : parts) {
        if (part.kind != Part::Kind::Text) form += part.kind <= Part::Kind::Time ? "[0-9]*" : "?*";
        for (char const c : part.kind == Part::Kind::Text ? part.text : "")
            form += std::string("*?[]\\").find(c) == std::string::npos ? std::string{c} : std::string{'\\', c};
    }
    return ::fnmatch(form.substr(form.rfind('/') + 1).c_str(), name.c_str(), 0) == 0;
}

bool OutputName::varies() const {
    return std::any_of(parts.begin(), parts.end(), [](Part const &part) { return part.kind != Part::Kind::Text; });
}

bool OutputName::variesByTick() const {
    return std::any_of(parts.begin(), parts.end(),
                       [](Part const &part) { return part.kind >= Part::Kind::Tick && part.kind <= Part::Kind::Time; });
}

bool OutputName::needsSource() const {
    return std::any_of(parts.begin(), parts.end(), [](Part const &part) { return part.kind > Part::Kind::Tick; });
}

std::string OutputName::file(Tick tick, FrameSource const *source) const {
    if (source == nullptr && needsSource())
        throw Exception("the name '" + path +
                        "' takes its fields from the source of the frames, but they come from none: use {tick}, or "
                        "connect the input source to the output source of a ReadFrames");
    std::string name;
    for (Part const &part : parts) {
        switch (part.kind) {
        case Part::Kind::Text:
            name += part.text;
            break;
        case Part::Kind::Tick:
            name += padded(std::to_string(tick), part.digits);
            break;
        case Part::Kind::Number:
            name += padded(std::to_string(source->number), part.digits);
            break;
        case Part::Kind::Time:
            name += secondsText(source->seconds(), part.digits);
            break;
        case Part::Kind::Name:
            name += nameOf(source->file);
            break;
        case Part::Kind::Stem:
            name += stemOf(source->file);
            break;
        case Part::Kind::Parent:
            name += parentOf(source->file);
            break;
        }
    }
    return name;
}

std::string OutputName::Clash::text() const {
    if (second.empty())
        return "'" + first + "' is read, and would be replaced by '" + output +
               "': write into another folder, or to another name such as {stem}-out";
    return "'" + first + "' and '" + second + "' would both be written as '" + output +
           "': tell them apart with {tick}, {number}, {name} or {parent}";
}

std::optional<OutputName::Clash> OutputName::clash(SourceInfo const &source) const {
    auto const tellsApart = [](Part const &part) {
        return part.kind == Part::Kind::Tick || part.kind == Part::Kind::Number;
    };
    // The ticks and numbers of the files are not known here, but they are different.
    if (!needsSource() || std::any_of(parts.begin(), parts.end(), tellsApart)) return std::nullopt;
    if (source.moving && variesByTick()) return std::nullopt;
    RegularPaths regular;
    std::unordered_map<std::string, std::string const *> inputs, outputs;
    for (std::string const &file : source.files) inputs.emplace(regular.of(file), &file);
    FrameSource frame;
    for (std::string const &input : source.files) {
        frame.file = input;
        std::string const output = file(0, &frame), same = regular.of(output);
        if (auto const [other, isNew] = outputs.emplace(same, &input); !isNew)
            return Clash{*other->second, input, output};
        if (auto const other = inputs.find(same); other != inputs.end()) return Clash{*other->second, "", output};
    }
    return std::nullopt;
}

FileUse OutputName::use() const {
    FileUse use{FileUse::Access::Write, "", "", false, path};
    std::size_t fields = 0;
    for (Part const &part : parts) fields += part.kind != Part::Kind::Text;
    for (Part const &part : parts) {
        bool const number = part.kind == Part::Kind::Tick || part.kind == Part::Kind::Number;
        if (part.kind == Part::Kind::Text)
            (use.numbered ? use.afterNumber : use.beforeNumber) += part.text;
        else if (number && fields == 1)
            use.numbered = true;
        else
            use.beforeNumber += "{" + part.text + "}";
    }
    return use;
}

} // namespace zun::media
