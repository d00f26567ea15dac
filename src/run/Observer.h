// What a run lets others see: the one hook that progress, statistics, traces, taps and previews stand on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "containers/Variant.h"
#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"

namespace zun::engine {

/// Why none of a node's ticks runs.
enum class Wait {
    Nothing, ///< one runs, or the node has no further tick to run
    Input,   ///< a stream that it reads holds no value for the tick yet
    Space,   ///< a stream that it writes is full
    Bytes,   ///< the values in flight together have reached the cap
    Others,  ///< it shows effects outside, and not all sources have reached the tick; or it takes no inputs just now
    Thread,  ///< it could run, and all threads are busy
};

inline constexpr std::size_t waitKinds = 6;

/// Is called while a run goes on; does nothing by itself. Nodes and streams are indices in the graph's lists; streams
/// that the check made (GraphStream::implied) are among them.
///
/// What is called with a worker comes from that worker's thread, so from several threads at once, while nothing is
/// locked; a call delays that worker alone. All other functions are called by one thread at a time, while the
/// scheduler is locked, so they delay every worker. None may throw.
class Observer {
public:
    virtual ~Observer() = default;

    /// The nodes are initialised. `total` is the number of ticks, 0 where it isn't known. The graph lives until
    /// runEnded().
    virtual void runBegins(Graph const & /*graph*/, unsigned /*workers*/, Tick /*first*/, Tick /*total*/) {}

    /// The last call, also after a failure; `ticks` were run.
    virtual void runEnded(Tick /*ticks*/) {}

    /// A node failed, or nothing could go on any more, in which case there is no `node`. Before runEnded().
    virtual void runFailed(GraphNode const * /*node*/, Tick /*tick*/, std::string const & /*message*/) {}

    /// A node takes a new value for an option, with the tick that begins next. `value` is as it was given.
    virtual void optionChanges(unsigned /*worker*/, std::size_t /*node*/, Tick /*tick*/, std::string const & /*option*/,
                               std::string const & /*value*/) {}

    /// A node's guard and process() begin and end. On one worker, ticks follow one another.
    virtual void tickBegins(unsigned /*worker*/, std::size_t /*node*/, Tick /*tick*/) {}
    virtual void tickEnds(unsigned /*worker*/, std::size_t /*node*/, Tick /*tick*/, bool /*failed*/) {}

    /// What a node wrote, right after its tick and before any other node reads it, whether or not one will. `type` is
    /// null for a type that nobody has made known. The value must not be changed, nor kept: a node that changes frames
    /// in place would have to copy it.
    virtual void valueWritten(unsigned /*worker*/, std::size_t /*stream*/, Tick /*tick*/, Variant const & /*value*/,
                              ValueType const * /*type*/) {}

    /// All nodes have completed so many ticks more than before the run; so many bytes are in flight.
    virtual void advanced(Tick /*ticksDone*/, std::uint64_t /*bytesInFlight*/) {}

    // Not of a sequential run, which has no scheduler.

    /// What waits on a stream for its readers now.
    virtual void streamHolds(std::size_t /*stream*/, std::size_t /*values*/, std::uint64_t /*bytes*/) {}

    /// From now on, the node waits for this before it runs `tick`.
    virtual void nodeWaits(std::size_t /*node*/, Tick /*tick*/, Wait /*reason*/) {}
};

} // namespace zun::engine
