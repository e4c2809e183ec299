// Scope guard holding one deferred action, run exactly once on destruction.
// Used to hand every record obtained from a back-end library back to it on
// every path out of the code that read it.
#pragma once

#include <functional>
#include <utility>

class Promise {
public:
    Promise() = default;
    explicit Promise(std::function<void()> deferred) : action(std::move(deferred)) {}
    Promise(const Promise&) = delete;
    Promise& operator=(const Promise&) = delete;

    // An exception escaping the action ends the program (noexcept destructor).
    ~Promise() {
        std::function<void()> pending = std::move(action);
        action = nullptr;
        if (pending) pending();
    }

    void set(std::function<void()> next) { action = std::move(next); }

private:
    std::function<void()> action;
};
