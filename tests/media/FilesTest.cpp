// Paths to files and files to paths: what a path stands for, how outputs are named, and who may write them.
#include <algorithm>
#include <csignal>
#include <limits>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include "media/files/AtomicFile.h"
#include "media/files/FileList.h"
#include "media/files/NameClaim.h"
#include "media/files/PartialFile.h"
#include "media/writing/OutputName.h"
#include "support/Failures.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun::test {
namespace {

using namespace media;
using Names = std::vector<std::string>;
namespace fs = std::filesystem;

struct Files : testing::Test {
    void make(Names const &names) const {
        for (std::string const &name : names) {
            fs::create_directories(fs::path(folder / name).parent_path());
            folder.write(name, "");
        }
    }

    FileList list(std::string const &path, std::int64_t first = -1, Gaps gaps = Gaps::Error,
                  std::uint64_t count = 0) const {
        return FileList(folder / path, first, gaps, count);
    }

    /// The names of the files that a path stands for, each with its number where `numbered`.
    Names names(FileList const &found, bool numbered = false) const {
        Names all;
        for (FileList::Entry const &entry : found.files)
            all.push_back(entry.file.substr(folder.path.string().size() + 1) +
                          (numbered ? "#" + std::to_string(entry.number) : ""));
        return all;
    }

    std::string failure(std::string const &path, std::int64_t first = -1, Gaps gaps = Gaps::Error,
                        std::uint64_t count = 0) const {
        return messageOf([&] { list(path, first, gaps, count); });
    }

