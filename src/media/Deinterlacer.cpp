#include "media/Deinterlacer.h"

#include <string>
#include <type_traits>

#include <dlfcn.h>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include "containers/Exception.h"

namespace zun::media {
namespace {

/// The functions of libavfilter. It is loaded where it is needed only: with all that it links it takes as long as a
/// program's whole start does without.
struct Filters {
    decltype(&avfilter_graph_alloc) allocate = nullptr;
    decltype(&avfilter_graph_free) free = nullptr;
    decltype(&avfilter_graph_create_filter) create = nullptr;
    decltype(&avfilter_graph_config) configure = nullptr;
    decltype(&avfilter_get_by_name) find = nullptr;
    decltype(&avfilter_link) link = nullptr;
    decltype(&av_buffersrc_add_frame) give = nullptr;
    decltype(&av_buffersrc_close) close = nullptr;
    decltype(&av_buffersink_get_frame) take = nullptr;
    decltype(&av_buffersink_get_time_base) timeBase = nullptr;

    Filters() {
        constexpr char const *name = "libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR);
        void *const library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
        auto const get = [&](auto &function, char const *symbol) {
            if (library != nullptr)
                function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(library, symbol));
            if (function == nullptr)
                throw Exception(std::string("videos can't be deinterlaced: the library ") + name + " is not installed");
        };
        get(allocate, "avfilter_graph_alloc");
        get(free, "avfilter_graph_free");
        get(create, "avfilter_graph_create_filter");
        get(configure, "avfilter_graph_config");
        get(find, "avfilter_get_by_name");
        get(link, "avfilter_link");
        get(give, "av_buffersrc_add_frame");
        get(close, "av_buffersrc_close");
        get(take, "av_buffersink_get_frame");
        get(timeBase, "av_buffersink_get_time_base");
    }
};

Filters const &filters() {
    static Filters const loaded;
    return loaded;
}

} // namespace

void Deinterlacer::FreeGraph::operator()(AVFilterGraph *graph) const { filters().free(&graph); }

void Deinterlacer::build(AVFrame const &frame, AVRational timeBase) {
    base = timeBase;
    Filters const &use = filters();
    graph.reset(use.allocate());
    if (!graph) throw std::bad_alloc();
    graph->nb_threads = 1;
    std::string const form = "width=" + std::to_string(frame.width) + ":height=" + std::to_string(frame.height) +
                             ":pix_fmt=" + std::to_string(frame.format) + ":time_base=" + std::to_string(base.num) +
                             "/" + std::to_string(base.den);
    AVFilterContext *filter = nullptr;
    int error = use.create(&source, use.find("buffer"), "in", form.c_str(), nullptr, graph.get());
    if (error >= 0)
        error = use.create(&filter, use.find("bwdif"), "whole", "mode=send_frame:parity=auto:deint=all", nullptr,
                           graph.get());
    if (error >= 0) error = use.create(&sink, use.find("buffersink"), "out", nullptr, nullptr, graph.get());
    if (error >= 0) error = use.link(source, 0, filter, 0);
    if (error >= 0) error = use.link(filter, 0, sink, 0);
    if (error >= 0) error = use.configure(graph.get(), nullptr);
    if (error < 0) throw Exception("frames of this form can't be deinterlaced: " + av::reason(error));
}

void Deinterlacer::give(AVFrame &frame, AVRational timeBase) {
    if (!graph) build(frame, timeBase);
    frame.pts = frame.best_effort_timestamp;
    int const error = filters().give(source, &frame);
    if (error < 0) throw Exception("a frame can't be deinterlaced: " + av::reason(error));
}

void Deinterlacer::end() {
    if (!graph)
        finished = true;
    else
        filters().close(source, AV_NOPTS_VALUE, 0);
}

bool Deinterlacer::take(AVFrame &frame) {
    if (!graph || finished) return false;
    int const error = filters().take(sink, &frame);
    if (error == AVERROR_EOF) finished = true;
    if (error < 0) return false;
    AVRational const out = filters().timeBase(sink);
    if (frame.pts != AV_NOPTS_VALUE) frame.pts = av_rescale_q(frame.pts, out, base);
    if (frame.pkt_duration > 0 && av_cmp_q(out, base) != 0) frame.pkt_duration = 0;
    frame.best_effort_timestamp = frame.pts;
    return true;
}

} // namespace zun::media
