// The wrapper in which values travel on streams and reach options.
#pragma once

#include <utility>

namespace zun {

/// Base of all stream and option values. Its destructor stands in a shared library, so that the type is one and the
/// same for every library in the process and casts work across them.
class Variant {
public:
    Variant() = default;
    Variant(Variant const &) = default;
    Variant &operator=(Variant const &) = default;
    virtual ~Variant();
};

/// A value of type `T`; make one with std::make_shared.
template <class T>
class VariantType : public Variant {
public:
    explicit VariantType(T held) : value(std::move(held)) {}

    T value;
};

} // namespace zun
