#include "studio/Session.h"

#include <filesystem>
#include <functional>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/Failures.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::studio::test {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

std::string const description = R"(variables: {scale: 2}
nodes:
  - type: TestSource
    name: source
    outputs: {out: s}
    options:
      length: 5
      scale: ${scale}
  - type: TestMix
    name: mix
    inputs: {a: s}
    outputs: {out: m}
    options:
      seed: 3   # any
  - {type: TestSink, name: sink, inputs: {in: m}, options: {label: sink}}
)";

struct Opened {
    explicit Opened(std::string const &text = description, engine::Overrides overrides = {}) {
        engine::test::registerTestNodes();
        folder.write("file.yaml", text);
        session = std::make_unique<Session>(Session::Settings{file, std::move(overrides), 1 << 20});
    }

    /// The first state for which this holds; null after a while.
    json waitFor(std::function<bool(json const &)> const &holds) const {
        std::uint64_t seen = 0;
        for (int i = 0; i < 200; i++) {
            auto const next = session->waitForState(seen, 50ms);
            if (!next) continue;
            seen = next->version;
            json const state = json::parse(next->state);
            if (holds(state)) return state;
        }
        ADD_FAILURE() << "no such state: " << session->waitForState(0, 0ms)->state;
        return nullptr;
    }
    json after(std::uint64_t generation) const {
        return waitFor([&](json const &state) { return state["generation"] >= generation && !state["busy"]; });
    }

    zun::test::TemporaryFolder folder;
    std::string const file = folder / "file.yaml";
    std::unique_ptr<Session> session;
};

std::string idOn(json const &state, std::size_t stream) { return state["streams"][stream]["value"]["id"]; }

json optionOf(json const &state, std::string const &node, std::string const &name) {
    for (json const &one : state["nodes"])
        for (json const &option : one["options"])
            if (one["name"] == node && option["name"] == name) return option;
    return nullptr;
}

TEST(Session, ChangesUndoesAndRedoes) {
    Opened const opened;
    Session &session = *opened.session;
    json const first = opened.after(1);
    EXPECT_EQ(first["ticks"], 5);
    EXPECT_EQ(optionOf(first, "mix", "seed")["text"], "3");
    EXPECT_EQ(optionOf(first, "mix", "seed")["line"], 14);

    json const changed = opened.after(session.change("mix", "seed", "44"));
    EXPECT_NE(idOn(changed, 1), idOn(first, 1));
    EXPECT_EQ(idOn(changed, 0), idOn(first, 0));
    EXPECT_TRUE(changed["unsaved"] && changed["canUndo"] && !changed["canRedo"]);
    zun::test::expectParts(changed["text"], {"seed: 44   # any"});
    zun::test::expectParts(session.diff(), {"-      seed: 3", "+      seed: 44"});
    EXPECT_EQ(zun::test::readBytes(opened.file), description);
    opened.after(session.change("mix", "seed", "45")); // as a slider does: one step with the change before

    json const undone = opened.after(session.undo());
    EXPECT_EQ(idOn(undone, 1), idOn(first, 1));
    EXPECT_TRUE(undone["text"] == description && undone["canRedo"] && !undone["canUndo"]);
    EXPECT_EQ(optionOf(opened.after(session.redo()), "mix", "seed")["text"], "45");
    EXPECT_TRUE(optionOf(opened.after(session.reset("mix", "seed")), "mix", "seed")["isDefault"]);
    EXPECT_EQ(opened.after(session.show(4))["tick"], 4);
    EXPECT_EQ(opened.after(session.discard())["text"], description);
    EXPECT_EQ(opened.after(session.bookmark(2, true))["bookmarks"], json::parse(R"([{"tick": 2}])"));
}

