// What check() knows while it goes over a description; for the sources of this library alone.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "description/DiagnosticList.h"
#include "graph/Graph.h"

namespace zun::engine {

class GraphBuilder {
public:
    explicit GraphBuilder(Description description);

    Graph build();

private:
    // Each step is a file of its own, in this order.
    void connectSources(Description &description); // Sources.cpp
    void checkNode(GraphNode &node);               // NodeCheck.cpp
    void checkOptions(GraphNode &node);            // OptionCheck.cpp
    void connect(GraphNode &node);                 // Check.cpp
    void checkStreams();                           // StreamCheck.cpp
    void findCycles();                             // Order.cpp
    void sortNodes();
    void askForForecasts(); // Forecasts.cpp

    bool findType(GraphNode &node);
    template <class Ports, class Others>
    void bindPorts(GraphNode &node, std::vector<PortBinding> const &bindings, Ports const &ports, Others const &others,
                   char const *kind, char const *otherKind, std::vector<GraphPort> &bound);
    void checkRequiredInputs(GraphNode &node);
    void checkLimits(GraphNode &node);
    void settleTypes(GraphNode &node);

    void warnOfLostDigits(GraphNode const &node, OptionSetting const &option);
    void checkSense(GraphNode const &node, OptionSetting const &option, OptionSense const &sense);

    std::size_t streamNamed(std::string const &name);
    void reportUnwritten(GraphStream const &stream);
    void reportWrittenTwice(GraphStream const &stream, StreamEnd second);
    void checkTypes(GraphStream const &stream, StreamEnd reader);
    void warnOfChangeInPlace(GraphStream const &stream);
    void warnOfStarvation(GraphStream const &stream);
    void warnOfNoReader(GraphStream const &stream);
    void warnOfNoOutput(GraphNode const &node);
    std::vector<std::string> writtenStreams() const;

    Forecast forecastOf(GraphNode &node, Variant const *source);
    void checkFiles(std::vector<Forecast> const &forecasts);
    void estimateSizes(std::vector<Forecast> const &forecasts);

    void error(GraphNode &node, Place const &place, std::string const &port, std::string const &message);
    void warning(GraphNode const &node, Place const &place, std::string const &port, std::string const &message);
    void note(GraphNode const &node, std::string const &message);

    Graph graph;
    DiagnosticList diagnostics;
    std::map<std::string, std::size_t> streamIndex;
    std::set<std::string> implied; ///< names of the streams that the description doesn't have
    std::vector<bool> meant;       ///< by stream: a misspelt name elsewhere most likely means it
};

} // namespace zun::engine
