#include "KernelCase.h"
#include "imgproc/kernels/BoxBlur.h"
#include "imgproc/kernels/Equalise.h"
#include "imgproc/kernels/SlidingEqualise.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

std::string by(int width, int height) { return std::to_string(width) + "x" + std::to_string(height); }

template <int channels>
KernelCase blur(BoxSize box) {
    return {"boxBlur " + std::string(channels == 1 ? "grey " : "RGB ") + by(box.width, box.height), Content::bytes,
            frameBytes<channels>, frameBytes<channels>,
            [box](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::boxBlur, boxBlur)(in, out, size, channels, box);
            }};
}

KernelCase grey() {
    return {"equaliseGrey",
            Content::bytes,
            frameBytes<1>,
            frameBytes<1>,
            [](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::equaliseGrey, equaliseGrey)(in, out, frameBytes<1>(size));
            },
            [](FrameSize size) { return frameBytes<1>(size) > 0; }};
}

KernelCase firstChannel(int bins) {
    return {"equaliseFirstChannel " + std::to_string(bins) + " bins", Content::floats, frameBytes<sizeof(Vec3f)>,
            frameBytes<sizeof(Vec3f)>, [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::equaliseFirstChannel, equaliseFirstChannel)(
                    reinterpret_cast<Vec3f const *>(in), reinterpret_cast<Vec3f *>(out), frameBytes<1>(size), bins);
            }};
}

/// Windows that leave no pixel uncovered. The plain form takes too long for large windows on wide frames.
KernelCase inWindows(std::string special, WindowSeries alongRows, WindowSeries alongColumns) {
    auto const covered = [](WindowSeries series, std::uint32_t extent) {
        return series.step <= series.length || static_cast<std::int64_t>(extent) <= series.length;
    };
    bool const bearable = alongRows.length <= 66 || alongRows.step > 1;
    return {"equaliseInWindows " + special,
            Content::bytes,
            frameBytes<1>,
            frameBytes<1>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::equaliseInWindows, equaliseInWindows)(in, out, size, alongRows, alongColumns);
            },
            [=](FrameSize size) {
                return covered(alongRows, size.columns) && covered(alongColumns, size.rows) &&
                       (bearable || size.columns <= 100);
            }};
}

} // namespace

std::vector<KernelCase> filteringCases() {
    constexpr int longest = 2147483647;
    std::vector<KernelCase> all{grey(), inWindows("whole frame, steps 1 and 3", {1, longest}, {3, longest - 1}),
                                inWindows("whole frame at once", {longest, longest}, {longest, longest})};
    for (BoxSize const box :
         {BoxSize{1, 1}, {2, 2}, {3, 3}, {9, 9}, {31, 31}, {16, 5}, {7, 130}, {300, 400}, {0, 3}, {4, 0}, {0, 0}}) {
        all.push_back(blur<1>(box));
        all.push_back(blur<3>(box));
    }
    for (int const bins : {1, 16, 256, 1000, 5000}) all.push_back(firstChannel(bins));
    WindowSeries const windows[][2] = {{{1, 64}, {1, 64}}, {{2, 64}, {2, 64}}, {{3, 64}, {3, 64}},
                                       {{8, 64}, {8, 64}}, {{2, 5}, {2, 5}},   {{1, 1}, {1, 5}},
                                       {{8, 64}, {1, 5}},  {{1, 5}, {8, 64}},  {{13, 66}, {4, 6}}};
    for (auto const &[alongRows, alongColumns] : windows)
        all.push_back(
            inWindows(by(alongRows.length, alongColumns.length) + ", steps " + by(alongRows.step, alongColumns.step),
                      alongRows, alongColumns));
    return all;
}

} // namespace zun::kernels
