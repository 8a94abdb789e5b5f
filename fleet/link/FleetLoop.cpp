#include "FleetLoop.h"

#include "FleetLoopContext.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <csignal>
#include <utility>

namespace {

using boost::system::error_code;

template <typename Clock> int64_t now_ns() {
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

void arm(FleetTimer& timer) {
    timer.timer.async_wait([&timer](const error_code& error) {
        if (!error) {
            timer.timer.expires_after(timer.period);
            arm(timer);
            timer.callback();
        }
    });
}

void wait(boost::asio::signal_set& signals, const std::function<void()>& callback) {
    signals.async_wait([&signals, callback](const error_code& error, int) {
        if (!error) {
            wait(signals, callback);
            callback();
        }
    });
}

} // namespace

std::shared_ptr<FleetLoop> FleetLoop_create() {
    return std::make_shared<FleetLoop>();
}

void FleetLoop_run(FleetLoop& loop) {
    const auto work = boost::asio::make_work_guard(loop.context);
    loop.context.run();
}

void FleetLoop_stop(FleetLoop& loop) {
    loop.context.stop();
}

void FleetLoop_post(FleetLoop& loop, std::function<void()> callback) {
    boost::asio::post(loop.context, std::move(callback));
}

void FleetLoop_every(FleetLoop& loop, int64_t period_ms, std::function<void()> callback) {
    const std::chrono::milliseconds period(period_ms);
    FleetTimer& timer = loop.timers.emplace_back(
        FleetTimer{boost::asio::steady_timer(loop.context, period), period, std::move(callback)});
    arm(timer);
}

void FleetLoop_onEnd(FleetLoop& loop, const std::function<void()>& callback) {
    wait(loop.signals.emplace_back(loop.context, SIGINT, SIGTERM), callback);
}

int64_t FleetLoop_monotonic_ns() {
    return now_ns<std::chrono::steady_clock>();
}

int64_t FleetLoop_wall_ns() {
    return now_ns<std::chrono::system_clock>();
}
