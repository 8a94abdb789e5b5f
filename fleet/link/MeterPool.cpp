#include "MeterPool.h"

#include "FleetClock.h"
#include "FleetLoopContext.h"
#include "MeterPicture.h"
#include "ReconnectPause.h"

#include <algorithm>
#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cmath>
#include <deque>
#include <queue>
#include <utility>
#include <vector>

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr int64_t millisecond_ns = 1'000'000;
constexpr int64_t leavesFrom_ms = 5000; ///< from this interval on the meter is left between polls
constexpr int64_t grid_ms = 5;          ///< polls that are due together are begun together
constexpr int64_t sweep_ms = 100;       ///< how often waiting ends where it has lasted too long
constexpr int64_t follow_ms = 1000;     ///< how often the wall clock is compared
constexpr size_t receiveSize = 65536;
constexpr int64_t none = -1;

enum class LinkState { closed, connecting, idle, asking, picturing };

struct Link {
    Link(boost::asio::io_context& context, size_t number, MeterTarget meter)
        : index(number), target(std::move(meter)), socket(context), resolver(context),
          pause(ReconnectPause_create(static_cast<uint32_t>(number) + 1)) {}

    size_t index;
    MeterTarget target;
    tcp::socket socket;
    tcp::resolver resolver;
    MeterDialogue dialogue;
    MeterPicture picture;
    std::function<void(const std::string&)> pictureDone; ///< none where nobody asks for it
    ReconnectPause pause;
    MeterCounts counts;
    LinkState state = LinkState::closed;
    bool isThere = false;
    bool isDropped = false;
    bool wasTold = false;       ///< whether it is there
    uint64_t connection = 0;    ///< counts; what comes for an older one is of no interest
    int64_t deadline_ms = 0;    ///< of connecting and asking
    int64_t retryAt_ms = 0;     ///< not before
    int64_t dueCount = 0;       ///< polls that were due so far
    int64_t pendingPoll = none; ///< number of the poll that is under way
};

struct DuePoll {
    int64_t time_ms;
    size_t meter;

    bool operator>(const DuePoll& other) const {
        return time_ms > other.time_ms;
    }
};

} // namespace

struct MeterPool {
    MeterPool(const std::shared_ptr<FleetLoop>& carrier, MeterPoolHandlers callbacks,
              int64_t limit_ms)
        : loop(carrier), handlers(std::move(callbacks)), answerTime_ms(limit_ms),
          clock(FleetClock_start(FleetLoop_monotonic_ns(), FleetLoop_wall_ns())),
          timer(carrier->context) {}

    std::shared_ptr<FleetLoop> loop;
    MeterPoolHandlers handlers;
    int64_t answerTime_ms;
    FleetClock clock;
    boost::asio::steady_timer timer;
    std::deque<Link> links;
    std::priority_queue<DuePoll, std::vector<DuePoll>, std::greater<>> duePolls;
    std::array<char, receiveSize> received{};
    int64_t nextSweep_ms = 0;
    int64_t nextFollow_ms = 0;
    bool isStopped = false;
};

