// A source of values: other stars at each tick, which follow from the seed and the tick alone.

#include <algorithm>
#include <random>
#include <vector>

#include "Star.h"
#include "node/Registration.h"

class ScatterStars : public zun::Node {
    using Stars = std::vector<stars::Star>;

    int columns = 0, count = 0, rows = 0, seed = 0;
    zun::OutputStream<Stars> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{
            .type = "ScatterStars", .sourcePath = "ScatterStars", .summary = "Gives stars at random places"};
        static constexpr auto inputs = zun::rows();
        static constexpr auto outputs =
            zun::rows(zun::output("stars", "zun::List<stars::Star>", &ScatterStars::output, "the stars of a tick"));
        static constexpr auto options = zun::rows(
            zun::requiredOption("columns", "int", &ScatterStars::columns, "of the frame that they shall lie in")
                .is(zun::OptionKind::Pixels)
                .atLeast(1),
            zun::option("count", "int", "100", &ScatterStars::count, "how many there are").atLeast(0),
            zun::requiredOption("rows", "int", &ScatterStars::rows, "of the frame that they shall lie in")
                .is(zun::OptionKind::Pixels)
                .atLeast(1),
            zun::option("seed", "int", "0", &ScatterStars::seed, "another gives other stars"));
    };

    /// How large a value is, for what `zun check` tells of the memory that a run takes.
    zun::Forecast forecast() const {
        zun::Forecast forecast;
        forecast.bytes["stars"] = sizeof(Stars) + static_cast<std::size_t>(std::max(count, 0)) * sizeof(stars::Star);
        return forecast;
    }

    void process(zun::Tick tick) override {
        require(columns > 0 && rows > 0 && count >= 0, "columns > 0 && rows > 0 && count >= 0",
                "ScatterStars: no space for ", count, " stars in ", rows, " rows and ", columns, " columns");
        std::seed_seq start{static_cast<std::uint64_t>(seed), static_cast<std::uint64_t>(tick)};
        std::mt19937 random(start);
        auto const below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        Stars stars(static_cast<std::size_t>(count));
        for (stars::Star &star : stars) star = {below(rows), below(columns), static_cast<unsigned char>(below(256))};
        writeStream(tick, output, stars);
    }
};

static zun::Registration<ScatterStars> const registration;
