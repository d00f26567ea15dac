#include "media/files/FileList.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>

#include <glob.h>

#include "containers/Exception.h"
#include "media/files/FilePattern.h"
#include "pipeline/NearestName.h"

namespace zun::media {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view endings =
    "png jpg jpeg jpe bmp tif tiff webp gif apng avif heic heif jp2 pgm ppm pnm pbm pam tga exr dpx "
    "mp4 mov m4v mkv webm avi ts mts m2ts mpg mpeg wmv flv ogv 3gp mxf vob y4m nut";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char lowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowerCase(std::string text) {
    for (char &c : text) c = lowerCase(c);
    return text;
}

std::string inQuotes(std::string const &path) {
    constexpr std::size_t longest = 300;
    return "'" + (path.size() > longest ? path.substr(0, longest) + "..." : path) + "'";
}

std::string folderOf(std::string const &path) {
    std::string const folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string nameOf(std::string const &path) { return fs::path(path).filename().string(); }

bool isHidden(std::string const &name) { return name.starts_with('.'); }

bool isPartial(std::string const &name) { return isHidden(name) && name.ends_with(".part"); }

/// How a folder is called in a message.
std::string spoken(std::string const &folder) {
    std::error_code error;
    if (folder != ".") return "the folder " + inQuotes(folder);
    std::string const here = fs::current_path(error).string();
    return error ? "the working folder" : "the working folder " + inQuotes(here);
}

std::string capital(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

[[noreturn]] void failToFind(std::string const &path) {
    throw Exception(inQuotes(path) + " doesn't exist" + nearestExisting(path));
}

/// Calls take(entry) for each entry of a folder, in one pass that asks for no file's attributes.
template <class Take>
void scan(std::string const &folder, Take take) {
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) take(*at);
    if (error) throw Exception(capital(spoken(folder)) + " can't be read: " + error.message());
}

/// The names in a folder with a file's own folder before them, as the path had it.
std::string within(std::string const &folder, std::string const &name, bool plain) {
    return plain ? name : (fs::path(folder) / name).string();
}

void number(std::vector<std::string> names, FileList &list) {
    std::sort(names.begin(), names.end(), naturallyBefore);
    for (std::string &name : names) list.files.push_back({std::move(name), list.files.size()});
    list.isList = true;
}

void listFolder(std::string const &folder, FileList &list) {
    std::vector<std::string> names;
    std::string other;
    std::size_t others = 0;
    scan(folder, [&](fs::directory_entry const &entry) {
        std::string const name = entry.path().filename().string();
        std::error_code ignored;
        if (isHidden(name) || entry.is_directory(ignored)) return;
        if (isMediaName(name))
            names.push_back(within(folder, name, false));
        else if (others++ == 0 || naturallyBefore(name, other))
            other = name;
    });
    if (names.empty())
        throw Exception(capital(spoken(folder)) +
                        " has no pictures or videos. The endings that count are: " + std::string(endings) +
                        "; a glob such as '" + within(folder, "*", false) + "' takes files of every ending");
    if (others != 0)
        list.notes.push_back(
            "reads " + std::to_string(names.size()) + (names.size() == 1 ? " file" : " files") + " of " +
            spoken(folder) + ", and leaves out " +
            (others == 1 ? "" : std::to_string(others) + " that don't end like a picture or video, such as ") +
            inQuotes(other) + (others == 1 ? ", which doesn't end like a picture or video" : ""));
    number(std::move(names), list);
}

[[noreturn]] void failAtLine(std::string const &list, std::size_t line, std::string const &why) {
    throw Exception(list + ":" + std::to_string(line) + ": " + why);
}

/// The file of a line, in the folder of the list.
void listLine(std::string const &path, std::size_t line, std::string const &text, FileList &list) {
    if (text.find('\0') != std::string::npos)
        failAtLine(path, line, "this is not a list of files: it should be a text in UTF-8 with one path a line");
    std::string const file = (fs::path(path).parent_path() / text).string();
    std::error_code error;
    fs::file_status const there = fs::status(file, error);
    if (!fs::exists(there)) failAtLine(path, line, inQuotes(file) + " doesn't exist" + nearestExisting(file));
    if (fs::is_directory(there))
        failAtLine(path, line, inQuotes(file) + " is a folder, but a list names one file in each line");
    list.files.push_back({file, list.files.size()});
}

void listLines(std::string const &path, FileList &list) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Exception(inQuotes(path) + " can't be opened: " + std::string(std::strerror(errno)));
    std::string text;
    for (std::size_t line = 1; std::getline(in, text); line++) {
        if (line == 1 && text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3); // as editors on Windows begin a text
        if (text.ends_with('\r')) text.pop_back();
        if (text.find_first_not_of(" \t") == std::string::npos || text.starts_with('#')) continue;
        listLine(path, line, text, list);
    }
    if (list.files.empty())
        throw Exception(inQuotes(path) + " is a list of files, but names none: write one path a line");
    list.isList = true;
}

/// A numbered pattern, parted at the name that holds the number.
struct Sequence {
    std::string path, folder, before, after, rest;
    FilePattern pattern;
    bool plain = false; ///< the path has no folder

