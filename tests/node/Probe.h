// A node with an option of each type, a required and an optional input, and two outputs. NodeTest knows the lines of
// the rows `image` and `size`.
#pragma once

#include "containers/Mat.h"
#include "node/Registration.h"
#include "support/OneNode.h"

class Probe : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    std::string text;
    int number = 0;
    bool flag = false;
    float factor = 0;
    zun::Vec2i size{};
    zun::InputStream<Frame> image;
    zun::InputStream<int> extra;
    zun::OutputStream<std::string> options;
    zun::OutputStream<zun::Variant> copy;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{
            .type = "Probe", .sourcePath = "node/Probe", .classCode = 1, .parallelCode = 0};
        static constexpr auto inputs = zun::rows(zun::input("image", "zun::Mat<unsigned char, 2>", &Probe::image, ""),
                                                 zun::optionalInput("extra", "int", &Probe::extra, ""));
        static constexpr auto outputs = zun::rows(zun::output("options", "std::string", &Probe::options, ""),
                                                  zun::output("copy", "any", &Probe::copy, "extra, or else image"));
        static constexpr auto options = zun::rows(zun::option("text", "std::string", "0xFF00FF", &Probe::text, ""),
                                                  zun::option("number", "int", "-10", &Probe::number, ""),
                                                  zun::option("flag", "bool", "true", &Probe::flag, ""),
                                                  zun::option("factor", "float", "0.25", &Probe::factor, ""),
                                                  zun::requiredOption("size", "zun::Vec2i", &Probe::size, ""));
    };

    void process(zun::Tick tick) override {
        require(number != 13, "number != 13", "number ", number, " brings bad luck");
        std::stringstream all;
        all << text << ' ' << number << ' ' << flag << ' ' << factor << ' ' << size[0] << ',' << size[1];
        writeStream(tick, options, all.str());
        if (extra.connected())
            writeStream(tick, copy, readStream(tick, extra));
        else
            writeStream(tick, copy, readStream(tick, image));
    }
};

inline zun::OptionNode pair(int a, int b) {
    return zun::OptionNode::ofVector({zun::OptionNode::ofInt(a), zun::OptionNode::ofInt(b)});
}
