#include "python/Values.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <tuple>
#include <type_traits>

#include <pybind11/numpy.h>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "pipeline/TypeMismatch.h"
#include "pipeline/types/ValueType.h"
#include "python/Strings.h"

namespace py = pybind11;

namespace zun::python {
namespace {

/// Where an object stands: a port, or an element of a list at a port.
struct Site {
    Port const &port;
    std::string element; ///< "", or " element 3" and so on
    ReadOnlyMemory &readOnly;

    Site at(std::size_t index) const { return {port, element + " element " + std::to_string(index), readOnly}; }
};

[[noreturn]] void refuse(Site const &site, std::string const &wanted, py::handle came) {
    std::string const where = site.element.empty() ? "" : "as" + site.element + " ";
    throw py::type_error("input '" + site.port.name + "' of type " + site.port.type + " takes " + where + wanted +
                         ", not " + describe(came));
}

bool isList(py::handle object) { return PyList_Check(object.ptr()) != 0 || PyTuple_Check(object.ptr()) != 0; }

/// The elements of a list or tuple. Conversions may run Python code that changes a list, so they walk a tuple of it.
py::tuple elementsOf(py::handle list) { return py::reinterpret_steal<py::tuple>(PySequence_Tuple(list.ptr())); }

// One specialisation for each kind of type: what it takes, in words, and the conversions both ways.
template <class T>
struct Form;

template <class T>
T numberOf(py::handle object, Site const &site, std::string const &wanted) {
    if constexpr (std::is_floating_point_v<T>) {
        double const value = PyFloat_AsDouble(object.ptr());
        if (!PyErr_Occurred() && PyUnicode_Check(object.ptr()) == 0) return static_cast<T>(value);
    } else if (PyIndex_Check(object.ptr()) != 0) {
        int overflow = 0;
        py::object const index = py::reinterpret_steal<py::object>(PyNumber_Index(object.ptr()));
        long long const value = index ? PyLong_AsLongLongAndOverflow(index.ptr(), &overflow) : -1;
        bool const fits = overflow == 0 && value >= std::numeric_limits<T>::min() &&
                          value <= static_cast<long long>(std::numeric_limits<T>::max());
        if (!PyErr_Occurred() && fits) return static_cast<T>(value);
    }
    PyErr_Clear();
    refuse(site, wanted, object);
}

template <>
struct Form<int> {
    static std::string words() { return "an int of 32 bits"; }
    static int from(py::handle object, Site const &site) { return numberOf<int>(object, site, words()); }
    static py::object to(int value, ReadOnlyMemory const &) { return py::int_(value); }
};

template <>
struct Form<float> {
    static std::string words() { return "a number"; }
    static float from(py::handle object, Site const &site) { return numberOf<float>(object, site, words()); }
    static py::object to(float value, ReadOnlyMemory const &) { return py::float_(double(value)); }
};

template <>
struct Form<bool> {
    static std::string words() { return "a bool"; }
    static bool from(py::handle object, Site const &site) {
        if (PyBool_Check(object.ptr()) == 0) refuse(site, words(), object);
        return object.is(py::bool_(true));
    }
    static py::object to(bool value, ReadOnlyMemory const &) { return py::bool_(value); }
};

template <>
struct Form<std::string> {
    static std::string words() { return "a str or bytes"; }
    static std::string from(py::handle object, Site const &site) {
        std::optional<std::string> text = bytesOf(object);
        if (!text) refuse(site, words(), object);
        return *std::move(text);
    }
    static py::object to(std::string const &value, ReadOnlyMemory const &) { return textOf(value); }
};

/// Fixed numbers of numbers as tuples.
template <class T, std::size_t N>
std::array<T, N> tupleOf(py::handle object, Site const &site, std::string const &wanted) {
    if (!isList(object)) refuse(site, wanted, object);
    py::tuple const elements = elementsOf(object);
    if (elements.size() != N) refuse(site, wanted, object);
    std::array<T, N> values{};
    for (std::size_t i = 0; i < N; i++) values[i] = numberOf<T>(elements[i], site, wanted);
    return values;
}

template <class T>
std::string numbers() {
    return std::is_floating_point_v<T> ? "numbers" : "ints of " + std::to_string(8 * sizeof(T)) + " bits";
}

template <class T, int N>
struct Form<Vec<T, N>> {
    static std::string words() { return "a tuple of " + std::to_string(N) + " " + numbers<T>(); }
    static Vec<T, N> from(py::handle object, Site const &site) {
        auto const values = tupleOf<T, std::size_t(N)>(object, site, words());
        Vec<T, N> result{};
        for (int i = 0; i < N; i++) result[i] = values[static_cast<std::size_t>(i)];
        return result;
    }
    static py::object to(Vec<T, N> const &value, ReadOnlyMemory const &) {
        py::tuple result(N);
        for (int i = 0; i < N; i++) result[static_cast<std::size_t>(i)] = value[i];
        return result;
    }
};

template <class T>
struct Form<Rect<T>> {
    static std::string words() { return "a tuple (x, y, width, height) of " + numbers<T>(); }
    static Rect<T> from(py::handle object, Site const &site) {
        auto const [x, y, width, height] = tupleOf<T, 4>(object, site, words());
        return {x, y, width, height};
    }
    static py::object to(Rect<T> const &value, ReadOnlyMemory const &) {
        return py::make_tuple(value.x, value.y, value.width, value.height);
    }
};

/// What stands in an array for one element of a frame: `channels` numbers, in an axis of their own where that is named.
template <class T>
struct Element {
    using Number = T;
    static constexpr int channels = 0; ///< no axis
};
template <class T, int N>
struct Element<Vec<T, N>> {
    using Number = T;
    static constexpr int channels = N;
};

/// NumPy's name of a type of numbers: "uint8", "float32".
template <class Number>
std::string numberName() {
    char const *const kind = std::is_floating_point_v<Number> ? "float" : std::is_signed_v<Number> ? "int" : "uint";
    return kind + std::to_string(8 * sizeof(Number));
}

/// Gives an array back from whichever thread drops the last frame on it.
std::shared_ptr<void> keepAlive(py::array array) {
    return std::shared_ptr<void>(array.release().ptr(), [](void *object) {
        if (_Py_IsFinalizing() != 0) return; // the interpreter takes its objects with it
        py::gil_scoped_acquire const gil;
        Py_DECREF(static_cast<PyObject *>(object));
    });
}

template <class T, int N>
struct Form<Mat<T, N>> {
    using Frame = Mat<T, N>;
    using Number = typename Element<T>::Number;
    static constexpr int channels = Element<T>::channels;
    static constexpr int axes = N + (channels > 0 ? 1 : 0);