    TemporaryFolder const folder;
};

TEST_F(Files, OfAFolderAreItsPicturesAndVideosInNaturalOrder) {
    make({"p/b10.png", "p/B2.JPG", "p/b002a.png", "p/a.mp4", "p/.hidden.png", "p/.x.png.12-1.part", "p/Thumbs.db",
          "p/sub.png/c.png"});
    FileList const found = list("p");
    EXPECT_EQ(names(found, true), (Names{"p/a.mp4#0", "p/B2.JPG#1", "p/b002a.png#2", "p/b10.png#3"}));
    EXPECT_TRUE(found.isList);
    ASSERT_EQ(found.notes.size(), 1u);
    expectParts(found.notes[0], {"reads 4 files of the folder", "'Thumbs.db'"});
    fs::create_symlink("a.mp4", folder / "p/link.mp4");
    EXPECT_EQ(list("p/").files.size(), 5u);

    make({"texts/a.csv"});
    expectParts(failure("texts"), {"texts' has no pictures or videos", " png ", "texts/*'"});
}

TEST_F(Files, AreComparedByTheValueOfTheirNumbers) {
    for (char const *const name : {"", "a", "a01", "9"}) EXPECT_FALSE(naturallyBefore(name, name)) << name;
    for (auto const &[before, after] : std::initializer_list<std::pair<char const *, char const *>>{
             {"a2", "a10"},
             {"A3", "a10"},
             {"a9", "b1"},
             {"a/z9", "a.png"},
             {"a01", "a2"},
             {"x99999999999999999998", "x99999999999999999999"},
             {"IMG", "IMG1"},
             {"A1", "a1"}}) {
        EXPECT_TRUE(naturallyBefore(before, after)) << before << ' ' << after;
        EXPECT_FALSE(naturallyBefore(after, before)) << before << ' ' << after;
    }
}

TEST_F(Files, OfAGlobAreAllThatFitAndANameThatExistsWins) {
    make({"p/a2.png", "p/a10.png", "p/a[1].png", "p/notes.md", "p/sub/a3.png", "100%.png", "in-%05d.png",
          "in-00001.png"});
    EXPECT_EQ(names(list("p/a*.png")), (Names{"p/a2.png", "p/a10.png", "p/a[1].png"}));
    EXPECT_EQ(names(list("p/*")), (Names{"p/a2.png", "p/a10.png", "p/a[1].png", "p/notes.md"}));
    EXPECT_EQ(names(list("*/sub/a?.png")), Names{"p/sub/a3.png"});
    FileList const one = list("p/a[1].png");
    EXPECT_EQ(names(one), Names{"p/a[1].png"});
    EXPECT_FALSE(one.isList);
    EXPECT_EQ(names(list("100%.png")), Names{"100%.png"});
    EXPECT_EQ(names(list("100%%.png")), Names{"100%.png"});
    EXPECT_EQ(names(list("in-%05d.png")), Names{"in-%05d.png"});
    expectParts(failure("p/*.gif"), {"no file fits '", "p/*.gif'", "the folder '"});
    expectParts(failure("no/*.gif"), {"no file fits '", "no' doesn't exist"});
}

TEST_F(Files, OfAListAreItsLinesAndAMissingOneIsAnErrorWithItsLine) {
    make({"l/b.png", "l/a b.png", "c.png", "l/#1.png"});
    std::string const absolute = folder / "c.png";
    folder.write("l/list.txt", "\xEF\xBB\xBF# photos\r\nb.png\r\n\r\n \na b.png\n../c.png\n./#1.png\n" + absolute);
    FileList const found = list("l/list.txt");
    EXPECT_EQ(names(found, true), (Names{"l/b.png#0", "l/a b.png#1", "l/../c.png#2", "l/./#1.png#3", "c.png#4"}));
    EXPECT_TRUE(found.isList);
    for (auto const &[text, parts] : std::initializer_list<std::pair<std::string, Names>>{
             {"b.png\n\nbb.png\n", {"l/list.txt:3: '", "bb.png' doesn't exist", "has 'b.png', but no 'bb.png'"}},
             {"../l\n", {"list.txt:1: ", "is a folder"}},
             {std::string("b\0.png", 6), {"list.txt:1: ", "UTF-8"}},
             {std::string(10'000, 'x'), {"list.txt:1: ", "xxx...' doesn't exist"}},
             {"# none\n", {"list.txt' is a list of files, but names none"}}}) {
        folder.write("l/list.txt", text);
        expectParts(failure("l/list.txt"), parts);
    }
}

TEST_F(Files, OfASequenceBeginWithTheLowestNumberAndHaveNoGaps) {
    make({"s/in-001.png", "s/in-002.png", "s/in-003.png", "s/in-6.png", "s/in-0007.png", "s/in-1000.png",
          "s/in-abc.png", "s/in-008.jpg", "d/cam-2/x.png", "d/cam-3/x.png", "d/cam-4/y.png"});
    std::string const path = "s/in-%03d.png";
    FileList const three = list(path, -1, Gaps::Error, 3);
    EXPECT_EQ(names(three, true), (Names{"s/in-001.png#1", "s/in-002.png#2", "s/in-003.png#3"}));
    ASSERT_EQ(three.notes.size(), 1u);
    expectParts(three.notes[0], {"begins with '", "s/in-001.png'"});
    EXPECT_TRUE(list(path, 1, Gaps::Error, 3).notes.empty()) << "it was asked to begin there";
    expectParts(failure(path),
                {"s/in-004.png' is missing", "next file that exists is '", "s/in-1000.png'", "gaps: skip"});
    expectParts(failure(path, 2, Gaps::Error, 3), {"in-004.png' is missing"});
    FileList const all = list(path, 2, Gaps::Skip);
    EXPECT_EQ(names(all, true), (Names{"s/in-002.png#2", "s/in-003.png#3", "s/in-1000.png#1000"}));
    ASSERT_EQ(all.notes.size(), 1u);
    expectParts(all.notes[0], {"passes over 996 missing numbers"});
    EXPECT_EQ(names(list("s/in-%d.png", 6, Gaps::Error, 1)), Names{"s/in-6.png"});
    EXPECT_EQ(names(list("d/cam-%d/x.png")), (Names{"d/cam-2/x.png", "d/cam-3/x.png"}));
    expectParts(failure(path, 0),
                {"in-000.png' doesn't exist, so the sequence has no first frame", "in-001.png' to '"});
    expectParts(failure("s/out-%03d.png"), {"out-000.png' doesn't exist", "no first frame"});
    expectParts(failure("t/in-%03d.png"), {"in-000.png' doesn't exist", "t' doesn't exist"});
    expectParts(failure("s/in-%x.png"), {"%x.png", "%05d"});
}

TEST_F(Files, OfAHugeFolderAreFoundAtOnce) {
    for (int i = 0; i < 5'000; i++)
        fs::create_directories(folder / "many"), folder.write("many/" + std::to_string(i) + ".png", "");
    FileList const found = list("many");
    ASSERT_EQ(found.files.size(), 5'000u);
    for (std::uint64_t i : {0u, 9u, 10u, 4'999u})
        EXPECT_EQ(fs::path(found.files[i].file).filename(), std::to_string(i) + ".png");
}

TEST_F(Files, ThatAreMissingAreReportedWithTheFolderAndTheNearestName) {
    make({"photos/cup.png", "photos/IMG_1.jpeg"});
    fs::create_directories(folder / "empty");
    for (auto const &[path, parts] : std::initializer_list<std::pair<char const *, Names>>{
             {"photos/cap.png", {"cap.png' doesn't exist. The folder '", "photos' has 'cup.png', but no 'cap.png'"}},
             {"photos/img_1.jpeg", {"has 'IMG_1.jpeg', but no"}},
             {"photos/zebra.tif", {"photos' has no 'zebra.tif'"}},
             {"photo/cup.png", {"photo' doesn't exist. The folder '", "has 'photos', but no 'photo'"}},
             {"empty/x.png", {"empty' is empty"}},
             {"photos/cup.png/x.png", {"cup.png' is not a folder"}}})
        expectParts(failure(path), parts);
    EXPECT_EQ(nearestExisting(folder / "photos/cup.png"), "");
    expectParts(failure(std::string(5000, 'x')), {"can't be opened: File name too long"});
    expectParts(messageOf([] { FileList("no-such-file.png", -1, Gaps::Error); }), {"The working folder '/"});
}

TEST_F(Files, AreNoStreams) {
    for (char const *const stream : {"-", "rtsp://camera/1", "http://h/x.mp4", "v4l2:/dev/video0"}) {
        EXPECT_TRUE(FileList::isStream(stream)) << stream;
        EXPECT_EQ(FileList(stream, -1, Gaps::Error).files.at(0).file, stream);
    }
    for (char const *const file : {"a-b.png", "", "./-", "a/b://c", "://x", "v4l2.mp4"})
        EXPECT_FALSE(FileList::isStream(file)) << file;
}

FrameSource from(std::string const &file, std::uint64_t number = 0, std::int64_t milliseconds = 0) {
    auto const info = std::make_shared<SourceInfo>();
    info->timeBase = {1, 1000};
    return {info, file, number, milliseconds, 0};
}

TEST(OutputNames, TakeTheirFieldsFromTheTickAndTheSource) {
    FrameSource const source = from("in/a/photo.v2.jpg", 42, 1500);
    for (auto const &[path, expected] :
         std::initializer_list<std::pair<char const *, char const *>>{{"out.png", "out.png"},
                                                                      {"o-%05d.png", "o-00007.png"},
                                                                      {"o-%d-{tick:03}.png", "o-7-007.png"},
                                                                      {"100%%{{x}}.png", "100%{x}.png"},
                                                                      {"{parent}/{stem}.png", "a/photo.v2.png"},
                                                                      {"o/{name}", "o/photo.v2.jpg"},
                                                                      {"{number:05}-{number}.png", "00042-42.png"},
                                                                      {"{time}.png", "1.500000.png"},
                                                                      {"{time:03}.png", "001.500000.png"}})
        EXPECT_EQ(OutputName(path).file(7, &source), expected);
    FrameSource const stream = from("rtsp://camera/live/1.mp4?token=a/b"), here = from("-");
    EXPECT_EQ(OutputName("{name}+{stem}+{parent}").file(0, &stream), "1.mp4+1+");
    EXPECT_EQ(OutputName("{stem}.png").file(0, &here), "stdin.png");
    EXPECT_EQ(OutputName("%05d").file(std::numeric_limits<Tick>::max(), nullptr), "18446744073709551615");
    expectParts(messageOf([] { OutputName("{stem}.png").file(0, nullptr); }), {"'{stem}.png'", "from none", "{tick}"});
}

TEST(OutputNames, OfAnUnknownFormAreRefused) {
    for (auto const &[path, part] : std::initializer_list<std::pair<char const *, char const *>>{
             {"{stme}.png", "did you mean 'stem'? The fields are {tick}"},
             {"{}.png", "unknown field {}."},
             {"{tick:5}.png", "write {tick:05}"},
             {"{stem:05}.png", "which only {tick}"},
             {"{tick.png", "a { without a }"},
             {"tick}.png", "a } without a {"},
             {"%x.png", "% that doesn't begin"},
             {"100%", "% that doesn't begin"},
             {"%5d.png", "% that doesn't begin"},
             {"%0999d.png", "% that doesn't begin"}})
        expectParts(messageOf([&, &text = path] { OutputName{text}; }), {std::string("'") + path + "'", part});
}

TEST(OutputNames, ThatClashAreFoundAheadOfTheRun) {
    auto const clash = [](char const *path, Names files, bool moving = false) {
        SourceInfo info;
        info.files = std::move(files);
        info.moving = moving;
        std::optional<OutputName::Clash> const found = OutputName(path).clash(info);
        return found ? found->text() : "";
    };
    expectParts(clash("out/{stem}.jpg", {"a/x.png", "a/y.png", "b/x.png"}),
                {"'a/x.png' and 'b/x.png' would both be written as 'out/x.jpg'"});
    expectParts(clash("o/{time}.png", {"x.png", "y.png"}), {"'x.png' and 'y.png'"});
    expectParts(clash("a/../a/{name}", {"a/x.png"}), {"'a/x.png' is read, and would be replaced"});
    for (char const *const path : {"o/{parent}/{stem}.jpg", "o/{stem}-{number}.jpg", "o/{stem}-%05d.jpg", "o/x.png"})
        EXPECT_EQ(clash(path, {"a/x.png", "b/x.png"}), "") << path;
    EXPECT_EQ(clash("{stem}.jpg", {"x.png", "y.png"}), "");
    EXPECT_EQ(clash("{stem}-{time}.jpg", {"x.mp4"}, true), "");
}

TEST(OutputNames, TellTheCheckWhichFilesTheyStandFor) {
    FileUse const numbered = OutputName("o/a-%05d.png").use(), same = OutputName("o/a-{number}.png").use();
    EXPECT_TRUE(numbered.numbered && same.numbered);
    EXPECT_EQ(numbered.beforeNumber + "|" + numbered.afterNumber, "o/a-|.png");
    EXPECT_EQ(same.afterNumber, numbered.afterNumber);
    FileUse const named = OutputName("o/{stem}.png").use();
    EXPECT_FALSE(named.numbered);
    EXPECT_EQ(named.beforeNumber, "o/{stem}.png");
    EXPECT_EQ(OutputName("a%%b").use().beforeNumber, "a%b");
}

/// A process that claims a path and does nothing more.
class Claimer {
    pid_t pid;

public:
    explicit Claimer(std::string const &path) {
        int ends[2];
        if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
        pid = ::fork();
        if (pid == 0) {
            PartialFile const claim(path);
            [[maybe_unused]] ssize_t const told = ::write(ends[1], "!", 1);
            while (true) ::pause();
        }
        char ready = 0;
        EXPECT_EQ(::read(ends[0], &ready, 1), 1);
        ::close(ends[0]);
        ::close(ends[1]);
    }
    ~Claimer() { kill(); }
    Claimer(Claimer const &) = delete;
    Claimer &operator=(Claimer const &) = delete;

    std::string number() const { return std::to_string(pid); }
    void kill() {
        if (pid <= 0) return;
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        pid = 0;
    }
};

TEST_F(Files, ThatAProcessWritesAreRefusedToOthersUntilItEnds) {
    std::string const path = folder / "out.mp4";
    Claimer other(path);
    ASSERT_EQ(folder.files().size(), 1u);
    EXPECT_TRUE(folder.files()[0].starts_with(".out.mp4." + other.number() + "-"));
    expectParts(messageOf([&] { PartialFile{path}; }), {"out.mp4' is being written by process " + other.number()});
    EXPECT_EQ(folder.files().size(), 1u) << "the claim that failed leaves nothing";
    PartialFile const neighbour(folder / "out.mp");
    EXPECT_TRUE(removeAbandoned(folder.path).empty());

    other.kill();
    EXPECT_EQ(findAbandoned(folder.path).size(), 1u);
    PartialFile const ours(path), one(folder / "1.png", Claim::None), two(folder / "1.png", Claim::None);
    EXPECT_EQ(folder.files().size(), 4u) << "the new claims, and nothing of the killed process";
    EXPECT_TRUE(removeAbandoned(folder.path).empty());
}

TEST_F(Files, ThatAreCompleteReplaceWhatWasThereAndOthersVanish) {
    folder.write("a.txt", "old");
    AtomicFile kept(folder / "a.txt");
    kept.write("new");
    EXPECT_EQ(folder.read("a.txt"), "old");
    expectParts(messageOf([&] { AtomicFile{folder / "a.txt"}; }), {"by this run already"});
    kept.commit();
    EXPECT_EQ(folder.read("a.txt"), "new");
    { AtomicFile(folder / "b.txt").write("half"); }
    EXPECT_EQ(folder.files(), Names{"a.txt"});

    PartialFile salvaged(folder / "v.mkv");
    salvaged.keep();
    EXPECT_TRUE(fs::exists(salvaged.name()));
    { PartialFile const next(folder / "v.mkv"); }
    EXPECT_EQ(folder.files(), Names{"a.txt"}) << "the next claim removes what was left";
    expectParts(messageOf([&] { PartialFile{folder / "no/x"}; }), {"no/x' can't be written: No such file"});
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    expectParts(messageOf([&] { PartialFile{folder / "pipe"}; }), {"pipe' is not a regular file"});
}

TEST_F(Files, OfLongNamesHavePartialFilesToo) {
    std::string accents;
    for (int i = 0; i < 125; i++) accents += "\u00e9";
    for (std::string const &name : {std::string(255, 'x'), std::string(254, 'x') + "y", accents + ".png"}) {
        PartialFile file(folder / name);
        EXPECT_LE(fs::path(file.name()).filename().string().size(), 255u);
        EXPECT_NE(messageOf([&] { PartialFile{folder / name}; }), "no failure");
        file.commit();
    }
    EXPECT_EQ(folder.files().size(), 3u);
    expectParts(messageOf([&] { PartialFile{folder / std::string(256, 'x')}; }), {"File name too long"});
}

TEST_F(Files, LeftByKilledRunsAreRemovedAndNoOthers) {
    Names const left{".a.png.99999999-1.part", ".b.png.99999999-12.part", ".c-01.png.99999999-3.part"};
    Names const others{".a.png.part", ".part", "a.1-1.part", ".a.x-1.part", ".a.png.1-.part", "d.png"};
    make(left);
    make(others);
    EXPECT_EQ(findAbandoned(folder / "a.png"), Names{folder / left[0]});
    EXPECT_EQ(removeAbandoned(folder / "a.png"), Names{folder / left[0]});
    { NameClaim const claim(OutputName(folder / "c-%02d.png")); }
    EXPECT_FALSE(fs::exists(folder / left[2]));
    EXPECT_EQ(removeAbandoned(folder.path), Names{folder / left[1]});
    EXPECT_EQ(folder.files().size(), others.size());
    EXPECT_TRUE(removeAbandoned(folder / "d.png").empty());
    expectParts(messageOf([&] { removeAbandoned(folder / "e.png"); }), {"e.png' doesn't exist", "has 'd.png'"});
    expectParts(messageOf([&] { removeAbandoned(folder / "no/e.png"); }), {"no' doesn't exist"});
}

TEST_F(Files, OfManyNamesAreClaimedTogether) {
    make({"o/x"});
    OutputName const names(folder / "o/{parent}/{stem}.png");
    NameClaim const claim(names);
    expectParts(messageOf([&] { NameClaim{names}; }), {"o/{parent}/{stem}.png' is being written by this run"});
    NameClaim const numbered(OutputName(folder / "o/a-%05d.png"));
    EXPECT_NE(messageOf([&] { NameClaim{OutputName(folder / "o/a-{tick:05}.png")}; }), "no failure");
    NameClaim const other(OutputName(folder / "o/b-%05d.png"));
}

} // namespace
} // namespace zun::test
