// A node, as the framework sees it.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/NodeConfig.h"
#include "pipeline/Tick.h"

namespace zun {

/// How many values an output may have waiting for readers.
struct OutputLimit {
    std::string stream;
    std::int64_t limit = 0;    ///< as outputSpace() takes it
    std::int32_t reserved = 0; ///< always 0
};

/// The space that a limit leaves on a stream with `buffered` values: without bound (the largest int) for 0,
/// limit x hardwareThreads - buffered for a positive limit, -limit - buffered for a negative one. All in 32-bit
/// arithmetic that wraps; `buffered` is cut to its low 32 bits.
std::int32_t outputSpace(std::int32_t limit, std::uint32_t hardwareThreads, std::uint64_t buffered);

/// Base of all nodes. The order of calls on one node: constructor, initialize() once, process() tick by tick in
/// increasing order, flush() once, destructor. A node that says canSelfParallelise() may be inside process() for
/// several ticks at once, and readyForProcessingInputs() may be asked meanwhile; no other two calls on one node
/// overlap.
class PipelineNode {
public:
    PipelineNode(PipelineNode const &) = delete;
    PipelineNode &operator=(PipelineNode const &) = delete;

    /// The inputs whose streams may be part of a cycle, because the node reads them a tick late. Base: none. A host
    /// that can't run feedback refuses a node that names any.
    virtual std::set<std::string> getCircularInputs();

    /// The inputs that carry one value for the whole run, written at its first tick. Base: none. A host that keeps
    /// streams by tick alone refuses a node that names any.
    virtual std::set<std::string> getSingleTickInputs();

    virtual ~PipelineNode();

    /// The name of the class, as messages show it. Base: none; every node has its own.
    virtual std::string getType() = 0;

    /// Does the node's work for one tick: reads the inputs it uses, writes its connected outputs. Throws on failure.
    virtual void process(Tick tick) = 0;

    /// The node's last call before it goes: releases what initialize() acquired and completes what process() began.
    /// `tick` is the first tick that was not processed. It is called also when the run failed. Base: nothing.
    virtual void flush(Tick tick);

    /// Called once before the first process(). Base: nothing.
    virtual void initialize();

    /// Whether process() may run for several ticks at once. Base: false.
    virtual bool canSelfParallelise() const;

    /// Whether process() does something that shows outside the pipeline, such as writing a file. Such a node runs a
    /// tick only once the run is certain to reach it. Base: false.
    virtual bool hasSideEffects() const;

    /// Whether the node takes inputs now. It is asked before each tick, often, by one thread at a time, and must not
    /// block. Base: true.
    virtual bool readyForProcessingInputs() const;

    /// Builds another node of the same class. Base: none.
    virtual std::shared_ptr<PipelineNode> createInstance(NodeConstructionInfo const &info,
                                                         NodeConfig const &config) = 0;

    /// Whether the node decides how long the run is: a source of frames. A run without such a node needs an end from
    /// its host. Base: false.
    virtual bool isGenerator() const;

    /// Given the first tick that a run would not reach, returns the first that this node can't reach; never more than
    /// it is given. Asked once, after initialize(). Base: the tick it is given.
    virtual Tick getRunUntil(Tick end);

    /// Whether no further tick can be processed. Asked of a generator after a process() that wrote nothing, when none
    /// of its ticks runs: when it is true, the run ends before the first such tick. Base: false.
    virtual bool processProgressNeverPossible();

    /// The connected streams.
    virtual std::set<std::string> const &getInputStreams() = 0;
    virtual std::set<std::string> const &getOutputStreams() = 0;

    /// The limit of each output, in the order of the node's table; outputs that are not connected are named "-".
    virtual std::vector<OutputLimit> getOutputLimits() = 0;

    /// The least space on any of the outputs now; see outputSpace().
    virtual std::int32_t getOutputBufferSpace() = 0;

    /// How many values of a stream have to wait before the node can process `tick`. Base: 1, the tick's own. A host
    /// that hands out one tick at a time refuses a node that wants more.
    virtual std::uint64_t minTicksOnStreamForProgress(Tick tick, std::string const &stream) const;

    /// Replaces an option. `value` must hold the option's own type; nothing is converted. Not to be called while the
    /// node is inside process(). Throws zun::Exception for an unknown name or another type, and then changes nothing.
    virtual void setOption(std::string const &name, Variant &value) = 0;

    /// The node's place in the description.
    int getIndex() const { return nodeIndex; }

protected:
    PipelineNode(NodeConstructionInfo const &info, NodeConfig const &config);

    PipelineState *const state;
    std::int32_t const nodeIndex;
};

} // namespace zun
