#include "ScpiLink.h"

#include "RetryInterrupted.h"
#include "ScpiCommands.h"
#include "ThreadWatch.h"
#include "message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr const char* manufacturer = "QUORVEL-TECHNOLOGIES";

ScpiLink* linkOf(const scpi_t* context) {
    return static_cast<ScpiLink*>(context->user_context);
}

/// One try. A socket never blocks here; a terminal does for as long as its line takes.
ssize_t sendSome(int fd, const char* bytes, size_t length) {
    const ssize_t sent =
        retryInterrupted([&] { return send(fd, bytes, length, MSG_NOSIGNAL | MSG_DONTWAIT); });
    if (sent == -1 && errno == ENOTSOCK) {
        const ThreadRest rest;
        return retryInterrupted([&] { return write(fd, bytes, length); });
    }
    return sent;
}

bool waitUntilWritable(int fd) {
    const ThreadRest rest;
    pollfd waited{fd, POLLOUT, 0};
    return retryInterrupted([&] { return poll(&waited, 1, scpiReplyTimeout_ms); }) > 0;
}

/// False when the peer has taken nothing for scpiReplyTimeout_ms, or is gone.
bool sendAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = sendSome(fd, bytes.data(), bytes.size());
        if (sent > 0) {
            bytes.remove_prefix(static_cast<size_t>(sent));
        } else if (sent == 0 || (errno != EAGAIN && errno != EWOULDBLOCK) ||
                   !waitUntilWritable(fd)) {
            return false;
        }
    }
    return true;
}

void sendReply(ScpiLink* link) {
    const int fd = link->descriptor == nullptr ? -1 : link->descriptor->load();
    if (link->replyLength > 0 && fd >= 0 && !link->peerIsStuck &&
        !sendAll(fd, {link->reply.data(), link->replyLength})) {
        link->peerIsStuck = true;
    }
    link->replyLength = 0;
}

size_t SCPI_Write(scpi_t* context, const char* data, size_t length) {
    ScpiLink* link = linkOf(context);
    if (link->descriptor == nullptr || *link->descriptor < 0) {
        return 0;
    }
    for (size_t taken = 0; taken < length;) {
        if (link->replyLength == link->reply.size()) {
            sendReply(link);
        }
        const size_t part = std::min(length - taken, link->reply.size() - link->replyLength);
        memcpy(link->reply.data() + link->replyLength, data + taken, part);
        link->replyLength += part;
        taken += part;
    }
    return length;
}

/// Replies leave when the lines that came in with them have been run, whether or not the library
/// flushes.
scpi_result_t SCPI_Flush(scpi_t*) {
    return SCPI_RES_OK;
}

int SCPI_Error(scpi_t*, int_fast16_t error) {
    const auto code = static_cast<int16_t>(error);
    DIAGNOSTIC("**ERROR: %d, %s", code, SCPI_ErrorTranslate(code));
    return SCPI_RES_ERR;
}

scpi_result_t SCPI_Control(scpi_t*, scpi_ctrl_name_t control, scpi_reg_val_t value) {
    if (control == SCPI_CTRL_SRQ) {
        DIAGNOSTIC("**SRQ: 0x%X (%d)", value, value);
    } else {
        DIAGNOSTIC("**CTRL %02x: 0x%X (%d)", static_cast<unsigned>(control), value, value);
    }
    return SCPI_RES_OK;
}

scpi_result_t SCPI_Reset(scpi_t*) {
    DIAGNOSTIC("**Reset");
    return SCPI_RES_OK;
}

bool endsLine(char c) {
    return c == '\r' || c == '\n';
}

/// A quoted text may begin at a parameter only: any other quote is an error of its line.
bool opensQuotedText(std::string_view text, size_t at) {
    return (text[at] == '"' || text[at] == '\'') && at > 0 &&
           (text[at - 1] == ' ' || text[at - 1] == '\t' || text[at - 1] == ',');
}

/// Bytes up to the first line end that is not part of a whole quoted text, the end included; all
/// of them where there is none.
size_t firstLineLength(std::string_view text) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (opensQuotedText(text, at)) {
            const size_t close = text.find(text[at], at + 1);
            at = close == std::string_view::npos ? at : close;
        } else if (endsLine(text[at])) {
            const bool isPair = text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n';
            return at + (isPair ? 2 : 1);
        }
    }
    return text.size();
}

/// How many of the new bytes belong to the line that is pending.
size_t lineShare(const ScpiLink* link, std::string_view bytes) {
    const scpi_buffer_t& pending = link->context->buffer;
    if (pending.position == 0) {
        return firstLineLength(bytes);
    }
    std::array<char, 2 * scpiInputBufferSize> text;
    const size_t added = std::min(bytes.size(), text.size() - pending.position);
    memcpy(text.data(), pending.data, pending.position);
    memcpy(text.data() + pending.position, bytes.data(), added);
    const size_t length = firstLineLength({text.data(), pending.position + added});
    return std::max<size_t>(length - std::min(length, pending.position), 1);
}

