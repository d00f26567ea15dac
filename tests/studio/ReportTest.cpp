#include "studio/Report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "graph/Check.h"
#include "support/Failures.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::studio::test {
namespace {

using nlohmann::json;

Page const page{{"index.html",
                 {"<head>\n<link rel=\"stylesheet\" href=\"studio.css\">\n"
                  "<script type=\"importmap\">\n{\"imports\": {\"studio/main\": \"./main.js\"}}\n</script>\n"
                  "<!-- report -->\n<script type=\"module\">import \"studio/main\";</script>",
                  "text/html"}},
                {"studio.css", {"b {}", "text/css"}},
                {"main.js", {"1;", "text/javascript"}}};

/// A plan for a source of 3 ticks, and frames of 4 KiB.
ReportPlan planOf(zun::test::TemporaryFolder const &folder, Tick first, Tick end, std::uint64_t bytes = 1 << 20) {
    engine::test::registerTestNodes();
    std::string const text = "# </script><!--\n"
                             "nodes:\n  - {type: TestSource, outputs: {out: s}, options: {length: 3}}\n"
                             "  - {type: TestFrame, inputs: {in: s}, outputs: {out: f}, options: {side: 64}}\n";
    folder.write("file.yaml", text);
    engine::Graph graph = engine::check(engine::parseDescription(text, "file.yaml"));
    return {std::make_shared<engine::Graph const>(std::move(graph)), folder / "file.yaml", first, end, bytes};
}

TEST(Report, HoldsThePageAndItsValues) {
    zun::test::TemporaryFolder const folder;
    EXPECT_EQ(writeReport(planOf(folder, 1, 9), page, folder / "report.html").ticks, 2u);
    std::string const text = folder.read("report.html");
    zun::test::expectParts(
        text, {"<style>\nb {}</style>", R"({"imports":{"studio/main":"data:text/javascript;base64,MTs="}})"});
    std::string const begin = R"(<script type="application/json" id="report">)";
    std::size_t const at = text.find(begin) + begin.size();
    json const data = json::parse(text.substr(at, text.find("</script>", at) - at));
    ASSERT_EQ(data["states"].size(), 2u);
    json const &state = data["states"][1];
    EXPECT_TRUE(state["tick"] == 2 && state["version"] == 1 && state["ticks"] == 3);
    zun::test::expectParts(state["text"], {"# </script><!--"});
    EXPECT_EQ(data["data"][state["streams"][0]["value"]["id"]]["value"], 2);
    EXPECT_TRUE(data["pictures"].contains(state["streams"][1]["value"]["id"].get<std::string>() + "/0"));
    EXPECT_EQ(data["layouts"]["TB"]["nodes"]["TestFrame"]["width"], 168);
}

TEST(Report, IsWrittenAsAWholeOrNotAtAll) {
    zun::test::TemporaryFolder const folder;
    struct Case {
        ReportPlan plan;
        std::string path, part;
    };
    for (Case const &one : {Case{planOf(folder, 0, 3, 9000), folder / "x.html", "choose fewer with --ticks"},
                            Case{planOf(folder, 7, 9), folder / "x.html", "there is no tick 7"},
                            Case{planOf(folder, 0, 1), folder / "missing/x.html", "can't be written"}})
        zun::test::expectParts(zun::test::messageOf([&] { writeReport(one.plan, page, one.path); }), {one.part});
    EXPECT_EQ(folder.files(), std::vector<std::string>{"file.yaml"});
}

TEST(Report, EncodesBytes) {
    for (auto const &[bytes, text] : std::map<std::string, std::string>{
             {"", ""}, {"M", "TQ=="}, {"Ma", "TWE="}, {"Man", "TWFu"}, {"\xff\xfe\xfd\xfc", "//79/A=="}})
        EXPECT_EQ(base64(bytes), text);
}

} // namespace
} // namespace zun::studio::test
