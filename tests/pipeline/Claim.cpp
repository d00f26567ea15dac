// A plug-in that registers the type string "Claimed", and one of its own.

#include "node/Registration.h"

class Claimed : public zun::Node {
public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "Claimed", .sourcePath = "Claim", .summary = CLAIMED_BY};
        static constexpr auto inputs = zun::rows();
        static constexpr auto outputs = zun::rows();
        static constexpr auto options = zun::rows();
    };

    void process(zun::Tick) override {}
};

static zun::Registration<Claimed, Claimed> const registration{"Claimed", "Claimed by " CLAIMED_BY};
