#include "observers/Graphviz.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "containers/Exception.h"
#include "support/Failures.h"

namespace zun::observers {
namespace {

TEST(Graphviz, DrawsLargeGraphsAndPassesOnWhatIsWrong) {
    std::string graph = "digraph g {";
    for (int i = 0; i < 20'000; i++) graph += "\n// a graph that no pipe holds at once";
    EXPECT_NE(graphviz(graph + "\na -> b}", "svg").find("<svg"), std::string::npos);
    EXPECT_TRUE(graphviz("digraph g {a}", "plain").starts_with("graph 1 "));
    for (auto const &[dot, format] : {std::pair("digraph {", "svg"), std::pair("digraph {}", "nothing")})
        EXPECT_THROW(graphviz(dot, format), Exception) << format;
}

TEST(Graphviz, NamesThePackageOfAMissingProgram) {
    std::string const path = std::getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    std::string const message = zun::test::messageOf([] { graphviz("digraph {}", "svg"); });
    setenv("PATH", path.c_str(), 1);
    EXPECT_NE(message.find("install Debian's package graphviz"), std::string::npos) << message;
}

} // namespace
} // namespace zun::observers
