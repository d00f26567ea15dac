// Base of the node classes that are made from a table: typed access to streams.
//
// A node file holds one class, derived from Node, with its option and stream fields, its Table and its process(), and
// a Registration. The class itself is never built: Generated<Class> is, which adds all that follows from the table.
#pragma once

#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "containers/Variant.h"
#include "node/Table.h"
#include "pipeline/Failure.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"
#include "pipeline/TypeMismatch.h"

namespace zun {

class Node : public PipelineNode {
protected:
    Node(NodeConstructionInfo const &info, NodeConfig const &config) : PipelineNode(info, config) {}

    /// The stream's value at this tick: a frame's header, whose pixels are shared with the stream, or a copy of a list.
    template <class T>
    [[gnu::no_sanitize("vptr")]] // the cast is meant, whatever the value is
    T readStream(Tick tick, InputStream<T> const &stream, bool mustExist = true) {
        std::shared_ptr<Variant> const held = state->getLinearInput(this, tick, stream.name, mustExist);
        // A value of another type is reported and then read all the same; hosts check types before a node runs.
        if (dynamic_cast<VariantType<T> *>(held.get()) == nullptr)
            logTypeMismatch(stream.name, getType(), nodeIndex, typeid(VariantType<T>), held.get());
        return static_cast<VariantType<T> *>(held.get())->value;
    }

    /// The value itself, of whatever type.
    std::shared_ptr<Variant> readStream(Tick tick, InputStream<Variant> const &stream, bool mustExist = true) {
        return state->getLinearInput(this, tick, stream.name, mustExist);
    }

    template <class T>
    void writeStream(Tick tick, OutputStream<T> const &stream, std::type_identity_t<T> value) {
        state->setLinearOutput(tick, stream.name, std::make_shared<VariantType<T>>(std::move(value)));
    }

    /// Writes a value of any type, in a wrapper of its own.
    template <class T>
    void writeStream(Tick tick, OutputStream<Variant> const &stream, T value) {
        state->setLinearOutput(tick, stream.name, std::make_shared<VariantType<T>>(std::move(value)));
    }

    /// Writes a value that stands in a wrapper already.
    void writeStream(Tick tick, OutputStream<Variant> const &stream, std::shared_ptr<Variant> value) {
        state->setLinearOutput(tick, stream.name, std::move(value));
    }

    /// Fails with a message put together from `parts`, unless `holds`. `condition` is the check as the source has it.
    template <class... Parts>
    void require(bool holds, Condition condition, Parts const &...parts) const {
        if (!holds) failAt({sourcePath(), condition.line}, condition.text, parts...);
    }

    /// The node's file, for messages.
    virtual char const *sourcePath() const = 0;
};

} // namespace zun
