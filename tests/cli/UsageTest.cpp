#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using Arguments = std::vector<std::string>;

TEST(Usage, HelpIsDataWithExamplesAndSucceeds) {
    Folder const folder;
    for (Arguments const &arguments :
         {Arguments{"--help"}, {"run", "--help"}, {"check", "--help"}, {"nodes", "--help"}, {"nodes", "-h"}}) {
        Ended const ended = zun(arguments, folder);
        EXPECT_EQ(ended.status, 0) << arguments[0];
        EXPECT_NE(ended.out.find("Examples:\n"), std::string::npos) << ended.out;
        EXPECT_EQ(ended.err, "");
    }
    Ended const graph = graphPipeline({"--help"}, folder);
    EXPECT_EQ(graph.status, 0);
    EXPECT_NE(graph.out.find("Examples:\n"), std::string::npos) << graph.out;
}

TEST(Usage, WrongUsageHasAStatusOfItsOwnAndIsAMessage) {
    Folder const folder;
    std::string const file = folder.write("pipeline.yaml", "nodes: []\n");
    Arguments const wrong[] = {{},
                               {"rnu"},
                               {"--frames", "1:2"},
                               {"run"},
                               {"run", file, "another.yaml"},
                               {"run", file, "--no-such-option"},
                               {"run", file, "--frames", "5"},
                               {"run", file, "--frames", "9:3"},
                               {"run", file, "--frames", "3:3"},
                               {"run", file, "--frames", "-1:3"},
                               {"run", file, "--frames", "1:2x"},
                               {"run", file, "--frames", "1:99999999999999999999999"},
                               {"run", file, "--threads", "0"},
                               {"run", file, "--threads", "-1"},
                               {"run", file, "--threads", "many"},
                               {"run", file, "--executor", "fastest"},
                               {"run", file, "--max-memory", "much"},
                               {"run", file, "-D", "novalue"},
                               {"run", file, "-D", "=value"},
                               {"run", file, "--set", "option=1"},
                               {"run", file, "--set", "node.=1"},
                               {"run", file, "--set", "node.option"},
                               {"check"},
                               {"check", file, "--progress"},
                               {"nodes", "DrawPoints", "CropAny"}};
    for (Arguments const &arguments : wrong) {
        Ended const ended = zun(arguments, folder);
        std::string const words = testing::PrintToString(arguments);
        EXPECT_EQ(ended.status, 2) << words << ended.err;
        EXPECT_NE(ended.err, "") << words;
        EXPECT_EQ(ended.out, "") << words;
    }
    EXPECT_EQ(graphPipeline({}, folder).status, 2);
    EXPECT_EQ(graphPipeline({file, "--json"}, folder).status, 2);
}

TEST(Usage, AnOptionTakesOneValueAndLeavesTheFileAlone) {
    Folder const folder;
    std::string const file = folder.write("pipeline.yaml", "nodes:\n- type: NegativeImage\n");
    for (Arguments const &arguments : {Arguments{"check", "-D", "a=1", "-D", "b=2", file},
                                       {"check", "--set", "a.b=1", file},
                                       {"check", "-Da=1", file},
                                       {"run", "--plugin", "/no/such.so", file}}) {
        Ended const ended = zun(arguments, folder);
        EXPECT_EQ(ended.status, 1) << ended.err;
    }
}

TEST(Usage, APlugInThatDoesNotLoadIsReportedWithTheReason) {
    Folder const folder;
    std::string const broken = folder.write("broken.so", std::string(200, 'x'));
    Ended const ended = zun({"nodes", "--plugin", broken}, folder);
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.err.find(broken), std::string::npos) << ended.err;
    EXPECT_NE(ended.err.find("invalid ELF header"), std::string::npos) << ended.err;
}

TEST(Usage, OutputThatCannotBeWrittenIsAFailure) {
    Folder const folder;
    std::string const command = std::string(ZUN_PROGRAM) + " nodes > /dev/full 2> " + (folder.path / "err").string();
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_NE(folder.read("err").find("can't be written"), std::string::npos);
}

} // namespace
} // namespace zun::cli::test
