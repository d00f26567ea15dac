// Texts that are costly to make, by name; those that were used least recently go first.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace zun::studio {

/// Thread-safe.
class TextCache {
public:
    explicit TextCache(std::size_t mostTexts) : most(mostTexts) {}

    /// The text of a name; `make` makes it where it isn't there. Throws what that throws.
    template <class Make>
    std::string get(std::string const &name, Make const &make) {
        {
            std::lock_guard const lock(mutex);
            if (auto const found = byName.find(name); found != byName.end()) {
                texts.splice(texts.begin(), texts, found->second);
                return found->second->second;
            }
        }
        std::string text = make();
        std::lock_guard const lock(mutex);
        if (byName.contains(name)) return text;
        texts.emplace_front(name, text);
        byName[name] = texts.begin();
        if (texts.size() > most) {
            byName.erase(texts.back().first);
            texts.pop_back();
        }
        return text;
    }

private:
    using Texts = std::list<std::pair<std::string, std::string>>;

    std::size_t const most;
    std::mutex mutex;
    Texts texts;
    std::map<std::string, Texts::iterator> byName;
};

} // namespace zun::studio
