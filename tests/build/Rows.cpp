// A node class whose rows are true, unless LIES is defined: then each of them lies.
#include "node/Registration.h"

#ifdef LIES
#define TRUTH_OR_LIE(truth, lie) lie
#else
#define TRUTH_OR_LIE(truth, lie) truth
#endif

template <class T>
class Rows : public zun::Node {
    int amount = 0;
    zun::InputStream<zun::Mat<T, 2>> frames;
    zun::OutputStream<float> mean;

public:
    using Node::Node;

    static constexpr zun::TemplateParameter<T> templateParameter{"T", {{{"Vec3b", "zun::Vec3b"}, {"int", "int"}}}};

    struct Table {
        static constexpr zun::NodeRow node{.type = "Rows", .sourcePath = "Rows"};
        static constexpr auto inputs = zun::rows(
            zun::input("frames", TRUTH_OR_LIE("zun::Mat<T, 2>", "zun::Mat<zun::Vec3f, 2>"), &Rows::frames, ""));
        static constexpr auto outputs = zun::rows(
            zun::output("mean", TRUTH_OR_LIE("float", "int"), &Rows::mean, "")
                .TRUTH_OR_LIE(shapedLike("frames").typeFrom("amount"), shapedLike("picture").typeFrom("kind")));
        static constexpr auto options =
            zun::rows(zun::option("amount", TRUTH_OR_LIE("int", "float"), "4", &Rows::amount, ""));
    };

    void process(zun::Tick) override {}
};

static zun::Registration<Rows<zun::Vec3b>> const registration{"Rows<Vec3b>"};
