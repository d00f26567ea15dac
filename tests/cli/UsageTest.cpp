#include <cstdlib>

#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

TEST(Usage, HelpIsDataWithExamplesAndSucceeds) {
    Folder const folder;
    for (Ended const &ended : {zun("--help", folder), zun("run --help", folder), zun("check --help", folder),
                               zun("nodes -h", folder), graphPipeline("--help", folder)}) {
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.err, "");
        expectParts(ended.out, {"Examples:\n"});
    }
}

TEST(Usage, WrongUsageHasAStatusOfItsOwnAndIsAMessage) {
    Folder const folder;
    folder.write("p.yaml", "nodes: []\n");
    std::pair<std::string, Names> const cases[] = {
        {"", {"", "rnu", "--frames 1:2", "run", "check", "check p.yaml --progress", "nodes DrawPoints CropAny"}},
        {"run p.yaml ", {"another.yaml", "--no-such-option", "--executor fastest", "--max-memory much"}},
        {"run p.yaml --frames ", {"5", "9:3", "3:3", "-1:3", "1:2x", "1:99999999999999999999999"}},
        {"run p.yaml --threads ", {"0", "-1", "many"}},
        {"run p.yaml -D ", {"novalue", "=value"}},
        {"run p.yaml --set ", {"option=1", "node.=1", "node.option"}},
        {"run p.yaml --change ", {"dot.colour=0x0000FF"}},
    };
    for (auto const &[begin, ends] : cases)
        for (std::string const &end : ends) {
            Ended const ended = zun(begin + end, folder);
            EXPECT_EQ(ended.status, 2) << begin << end << '\n' << ended.err;
            EXPECT_NE(ended.err, "") << begin << end;
            EXPECT_EQ(ended.out, "") << begin << end;
        }
    EXPECT_EQ(graphPipeline("", folder).status, 2);
    EXPECT_TRUE(zun("--version", folder).out.starts_with("zun "));
    EXPECT_EQ(graphPipeline("p.yaml --json", folder).status, 2);
}

TEST(Usage, AnOptionTakesOneValueAndLeavesTheFileAlone) {
    Folder const folder;
    for (char const *const line : {"-D a=1 -D b=2", "--set a.b=1", "-Da=1"})
        expectOneError(zun("check " + std::string(line) + " none.yaml", folder), {"none.yaml: error: can't"});
}

TEST(Usage, APlugInThatDoesNotLoadIsReportedWithTheReason) {
    Folder const folder;
    folder.write("broken.so", std::string(200, 'x'));
    for (std::string const name : {"./broken.so", "broken.so"})
        expectOneError(zun("nodes --plugin " + name, folder), {name, "invalid ELF header"});
}

TEST(Usage, OutputThatCannotBeWrittenIsAFailure) {
    Folder const folder;
    EXPECT_NE(std::system((ZUN_PROGRAM " nodes > /dev/full 2> " + (folder / "err")).c_str()), 0);
    expectParts(folder.read("err"), {"can't be written"});
}

TEST(Usage, ATargetThatTheMachineLacksIsWrongUsage) {
    Folder const folder;
    ::setenv("ZUN_TARGET", "MMX", 1);
    for (Ended const &ended : {zun("nodes", folder), graphPipeline(photo, folder)}) {
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        expectParts(ended.err, {": error: ZUN_TARGET: \"MMX\" is not a target of this machine, which has ", "plain\n"});
    }
    EXPECT_EQ(zun("--help", folder).status, 0);
    ::setenv("ZUN_TARGET", "plain", 1);
    EXPECT_EQ(zun("nodes", folder).status, 0);
    ::unsetenv("ZUN_TARGET");
}

} // namespace
} // namespace zun::cli::test
