// Working storage of a kernel, for the length of one call.
#pragma once

#include <cstdint>
#include <memory>

#include "vexa_core/MatAlloc.h"

namespace zun::kernels {

/// `count` elements, undefined at first, that begin on a boundary of 64 bytes. They come from the pool that frames come
/// from, so that a kernel called again and again doesn't touch fresh pages each time.
template <class T>
class Scratch {
public:
    explicit Scratch(std::uint64_t count) : elements(MatAlloc::getGlobalMatAlloc()->getElements<T>(count)) {}

    T *data() const { return elements.get(); }
    T &operator[](std::uint64_t i) const { return elements.get()[i]; }

private:
    std::shared_ptr<T> elements;
};

} // namespace zun::kernels
