// Every kernel gives the same bits in its plain form and on every target, for all sizes and contents that are awkward
// for vectors, and writes nothing beside its output.

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "KernelCase.h"
#include "imgproc/kernels/Targets.h"

namespace zun::kernels {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t guardBytes = 0;  // it sees every byte beside an array, those that are read as well
constexpr std::uint32_t widthStep = 7; // and takes its time
#else
constexpr std::size_t guardBytes = 64;
constexpr std::uint32_t widthStep = 1;
#endif

/// An array that begins on no particular boundary, between guard bytes.
class Guarded {
public:
    Guarded(std::size_t length, std::size_t offset)
        : size(length), before(guardBytes + offset), all(new unsigned char[before + length + guardBytes]) {
        std::memset(all.get(), guard, before + length + guardBytes);
    }

    unsigned char *first() const { return all.get() + before; }

    bool guardsAreWhole() const {
        auto const isGuard = [](unsigned char byte) { return byte == guard; };
        return std::all_of(all.get(), all.get() + before, isGuard) &&
               std::all_of(first() + size, first() + size + guardBytes, isGuard);
    }

    std::size_t const size;

private:
    static constexpr unsigned char guard = 0xA5;
    std::size_t before;
    std::unique_ptr<unsigned char[]> all;
};

/// One of several ways to fill frames of one kind of content.
struct Fill {
    Content content;
    unsigned variant;

    void operator()(unsigned char *bytes, std::size_t count) const {
        std::mt19937 random(variant);
        if (content == Content::floats) {
            for (std::size_t i = 0; i + sizeof(float) <= count; i += sizeof(float)) {
                float const value = number(random);
                std::memcpy(bytes + i, &value, sizeof value);
            }
            return;
        }
        for (std::size_t i = 0; i < count; i++) {
            auto const any = static_cast<unsigned>(random());
            unsigned const ways[] = {any, any % 2 * 255, 255, unsigned(i), 120 + any % 9};
            unsigned const binary[] = {any % 2, any % 16 != 0, 1, unsigned(i / 37 % 2), any % 8 != 0 ? 1 : any >> 8};
            bytes[i] = static_cast<unsigned char>((content == Content::binary ? binary : ways)[variant]);
        }
    }

private:
    float number(std::mt19937 &random) const {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        static constexpr float odd[] = {
            0.0f,  -0.0f,  1.0f,          255.0f,        256.0f,
            -1.0f, 1e-42f, 2147483520.0f, 2147483648.0f, -2147483648.0f,
            1e30f, -1e30f, infinity,      -infinity,     std::numeric_limits<float>::quiet_NaN()};
        auto const any = static_cast<unsigned>(random());
        float const unit = static_cast<float>(any >> 8) / 16777216.0f;
        float const ways[] = {unit, unit - 0.5f, odd[any % std::size(odd)], unit * 1200 - 600, 0.25f};
        return ways[variant];
    }
};
constexpr unsigned fillVariants = 5;

/// Widths past three of the widest vectors, and some frames of many rows.
std::vector<FrameSize> sizes() {
    std::vector<FrameSize> all;
    for (std::uint32_t columns = 0; columns <= 200; columns += widthStep) all.push_back({columns % 3 + 1, columns});
    for (std::uint32_t rows : {0, 2, 7, 15, 16, 17, 33, 63, 64, 65, 67, 130})
        for (std::uint32_t columns : {1, 5, 31, 64, 67, 201}) all.push_back({rows, columns});
    return all;
}

class Kernels : public testing::TestWithParam<KernelCase> {
protected:
    ~Kernels() override { useBestTarget(); }

    /// Runs the case over `before`, what the output holds at first.
    static Guarded run(KernelCase const &given, KernelCase::Form form, FrameSize size, Guarded const &in,
                       Fill const &before, std::size_t offset) {
        Guarded out(given.outputBytes(size), offset);
        before(out.first(), out.size);
        given.run(form, in.first(), out.first(), size);
        return out;
    }
};

TEST_P(Kernels, GiveTheSameBitsOnEveryTarget) {
    KernelCase const &given = GetParam();
    std::size_t runs = 0;
    for (FrameSize const size : sizes()) {
        if (!given.takes(size)) continue;
        for (unsigned variant = 0; variant < fillVariants; variant++) {
            std::size_t const offset = runs % 7 * given.alignment;
            Fill const fill{given.content, variant}, before{Content::bytes, 0};
            Guarded const in(given.inputBytes(size), offset);
            fill(in.first(), in.size);
            Guarded const expected = run(given, KernelCase::Form::plain, size, in, before, 0);
            for (std::string const &target : targets()) {
                useTarget(target);
                Guarded const out = run(given, KernelCase::Form::fast, size, in, before, offset);
                auto const [one, other] =
                    std::mismatch(out.first(), out.first() + out.size, expected.first(), expected.first() + out.size);
                ASSERT_TRUE(one == out.first() + out.size)
                    << target << ", " << size.rows << " rows of " << size.columns << ", fill " << variant << ": byte "
                    << one - out.first() << " is " << int(*one) << ", not " << int(*other);
                ASSERT_TRUE(out.guardsAreWhole()) << target << ", " << size.rows << " x " << size.columns;
                runs++;
            }
        }
    }
    EXPECT_GT(runs, 100u);
}

INSTANTIATE_TEST_SUITE_P(All, Kernels, testing::ValuesIn(kernelCases()), [](auto const &given) {
    std::string name;
    for (char const c : given.param.name) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
});

TEST(Targets, AreDifferentAndThePlainOneIsTheLast) {
    std::vector<std::string> const all = targets();
    EXPECT_EQ(all.back(), plainTarget);
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
}

} // namespace
} // namespace zun::kernels
