#ifndef TESTS_FLEET_EXPORT_HALF_RECEIVER_H
#define TESTS_FLEET_EXPORT_HALF_RECEIVER_H

#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What a receiver does with a request that it has read.
enum class HalfAnswer {
    whole,          ///< takes it
    late,           ///< the same after a moment
    half,           ///< begins to say so, and hangs up
    halfAndWaiting, ///< begins to say so, and says no more
    none,           ///< says nothing
};

/// An HTTP receiver on loopback that answers one request after the other; beyond its list it takes
/// them all.
class HalfReceiver {
public:
    explicit HalfReceiver(std::vector<HalfAnswer> answers);
    ~HalfReceiver();
    HalfReceiver(const HalfReceiver&) = delete;
    HalfReceiver& operator=(const HalfReceiver&) = delete;

    std::string url() const;
    /// Of all requests so far, as they came.
    std::vector<std::string> bodies() const;

private:
    void serve();
    void serveClient(int client);
    bool answer(int client);

    std::vector<HalfAnswer> answers;
    int listener = -1;
    int port = 0;
    mutable std::mutex mutex;
    std::vector<std::string> seen; ///< under the mutex
    std::thread thread;
};

#endif
