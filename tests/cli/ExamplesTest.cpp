// Every shipped description, to the bit: what each writes has a hash in the file "golden" beside it. After a change of
// results that is meant, look at the pictures, and let ZUN_WRITE_GOLDEN=1 ctest -R Examples write the hashes anew.

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Programs.h"
#include "media/FrameReader.h"

namespace zun::cli::test {
namespace {

/// FNV-1a, 64 bits.
class Hash {
public:
    void add(void const *bytes, std::size_t count) {
        auto const *const first = static_cast<unsigned char const *>(bytes);
        for (std::size_t i = 0; i < count; i++) state = (state ^ first[i]) * 0x100000001b3;
    }
    std::string text() const {
        std::ostringstream out;
        out << std::hex << state;
        return out.str();
    }

private:
    std::uint64_t state = 0xcbf29ce484222325;
};

/// Of a picture, its pixels: how they are packed is the encoder's affair.
std::string hashOf(fs::path const &file) {
    Hash hash;
    if (media::isStillName(file.string())) {
        media::FrameReader reader(file.string());
        media::Frames frames;
        reader.next({.rgb = true, .grey = false}, frames);
        hash.add(frames.rgb.shape.data(), sizeof frames.rgb.shape);
        hash.add(frames.rgb.first(), frames.rgb.bytes());
    } else {
        std::ifstream in(file, std::ios::binary);
        std::string const bytes{std::istreambuf_iterator<char>(in), {}};
        hash.add(bytes.data(), bytes.size());
    }
    return hash.text();
}

using Hashes = std::map<std::string, std::string>; // "description file" -> hash

Hashes readGolden(fs::path const &file) {
    Hashes hashes;
    std::ifstream in(file);
    for (std::string description, output, hash; in >> description >> output >> hash;)
        hashes[description + " " + output] = hash;
    return hashes;
}

std::vector<fs::path> descriptionsIn(fs::path const &folder) {
    std::vector<fs::path> found;
    for (auto const &entry : fs::directory_iterator(folder))
        if (entry.path().extension() == ".yaml") found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

/// What the descriptions of a folder write under an executor.
Hashes runAll(fs::path const &folder, std::string const &executor) {
    Hashes hashes;
    for (fs::path const &description : descriptionsIn(folder)) {
        Folder const work;
        fs::create_directory_symlink(examples, work.path / "examples"); // they name their photos from the root
        fs::create_directory(work.path / "out");
        Ended const ended = zun({"run", description.string(), "-D", "out=out", "--executor", executor}, work);
        EXPECT_EQ(ended.status, 0) << description << '\n' << ended.err;
        for (auto const &entry : fs::directory_iterator(work.path / "out"))
            hashes[description.stem().string() + " " + entry.path().filename().string()] = hashOf(entry.path());
    }
    return hashes;
}

TEST(Examples, GiveTheSameBitsUnderEveryExecutor) {
    for (fs::path const &folder : {examples, examples / "nodes"}) {
        Hashes const hashes = runAll(folder, "threads");
        if (std::getenv("ZUN_WRITE_GOLDEN") != nullptr) {
            std::ofstream out(folder / "golden");
            for (auto const &[output, hash] : hashes) out << output << " " << hash << '\n';
        }
        EXPECT_EQ(hashes, readGolden(folder / "golden")) << folder;
        for (char const *executor : {"sequential", "shuffled"}) EXPECT_EQ(runAll(folder, executor), hashes) << executor;
    }
}

TEST(Examples, ShowEveryNodeType) {
    Folder const work;
    std::set<std::string> shown;
    for (fs::path const &description : descriptionsIn(examples / "nodes")) {
        std::ifstream in(description);
        for (std::string line; std::getline(in, line);)
            if (std::size_t const at = line.find("type: "); line.starts_with("  - ")) shown.insert(line.substr(at + 6));
    }
    for (auto const &entry : nlohmann::json::parse(zun({"nodes", "--json"}, work).out))
        EXPECT_TRUE(shown.contains(entry["type"]) ||
                    entry["library"].get<std::string>().find("imgproc") == std::string::npos)
            << entry["type"];
}

TEST(Examples, FindEveryCoinOnce) {
    Folder const work;
    fs::create_directory_symlink(examples, work.path / "examples");
    ASSERT_EQ(zun({"run", "examples/coins.yaml"}, work).status, 0);
    auto const areas = nlohmann::json::parse(work.read("areas.jsonl"));
    ASSERT_EQ(areas.size(), 24u);
    for (int area : areas) EXPECT_TRUE(area > 700 && area < 3000) << area;
}

} // namespace
} // namespace zun::cli::test
