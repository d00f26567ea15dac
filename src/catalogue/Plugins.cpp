#include "catalogue/Plugins.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <elf.h>

#include "containers/Exception.h"
#include "pipeline/ApiVersion.h"
#include "pipeline/NodeRegistry.h"
#include "vexa_core/Paths.h"

namespace zun::engine {
namespace {

std::string libraryPath(std::string const &pathOrName) {
    if (pathOrName.find('/') != std::string::npos) return pathOrName;
    if (pathOrName.ends_with(".so") && std::ifstream(pathOrName)) return "./" + pathOrName;
    return installationPrefix() + "/lib/zun/" + pathOrName + ".so";
}

/// The contents of a section of a library file, empty if it has none of this name; nothing for a file that is not a
/// library.
std::optional<std::string> sectionOf(std::string const &path, std::string const &name) {
    std::ifstream in(path, std::ios::binary);
    auto const part = [&](std::uint64_t offset, std::uint64_t size) -> std::optional<std::string> {
        constexpr std::uint64_t most = 1u << 20; // of what is looked for, far less
        std::string bytes(std::min(size, most), '\0');
        in.clear();
        in.seekg(static_cast<std::streamoff>(offset));
        in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return in ? std::optional(bytes) : std::nullopt;
    };
    auto const headerAt = [&](Elf64_Ehdr const &elf, std::uint64_t index) {
        Elf64_Shdr header{};
        if (auto const bytes = part(elf.e_shoff + index * sizeof header, sizeof header))
            std::memcpy(&header, bytes->data(), sizeof header);
        return header;
    };

    Elf64_Ehdr elf{};
    auto const begin = part(0, sizeof elf);
    if (!begin) return std::nullopt;
    std::memcpy(&elf, begin->data(), sizeof elf);
    bool const isElf = std::memcmp(elf.e_ident, ELFMAG, SELFMAG) == 0 && elf.e_ident[EI_CLASS] == ELFCLASS64 &&
                       elf.e_shentsize == sizeof(Elf64_Shdr);
    if (!isElf) return std::nullopt;
    Elf64_Shdr const names = headerAt(elf, elf.e_shstrndx);
    for (std::uint64_t i = 0; i < elf.e_shnum; i++) {
        Elf64_Shdr const header = headerAt(elf, i);
        if (part(names.sh_offset + header.sh_name, name.size() + 1) == name + '\0')
            return part(header.sh_offset, header.sh_size);
    }
    return "";
}

/// Refuses a library that was compiled with other headers than this host: what both call a node or a frame would
/// differ, so none of its code may run. What is not a library is left to the loader, which says why.
void requireOurHeaders(std::string const &path, std::string const &pathOrName) {
    std::string const ours = std::to_string(ZUN_API_VERSION), mark = ZUN_API_MARK;
    std::optional<std::string> const read = sectionOf(path, ZUN_API_SECTION);
    if (!read) return;
    std::string const &section = *read;
    auto const refuse = [&](std::string const &theirs) {
        throw Exception("the plug-in '" + pathOrName + "' can't be used: it was built against " + theirs +
                        " of the node headers, and this program has version " + ours +
                        "; build it again with these headers");
    };
    if (section.find(mark) == std::string::npos) refuse("version 1 or none");
    for (std::size_t at = section.find(mark); at != std::string::npos; at = section.find(mark, at + 1)) {
        std::string const version = section.c_str() + at + mark.size();
        if (version != ours) refuse("version " + version);
    }
}

} // namespace

void loadPlugin(std::string const &pathOrName) {
    std::string const path = libraryPath(pathOrName);
    requireOurHeaders(path, pathOrName);
    // Never unloaded: code of a value's type has to outlive the value.
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) == nullptr) {
        char const *const reason = dlerror();
        throw Exception("the plug-in '" + pathOrName + "' can't be loaded: " + (reason != nullptr ? reason : path));
    }
    std::vector<std::string> const conflicts = NodeRegistry::takeConflicts();
    if (conflicts.empty()) return;
    std::string message = "the plug-in '" + pathOrName + "' can't be used:";
    for (std::string const &conflict : conflicts) message += "\n  " + conflict;
    throw Exception(message);
}

} // namespace zun::engine
