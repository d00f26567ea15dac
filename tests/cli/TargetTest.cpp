#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

/// The programs that are started while it lives see ZUN_TARGET.
class Target {
public:
    explicit Target(char const *name) { ::setenv(variable, name, 1); }
    ~Target() { ::unsetenv(variable); }
    Target(Target const &) = delete;
    Target &operator=(Target const &) = delete;

private:
    static constexpr char const *variable = "ZUN_TARGET";
};

std::string anonymousCat() {
    Folder const folder;
    Ended const ended = zun({"run", (examples / "faces-off.yaml").string(), "-D", "out=.", "-D",
                             "photo=" + (examples / "photos/chelsea.png").string()},
                            folder);
    EXPECT_EQ(ended.status, 0) << ended.err;
    return folder.read("faces-off.png");
}

TEST(Target, ChangesNoPixel) {
    std::string const expected = anonymousCat();
    EXPECT_FALSE(expected.empty());
    for (char const *const name : {"plain", ""}) {
        Target const target(name);
        EXPECT_EQ(anonymousCat(), expected) << name;
    }
}

TEST(Target, ThatTheMachineLacksIsWrongUsage) {
    Folder const folder;
    Target const target("MMX");
    for (Ended const &ended : {zun({"nodes"}, folder), graphPipeline({photo.string()}, folder)}) {
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_NE(ended.err.find(": error: ZUN_TARGET: \"MMX\" is not a target of this machine, which has "),
                  std::string::npos)
            << ended.err;
        EXPECT_NE(ended.err.find("plain\n"), std::string::npos) << ended.err;
    }
    EXPECT_EQ(zun({"--help"}, folder).status, 0);
}

} // namespace
} // namespace zun::cli::test
