#include "media/reading/Filters.h"

#include <string_view>
#include <type_traits>

#include <dlfcn.h>

#include "containers/Exception.h"

namespace zun::media::av {
namespace {

Filters load() {
    constexpr char const *name = "libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR);
    void *const library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw Exception(std::string("the library ") + name + " is needed, but can't be loaded");
    Filters filters;
    auto const get = [&](auto &function, char const *symbol) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(library, symbol));
        if (function == nullptr) throw Exception(std::string("the library ") + name + " has no " + symbol);
    };
    get(filters.allocate, "avfilter_graph_alloc");
    get(filters.free, "avfilter_graph_free");
    get(filters.parse, "avfilter_graph_parse2");
    get(filters.configure, "avfilter_graph_config");
    get(filters.freeEnds, "avfilter_inout_free");
    get(filters.give, "av_buffersrc_write_frame");
    get(filters.take, "av_buffersink_get_frame");
    get(filters.timeBase, "av_buffersink_get_time_base");
    return filters;
}

} // namespace

Filters const &filters() {
    static Filters const loaded = load();
    return loaded;
}

FilterChain::FilterChain(std::string const &text, char const *what) : graph(filters().allocate()) {
    if (!graph) throw std::bad_alloc();
    graph->nb_threads = 1;
    AVFilterInOut *inputs = nullptr, *outputs = nullptr;
    int error = filters().parse(graph.get(), text.c_str(), &inputs, &outputs);
    filters().freeEnds(&inputs);
    filters().freeEnds(&outputs);
    if (error >= 0) error = filters().configure(graph.get(), nullptr);
    if (error < 0) throw Exception(std::string(what) + ": " + reason(error));
    for (unsigned i = 0; i < graph->nb_filters; i++) {
        std::string_view const name = graph->filters[i]->filter->name;
        if (name == "buffer") source = graph->filters[i];
        if (name == "buffersink") sink = graph->filters[i];
    }
}

} // namespace zun::media::av
