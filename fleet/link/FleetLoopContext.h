#ifndef FLEET_LINK_FLEET_LOOP_CONTEXT_H
#define FLEET_LINK_FLEET_LOOP_CONTEXT_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <list>

/// The loop as those see it who wait for something on it.

struct FleetTimer {
    boost::asio::steady_timer timer;
    std::chrono::milliseconds period;
    std::function<void()> callback;
};

struct FleetLoop {
    boost::asio::io_context context{1};
    std::list<FleetTimer> timers;
    std::list<boost::asio::signal_set> signals;
};

#endif
