#include "observers/Tap.h"

#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "containers/Mask.h"
#include "graph/Check.h"
#include "media/writing/PictureEncoders.h"
#include "support/Failures.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::observers {
namespace {

using Files = std::vector<std::string>;

template <class T>
std::shared_ptr<Variant> valueOf(T held) {
    return std::make_shared<VariantType<T>>(std::move(held));
}

template <class T>
Mat<T, 2> row(std::vector<T> const &pixels) {
    Mat<T, 2> frame({1, static_cast<std::uint32_t>(pixels.size())});
    std::copy(pixels.begin(), pixels.end(), reinterpret_cast<T *>(frame.first()));
    return frame;
}

using Bytes = std::vector<unsigned char>;

struct TapTest : testing::Test {
    TapTest() {
        engine::test::registerTestNodes();
        graph = engine::check(
            engine::parseDescription("nodes:\n- {type: TestSource, outputs: {out: numbers}, options: {length: 9}}\n"
                                     "- {type: TestRelay, inputs: {in: numbers}, outputs: {out: any}}\n"
                                     "- {type: TestFrame, inputs: {in: numbers}, outputs: {out: frames}}\n",
                                     "test"));
    }

    std::unique_ptr<Tap> tap(std::string const &stream, std::string const &pattern) {
        return std::make_unique<Tap>(parseTap(stream + "=" + (folder / pattern)), graph,
                                     [this](std::string const &text) { warnings += text + "\n"; });
    }

    /// Writes to the stream `any`.
    static void write(Tap &tap, Tick tick, Variant const &value) {
        tap.valueWritten(0, 1, tick, value, valueTypeOf(value));
    }