    explicit Sequence(std::string const &text) : path(text), pattern(text) {
        FileUse const use = pattern.use(FileUse::Access::Read);
        std::size_t const slash = use.beforeNumber.rfind('/');
        plain = slash == std::string::npos;
        folder = plain ? "." : slash == 0 ? "/" : use.beforeNumber.substr(0, slash);
        before = plain ? use.beforeNumber : use.beforeNumber.substr(slash + 1);
        std::size_t const next = std::min(use.afterNumber.find('/'), use.afterNumber.size());
        after = use.afterNumber.substr(0, next);
        rest = use.afterNumber.substr(next);
    }

    /// The number in a name of the folder, if it is one of the pattern's.
    std::optional<std::uint64_t> numberOf(std::string const &name) const {
        if (name.size() <= before.size() + after.size() || !name.starts_with(before) || !name.ends_with(after))
            return std::nullopt;
        char const *const first = name.data() + before.size(), *const last = name.data() + name.size() - after.size();
        std::uint64_t value = 0;
        auto const [end, error] = std::from_chars(first, last, value);
        if (error != std::errc() || end != last || !isDigit(*first)) return std::nullopt;
        // A name with other zeros before the number is not one that the pattern gives.
        std::string const file = pattern.file(value);
        std::size_t const from = plain ? 0 : file.size() - (name.size() + rest.size());
        if (file.size() < name.size() + rest.size() || file.compare(from, name.size(), name) != 0) return std::nullopt;
        return value;
    }

    /// In order, from `least` on.
    std::vector<std::uint64_t> numbers(std::uint64_t least) const {
        std::vector<std::uint64_t> all;
        scan(folder, [&](fs::directory_entry const &entry) {
            std::optional<std::uint64_t> const value = numberOf(entry.path().filename().string());
            std::error_code ignored;
            if (value && *value >= least && (rest.empty() || fs::exists(entry.path().string() + rest, ignored)))
                all.push_back(*value);
        });
        std::sort(all.begin(), all.end());
        return all;
    }

    [[noreturn]] void failToBegin(std::int64_t first) const {
        std::error_code ignored;
        std::string const missing = pattern.file(static_cast<std::uint64_t>(std::max<std::int64_t>(first, 0)));
        std::string why = inQuotes(missing) + " doesn't exist, so the sequence has no first frame";
        if (!fs::is_directory(folder, ignored)) throw Exception(why + nearestExisting(missing));
        std::vector<std::uint64_t> const there = numbers(0);
        if (there.empty())
            throw Exception(why + ", and no other file fits " + inQuotes(path) + nearestExisting(missing));
        throw Exception(why + ": the files that exist are " + inQuotes(pattern.file(there.front())) + " to " +
                        inQuotes(pattern.file(there.back())));
    }
};

void listSequence(Sequence const &sequence, std::int64_t first, Gaps gaps, std::uint64_t count, FileList &list) {
    std::error_code ignored;
    if (!fs::is_directory(sequence.folder, ignored)) sequence.failToBegin(first);
    auto const least = static_cast<std::uint64_t>(std::max<std::int64_t>(first, 0));
    std::vector<std::uint64_t> numbers = sequence.numbers(least);
    if (numbers.empty() || (first >= 0 && numbers[0] != least && gaps == Gaps::Error)) sequence.failToBegin(first);
    if (count != 0 && numbers.size() > count) numbers.resize(count);
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < numbers.size(); i++) {
        if (i > 0 && numbers[i] != numbers[i - 1] + 1) {
            missing += numbers[i] - numbers[i - 1] - 1;
            if (gaps == Gaps::Error)
                throw Exception(inQuotes(sequence.pattern.file(numbers[i - 1] + 1)) +
                                " is missing from the sequence; the next file that exists is " +
                                inQuotes(sequence.pattern.file(numbers[i])) +
                                ". With the option gaps: skip the sequence goes on there");
        }
        list.files.push_back({sequence.pattern.file(numbers[i]), numbers[i]});
    }
    list.isList = true;
    if (first < 0 && numbers[0] != 0)
        list.notes.push_back("begins with " + inQuotes(sequence.pattern.file(numbers[0])));
    if (missing != 0)
        list.notes.push_back("passes over " + std::to_string(missing) +
                             (missing == 1 ? " missing number" : " missing numbers"));
}

std::size_t firstWildcard(std::string const &path) { return std::min(path.find_first_of("*?["), path.size()); }

void listGlob(std::string const &path, FileList &list) {
    glob_t found{};
    int const result = ::glob(path.c_str(), GLOB_NOSORT, nullptr, &found);
    std::vector<std::string> names(found.gl_pathv, found.gl_pathv + (result == 0 ? found.gl_pathc : 0));
    ::globfree(&found);
    if (result != 0 && result != GLOB_NOMATCH) throw Exception(inQuotes(path) + ": the folders can't be searched");
    std::erase_if(names, [](std::string const &name) {
        // Only names that end like no picture are looked at; this is quick in huge folders.
        std::error_code ignored;
        return isPartial(nameOf(name)) || (!isMediaName(name) && fs::is_directory(name, ignored));
    });
    if (!names.empty()) return number(std::move(names), list);
    std::string const folder = folderOf(path.substr(0, firstWildcard(path)) + "x");
    std::error_code ignored;
    throw Exception("no file fits " + inQuotes(path) +
                    (fs::is_directory(folder, ignored) ? " in " + spoken(folder) : nearestExisting(folder + "/x")));
}

