#include "KernelCase.h"
#include "imgproc/kernels/Equalise.h"
#include "imgproc/kernels/SlidingEqualise.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

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

/// Windows that leave no pixel uncovered. The plain form takes minutes for large windows on large frames.
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
                       (bearable || size.columns < 1000);
            }};
}

} // namespace

std::vector<KernelCase> equaliseCases() {
    constexpr int longest = 2147483647;
    return {grey(),
            firstChannel(1),
            firstChannel(16),
            firstChannel(256),
            firstChannel(1000),
            firstChannel(5000),
            inWindows("64x64, step 1", {1, 64}, {1, 64}),
            inWindows("64x64, step 2", {2, 64}, {2, 64}),
            inWindows("64x64, step 3", {3, 64}, {3, 64}),
            inWindows("64x64, step 8", {8, 64}, {8, 64}),
            inWindows("5x5, step 2", {2, 5}, {2, 5}),
            inWindows("1x5, step 1", {1, 1}, {1, 5}),
            inWindows("64x5, steps 8 and 1", {8, 64}, {1, 5}),
            inWindows("5x64, steps 1 and 8", {1, 5}, {8, 64}),
            inWindows("66x6, steps 13 and 4", {13, 66}, {4, 6}),
            inWindows("whole frame, steps 1 and 3", {1, longest}, {3, longest - 1}),
            inWindows("whole frame at once", {longest, longest}, {longest, longest})};
}

} // namespace zun::kernels
