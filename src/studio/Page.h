// The files of the page: those that the installation has, and no others.
#pragma once

#include <map>
#include <string>

namespace zun::studio {

struct PageFile {
    std::string text;
    std::string type; ///< media type, for browsers
};

/// By name. Files of other kinds than a page has are left out. Throws zun::Exception for a folder without an
/// index.html.
using Page = std::map<std::string, PageFile>;
Page readPage(std::string const &folder);

/// The page that came with this installation.
Page installedPage();

/// index.html with `nonce` on its scripts: the only scripts within the page that a browser then runs.
std::string indexWithNonce(Page const &page, std::string const &nonce);

/// The whole page as one file that needs no other: with its stylesheet, its modules, and the data of a report, which is
/// JSON. Throws zun::Exception for an index.html in which one of their places is missing.
std::string pageWithData(Page const &page, std::string const &data);

/// Base64, as data: addresses hold it.
std::string base64(std::string const &bytes);

} // namespace zun::studio
