// The streams of a running pipeline, as its nodes see them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "containers/Variant.h"
#include "pipeline/Tick.h"

namespace zun {

class PipelineNode;

/// Implemented by whoever runs nodes. All operations may be called from several threads at once, each for the tick
/// that its own thread is processing.
class PipelineState {
public:
    virtual ~PipelineState();

    /// The value of a stream at a tick. A tick at which the stream holds no value (its node wrote none) is an error
    /// that names stream and tick if `mustExist` is true, and gives an empty pointer if it is false.
    virtual std::shared_ptr<Variant> getLinearInput(PipelineNode const *node, Tick tick, std::string stream,
                                                    bool mustExist) = 0;

    /// Takes shared ownership of a value and hands it to the consumers of the stream. A write to "-", the stream that
    /// is not connected, is dropped; so is a value that nobody reads. A second write at the same tick replaces the
    /// first.
    virtual void setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) = 0;

    /// How many values wait on the stream for a reader; 0 for a stream that doesn't exist.
    virtual std::uint64_t getStreamBufferCount(std::string const &stream) = 0;
};

} // namespace zun
