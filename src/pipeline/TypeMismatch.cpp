#include "pipeline/TypeMismatch.h"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

#include "vexa_logging/Log.h"

namespace zun {

std::string demangle(std::type_info const &type) {
    int status = 0;
    std::unique_ptr<char, void (*)(void *)> const name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                       std::free);
    return status == 0 ? name.get() : type.name();
}

void logTypeMismatch(std::string const &stream, std::string const &nodeType, int nodeIndex,
                     std::type_info const &expected, Variant *actual) {
    auto const hint = [](std::string const &line) { log::_output("root", log::Level::Hint, line); };
    log::_output("root", log::Level::Error,
                 "Pipeline stream type mismatch for stream \"" + stream + "\" of pass " + nodeType + " at index " +
                     std::to_string(nodeIndex));
    hint("Hint: You can use graphPipeline to check the types of your streams match up ahead of time.");
    hint("Hint: Note that the types are, at this point, wrapped in an zun::Variant.");
    hint("Expected type: " + demangle(expected));
    hint("Actual type  : " + demangle(typeid(*actual)));
}

} // namespace zun