namespace {

int64_t monotonic_ms() {
    return FleetLoop_monotonic_ns() / millisecond_ns;
}

void report(MeterPool& pool, Link& link, int64_t number, bool isAnswered) {
    ++(isAnswered ? link.counts.polls : link.counts.missed);
    pool.handlers.polled({link.index, number, isAnswered ? &link.dialogue : nullptr});
}

void tell(MeterPool& pool, Link& link, bool isThere, const std::string& why) {
    if (link.wasTold && link.isThere == isThere) {
        return;
    }
    link.isThere = isThere;
    link.wasTold = true;
    pool.handlers.changed(link.index, isThere, why);
}

void hangUp(Link& link) {
    error_code ignored;
    link.socket.close(ignored);
    link.resolver.cancel();
    ++link.connection;
    link.state = LinkState::closed;
}

/// Lets others have their turn, if that is wanted.
void leave(Link& link) {
    if (!link.target.holds && link.target.interval_ms >= leavesFrom_ms) {
        hangUp(link);
    }
}

void endPicture(Link& link, const std::string& png) {
    link.picture = {};
    if (const auto done = std::exchange(link.pictureDone, nullptr)) {
        done(png);
    }
}

void fail(MeterPool& pool, Link& link, const std::string& why) {
    link.counts.reconnects += link.isThere ? 1 : 0;
    hangUp(link);
    link.retryAt_ms = monotonic_ms() + ReconnectPause_next_ms(link.pause);
    tell(pool, link, false, why);
    if (link.pendingPoll != none) {
        report(pool, link, std::exchange(link.pendingPoll, none), false);
    }
    endPicture(link, {});
}

void beginPicture(MeterPool& pool, Link& link);

void finish(MeterPool& pool, Link& link) {
    link.state = LinkState::idle;
    ReconnectPause_reset(link.pause);
    tell(pool, link, true, {});
    if (link.isDropped) {
        return;
    }
    report(pool, link, std::exchange(link.pendingPoll, none), true);
    if (link.pictureDone && !link.isDropped) {
        beginPicture(pool, link);
    } else {
        leave(link);
    }
}

void send(MeterPool& pool, Link& link, const std::string& request) {
    error_code error;
    const size_t sent = link.socket.write_some(boost::asio::buffer(request), error);
    // All that went before has been answered: the socket has room, if there is still somebody.
    if (error || sent != request.size()) {
        fail(pool, link, error ? error.message() : "the meter takes no more questions");
        return;
    }
    link.state = LinkState::asking;
    link.deadline_ms = monotonic_ms() + pool.answerTime_ms;
}

void beginPicture(MeterPool& pool, Link& link) {
    send(pool, link, MeterPicture_request());
    if (link.state == LinkState::asking) {
        link.state = LinkState::picturing;
    }
}

void ask(MeterPool& pool, Link& link) {
    send(pool, link, MeterDialogue_begin(link.dialogue, monotonic_ms()));
}

void takePicture(MeterPool& pool, Link& link, std::string_view bytes) {
    std::string png;
    const MeterPictureStep step = MeterPicture_receive(link.picture, bytes, png);
    if (step == MeterPictureStep::broken) {
        fail(pool, link, "an answer was lost, or is none of a meter");
    }
    if (step == MeterPictureStep::waits || step == MeterPictureStep::broken) {
        return;
    }
    link.state = LinkState::idle;
    endPicture(link, png);
    if (link.pendingPoll != none) {
        ask(pool, link);
    } else {
        leave(link);
    }
}

void take(MeterPool& pool, Link& link, std::string_view bytes) {
    if (link.state == LinkState::picturing) {
        takePicture(pool, link, bytes);
        return;
    }
    const int64_t utc_ns = FleetClock_utc_ns(pool.clock, FleetLoop_monotonic_ns());
    std::string request;
    switch (MeterDialogue_receive(link.dialogue, bytes, utc_ns / millisecond_ns, request)) {
    case MeterStep::waits:
        break;
    case MeterStep::asksMore:
        send(pool, link, request);
        break;
    case MeterStep::done:
        finish(pool, link);
        break;
    case MeterStep::broken:
        fail(pool, link, "an answer was lost, or is none of a meter");
        break;
    }
}

/// Reads what there is; without anybody waiting, the end of the connection is read, too.
void receive(MeterPool& pool, Link& link) {
    error_code error;
    const size_t count = link.socket.read_some(boost::asio::buffer(pool.received), error);
    if (error == boost::asio::error::would_block) {
        return;
    }
    if (error) {
        fail(pool, link,
             error == boost::asio::error::eof ? "the meter has hung up" : error.message());
        return;
    }
    take(pool, link, {pool.received.data(), count});
}

void awaitBytes(MeterPool& pool, Link& link) {
    const uint64_t connection = link.connection;
    link.socket.async_wait(tcp::socket::wait_read,
                           [&pool, &link, connection](const error_code& error) {
                               if (pool.isStopped || link.connection != connection) {
                                   return;
                               }
                               if (error) {
                                   fail(pool, link, error.message());
                                   return;
                               }
                               receive(pool, link);
                               if (link.connection == connection) {
                                   awaitBytes(pool, link);
                               }
                           });
}

void begin(MeterPool& pool, Link& link) {
    error_code error;
    link.socket.non_blocking(true, error);
    if (!error) {
        link.socket.set_option(tcp::no_delay(true), error);
    }
    if (error) {
        fail(pool, link, error.message());
        return;
    }
    MeterDialogue_reconnect(link.dialogue);
    const uint64_t connection = link.connection;
    ask(pool, link);
    if (link.connection == connection) {
        awaitBytes(pool, link);
    }
}

void connectTo(MeterPool& pool, Link& link, const tcp::resolver::results_type& endpoints) {
    const uint64_t connection = link.connection;
    boost::asio::async_connect(
        link.socket, endpoints,
        [&pool, &link, connection](const error_code& error, const tcp::endpoint&) {
            if (pool.isStopped || link.connection != connection) {
                return;
            }
            if (error) {
                fail(pool, link, error.message());
            } else {
                begin(pool, link);
            }
        });
}

void connect(MeterPool& pool, Link& link) {
    link.state = LinkState::connecting;
    link.deadline_ms = monotonic_ms() + pool.answerTime_ms;
    const MeterAddress& address = link.target.address;
    error_code error;
    const auto numeric = boost::asio::ip::make_address(address.host, error);
    if (!error) {
        connectTo(pool, link,
                  tcp::resolver::results_type::create(tcp::endpoint(numeric, address.port),
                                                      address.host, {}));
        return;
    }
    const uint64_t connection = link.connection;
    link.resolver.async_resolve(
        address.host, std::to_string(address.port), tcp::resolver::numeric_service,
        [&pool, &link, connection](const error_code& failure,
                                   const tcp::resolver::results_type& endpoints) {
            if (pool.isStopped || link.connection != connection) {
                return;
            }
            if (failure) {
                fail(pool, link, "the name is not known: " + failure.message());
            } else {
                connectTo(pool, link, endpoints);
            }
        });
}

void pollIsDue(MeterPool& pool, Link& link) {
    const int64_t number = link.dueCount++;
    const bool isBusy = link.pendingPoll != none;
    if (isBusy || (link.state == LinkState::closed && monotonic_ms() < link.retryAt_ms)) {
        report(pool, link, number, false);
        return;
    }
    link.pendingPoll = number;
    if (link.state == LinkState::picturing) {
        return; // it is asked behind the picture
    }
    if (link.state == LinkState::idle) {
        ask(pool, link);
    } else {
        connect(pool, link);
    }
}

/// A poll that is overdue by whole intervals has been missed.
void runDuePolls(MeterPool& pool, int64_t now_ms) {
    while (!pool.duePolls.empty() && pool.duePolls.top().time_ms <= now_ms) {
        DuePoll due = pool.duePolls.top();
        pool.duePolls.pop();
        Link& link = pool.links[due.meter];
        if (link.isDropped) {
            continue;
        }
        due.time_ms += link.target.interval_ms;
        pool.duePolls.push(due);
        if (due.time_ms <= now_ms) {
            report(pool, link, link.dueCount++, false);
        } else {
            pollIsDue(pool, link);
        }
    }
}

void endLongWaits(MeterPool& pool, int64_t now_ms) {
    // By index: what is told of one meter may add another.
    for (size_t i = 0; i < pool.links.size(); ++i) {
        Link& link = pool.links[i];
        const bool isWaiting = link.pendingPoll != none || link.state == LinkState::picturing;
        if (isWaiting && now_ms >= link.deadline_ms) {
            fail(pool, link,
                 link.state == LinkState::connecting ? "it cannot be reached"
                                                     : "it does not answer");
        }
    }
}

void tick(MeterPool& pool);

void arm(MeterPool& pool) {
    int64_t next_ms = pool.nextSweep_ms;
    if (!pool.duePolls.empty()) {
        const int64_t due_ms = pool.duePolls.top().time_ms;
        next_ms = std::min(next_ms, (due_ms + grid_ms - 1) / grid_ms * grid_ms);
    }
    pool.timer.expires_at(
        std::chrono::steady_clock::time_point(std::chrono::milliseconds(next_ms)));
    pool.timer.async_wait([&pool](const error_code& error) {
        if (!error && !pool.isStopped) {
            tick(pool);
        }
    });
}

void tick(MeterPool& pool) {
    const int64_t now_ms = monotonic_ms();
    if (now_ms >= pool.nextFollow_ms) {
        pool.nextFollow_ms = now_ms + follow_ms;
        FleetClock_follow(pool.clock, FleetLoop_monotonic_ns(), FleetLoop_wall_ns());
    }
    runDuePolls(pool, now_ms);
    if (now_ms >= pool.nextSweep_ms) {
        pool.nextSweep_ms = now_ms + sweep_ms;
        endLongWaits(pool, now_ms);
    }
    if (!pool.isStopped) {
        arm(pool);
    }
}

/// Where in its interval a meter is polled: by the golden section, so that any number of meters is
/// spread evenly.
int64_t phase_ms(size_t index, int64_t interval_ms) {
    constexpr double golden = 0.6180339887498949;
    const double turns = static_cast<double>(index) * golden;
    return static_cast<int64_t>((turns - std::floor(turns)) * static_cast<double>(interval_ms));
}

} // namespace

