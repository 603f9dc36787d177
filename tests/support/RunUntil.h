// For tests of what runs in an io_context: they play the other side in the thread that also runs
// it.
#ifndef RUN_UNTIL_H_
#define RUN_UNTIL_H_

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <functional>

// Lets the context work until the condition holds; false when it does not within ten seconds.
inline bool runUntil(boost::asio::io_context& context, const std::function<bool()>& condition)
{
    constexpr std::chrono::seconds kLongEnough{10};
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        context.restart();
        context.run_one_for(std::chrono::milliseconds(1));
    }
    return true;
}

#endif
