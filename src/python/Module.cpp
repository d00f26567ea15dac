// import zun: the node types, called from Python with NumPy arrays.

#include <string>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "catalogue/Plugins.h"
#include "imgproc/kernels/Targets.h"
#include "pipeline/NodeRegistry.h"
#include "python/Node.h"
#include "python/Strings.h"
#include "vexa_logging/Log.h"

namespace py = pybind11;

namespace zun::python {
namespace {

constexpr char const *moduleText = R"(Image-processing nodes, called one at a time on NumPy arrays.

    import numpy, zun
    photo = numpy.zeros((480, 640, 3), numpy.uint8)
    small = zun.call("ResizeImage", {"input": photo}, {"width": 320, "height": 240})["output"]

Values, by the type expression of a port (see zun.specification):

    zun::Mat<unsigned char, 2>      uint8 array (H, W): grey 0..255, or binary 0 and 1
    zun::Mat<zun::Vec3b, 2>         uint8 array (H, W, 3): RGB; also written zun::Mat<RGBPixel, 2>
    zun::Mat<zun::Vec4b, 2>         uint8 array (H, W, 4): RGBA
    zun::Mat<float, 2>              float32 array (H, W)
    zun::Mat<zun::Vec3f, 2>         float32 array (H, W, 3)
    zun::Mat<zun::Vec<int, 4>, 1>   int32 array (N, 4)
    zun::List<...>                  list
    zun::Box                        tuple (x, y, width, height) of floats, in pixels
    zun::Mask                       tuple of a rectangle (x, y, width, height) of ints and a uint8 array (H, W)
    zun::Vec2f, zun::Vec2i          tuple of two numbers
    std::string                     str, or bytes where it is not UTF-8
    any                             whichever of the arrays fits

A frame whose rows and columns come to more elements than it holds, such as a mask of a rectangle with two negative
sides, has a shape that no array can have: it comes as an array of its elements, of shape (N,) or (N, channels).

Frames are not copied where an array is C-contiguous and aligned. A node that draws into the frame it reads (DrawText,
DrawBoxes, ApplyMask) changes the array that it is given. An array that comes back may share its memory with one that
went in, where the node passes a frame on; both stay alive as long as either is used. The interpreter is free for other
threads while a node runs; don't change an array meanwhile.)";

constexpr char const *callText = R"(Runs one node once and returns what it wrote: a dict of values by output port.

The node is built with exactly the given inputs connected, and the named outputs (None: all of them); it is initialised,
runs tick 0 and is flushed. An output that the node did not write is absent. `inputs` holds values by input port and
`options` bools, ints, floats, strs, or a list of two ints by option name; what is not given takes its default.

Raises
  Error       the node failed: an option or input is missing, has a value that it doesn't take, ...
  GuardError  the inputs would take the node out of memory, divide by zero or never end; with trust=True nothing is
              checked, and such inputs may end the process
  TypeError   a value is not of its port's type
Safe to call from several threads.)";

constexpr char const *nodeText = R"(A node that is built once and called many times.

    blur = zun.Node("GreyBoxBlur", {"kernelSizeX": 9, "kernelSizeY": 9})
    for frame in frames:
        smooth = blur.process(input=frame)["output"]

type     one of zun.nodes()
options  by name; what is not given takes its default
inputs   the names of the input ports to connect; None: those that are required
outputs  the names of the output ports to connect; None: all
trust    True: run without the guard that checks the inputs first

Raises Error if the node can't be built or initialised. Its methods may be called from several threads: calls of
process() overlap where the node allows it, and wait for one another where not. The node is flushed when it goes.)";

constexpr char const *processText = R"(Runs the next tick on a value for each connected input, given by keyword.

Returns a dict of values by output port; an output that was not written is absent. Raises Error, GuardError and
TypeError as zun.call does; the node can be called again after each of them.)";

constexpr char const *setOptionText = R"(Replaces an option from the next call of process() on.

The value is converted as one given to the constructor is. Raises Error for an unknown name or where there is no
conversion, and then changes nothing. Options that a node reads only while it is initialised keep their effect.)";

constexpr char const *specificationText = R"(The specification of a node type, as a dict:

    name, classCode, baseType, parallelCode
    inputs, outputs, options   dicts by name; each entry holds name, type (a type expression), optional, defaultValue;
                               a port also internal and streamType, an output also limit
    templates                  the parameters of a class template's type expressions: kind, parameter, choices

Raises Error for a type that is not known.)";

constexpr char const *describeText =
    R"(What a node type does, as text: its streams and options, with types, units and defaults.

    print(zun.describe("WarpAffine"))

Raises Error for a type that is not known.)";

constexpr char const *useTargetText = R"(Makes the nodes run for an instruction set that targets() names, from now on.

The results are the same for each of them; "plain" is the loops that define the results. Raises ValueError for another
name. Not to be called while another thread runs a node. The environment variable ZUN_TARGET does the same at the
import; the import fails with ImportError for another name.)";

py::list nodes() {
    py::list types;
    for (NodeRegistry::Entry const *entry : NodeRegistry::entries()) types.append(textOf(entry->type));
    return types;
}

py::dict call(std::string const &type, py::dict const &inputs, py::dict const &options, Node::Names const &outputs,
              bool trust) {
    std::vector<std::string> connected;
    for (auto const &[key, value] : inputs) connected.push_back(py::str(key));
    Node node(type, options, connected, outputs, trust);
    py::dict result = node.process(inputs);
    node.flush();
    return result;
}

} // namespace
} // namespace zun::python

PYBIND11_MODULE(zun, module) {
    using namespace zun::python;
    // What a node logs when it fails is the text of the exception.
    zun::log::setLevel(zun::log::Level::Silent);
    zun::kernels::useTargetOfEnvironment();
    zun::engine::loadPlugin("imgproc");

    module.doc() = moduleText;
    addErrors(module);
    module.def("nodes", nodes, "The type strings of all node types, in the order of their registration.");
    module.def("specification", specification, py::arg("type"), specificationText);
    module.def("describe", describeType, py::arg("type"), describeText);
    module.def("call", call, py::arg("type"), py::arg("inputs"), py::arg("options") = py::dict(),
               py::arg("outputs") = py::none(), py::kw_only(), py::arg("trust") = false, callText);
    module.def("targets", zun::kernels::targets,
               "The instruction sets that this machine has for the nodes, the best first and \"plain\" last.");
    module.def("use_target", zun::kernels::useTarget, py::arg("name"), useTargetText);
    py::class_<Node>(module, "Node", nodeText)
        .def(py::init<std::string const &, py::dict const &, Node::Names const &, Node::Names const &, bool>(),
             py::arg("type"), py::arg("options") = py::dict(), py::arg("inputs") = py::none(),
             py::arg("outputs") = py::none(), py::kw_only(), py::arg("trust") = false)
        .def(
            "process", [](Node &node, py::kwargs const &inputs) { return node.process(inputs); }, processText)
        .def("set_option", &Node::setOption, py::arg("name"), py::arg("value"), setOptionText)
        .def("flush", &Node::flush,
             "Ends the node: releases what it holds. Nothing but its destruction may follow. Raises Error.");
}
