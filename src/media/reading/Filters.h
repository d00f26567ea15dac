// FFmpeg's filters, loaded where one is needed: with all that it links the library takes as long as a program's whole
// start does without. For the sources of this library alone.
#pragma once

#include "media/Av.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace zun::media::av {

/// The functions of libavfilter.
struct Filters {
    decltype(&avfilter_graph_alloc) allocate = nullptr;
    decltype(&avfilter_graph_free) free = nullptr;
    decltype(&avfilter_graph_parse2) parse = nullptr;
    decltype(&avfilter_graph_config) configure = nullptr;
    decltype(&avfilter_inout_free) freeEnds = nullptr;
    decltype(&av_buffersrc_write_frame) give = nullptr; ///< a null frame ends the input
    decltype(&av_buffersink_get_frame) take = nullptr;
    decltype(&av_buffersink_get_time_base) timeBase = nullptr;
};

/// Throws zun::Exception where the library is not installed. Thread-safe.
Filters const &filters();

/// A chain of filters from one buffer to one sink.
class FilterChain {
public:
    FilterChain() = default;

    /// `text` as FFmpeg takes it, from "buffer=..." to "buffersink". Throws zun::Exception, beginning with `what`, for
    /// one that can't be built.
    FilterChain(std::string const &text, char const *what);

    explicit operator bool() const { return graph != nullptr; }

    /// FFmpeg's error codes. The frame stays the caller's; null ends the input.
    int give(AVFrame const *frame) const { return filters().give(source, frame); }
    int take(AVFrame &frame) const { return filters().take(sink, &frame); }

    AVRational timeBase() const { return filters().timeBase(sink); } ///< of what take() gives

private:
    struct FreeGraph {
        void operator()(AVFilterGraph *old) const { filters().free(&old); }
    };

    std::unique_ptr<AVFilterGraph, FreeGraph> graph;
    AVFilterContext *source = nullptr, *sink = nullptr;
};

} // namespace zun::media::av
