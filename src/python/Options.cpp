#include "python/Options.h"

#include <optional>
#include <utility>
#include <vector>

#include "python/Strings.h"
#include "python/Values.h"

namespace py = pybind11;

namespace zun::python {
namespace {

[[noreturn]] void refuse(std::string const &name, py::handle came) {
    throw py::type_error("option '" + name +
                         "' takes a bool, an int of 64 bits, a float, a str, or a list of these, not " +
                         describe(came));
}

bool isBool(py::handle object) {
    return PyBool_Check(object.ptr()) != 0 || std::string(Py_TYPE(object.ptr())->tp_name) == "numpy.bool_";
}

std::string shown(py::handle object) { return py::str(object); }

OptionNode intOption(std::string const &name, py::handle object) {
    py::object const index = py::reinterpret_steal<py::object>(PyNumber_Index(object.ptr()));
    long long const value = index ? PyLong_AsLongLong(index.ptr()) : -1;
    if (PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        refuse(name, object);
    }
    return OptionNode::ofInt(value, std::to_string(value));
}

OptionNode listOption(std::string const &name, py::handle object) {
    py::tuple const elements = py::reinterpret_steal<py::tuple>(PySequence_Tuple(object.ptr()));
    std::vector<OptionNode> options;
    std::string text;
    for (py::handle element : elements) {
        options.push_back(toOption(name, element));
        text += (text.empty() ? "" : ", ") + options.back().text;
    }
    return OptionNode::ofVector(std::move(options), "[" + text + "]");
}

} // namespace

OptionNode toOption(std::string const &name, py::handle object) {
    if (isBool(object)) {
        bool const value = PyObject_IsTrue(object.ptr()) == 1;
        return OptionNode::ofBool(value, value ? "true" : "false");
    }
    if (std::optional<std::string> text = bytesOf(object)) return OptionNode::ofString(*std::move(text));
    if (PyList_Check(object.ptr()) != 0 || PyTuple_Check(object.ptr()) != 0) {
        // A list may hold itself.
        if (Py_EnterRecursiveCall(" in an option") != 0) throw py::error_already_set();
        struct Leave {
            ~Leave() { Py_LeaveRecursiveCall(); }
        } const leave;
        return listOption(name, object);
    }
    bool const isArray = PyObject_HasAttrString(object.ptr(), "__len__") != 0;
    if (!isArray && PyIndex_Check(object.ptr()) != 0) return intOption(name, object);
    double const value = isArray ? -1 : PyFloat_AsDouble(object.ptr());
    if (isArray || PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        refuse(name, object);
    }
    return OptionNode::ofFloat(value, shown(object));
}

std::map<std::string, OptionNode> toOptions(py::dict const &options) {
    std::map<std::string, OptionNode> result;
    for (auto const &[key, value] : py::dict(options.attr("copy")())) { // str() may run code that changes the caller's
        std::optional<std::string> const name = bytesOf(key);
        if (!name) throw py::type_error("the name of an option is a str, not " + describe(key));
        result[*name] = toOption(*name, value);
    }
    return result;
}

} // namespace zun::python