TEST(Session, RefusesWhatMakesNoSense) {
    engine::Overrides overrides;
    overrides.settings = {"mix.work=1"};
    overrides.variables = {{"scale", "7"}};
    Opened const opened(description, overrides);
    Session &session = *opened.session;
    json const first = opened.after(1);
    EXPECT_NE(optionOf(first, "mix", "work")["locked"], "");
    EXPECT_NE(optionOf(first, "source", "scale")["locked"], "");
    struct Case {
        std::function<void()> request;
        std::vector<std::string> parts;
    };
    for (Case const &one :
         {Case{[&] { session.change("mux", "seed", "1"); }, {"did you mean 'mix'"}},
          Case{[&] { session.change("mix", "sed", "1"); }, {"did you mean 'seed'"}},
          Case{[&] { session.change("mix", "seed", "many"); }, {"takes int", "'many'"}},
          Case{[&] { session.change("mix", "seed", "[1"); }, {"seed"}},
          Case{[&] { session.change("mix", "work", "0"); }, {"--set mix.work=1"}},
          Case{[&] { session.change("source", "scale", "1"); }, {"-D scale"}},
          Case{[&] { session.undo(); }, {"nothing to undo"}}, Case{[&] { session.show(endless); }, {"no tick"}},
          Case{[&] { session.value("1-2-3"); }, {"no longer kept"}},
          Case{[&] { session.layout(Direction::LeftToRight, "x"); }, {"another structure"}}})
        zun::test::expectParts(zun::test::messageOf(one.request), one.parts);
    EXPECT_EQ(opened.after(1)["text"], description);
}

TEST(Session, FollowsTheFileAndKeepsTheLastGoodGraph) {
    Opened const opened;
    json const first = opened.after(1);
    zun::test::writeBytes(opened.file, description + "  - {type: TestMax}\n");
    json const broken = opened.waitFor([](json const &state) { return state["broken"] == true && !state["busy"]; });
    EXPECT_EQ(broken["nodes"], opened.after(1)["nodes"]);
    EXPECT_EQ(idOn(broken, 1), idOn(first, 1));
    EXPECT_EQ(broken["findings"][0]["line"], 16);
    zun::test::writeBytes(opened.folder / "new", description + "# more\n");
    std::filesystem::rename(opened.folder / "new", opened.file);
    EXPECT_FALSE(opened.waitFor([](json const &state) { return state["broken"] == false; })["unsaved"]);

    Opened const hopeless("nodes: [{type: TestMax}]\n");
    json const empty = hopeless.after(1);
    EXPECT_TRUE(empty["broken"] == true && empty["nodes"].empty() && !empty["findings"].empty());
}

TEST(Session, SavesUnlessTheFileChangedOutside) {
    Opened const opened;
    Session &session = *opened.session;
    std::filesystem::permissions(opened.file, std::filesystem::perms(0640));
    session.change("mix", "seed", "44");
    json const saved = opened.after(session.save(false));
    EXPECT_FALSE(saved["unsaved"]);
    EXPECT_EQ(zun::test::readBytes(opened.file), saved["text"]);
    EXPECT_EQ(std::filesystem::status(opened.file).permissions(), std::filesystem::perms(0640));

    session.change("mix", "seed", "55");
    zun::test::writeBytes(opened.file, description + "# theirs\n");
    EXPECT_TRUE(opened.waitFor([](json const &state) { return state["changedOutside"] == true; })["unsaved"]);
    EXPECT_THROW(session.save(false), Refusal);
    zun::test::expectParts(zun::test::readBytes(opened.file), {"# theirs"});
    EXPECT_FALSE(opened.after(session.save(true))["changedOutside"]);
    zun::test::expectParts(zun::test::readBytes(opened.file), {"seed: 55"});
}

TEST(Session, RunsTheWholeDescription) {
    Opened const opened;
    Session &session = *opened.session;
    session.run();
    auto const is = [](char const *word) { return [=](json const &state) { return state["run"]["state"] == word; }; };
    json const run = opened.waitFor(is("done"))["run"];
    EXPECT_TRUE(run["done"] == 5 && run["total"] == 5 && run["nodes"].size() == 3) << run;
    session.change("source", "length", "100000000");
    session.run();
    opened.waitFor(is("running"));
    EXPECT_THROW(session.run(), Refusal);
    session.stop();
    opened.waitFor(is("stopped"));
    session.change("mix", "failAt", "2");
    session.run();
    zun::test::expectParts(opened.waitFor(is("failed"))["run"]["message"], {"'mix'", "tick 2"});
}

} // namespace
} // namespace zun::studio::test
