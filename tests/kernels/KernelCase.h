// All kernels that have a fast form, each with a few settings. The tests hold the fast forms of every target against
// the plain ones with this table, and the benchmark times them with it.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// What the input's bytes stand for, and so how they are chosen.
enum class Content { bytes, binary, floats };

/// A kernel under one setting: a function of a frame's size, the input's bytes and what the output's were before.
struct KernelCase {
    enum class Form { plain, fast };

    std::string name; ///< the kernel's, then what is special about the setting
    Content content;
    std::function<std::size_t(FrameSize)> inputBytes, outputBytes;
    std::function<void(Form, unsigned char const *in, unsigned char *out, FrameSize)> run;
    /// The sizes that the kernel is defined for.
    std::function<bool(FrameSize)> takes = [](FrameSize) { return true; };
    std::size_t alignment = content == Content::floats ? alignof(float) : 1; ///< of the input and the output
};

inline void PrintTo(KernelCase const &one, std::ostream *out) { *out << one.name; }

/// Bytes of a frame of `N`-byte pixels.
template <std::size_t N>
std::size_t frameBytes(FrameSize size) {
    return N * size.rows * size.columns;
}

/// The form of a kernel that is asked for.
template <class Function>
Function *formOf(KernelCase::Form form, Function *plain, Function *fast) {
    return form == KernelCase::Form::plain ? plain : fast;
}

// The table's parts.
std::vector<KernelCase> binaryCases();
std::vector<KernelCase> colourCases();
std::vector<KernelCase> filteringCases();
std::vector<KernelCase> geometryCases();
std::vector<KernelCase> maskCases();

inline std::vector<KernelCase> kernelCases() {
    std::vector<KernelCase> all;
    for (auto const part : {binaryCases, colourCases, filteringCases, geometryCases, maskCases})
        for (KernelCase &one : part()) all.push_back(std::move(one));
    return all;
}

} // namespace zun::kernels
