// The one exception type of nodes and framework.
#pragma once

#include <stdexcept>

namespace zun {

/// Holds the message text; what() gives it.
class Exception : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace zun
