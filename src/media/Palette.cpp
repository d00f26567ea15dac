#include "media/Palette.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include "containers/Exception.h"

namespace zun::media {
namespace {

struct FreeGraph {
    void operator()(AVFilterGraph *graph) const { avfilter_graph_free(&graph); }
    void operator()(AVFilterInOut *ends) const { avfilter_inout_free(&ends); }
};

void check(int result) {
    if (result < 0) throw Exception("a palette can't be made: " + av::reason(result));
}

} // namespace

av::Frame withPalette(AVFrame const &picture) {
    std::unique_ptr<AVFilterGraph, FreeGraph> const graph(avfilter_graph_alloc());
    av::Frame result(av_frame_alloc());
    if (!graph || !result) throw std::bad_alloc();
    graph->nb_threads = 1;
    std::string const form = "video_size=" + std::to_string(picture.width) + "x" + std::to_string(picture.height) +
                             ":pix_fmt=" + av_get_pix_fmt_name(static_cast<AVPixelFormat>(picture.format)) +
                             ":time_base=1/100";
    std::string const filters = "buffer=" + form +
                                ",split[a][b];[a]palettegen=stats_mode=single[palette];"
                                "[b][palette]paletteuse=dither=sierra2_4a:new=1,buffersink";
    AVFilterInOut *inputs = nullptr, *outputs = nullptr;
    int const parsed = avfilter_graph_parse2(graph.get(), filters.c_str(), &inputs, &outputs);
    std::unique_ptr<AVFilterInOut, FreeGraph> const openInputs(inputs), openOutputs(outputs);
    check(parsed);
    check(avfilter_graph_config(graph.get(), nullptr));
    AVFilterContext *source = nullptr, *sink = nullptr;
    for (unsigned i = 0; i < graph->nb_filters; i++) {
        if (std::string_view(graph->filters[i]->filter->name) == "buffer") source = graph->filters[i];
        if (std::string_view(graph->filters[i]->filter->name) == "buffersink") sink = graph->filters[i];
    }
    check(av_buffersrc_write_frame(source, &picture));
    check(av_buffersrc_write_frame(source, nullptr));
    check(av_buffersink_get_frame(sink, result.get()));
    return result;
}

} // namespace zun::media
