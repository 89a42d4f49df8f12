#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace kvillo {

// The end of a subscription: destroying it stops the calls. It may outlive
// the list it came from.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            cancel();
            cancel_ = std::exchange(other.cancel_, {});
        }
        return *this;
    }
    ~Subscription() { cancel(); }

    void cancel() {
        if (auto cancel = std::exchange(cancel_, {})) {
            cancel();
        }
    }

private:
    std::function<void()> cancel_;
};

// The functions to call when something changes, in the order they
// subscribed. An observer may subscribe others or cancel any subscription
// while it is being called; one cancelled during a notification is not
// called after that.
//
// Threads: one thread, the owner's.
template <typename... Args>
class ObserverList {
public:
    using Observer = std::function<void(const Args&...)>;

    [[nodiscard]] Subscription subscribe(Observer observer) {
        const auto id = nextID_++;
        entries_->push_back({id, std::move(observer)});
        return Subscription([entries = std::weak_ptr(entries_), id] {
            if (auto list = entries.lock()) {
                std::erase_if(*list, [id](const Entry& entry) { return entry.id == id; });
            }
        });
    }

    void notify(const Args&... args) const {
        // Held here: an observer may destroy the list's owner.
        const auto entries = entries_;
        std::vector<std::uint64_t> ids;
        ids.reserve(entries->size());
        for (const auto& entry : *entries) {
            ids.push_back(entry.id);
        }
        for (auto id : ids) {
            auto entry = std::find_if(entries->begin(), entries->end(),
                                      [id](const Entry& e) { return e.id == id; });
            if (entry != entries->end()) {
                // A copy: the call may cancel its own subscription.
                auto observer = entry->observer;
                observer(args...);
            }
        }
    }

private:
    struct Entry {
        std::uint64_t id;
        Observer observer;
    };

    std::shared_ptr<std::vector<Entry>> entries_ = std::make_shared<std::vector<Entry>>();
    std::uint64_t nextID_ = 0;
};

}  // namespace kvillo
