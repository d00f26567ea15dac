// Values of streams as Python objects, and back.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "containers/Variant.h"
#include "pipeline/types/ValueType.h"

namespace zun::python {

/// An input port that an object is meant for.
struct Port {
    std::string name;
    std::string type;                 ///< type expression, as the specification has it
    ValueType const *value = nullptr; ///< null for any
    bool drawnInto = false;           ///< the node writes into the frame, and so into the caller's array
};

/// The memory of the arrays in a call that Python may not write to: frames that come out of the call may share it.
class ReadOnlyMemory {
public:
    void add(void const *begin, std::size_t bytes) {
        auto const *const first = static_cast<unsigned char const *>(begin);
        ranges.emplace_back(first, first + bytes);
    }
    bool holds(void const *address) const {
        for (auto const &[begin, end] : ranges)
            if (address >= begin && address < end) return true;
        return false;
    }

private:
    std::vector<std::pair<unsigned char const *, unsigned char const *>> ranges;
};

/// The value of an object, of exactly the port's type. Frames share the memory of a C-contiguous array and keep the
/// array alive; other arrays are copied. Throws pybind11::type_error, naming port, type and what came. Holds the GIL.
std::shared_ptr<Variant> toValue(pybind11::handle object, Port const &port, ReadOnlyMemory &readOnly);

/// A value as an object. Arrays share the storage of the value's frames and keep it alive.
pybind11::object toObject(Variant const &value, ReadOnlyMemory const &readOnly);

/// "a float64 array of shape (3, 4)", "an int", ...: what came, for messages.
std::string describe(pybind11::handle object);

} // namespace zun::python
