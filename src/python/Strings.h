// Texts on their way to and from Python. Strings of the library hold any bytes; a byte that is not UTF-8 stands in a
// str as a surrogate escape, as it does in Python's own file names.
#pragma once

#include <optional>
#include <string>

#include <pybind11/pybind11.h>

namespace zun::python {

/// The bytes of a str or bytes object; nothing for another object, or a str that has no bytes.
inline std::optional<std::string> bytesOf(pybind11::handle object) {
    namespace py = pybind11;
    py::object bytes = py::reinterpret_borrow<py::object>(object);
    if (PyUnicode_Check(object.ptr()) != 0) {
        bytes = py::reinterpret_steal<py::object>(PyUnicode_AsEncodedString(object.ptr(), "utf-8", "surrogateescape"));
        if (!bytes) PyErr_Clear();
    }
    if (!bytes || PyBytes_Check(bytes.ptr()) == 0) return std::nullopt;
    return std::string(PyBytes_AS_STRING(bytes.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr())));
}

inline pybind11::str textOf(std::string const &bytes) {
    PyObject *const text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
    if (text == nullptr) throw pybind11::error_already_set();
    return pybind11::reinterpret_steal<pybind11::str>(text);
}

} // namespace zun::python
