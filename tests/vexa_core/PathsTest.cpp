#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "vexa_core/Paths.h"

namespace fs = std::filesystem;

namespace zun {
namespace {

/// A working directory of its own, and the prefix to put files under.
class ResolveRelativePath : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "zun-paths-XXXXXX").string();
        folder = fs::canonical(mkdtemp(pattern.data()));
        fs::current_path(folder);
        installed = fs::path(installationPrefix()) / name();
    }
    void TearDown() override {
        fs::current_path(before);
        fs::remove_all(folder);
        fs::remove(installed);
    }
    std::string name() const { return "paths-test-" + folder.filename().string(); }

    fs::path const before = fs::current_path();
    fs::path folder, installed;
};

TEST_F(ResolveRelativePath, KnowsThePrefixFromWhereTheLibraryLies) {
    EXPECT_EQ(fs::canonical(installationPrefix()), fs::canonical(ZUN_PREFIX));
}

TEST_F(ResolveRelativePath, LeavesAnAbsolutePathAlone) {
    EXPECT_EQ(resolve_relative_path("/no/such/../file", true), "/no/such/../file");
    EXPECT_EQ(resolve_relative_path("", true), "");
}

TEST_F(ResolveRelativePath, LooksUnderThePrefixFirstIfAskedTo) {
    std::ofstream(folder / name()) << "local";
    EXPECT_EQ(resolve_relative_path(name(), true), (folder / name()).string());
    std::ofstream(installed) << "installed";
    EXPECT_EQ(resolve_relative_path(name(), true), installed.string());
    EXPECT_EQ(resolve_relative_path(name(), false), (folder / name()).string());
}

TEST_F(ResolveRelativePath, GivesBackWhatIsFoundNowhere) {
    EXPECT_EQ(resolve_relative_path("share/no-such-file", true), "share/no-such-file");
}

} // namespace
} // namespace zun
