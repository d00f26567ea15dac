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
#include "media/reading/FrameReader.h"

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

/// These have no input in the repository, and encode videos; a test of their own runs them.
std::set<std::string> const ofVideos{"camera.yaml", "clip.yaml", "pipe.yaml"};

std::vector<fs::path> descriptionsIn(fs::path const &folder) {
    std::vector<fs::path> found;
    for (auto const &entry : fs::directory_iterator(folder))
        if (entry.path().extension() == ".yaml" && !ofVideos.contains(entry.path().filename()))
            found.push_back(entry.path());
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

/// What a shell command prints, run in a folder; fails the test if it fails.
std::string shell(std::string const &command, Folder const &work) {
    std::string const redirected = "cd '" + work.path.string() + "' && { " + command + "; } >said 2>&1 </dev/null";
    int const status = std::system(redirected.c_str());
    EXPECT_EQ(status, 0) << command << '\n' << work.read("said");
    return work.read("said");
}

/// "codec,width,height,frames" of a video's pictures, and "codec,packets" of its sound, a line each.
std::string streamsOf(std::string const &file, Folder const &work) {
    return shell("ffprobe -v error -count_packets -of csv=p=0 -show_entries "
                 "stream=codec_name,width,height,nb_read_packets,avg_frame_rate " +
                     file,
                 work);
}

TEST(Examples, OfVideosKeepFramesTimesAndSound) {
    std::string const film = "ffmpeg -v error -f lavfi -i testsrc2=size=800x600:rate=30000/1001:duration=0.5 "
                             "-f lavfi -i sine=duration=0.5 -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac ",
                      zun = std::string(ZUN_PROGRAM) + " run " + examples.string();
    Folder const work;
    shell(film + "clip.mp4", work);
    std::string const sound = streamsOf("clip.mp4", work).substr(streamsOf("clip.mp4", work).find("aac"));

    shell(zun + "/clip.yaml", work);
    EXPECT_EQ(streamsOf("small.mp4", work), "h264,640,480,30000/1001,15\n" + sound);

    shell(zun + "/camera.yaml -D camera=clip.mp4 --frames 0:10", work);
    expectParts(streamsOf("edges.mp4", work), {"h264,800,600,30000/1001,10\n"});

    shell("ffmpeg -v error -i clip.mp4 -c:v rawvideo -pix_fmt rgb24 -f nut - | " + zun +
              "/pipe.yaml | ffmpeg -v error -i - -c:v ffv1 -pix_fmt gbrp negative.mkv",
          work);
    EXPECT_EQ(streamsOf("negative.mkv", work), "ffv1,800,600,30000/1001,15\n");
    shell("ffmpeg -v error -i clip.mp4 -frames:v 1 -pix_fmt rgb24 first.png && "
          "ffmpeg -v error -i negative.mkv -vf negate -frames:v 1 -pix_fmt rgb24 twice.png",
          work);
    media::Frames first, twice;
    media::FrameReader(work / "first.png").next({.rgb = true, .grey = false}, first);
    media::FrameReader(work / "twice.png").next({.rgb = true, .grey = false}, twice);
    EXPECT_TRUE(std::equal(first.rgb.first(), first.rgb.first() + first.rgb.count, twice.rgb.first()));
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
