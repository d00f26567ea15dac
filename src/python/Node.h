// zun.Node: a node that Python calls again and again.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "python/Values.h"
#include "run/SingleNode.h"

namespace zun::python {

/// Makes zun.Error and zun.GuardError.
void addErrors(pybind11::module_ &module);

class Node {
public:
    using Names = std::optional<std::vector<std::string>>;

    /// No inputs named: those that are required; no outputs named: all.
    Node(std::string const &type, pybind11::dict const &options, Names const &inputs, Names const &outputs, bool trust);
    ~Node();
    Node(Node const &) = delete;
    Node &operator=(Node const &) = delete;

    pybind11::dict process(pybind11::dict const &inputs);
    void setOption(std::string const &name, pybind11::handle value);
    void flush();

private:
    std::string type;
    std::map<std::string, Port> ports; ///< the connected inputs
    std::unique_ptr<engine::SingleNode> node;
};

/// What is known of a type, as text. Throws zun.Error for one that is not known.
pybind11::str describeType(std::string const &type);

/// The specification of a type. Throws zun.Error for one that is not known.
pybind11::dict specification(std::string const &type);

} // namespace zun::python