    static std::string words() {
        std::string const extents = N == 1 ? "N" : "H, W";
        return "a " + numberName<Number>() + " array of shape (" + extents +
               (channels > 0 ? ", " + std::to_string(channels) : "") + ")";
    }

    static bool fits(py::handle object) {
        if (!py::isinstance<py::array_t<Number>>(object)) return false;
        auto const array = py::reinterpret_borrow<py::array>(object);
        if (array.ndim() != axes || (channels > 0 && array.shape(N) != channels)) return false;
        std::uint64_t count = 1;
        constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
        for (int axis = 0; axis < N; axis++) {
            auto const extent = static_cast<std::uint64_t>(array.shape(axis));
            if (extent > largest) return false;
            count *= extent;
            if (count > largest) return false;
        }
        return true;
    }

    static Frame from(py::handle object, Site const &site) {
        if (!fits(object)) refuse(site, words(), object);
        auto array = py::reinterpret_borrow<py::array>(object);
        constexpr int sharable = int(py::array::c_style) | int(py::detail::npy_api::NPY_ARRAY_ALIGNED_);
        bool const shared = (array.flags() & sharable) == sharable;
        if (site.port.drawnInto && !(shared && array.writeable()))
            refuse(site, "a C-contiguous, writeable array, because it is drawn into (pass array.copy())", array);
        if (!shared) array = py::array(array.attr("copy")()); // "C" is the order of copies

        Shape<N> shape{};
        for (int axis = 0; axis < N; axis++)
            shape[static_cast<std::size_t>(axis)] = static_cast<std::uint32_t>(array.shape(axis));
        if (elementCount<N>(shape) == 0) return Frame(shape);
        Frame frame = Frame::wrap(static_cast<T *>(const_cast<void *>(array.data())), shape);
        if (!array.writeable()) site.readOnly.add(array.data(), frame.bytes());
        frame.owner = keepAlive(std::move(array));
        return frame;
    }

    static py::object to(Frame const &frame, ReadOnlyMemory const &readOnly) {
        std::vector<py::ssize_t> shape(frame.shape.begin(), frame.shape.end());
        if (!Contents<Frame>::sound(frame)) shape = {py::ssize_t(frame.count)}; // no array has such a shape
        if (channels > 0) shape.push_back(channels);
        if (frame.count == 0) return py::array_t<Number>(shape);
        py::capsule const keeper(new Frame(frame), [](void *kept) { delete static_cast<Frame *>(kept); });
        auto const *const first = reinterpret_cast<Number const *>(frame.first());
        py::array_t<Number> array(shape, first, keeper);
        if (readOnly.holds(first))
            py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
        return array;
    }
};

template <>
struct Form<Mask> {
    using Bytes = Form<Mat<unsigned char, 2>>;

