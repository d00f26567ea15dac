// Frames that come when they come, and the run that takes them when it can.
#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "media/reading/Decoder.h"

namespace zun::media {

/// Reads an address or camera on a thread of its own. Where the run is slower, frames that nobody took are dropped,
/// the oldest first, and counted in a warning at the end; or, where they must not be, the reading waits.
class LiveQueue final : public Decoder {
public:
    LiveQueue(std::unique_ptr<Decoder> source, bool drop);
    ~LiveQueue() override;

    bool next(WantedFrames wanted, Frames &frames) override;

private:
    struct Taken {
        Frames frames;
        std::int64_t time, duration;
    };

    void readOn(WantedFrames wanted);
    void hand(Taken frame);
    void noteLag(std::int64_t taken);

    std::unique_ptr<Decoder> decoder;
    bool const dropsLate;
    std::thread reader;
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Taken> waiting;
    std::exception_ptr failure;
    std::uint64_t dropped = 0;
    bool over = false, stopping = false;
    std::optional<std::chrono::steady_clock::time_point> begun; ///< when a frame of time 0 was or would have been taken
};

} // namespace zun::media