/// The pattern of a path with a number in it.
std::optional<Sequence> sequenceOf(std::string const &path) {
    try {
        Sequence sequence(path);
        return sequence.pattern.numbered() ? std::optional(std::move(sequence)) : std::nullopt;
    } catch (Exception const &) {
        return std::nullopt;
    }
}

} // namespace

FileList::FileList(std::string const &path, std::int64_t first, Gaps gaps, std::uint64_t count) {
    std::error_code error;
    if (isStream(path)) {
        files = {{path, 0}};
    } else if (fs::file_status const there = fs::status(path, error); fs::is_directory(there)) {
        listFolder(path, *this);
    } else if (fs::is_regular_file(there) && lowerCase(path).ends_with(".txt")) {
        listLines(path, *this);
    } else if (fs::exists(there)) {
        files = {{path, 0}};
    } else if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory) {
        throw Exception(inQuotes(path) + " can't be opened: " + error.message());
    } else if (std::optional<Sequence> const sequence = sequenceOf(path)) {
        listSequence(*sequence, first, gaps, count, *this);
    } else if (firstWildcard(path) != path.size()) {
        listGlob(path, *this);
    } else {
        std::string const file = path.find('%') == std::string::npos ? path : FilePattern(path).file(0);
        if (file == path || !fs::exists(file, error)) failToFind(file);
        files = {{file, 0}};
    }
}

FileUse FileList::use(std::string const &path) {
    std::error_code ignored;
    if (path.find('%') != std::string::npos && !isStream(path) && !fs::exists(path, ignored)) {
        try {
            return FilePattern(path).use(FileUse::Access::Read);
        } catch (Exception const &) { // a glob, or nothing that can be read
        }
    }
    return {FileUse::Access::Read, path, "", false, path};
}

bool FileList::isStream(std::string const &path) {
    if (path == "-" || path.starts_with("v4l2:")) return true;
    std::size_t const scheme = path.find("://");
    return scheme != std::string::npos && scheme != 0 &&
           std::all_of(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(scheme),
                       [](char c) { return (lowerCase(c) >= 'a' && lowerCase(c) <= 'z') || isDigit(c) || c == '+'; });
}

bool isMediaName(std::string const &file) {
    std::size_t const dot = file.rfind('.');
    if (dot == std::string::npos || file.find('/', dot) != std::string::npos) return false;
    std::string const ending = lowerCase(file.substr(dot + 1));
    return !ending.empty() && ending.find(' ') == std::string::npos &&
           (" " + std::string(endings) + " ").find(" " + ending + " ") != std::string::npos;
}

bool naturallyBefore(std::string const &a, std::string const &b) {
    // A slash sorts first, so that a folder's files stay together.
    auto const rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(lowerCase(c)); };
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (!isDigit(a[i]) || !isDigit(b[j])) {
            if (rank(a[i]) != rank(b[j])) return rank(a[i]) < rank(b[j]);
            i++, j++;
            continue;
        }
        auto const digits = [](std::string const &text, std::size_t &at) {
            while (at < text.size() && text[at] == '0') at++;
            std::size_t const from = at;
            while (at < text.size() && isDigit(text[at])) at++;
            return std::string_view(text).substr(from, at - from);
        };
        std::string_view const left = digits(a, i), right = digits(b, j);
        if (left.size() != right.size()) return left.size() < right.size();
        if (left != right) return left < right;
    }
    if (a.size() - i != b.size() - j) return i == a.size();
    return a < b; // they differ in case or in zeros alone
}

std::string nearestExisting(std::string const &path) {
    std::error_code error;
    std::string const folder = folderOf(path), name = nameOf(path);
    if (name.empty() || fs::exists(path, error)) return "";
    fs::file_status const there = fs::status(folder, error);
    if (!fs::exists(there)) return ". " + capital(spoken(folder)) + " doesn't exist" + nearestExisting(folder);
    if (!fs::is_directory(there)) return ". " + inQuotes(folder) + " is not a folder";
    std::vector<std::string> names;
    try {
        scan(folder, [&](fs::directory_entry const &entry) { names.push_back(entry.path().filename().string()); });
    } catch (Exception const &unreadable) {
        return std::string(". ") + unreadable.what();
    }
    std::erase_if(names, isPartial);
    std::sort(names.begin(), names.end());
    std::optional<std::string> const near = nearestName(name, names);
    if (names.empty()) return ". " + capital(spoken(folder)) + " is empty";
    return ". " + capital(spoken(folder)) +
           (near ? " has " + inQuotes(*near) + ", but no " + inQuotes(name) : " has no " + inQuotes(name));
}

} // namespace zun::media