std::shared_ptr<MeterPool> MeterPool_create(const std::shared_ptr<FleetLoop>& loop,
                                            MeterPoolHandlers handlers, int64_t answerTime_ms) {
    return std::make_shared<MeterPool>(loop, std::move(handlers), answerTime_ms);
}

size_t MeterPool_add(MeterPool& pool, const MeterTarget& target) {
    const size_t index = pool.links.size();
    pool.links.emplace_back(pool.loop->context, index, target);
    pool.duePolls.push({monotonic_ms() + phase_ms(index, target.interval_ms), index});
    arm(pool);
    return index;
}

void MeterPool_drop(MeterPool& pool, size_t meter) {
    Link& link = pool.links[meter];
    link.isDropped = true;
    link.pendingPoll = none;
    hangUp(link);
    endPicture(link, {});
}

bool MeterPool_askPicture(MeterPool& pool, size_t meter,
                          std::function<void(const std::string& png)> done) {
    Link& link = pool.links[meter];
    if (!link.isThere || link.isDropped || link.pictureDone) {
        return false;
    }
    link.pictureDone = std::move(done);
    if (link.state == LinkState::idle) {
        beginPicture(pool, link);
    }
    return true;
}

void MeterPool_stop(MeterPool& pool) {
    pool.isStopped = true;
    pool.timer.cancel();
    for (Link& link : pool.links) {
        hangUp(link);
    }
}

const MeterDialogue& MeterPool_dialogue(const MeterPool& pool, size_t meter) {
    return pool.links[meter].dialogue;
}

const MeterCounts& MeterPool_counts(const MeterPool& pool, size_t meter) {
    return pool.links[meter].counts;
}

bool MeterPool_isThere(const MeterPool& pool, size_t meter) {
    return pool.links[meter].isThere;
}

int64_t MeterPool_utc_ms(const MeterPool& pool) {
    return FleetClock_utc_ns(pool.clock, FleetLoop_monotonic_ns()) / millisecond_ns;
}