/// What the library will run: what it holds already, and the new bytes.
void rememberLine(ScpiLink* link, std::string_view bytes) {
    const scpi_buffer_t& pending = link->context->buffer;
    const size_t held = std::min(pending.position, link->line.size());
    const size_t added = std::min(bytes.size(), link->line.size() - held);
    const auto upper = [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    };
    std::transform(pending.data, pending.data + held, link->line.begin(), upper);
    std::transform(bytes.data(), bytes.data() + added, link->line.data() + held, upper);
    link->lineLength = held + added;
}

bool fits(const ScpiLink* link, size_t length) {
    return link->context->buffer.position + length < link->context->buffer.length;
}

void refuseLine(ScpiLink* link) {
    link->context->buffer.position = 0;
    link->skipsLine = true;
    SCPI_ErrorPush(link->context, SCPI_ERROR_INPUT_BUFFER_OVERRUN);
}

/// One line, or a part of one that has no end yet.
void takeLine(ScpiLink* link, std::string_view bytes) {
    if (!link->skipsLine && fits(link, bytes.size())) {
        // Replies that came in one go may leave in one go, but none waits for a command that is no
        // query: those may take their time. Nor does a line begin whose reply may not fit.
        if (bytes.find('?') == std::string_view::npos ||
            link->replyLength > link->reply.size() - scpiLineReplySize) {
            sendReply(link);
        }
        rememberLine(link, bytes);
        SCPI_Input(link->context, bytes.data(), static_cast<int>(bytes.size()));
        return;
    }
    if (!link->skipsLine) {
        refuseLine(link);
    }
    link->skipsLine = !endsLine(bytes.back());
}

} // namespace

scpi_interface_t scpi_interface = {SCPI_Error, SCPI_Write, SCPI_Control, SCPI_Flush, SCPI_Reset};

void ScpiLink_initialize(ScpiLink* link, scpi_t* context, char (&inputBuffer)[scpiInputBufferSize],
                         scpi_error_t (&errorQueue)[scpiErrorQueueSize]) {
    *link = ScpiLink{};
    link->context = context;
    SCPI_Init(context, scpi_commands.data(), &scpi_interface, scpi_units_def, manufacturer, nullptr,
              nullptr, nullptr, inputBuffer, sizeof inputBuffer, errorQueue,
              static_cast<int16_t>(scpiErrorQueueSize));
    context->user_context = link;
#ifndef QUORVEL_SCPI_LACKS_OPTIONS
    SCPI_SetOptions(context, SCPI_OPTION_RETRY_AS_WRITTEN | SCPI_OPTION_DOTTED_ADDRESS |
                                 SCPI_OPTION_DIGIT_NODES);
#endif
}

bool ScpiLink_receive(ScpiLink* link, std::string_view bytes) {
    while (!bytes.empty() && !link->peerIsStuck) {
        const size_t length = lineShare(link, bytes);
        takeLine(link, bytes.substr(0, length));
        bytes.remove_prefix(length);
    }
    sendReply(link);
    return !link->peerIsStuck;
}

bool ScpiLink_isPending(const ScpiLink* link) {
    return link->context->buffer.position > 0 || link->skipsLine;
}

bool ScpiLink_runPending(ScpiLink* link) {
    link->skipsLine = false;
    rememberLine(link, {});
    SCPI_Input(link->context, nullptr, 0);
    sendReply(link);
    return !link->peerIsStuck;
}

void ScpiLink_discard(ScpiLink* link) {
    link->context->buffer.position = 0;
    link->skipsLine = false;
    link->peerIsStuck = false;
    link->lineLength = 0;
    link->replyLength = 0;
}

std::string_view ScpiLink_receivedLine(const scpi_t* context) {
    const ScpiLink* link = linkOf(context);
    return {link->line.data(), link->lineLength};
}

bool ScpiLink_lineContains(const scpi_t* context, std::string_view text) {
    return ScpiLink_receivedLine(context).find(text) != std::string_view::npos;
}

ScpiPeer ScpiLink_peer(const scpi_t* context) {
    const ScpiLink* link = linkOf(context);
    pollfd looked{link->descriptor == nullptr ? -1 : link->descriptor->load(), POLLRDHUP, 0};
    retryInterrupted([&] { return poll(&looked, 1, 0); });
    if (looked.fd < 0 || (looked.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        return ScpiPeer::hasGone;
    }
    return (looked.revents & POLLRDHUP) != 0 ? ScpiPeer::saysNoMore : ScpiPeer::isThere;
}

void ScpiLink_giveUpPeer(const scpi_t* context) {
    linkOf(context)->peerIsStuck = true;
}

bool ScpiLink_isQuery(const scpi_t* context) {
    return ScpiLink_lineContains(context, "?");
}
