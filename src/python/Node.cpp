#include "python/Node.h"

#include <exception>
#include <utility>

#include "catalogue/NodeText.h"
#include "catalogue/NodeTypes.h"
#include "python/Options.h"
#include "python/Strings.h"

namespace py = pybind11;

namespace zun::python {
namespace {

// Never released: the module that owns the classes outlives every call.
PyObject *errorClass = nullptr;
PyObject *guardErrorClass = nullptr;

[[noreturn]] void throwAs(PyObject *error, std::string const &text) {
    PyErr_SetObject(error, textOf(text).ptr());
    throw py::error_already_set();
}

/// Runs what may take long or wait for another thread, with the interpreter free for others meanwhile.
template <class Action>
auto withoutPython(Action action) {
    try {
        py::gil_scoped_release const released;
        return action();
    } catch (engine::GuardRefusal const &refusal) {
        throwAs(guardErrorClass, refusal.what());
    } catch (std::exception const &failure) {
        throwAs(errorClass, failure.what());
    }
}

NodeRegistry::Entry const *find(std::string const &type) { return NodeRegistry::find(type); }

std::set<std::string> inputNames(std::string const &type, Node::Names const &given) {
    if (given) return {given->begin(), given->end()};
    std::set<std::string> required;
    if (NodeRegistry::Entry const *const entry = find(type))
        for (auto const &[name, input] : entry->specification.inputs)
            if (!input.optional) required.insert(name);
    return required;
}

std::set<std::string> outputNames(std::string const &type, Node::Names const &given) {
    if (given) return {given->begin(), given->end()};
    std::set<std::string> all;
    if (NodeRegistry::Entry const *const entry = find(type))
        for (auto const &[name, output] : entry->specification.outputs) all.insert(name);
    return all;
}

std::map<std::string, Port> portsOf(engine::SingleNode const &node) {
    NodeRegistry::Entry const &type = node.type();
    std::map<std::string, Port> ports;
    for (NodeFacts::Input const &input : type.facts.inputs)
        if (node.connectedInputs().contains(input.name))
            ports[input.name] = {
                input.name,
                chooseParameters(type.specification.inputs.at(input.name).type, type.specification, type.type),
                input.type, input.changedInPlace};
    return ports;
}

} // namespace

void addErrors(py::module_ &module) {
    errorClass =
        PyErr_NewExceptionWithDoc("zun.Error", "A node failed; the text is the node's.", PyExc_RuntimeError, nullptr);
    guardErrorClass = PyErr_NewExceptionWithDoc(
        "zun.GuardError",
        "A node was not run, because its inputs would take it out of memory, divide by zero or never end.",
        PyExc_RuntimeError, nullptr);
    module.add_object("Error", py::reinterpret_borrow<py::object>(errorClass));
    module.add_object("GuardError", py::reinterpret_borrow<py::object>(guardErrorClass));
}

Node::Node(std::string const &nodeType, py::dict const &options, Names const &inputs, Names const &outputs, bool trust)
    : type(nodeType) {
    engine::SingleNodePlan plan{type, toOptions(options), inputNames(type, inputs), outputNames(type, outputs), trust};
    node = withoutPython([&] { return std::make_unique<engine::SingleNode>(std::move(plan)); });
    ports = portsOf(*node);
}

Node::~Node() {
    py::gil_scoped_release const released; // its end may wait for a lock that another thread holds
    node.reset();
}

py::dict Node::process(py::dict const &inputs) {
    ReadOnlyMemory readOnly;
    engine::PortValues values;
    // A conversion may run Python code that changes the caller's dict.
    for (auto const &[key, object] : py::dict(inputs.attr("copy")())) {
        std::string const name = py::str(key);
        auto const port = ports.find(name);
        if (port == ports.end()) throw py::type_error("no input '" + name + "' is connected to this " + type);
        values[name] = toValue(object, port->second, readOnly);
    }
    for (auto const &[name, port] : ports)
        if (!values.contains(name)) throw py::type_error("input '" + name + "' of type " + port.type + " is missing");

    engine::PortValues const written = withoutPython([&] { return node->process(std::move(values)); });
    py::dict result;
    for (auto const &[name, value] : written) result[py::str(name)] = toObject(*value, readOnly);
    return result;
}

void Node::setOption(std::string const &name, py::handle value) {
    OptionNode const option = toOption(name, value);
    withoutPython([&] { node->setOption(name, option); });
}

void Node::flush() {
    withoutPython([&] { node->flush(); });
}

namespace {

NodeRegistry::Entry const &entryOf(std::string const &type) {
    NodeRegistry::Entry const *const entry = find(type);
    if (entry == nullptr) throwAs(errorClass, engine::unknownType(type));
    return *entry;
}

py::dict describeMeta(CommonMeta const &meta) {
    py::dict about;
    about["name"] = textOf(meta.name);
    about["type"] = textOf(meta.type);
    about["optional"] = meta.optional;
    about["defaultValue"] = textOf(meta.defaultValue);
    return about;
}

py::dict describePort(XPut const &port) {
    py::dict about = describeMeta(port);
    about["internal"] = port.internal;
    about["streamType"] = static_cast<int>(port.streamType);
    return about;
}

} // namespace

py::str describeType(std::string const &type) { return textOf(engine::nodeText(entryOf(type))); }

py::dict specification(std::string const &type) {
    NodeSpecification const &record = entryOf(type).specification;
    py::dict inputs, outputs, options;
    for (auto const &[name, input] : record.inputs) inputs[py::str(name)] = describePort(input);
    for (auto const &[name, output] : record.outputs) {
        py::dict about = describePort(output);
        about["limit"] = output.limit;
        outputs[py::str(name)] = about;
    }
    for (auto const &[name, option] : record.options) options[py::str(name)] = describeMeta(option);

    py::list templates;
    for (NodeSpecification::Template const &parameter : record.templates) {
        py::dict choices;
        for (auto const &[choice, expression] : parameter.choices) choices[py::str(choice)] = textOf(expression);
        py::dict about;
        about["kind"] = textOf(parameter.kind);
        about["parameter"] = textOf(parameter.parameter);
        about["choices"] = choices;
        templates.append(about);
    }

    py::dict result;
    result["name"] = textOf(record.name);
    result["inputs"] = inputs;
    result["outputs"] = outputs;
    result["options"] = options;
    result["templates"] = templates;
    result["classCode"] = record.classCode;
    result["baseType"] = textOf(record.baseType);
    result["parallelCode"] = record.parallelCode;
    return result;
}

} // namespace zun::python
