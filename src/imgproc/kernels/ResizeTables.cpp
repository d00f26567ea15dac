#include "imgproc/kernels/ResizeTables.h"

#include <algorithm>
#include <numeric>

#include "containers/Arithmetic.h"

namespace zun::kernels {
namespace {

/// A fraction in lowest terms.
struct Step {
    std::uint64_t num, den;

    Step(std::uint32_t from, std::uint32_t to) : num(from), den(to) {
        std::uint64_t const common = std::gcd(num, den);
        num /= common;
        den /= common;
    }
    float toFloat() const { return static_cast<float>(num) / static_cast<float>(den); }
};

Neighbours neighbours(std::uint32_t at, float position, std::uint32_t from) {
    std::uint32_t const first = std::min(at, from - 1), second = std::min(at + 1, from - 1);
    return {first, second, static_cast<float>(second) - position, position - static_cast<float>(first)};
}

} // namespace

std::vector<std::uint32_t> nearestSources(std::uint32_t from, std::uint32_t to) {
    std::vector<std::uint32_t> sources(to);
    for (std::uint32_t i = 0; i < to; i++) sources[i] = i * from / to;
    return sources;
}

std::vector<Neighbours> columnNeighbours(std::uint32_t from, std::uint32_t to) {
    Step const step(from, to);
    float const stepFloat = step.toFloat();
    std::vector<Neighbours> columns(to);
    for (std::uint32_t j = 0; j < to; j++)
        columns[j] =
            neighbours(static_cast<std::uint32_t>(j * step.num / step.den), static_cast<float>(j) * stepFloat, from);
    return columns;
}

std::vector<Neighbours> rowNeighbours(std::uint32_t from, std::uint32_t to) {
    float const step = Step(from, to).toFloat();
    std::vector<Neighbours> rows(to);
    for (std::uint32_t i = 0; i < to; i++) {
        float const position = static_cast<float>(i) * step;
        rows[i] = neighbours(static_cast<std::uint32_t>(position), position, from);
    }
    return rows;
}

std::vector<Span> spans(std::uint32_t from, std::uint32_t to) {
    std::vector<Span> result(to);
    for (std::uint64_t i = 0; i < to; i++) {
        std::uint64_t const begin = i * from, end = begin + from; // in units of 1 / to
        std::uint64_t const first = begin / to, whole = (begin + to - 1) / to, last = end / to;
        result[i] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(whole),
                     static_cast<std::uint32_t>(last), static_cast<float>(whole * to - begin) / static_cast<float>(to),
                     static_cast<float>(end - last * to) / static_cast<float>(to)};
    }
    return result;
}

float meanDivisor(FrameSize from, FrameSize to) {
    auto const product = [](FrameSize size) {
        return static_cast<float>(wrappingMultiply(static_cast<int>(size.rows), static_cast<int>(size.columns)));
    };
    return product(from) / product(to);
}

} // namespace zun::kernels
