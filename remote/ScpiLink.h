#ifndef REMOTE_SCPI_LINK_H
#define REMOTE_SCPI_LINK_H

#include "ScpiRecord.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// One way on which commands come in and replies go out: its parser, its descriptor, the line that
/// is being run, and the reply that is being gathered. A link belongs to one thread.

/// Longest wait for a peer that does not take its reply.
constexpr int scpiReplyTimeout_ms = 5000;

/// More than a line can ask for: 42 times the identity, or the whole error queue.
constexpr size_t scpiLineReplySize = 8192;

struct ScpiLink {
    scpi_t* context;
    /// Where replies go; null while there is no peer. It holds -1 while the port is closed.
    const std::atomic<int32_t>* descriptor;
    bool skipsLine;    ///< the rest of a line that was too long is dropped
    bool peerIsStuck;  ///< a reply could not be delivered
    size_t lineLength; ///< of the line being run, as it was received, in upper case
    std::array<char, scpiInputBufferSize> line;
    size_t replyLength; ///< of the reply being gathered
    std::array<char, 2 * scpiLineReplySize> reply;
};

/// The library's way back to the program; both links share it.
extern scpi_interface_t scpi_interface;

/// A parser with empty buffer and queue, without a descriptor.
void ScpiLink_initialize(ScpiLink* link, scpi_t* context, char (&inputBuffer)[scpiInputBufferSize],
                         scpi_error_t (&errorQueue)[scpiErrorQueueSize]);

/// Runs the lines that become complete with these bytes. The reply to each leaves in one piece,
/// together with those to the queries around it. A line that does not fit the parser's buffer gives
/// one -363 and is dropped up to its end. False when the peer does not take its reply.
bool ScpiLink_receive(ScpiLink* link, std::string_view bytes);

/// True while a line waits for its end, or for its dropped one's: ScpiLink_runPending does nothing
/// otherwise.
bool ScpiLink_isPending(const ScpiLink* link);

/// Runs what is pending, though its end has not come. False as above.
bool ScpiLink_runPending(ScpiLink* link);

/// Forgets what is pending in both directions; errors stay in the queue.
void ScpiLink_discard(ScpiLink* link);

/// The line that is being run, as it was received, in upper case: the library completes headers in
/// its own buffer, which therefore shows other text.
std::string_view ScpiLink_receivedLine(const scpi_t* context);

/// The received line holds the text.
bool ScpiLink_lineContains(const scpi_t* context, std::string_view text);

/// Whether there is still somebody for the replies of this link: one who has only said that nothing
/// more comes (a half-closed connection) may be waiting for them. Does not wait.
enum class ScpiPeer { isThere, saysNoMore, hasGone };
ScpiPeer ScpiLink_peer(const scpi_t* context);

/// Ends the link with its present peer: nothing more of what it has sent is run or answered.
void ScpiLink_giveUpPeer(const scpi_t* context);

/// A question mark stands anywhere in the received line: what commands that set and query go by.
bool ScpiLink_isQuery(const scpi_t* context);

#endif
