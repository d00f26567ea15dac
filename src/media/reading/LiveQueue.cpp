#include "media/reading/LiveQueue.h"

#include <algorithm>
#include <utility>

#include "media/Host.h"

namespace zun::media {

LiveQueue::LiveQueue(std::unique_ptr<Decoder> source, bool drop) : decoder(std::move(source)), dropsLate(drop) {
    info = decoder->info;
    width = decoder->width;
    height = decoder->height;
    orientation = decoder->orientation;
    leftOut = decoder->leftOut;
}

LiveQueue::~LiveQueue() {
    {
        std::lock_guard const lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    if (reader.joinable()) reader.join();
    if (dropped != 0)
        warnOnce("'" + info.path + "': " + std::to_string(dropped) +
                 " frames were dropped, as they came faster than the run takes them; live: block waits instead");
}

/// Waits until there is a place, or makes one.
void LiveQueue::hand(Taken frame) {
    std::unique_lock lock(mutex);
    if (!dropsLate) changed.wait(lock, [&] { return stopping || !waiting; });
    if (waiting) {
        dropped++;
        liveLag().dropped++;
    }
    waiting = std::move(frame);
    lock.unlock();
    changed.notify_all();
}

void LiveQueue::readOn(WantedFrames wanted) {
    try {
        Frames frames;
        auto const isStopped = [&] {
            std::lock_guard const lock(mutex);
            return stopping;
        };
        while (!isStopped() && decoder->next(wanted, frames))
            hand({std::move(frames), decoder->time, decoder->duration});
    } catch (...) {
        std::lock_guard const lock(mutex);
        failure = std::current_exception();
    }
    std::lock_guard const lock(mutex);
    over = true;
    changed.notify_all();
}

void LiveQueue::noteLag(std::int64_t taken) {
    std::chrono::duration<double> const age(static_cast<double>(taken) * info.timeBase.value());
    auto const now = std::chrono::steady_clock::now();
    auto const beginning = now - std::chrono::duration_cast<std::chrono::steady_clock::duration>(age);
    begun = begun ? std::min(*begun, beginning) : beginning;
    liveLag().seconds = std::chrono::duration<double>(beginning - *begun).count();
}

bool LiveQueue::next(WantedFrames wanted, Frames &frames) {
    if (!reader.joinable()) reader = std::thread([this, wanted] { readOn(wanted); });
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return waiting || over; });
    if (!waiting) {
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
        return false;
    }
    Taken taken = std::move(*waiting);
    waiting.reset();
    lock.unlock();
    changed.notify_all();
    frames = std::move(taken.frames);
    time = taken.time;
    duration = taken.duration;
    noteLag(time);
    return true;
}

} // namespace zun::media
