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

/// FNV-1a, 64 bits; of a picture, its pixels: how they are packed is the encoder's affair.
std::string hashOf(std::string const &file) {
    std::string bytes = zun::test::readBytes(file);
    if (media::isStillName(file)) {
        media::Frames frames;
        media::FrameReader(file).next({.rgb = true, .grey = false}, frames);
        bytes.assign(reinterpret_cast<char const *>(frames.rgb.shape.data()), sizeof frames.rgb.shape);
        bytes.append(reinterpret_cast<char const *>(frames.rgb.first()), frames.rgb.bytes());
    }
    std::uint64_t hash = 0xcbf29ce484222325;
    for (char const byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    std::ostringstream out;
    out << std::hex << hash;
    return out.str();
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
        Ended const ended = zun("run -D out=out --executor " + executor + " " + description.string(), work);
        EXPECT_EQ(ended.status, 0) << description << '\n' << ended.err;
        for (auto const &entry : fs::directory_iterator(work.path / "out"))
            hashes[description.stem().string() + " " + entry.path().filename().string()] =
                hashOf(entry.path().string());
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
    std::string shown;
    for (fs::path const &description : descriptionsIn(examples / "nodes")) shown += zun::test::readBytes(description);
    for (auto const &entry : nlohmann::json::parse(zun("nodes --json", work).out))
        if (entry["library"].get<std::string>().find("imgproc") != std::string::npos)
            expectParts(shown, {"type: " + entry["type"].get<std::string>() + "\n"});
}

} // namespace
} // namespace zun::cli::test
