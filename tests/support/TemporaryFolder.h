// A folder that goes with the test that made it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace zun::test {

inline std::string readBytes(std::string const &file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void writeBytes(std::string const &file, std::string const &bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zun-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path = name;
    }
    TemporaryFolder(TemporaryFolder const &) = delete;
    TemporaryFolder &operator=(TemporaryFolder const &) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    std::string operator/(std::string const &name) const { return (path / name).string(); }
    void write(std::string const &name, std::string const &bytes) const { writeBytes(*this / name, bytes); }
    std::string read(std::string const &name) const { return readBytes(*this / name); }

    /// The names of all files in it, in order; hidden ones too.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (auto const &entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    std::filesystem::path path;
};

} // namespace zun::test