    zun::test::TemporaryFolder folder;
    engine::Graph graph;
    std::string warnings;
};

TEST_F(TapTest, WritesEachKindOfValue) {
    struct Case {
        char const *pattern;
        std::shared_ptr<Variant> value;
        Files files;
        std::string first, second;
    };
    auto const grey = row<unsigned char>({0, 7}), binary = row<unsigned char>({0, 1});
    std::string const mask =
        R"({"stream":"any","tick":3,"type":"zun::Mask","rows":1,"columns":2,"rectangle":[4,5,2,1]})";
    std::string const range =
        R"({"stream":"any","tick":3,"type":"zun::Mat<float, 2>","rows":1,"columns":3,"from":-1.0,"to":0.1})";
    std::vector<Case> const cases{
        {"{tick}.pgm", valueOf(grey), {"3.pgm"}, std::string("P5\n2 1\n255\n\0\7", 13), ""},
        {"{tick}.pgm", valueOf(binary), {"3.pgm"}, std::string("P5\n2 1\n255\n\0\377", 13), ""},
        {"%02d.pgm",
         valueOf(row<float>({-1, 0.1f, -1})),
         {"03.json", "03.pgm"},
         range + "\n",
         std::string("P5\n3 1\n255\n\0\377\0", 14)},
        {"{tick}.pgm",
         valueOf(Mask{{4, 5, 2, 1}, binary}),
         {"3.json", "3.pgm"},
         mask + "\n",
         std::string("P5\n2 1\n255\n\0\377", 13)},
        {"{tick}.pgm",
         valueOf(std::vector{grey, binary}),
         {"3-0.pgm", "3-1.pgm"},
         std::string("P5\n2 1\n255\n\0\7", 13),
         std::string("P5\n2 1\n255\n\0\377", 13)},
        {"a.jsonl", valueOf(std::vector{grey, binary}), {"a.jsonl"}, "{\"tick\":3,\"value\":[[[0,7]],[[0,1]]]}\n", ""},
        {"a.jsonl", valueOf(std::string("a \"b\"")), {"a.jsonl"}, "{\"tick\":3,\"value\":\"a \\\"b\\\"\"}\n", ""},
        {"{tick}.jsonl", valueOf(std::vector{1, 2}), {"3.jsonl"}, "{\"tick\":3,\"value\":[1,2]}\n", ""}};
    for (Case const &one : cases) {
        zun::test::TemporaryFolder own;
        Tap tap(parseTap("any@3=" + (own / one.pattern)), graph,
                [](std::string const &text) { ADD_FAILURE() << text; });
        tap.runBegins(graph, 1, 0, 0);
        write(tap, 2, *one.value);
        write(tap, 3, *one.value);
        tap.runEnded(9);
        ASSERT_EQ(own.files(), one.files) << one.pattern;
        EXPECT_EQ(own.read(one.files.front()), one.first);
        EXPECT_EQ(own.read(one.files.back()), one.files.size() > 1 ? one.second : one.first);
    }
}

TEST_F(TapTest, TiffKeepsFloatsAsTheyAre) {
    auto const picture = tap("any", "{tick}.tif");
    auto const value = valueOf(row<float>({0.1f, 1e9f}));
    write(*picture, 0, *value);
    picture->runEnded(1);
    EXPECT_EQ(folder.files(), Files{"0.tif"});
    media::Bytes const same = media::encodeTiff("0.tif", media::pixelsOf(value, 0, true));
    EXPECT_EQ(folder.read("0.tif"), std::string(same.begin(), same.end()));
}

TEST_F(TapTest, LinesAreInTheOrderOfTicksFromSeveralThreadsAndEndWithTheRun) {
    for (bool const fails : {false, true}) {
        auto const records = tap("any", "a.jsonl");
        records->runBegins(graph, 4, 10, 0);
        std::vector<std::jthread> threads;
        for (Tick thread = 0; thread < 4; thread++)
            threads.emplace_back([&, thread] {
                for (Tick tick = 106 - thread; tick >= 10; tick -= 4) write(*records, tick, *valueOf(int(tick)));
            });
        threads.clear();
        records->advanced(50, 0);
        write(*records, 107, *valueOf(107));
        if (fails) records->runFailed(nullptr, 105, "");
        records->runEnded(95);
        std::string expected;
        for (int tick = 10; tick < (fails ? 108 : 105); tick++)
            expected += "{\"tick\":" + std::to_string(tick) + ",\"value\":" + std::to_string(tick) + "}\n";
        EXPECT_EQ(folder.read("a.jsonl"), expected);
    }
}

TEST_F(TapTest, RefusesAheadWhatItCantWrite) {
    for (auto const &[stream, pattern, message] :
         {std::tuple("number", "a.jsonl", "there is no stream 'number'; did you mean 'numbers'?"),
          {"frames", "a.png", "writes every tick to one file: put {tick:05} into it, as in '"},
          {"frames@1,2", "a.png", "writes every tick to one file"},
          {"frames@1:9:3", "b/{tick}.png", "doesn't exist"},
          {"numbers", "missing/a.jsonl", "doesn't exist"},
          {"numbers", "{tick}.png", "holds int, which is not a frame"},
          {"frames", "{tick}.mp4", "doesn't say what to write"},
          {"frames", "{stem}.png", "no ReadFrames that tells its sources"},
          {"frames", "{stick}.png", "did you mean 'tick'?"},
          {"frames@3:3", "a", "holds no tick"},
          {"frames@x", "a", "names no ticks"},
          {"", "a", "is not of the form STREAM"}})
        zun::test::expectParts(zun::test::messageOf([&] { tap(stream, pattern); }), {message});
    EXPECT_EQ(folder.files(), Files{});
    std::vector<std::unique_ptr<Tap>> both;
    both.push_back(tap("numbers", "a.jsonl"));
    both.push_back(tap("any@5", "./a.png"));
    requireDistinctFiles(both, graph);
    both.push_back(tap("frames@7", "a.png"));
    zun::test::expectParts(zun::test::messageOf([&] { requireDistinctFiles(both, graph); }), {"use the same file"});
}

TEST_F(TapTest, LeavesOutWhatCantBeShownWithOneWarning) {
    auto const pictures = tap("any", "{tick}.pgm");
    for (Tick tick = 0; tick < 3; tick++) write(*pictures, tick, *valueOf(Mat<unsigned char, 2>({0, 5})));
    write(*pictures, 3, *valueOf(1));
    write(*pictures, 4, *valueOf(row<unsigned char>({1})));
    pictures->runEnded(5);
    EXPECT_EQ(folder.files(), Files{"4.pgm"});
    EXPECT_EQ(std::count(warnings.begin(), warnings.end(), '\n'), 1) << warnings;
    zun::test::expectParts(warnings,
                           {"the tap of stream 'any' leaves out tick 0, and others like it: a frame of 0 x 5"});
}

TEST_F(TapTest, AFullDiskLeavesTheLinesBefore) {
    auto const records = tap("any", "a.jsonl");
    records->runBegins(graph, 1, 0, 0);
    write(*records, 0, *valueOf(1));
    records->advanced(1, 0);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit const small{100, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    write(*records, 1, *valueOf(2));
    records->advanced(3, 0);
    std::string const message = zun::test::messageOf([&] { write(*records, 2, *valueOf(std::string(200, 'x'))); });
    setrlimit(RLIMIT_FSIZE, &before);
    zun::test::expectParts(message, {"a.jsonl' can't be written"});
    EXPECT_EQ(folder.read("a.jsonl"), "{\"tick\":0,\"value\":1}\n");
}

} // namespace
} // namespace zun::observers
