#include "vexa_core/Paths.h"

#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace zun {
namespace {

TEST(InstallationPrefix, IsKnownFromWhereTheLibraryLies) {
    EXPECT_EQ(fs::canonical(installationPrefix()), fs::canonical(ZUN_PREFIX));
}

TEST(ResolveRelativePath, LooksUnderThePrefixFirstIfAskedToAndGivesBackWhatIsFoundNowhere) {
    test::TemporaryFolder const folder;
    fs::path const before = fs::current_path();
    fs::current_path(folder.path);
    std::string const name = "paths-test-" + folder.path.filename().string();
    std::string const local = fs::current_path() / name, installed = fs::path(installationPrefix()) / name;

    EXPECT_EQ(resolve_relative_path(name, true), name);
    folder.write(name, "local");
    EXPECT_EQ(resolve_relative_path(name, true), local);
    test::writeBytes(installed, "installed");
    EXPECT_EQ(resolve_relative_path(name, true), installed);
    EXPECT_EQ(resolve_relative_path(name, false), local);
    for (std::string const untouched : {"/no/such/../file", ""})
        EXPECT_EQ(resolve_relative_path(untouched, true), untouched);

    fs::current_path(before);
    fs::remove(installed);
}

} // namespace
} // namespace zun
