#include "studio/Server.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "support/Failures.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::studio::test {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

std::string const description = R"(nodes:
  - {type: TestSource, name: source, outputs: {out: s}, options: {length: 5}}
  - {type: TestFrame, name: make, inputs: {in: s}, outputs: {out: f}}
)";

Page const page{{"index.html", {"<script type=\"module\">1</script>", "text/html"}},
                {"main.js", {"export {}", "text/javascript"}}};

struct Served {
    Served() {
        engine::test::registerTestNodes();
        folder.write("file.yaml", description);
        session = std::make_unique<Session>(Session::Settings{folder / "file.yaml", {}, 1 << 20});
        server = std::make_unique<Server>(*session, page, Server::Settings{});
        std::string const &address = server->address();
        std::size_t const slash = address.find('/', 8);
        origin = address.substr(0, slash);
        base = address.substr(slash);
    }

    httplib::Client client() const { return httplib::Client(origin); }
    json state() const { return json::parse(client().Get(base + "state")->body); }
    httplib::Result post(std::string const &name, std::string const &body,
                         std::string const &type = "application/json") const {
        return client().Post(base + name, body, type);
    }

    zun::test::TemporaryFolder folder;
    std::unique_ptr<Session> session;
    std::unique_ptr<Server> server;
    std::string origin, base;
};

TEST(Server, AnswersOnlyItsOwnPage) {
    Served const served;
    std::string const port = served.origin.substr(served.origin.rfind(':'));
    std::string const &base = served.base;
    struct Case {
        std::string path;
        httplib::Headers headers;
        int status;
    };
    for (Case const &one : {Case{base + "state", {}, 200},
                            Case{base + "state", {{"Host", "localhost" + port}}, 200},
                            Case{base + "state", {{"Origin", served.origin}}, 200},
                            Case{base + "state", {{"Origin", "http://evil.example"}}, 403},
                            Case{base + "state", {{"Origin", "null"}}, 403},
                            Case{base + "state", {{"Host", "evil.example" + port}}, 403},
                            Case{base + "state", {{"Host", "127.0.0.1:1"}}, 403},
                            Case{base.substr(0, base.size() - 2) + "/state", {}, 403},
                            Case{base.substr(0, base.size() - 1) + "0/state", {}, 403},
                            Case{"/state", {}, 403},
                            Case{"/", {}, 403},
                            Case{base, {}, 200},
                            Case{base + "main.js", {}, 200},
                            Case{base + "nothing.js", {}, 404},
                            Case{base + "../file.yaml", {}, 404},
                            Case{base + "%2e%2e%2ffile.yaml", {}, 404},
                            Case{base + "main.js/", {}, 404},
                            Case{base + "/etc/passwd", {}, 404},
                            Case{base + "layout?direction=up&structure=1", {}, 400},
                            Case{base + "layout?direction=LR&structure=1", {}, 410},
                            Case{base + "pixels?id=1-1-1&item=0", {}, 410}}) {
        auto const result = served.client().Get(one.path, one.headers);
        ASSERT_TRUE(result) << one.path;
        EXPECT_EQ(result->status, one.status)
            << one.path << " " << (one.headers.empty() ? "" : one.headers.begin()->second);
    }
    httplib::Result const index = served.client().Get(base);
    std::string const policy = index->get_header_value("Content-Security-Policy");
    std::string const nonce = policy.substr(policy.find("nonce-") + 6, 32);
    EXPECT_EQ(index->body, "<script nonce=\"" + nonce + "\" type=\"module\">1</script>");
    EXPECT_EQ(index->get_header_value("X-Content-Type-Options"), "nosniff");
    EXPECT_NE(served.client().Get(base)->body, index->body);
}

TEST(Server, TakesRequestsAndRefusesBadOnes) {
    Served const served;
    struct Case {
        char const *name, *body;
        int status;
        char const *type = "application/json";
    };
    for (Case const &one : {Case{"change", R"({"node": "source", "option": "scale", "text": "3"})", 200},
                            Case{"change", R"({"node": "source", "option": "scale", "text": "3"})", 415, "text/plain"},
                            Case{"change", R"({"node": "source", "option": "scale", "text": "x"})", 400},
                            Case{"change", R"({"node": "source"})", 400}, Case{"change", "[]", 400},
                            Case{"change", "{", 400}, Case{"tick", R"({"tick": -1})", 400},
                            Case{"tick", R"({"tick": 1e3})", 400}, Case{"tick", R"({"tick": 2})", 200},
                            Case{"redo", "{}", 409}, Case{"state", "{}", 404}, Case{"fly", "{}", 404}}) {
        auto const result = served.post(one.name, one.body, one.type);
        EXPECT_EQ(result->status, one.status) << one.name << one.body;
        EXPECT_TRUE(json::parse(result->body).contains(one.status == 200 ? "generation" : "error"));
    }
    EXPECT_EQ(served.post("change", std::string(2 << 20, ' '))->status, 413);
    EXPECT_EQ(served.client().Delete(served.base + "state")->status, 404);
}

TEST(Server, GivesPixelsAsTheyAre) {
    Served const served;
    served.post("tick", R"({"tick": 3})");
    json state;
    for (int i = 0; i < 100 && (state.empty() || state["busy"] == true || state["tick"] != 3); i++) {
        std::this_thread::sleep_for(20ms);
        state = served.state();
    }
    std::string const end = "?id=" + state["streams"][1]["value"]["id"].get<std::string>() + "&item=0";
    EXPECT_EQ(served.client().Get(served.base + "pixels" + end)->body, std::string(64, '\3'));
    EXPECT_EQ(served.client().Get(served.base + "pixel" + end + "&x=7&y=7")->body, R"({"value":[3.0]})");
    EXPECT_EQ(served.client().Get(served.base + "pixel" + end + "&x=8&y=7")->status, 404);
    EXPECT_EQ(served.client().Get(served.base + "thumb" + end)->body.substr(1, 3), "PNG");
    std::string const record = "data?id=" + state["streams"][0]["value"]["id"].get<std::string>();
    EXPECT_EQ(json::parse(served.client().Get(served.base + record)->body)["value"], 3);
}

TEST(Server, TellsAllPagesAndIsNotHeldUpByAny) {
    Served const served;
    std::atomic<int> told = 0, refused = 0;
    std::vector<std::thread> pages;
    for (int i = 0; i < 18; i++)
        pages.emplace_back([&] {
            std::string text;
            httplib::Client client = served.client();
            auto const result = client.Get(served.base + "events", [&](char const *data, std::size_t size) {
                text.append(data, size);
                if (text.find("scale: 9") == std::string::npos) return true;
                told++;
                return false; // the page goes away
            });
            if (result && result->status == 503) refused++;
        });
    for (int i = 0; i < 200 && refused < 2; i++) std::this_thread::sleep_for(20ms);
    EXPECT_EQ(served.post("change", R"({"node": "source", "option": "scale", "text": "9"})")->status, 200);
    for (std::thread &one : pages) one.join();
    EXPECT_EQ(told, 16);
    EXPECT_EQ(refused, 2);
}

TEST(Server, SaysThatAPortIsTaken) {
    Served const served;
    int const port = std::stoi(served.origin.substr(served.origin.rfind(':') + 1));
    zun::test::expectParts(zun::test::messageOf([&] {
                               Server(*served.session, page, {"127.0.0.1", port});
                           }),
                           {"port " + std::to_string(port), "--port 0"});
}

} // namespace
} // namespace zun::studio::test
