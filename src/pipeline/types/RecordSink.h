// Where the values of a stream go as lists of scalars.
#pragma once

#include <cstdint>
#include <string_view>

namespace zun {

/// Takes a value apart: a scalar, or a list of what is written between beginList() and endList().
class RecordSink {
public:
    virtual ~RecordSink() = default;

    virtual void beginList() = 0;
    virtual void endList() = 0;
    virtual void write(bool value) = 0;
    virtual void write(std::int64_t value) = 0;
    virtual void write(float value) = 0;
    virtual void write(double value) = 0;
    virtual void write(std::string_view text) = 0;

    /// Without this one, a literal would be written as true.
    void write(char const *text) { write(std::string_view(text)); }
};

} // namespace zun
