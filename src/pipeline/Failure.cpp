#include "pipeline/Failure.h"

#include <string_view>

#include "containers/Exception.h"
#include "vexa_logging/Log.h"

namespace zun {

void raise(std::stringstream const &message, SourceLine where, char const *condition) {
    std::string const text = message.str();
    log::_output("root", log::Level::Error, text + " @ " + where.path + ":" + std::to_string(where.line));
    if (std::string_view(condition) != unconditional)
        log::_output("root", log::Level::Error, std::string("Assertion failed: ") + condition);
    throw Exception(text);
}

void raise(std::stringstream const &message) {
    std::string const text = message.str();
    log::_output("root", log::Level::Error, text);
    throw Exception(text);
}

} // namespace zun