    static std::string words() { return "a tuple of a rectangle (x, y, width, height) of ints and " + Bytes::words(); }
    static Mask from(py::handle object, Site const &site) {
        if (!isList(object)) refuse(site, words(), object);
        py::tuple const pair = elementsOf(object);
        if (pair.size() != 2) refuse(site, words(), object);
        if (!Bytes::fits(pair[1])) refuse(site, words(), pair[1]);
        return {Form<Rect<int>>::from(pair[0], site), Bytes::from(pair[1], site)};
    }
    static py::object to(Mask const &mask, ReadOnlyMemory const &readOnly) {
        return py::make_tuple(Form<Rect<int>>::to(mask.rectangle, readOnly), Bytes::to(mask.mask, readOnly));
    }
};

template <class T>
struct Form<std::vector<T>> {
    static std::string words() { return "a list, each element " + Form<T>::words(); }
    static std::vector<T> from(py::handle object, Site const &site) {
        if (!isList(object)) refuse(site, words(), object);
        py::tuple const elements = elementsOf(object);
        std::vector<T> list;
        list.reserve(elements.size());
        for (std::size_t i = 0; i < elements.size(); i++) list.push_back(Form<T>::from(elements[i], site.at(i)));
        return list;
    }
    static py::object to(std::vector<T> const &list, ReadOnlyMemory const &readOnly) {
        py::list result(list.size());
        for (std::size_t i = 0; i < list.size(); i++) result[i] = Form<T>::to(list[i], readOnly);
        return result;
    }
};

using FromObject = std::shared_ptr<Variant> (*)(py::handle, Site const &);
using ToObject = py::object (*)(Variant const &, ReadOnlyMemory const &);

struct Conversions {
    FromObject from;
    ToObject to;
};

template <class T>
std::shared_ptr<Variant> convertFrom(py::handle object, Site const &site) {
    return std::make_shared<VariantType<T>>(Form<T>::from(object, site));
}

template <class T>
py::object convertTo(Variant const &value, ReadOnlyMemory const &readOnly) {
    return Form<T>::to(static_cast<VariantType<T> const &>(value).value, readOnly);
}

/// The types of the table. What a plug-in brings beside them has no form in Python.
Conversions const *conversionsOf(ValueType const *type) {
    static auto const conversions = [] {
        std::map<ValueType const *, Conversions> all;
        forEachTableType([&]<class T>(std::type_identity<T>) { all[valueType<T>()] = {convertFrom<T>, convertTo<T>}; });
        return all;
    }();
    auto const found = conversions.find(type);
    return found == conversions.end() ? nullptr : &found->second;
}

/// A port of any type takes the frames.
template <class... Frames>
std::shared_ptr<Variant> fromAnyFrame(py::handle object, Site const &site, std::tuple<Frames...> const *) {
    std::shared_ptr<Variant> value;
    auto const tryOne = [&](auto fits, auto convert) {
        if (value == nullptr && fits(object)) value = convert(object, site);
    };
    (tryOne(Form<Frames>::fits, convertFrom<Frames>), ...);
    if (value == nullptr) {
        std::string wanted = "a frame:";
        ((wanted += (wanted.ends_with(":") ? " " : ", or ") + Form<Frames>::words()), ...);
        refuse(site, wanted, object);
    }
    return value;
}

using FrameTypes =
    std::tuple<Mat<unsigned char, 2>, Mat<Vec3b, 2>, Mat<Vec4b, 2>, Mat<float, 2>, Mat<Vec3f, 2>, Mat<Vec<int, 4>, 1>>;

} // namespace

std::shared_ptr<Variant> toValue(py::handle object, Port const &port, ReadOnlyMemory &readOnly) {
    Site const site{port, "", readOnly};
    if (port.value == nullptr) return fromAnyFrame(object, site, static_cast<FrameTypes const *>(nullptr));
    Conversions const *const conversions = conversionsOf(port.value);
    if (conversions == nullptr)
        throw py::type_error("input '" + port.name + "' takes " + port.type + ", a type that Python has no form for");
    return conversions->from(object, site);
}

py::object toObject(Variant const &value, ReadOnlyMemory const &readOnly) {
    ValueType const *const type = valueTypeOf(value);
    Conversions const *const conversions = conversionsOf(type);
    if (conversions == nullptr)
        throw py::type_error("a value of type " + (type != nullptr ? type->spelling : demangle(typeid(value))) +
                             " has no form in Python");
    return conversions->to(value, readOnly);
}

std::string describe(py::handle object) {
    if (py::isinstance<py::array>(object)) {
        auto const array = py::reinterpret_borrow<py::array>(object);
        std::string shape = py::str(array.attr("shape"));
        std::string layout = (array.flags() & py::array::c_style) != 0 ? "" : " that is not C-contiguous";
        if (!array.writeable()) layout += " that is read-only";
        return "a " + std::string(py::str(array.dtype())) + " array of shape " + shape + layout;
    }
    std::string const name = Py_TYPE(object.ptr())->tp_name;
    if (!isList(object)) return object.is_none() ? "None" : "an object of type " + name;
    return "a " + name + " of length " + std::to_string(PySequence_Size(object.ptr()));
}

} // namespace zun::python
