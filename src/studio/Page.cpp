#include "studio/Page.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "vexa_core/Paths.h"

namespace zun::studio {
namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> const types{{".html", "text/html; charset=utf-8"},
                                               {".css", "text/css; charset=utf-8"},
                                               {".js", "text/javascript; charset=utf-8"},
                                               {".svg", "image/svg+xml"}};

std::string const index = "index.html";
std::string const stylesheet = R"(<link rel="stylesheet" href="studio.css">)";
std::string const importMap = R"(<script type="importmap">)", scriptEnd = "</script>";
std::string const reportPlace = "<!-- report -->";

void replaceAll(std::string &text, std::string const &from, std::string const &to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

std::size_t placeOf(std::string const &text, std::string const &part, std::size_t from = 0) {
    std::size_t const place = text.find(part, from);
    if (place == std::string::npos) throw Exception("the studio's " + index + " has no '" + part + "'");
    return place;
}

std::string const &fileNamed(Page const &page, std::string const &name) {
    auto const found = page.find(name.starts_with("./") ? name.substr(2) : name);
    if (found == page.end()) throw Exception("the studio's " + index + " names '" + name + "', which is not there");
    return found->second.text;
}

/// The import map with data: addresses in place of files.
std::string mapWithModules(Page const &page, std::string const &map) {
    nlohmann::json modules = nlohmann::json::parse(map, nullptr, false);
    if (modules.is_discarded() || !modules.contains("imports"))
        throw Exception("the import map in the studio's " + index + " can't be read");
    for (auto &[name, address] : modules["imports"].items())
        address = "data:text/javascript;base64," + base64(fileNamed(page, address.get<std::string>()));
    return modules.dump();
}

} // namespace

Page readPage(std::string const &folder) {
    Page page;
    std::error_code error;
    for (fs::directory_entry const &entry : fs::directory_iterator(folder, error)) {
        auto const type = types.find(entry.path().extension().string());
        if (type == types.end() || !entry.is_regular_file(error)) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        page[entry.path().filename().string()] = {{std::istreambuf_iterator<char>(in), {}}, type->second};
    }
    if (!page.contains(index))
        throw Exception("the studio's page is not in '" + folder + "'; install zun again, with all of share/zun");
    return page;
}

Page installedPage() { return readPage(installationPrefix() + "/share/zun/studio"); }

std::string indexWithNonce(Page const &page, std::string const &nonce) {
    std::string text = fileNamed(page, index);
    replaceAll(text, "<script ", "<script nonce=\"" + nonce + "\" ");
    return text;
}

std::string pageWithData(Page const &page, std::string const &data) {
    std::string text = fileNamed(page, index);
    std::string json = data; // nothing in it may end the script: "<" stands in texts only
    replaceAll(json, "<", "\\u003c");
    text.replace(placeOf(text, reportPlace), reportPlace.size(),
                 R"(<script type="application/json" id="report">)" + json + scriptEnd);
    std::size_t const map = placeOf(text, importMap) + importMap.size(), end = placeOf(text, scriptEnd, map);
    text.replace(map, end - map, mapWithModules(page, text.substr(map, end - map)));
    text.replace(placeOf(text, stylesheet), stylesheet.size(),
                 "<style>\n" + fileNamed(page, "studio.css") + "</style>");
    return text;
}

std::string base64(std::string const &bytes) {
    constexpr char const *digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        auto const byteAt = [&](std::size_t at) {
            return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0u;
        };
        unsigned const three = byteAt(i) << 16 | byteAt(i + 1) << 8 | byteAt(i + 2);
        for (unsigned digit = 0; digit < 4; digit++)
            text += i + digit > bytes.size() ? '=' : digits[three >> (18 - 6 * digit) & 63];
    }
    return text;
}

} // namespace zun::studio
