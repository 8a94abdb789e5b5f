#include "ExportClient.h"

#include "Base64.h"
#include "FleetLoopContext.h"
#include "FleetText.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <optional>
#include <utility>

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::asio::ip::tcp;
using boost::system::error_code;
using namespace std::chrono_literals;

constexpr auto connectTime = 10s;
constexpr auto sendTime = 60s;
constexpr size_t longestAnswer = 65536;
constexpr int httpVersion = 11;

} // namespace

struct ExportClient : std::enable_shared_from_this<ExportClient> {
    ExportClient(FleetLoop& loop, const ExportUrl& receiver, int64_t answerTime_ms)
        : url(receiver), answerTime(answerTime_ms), resolver(loop.context), stream(loop.context) {}

    ExportUrl url;
    std::chrono::milliseconds answerTime;
    tcp::resolver resolver;
    beast::tcp_stream stream;
    beast::flat_buffer buffer;
    std::optional<http::request<http::span_body<const char>>> request;
    std::optional<http::response_parser<http::string_body>> answer;
    std::string body;
    std::function<void(const ExportAnswer&)> done; ///< none while nothing is sent
    bool isConnected = false;
    bool isFresh = false; ///< the connection has carried nothing yet
};

namespace {

using Client = std::shared_ptr<ExportClient>;

void connect(const Client& client);

void hangUp(ExportClient& client) {
    error_code ignored;
    client.stream.socket().close(ignored);
    client.isConnected = false;
}

void end(ExportClient& client, const ExportAnswer& answer) {
    if (const auto done = std::exchange(client.done, nullptr)) {
        done(answer);
    }
}

/// A connection that rested may have been closed by the other side meanwhile: that is no failure of
/// the receiver's, which takes a batch twice without harm.
void fail(const Client& client, const error_code& error) {
    hangUp(*client);
    if (!client->isFresh && client->done) {
        connect(client);
    } else {
        end(*client, {0, error.message()});
    }
}

/// The first line of what a receiver says, fit for a journal.
std::string firstLine(const std::string& text) {
    return FleetText_clean(text.substr(0, text.find_first_of("\r\n")));
}

void takeAnswer(ExportClient& client) {
    const auto& message = client.answer->get();
    const unsigned status = message.result_int();
    const std::string reason(message.reason());
    const std::string said = firstLine(message.body());
    if (!message.keep_alive()) {
        hangUp(client);
    }
    end(client, {status, std::to_string(status) + " " + FleetText_clean(reason) +
                             (said.empty() ? "" : ": " + said)});
}

void awaitAnswer(const Client& client) {
    client->answer.emplace();
    client->answer->body_limit(longestAnswer);
    client->stream.expires_after(client->answerTime);
    http::async_read(client->stream, client->buffer, *client->answer,
                     [client](const error_code& error, size_t) {
                         if (error) {
                             fail(client, error);
                         } else {
                             client->isFresh = false;
                             takeAnswer(*client);
                         }
                     });
}

void send(const Client& client) {
    client->stream.expires_after(sendTime);
    http::async_write(client->stream, *client->request, [client](const error_code& error, size_t) {
        if (error) {
            fail(client, error);
        } else {
            awaitAnswer(client);
        }
    });
}

void connect(const Client& client) {
    client->isFresh = true;
    client->buffer.clear();
    const auto connected = [client](const error_code& error, const tcp::endpoint&) {
        if (error) {
            fail(client, error);
        } else {
            client->isConnected = true;
            send(client);
        }
    };
    client->resolver.async_resolve(
        client->url.address.host, std::to_string(client->url.address.port),
        [client, connected](const error_code& error, const tcp::resolver::results_type& found) {
            if (error) {
                fail(client, error);
            } else {
                client->stream.expires_after(connectTime);
                client->stream.async_connect(found, connected);
            }
        });
}

std::string authorizationOf(const ExportUrl& url) {
    if (url.hasPassword) {
        return "Basic " + Base64_encode(url.user + ":" + url.password);
    }
    return url.user.empty() ? "" : "Token " + url.user;
}

std::string hostOf(const ExportUrl& url) {
    const bool isV6 = url.address.host.find(':') != std::string::npos;
    return (isV6 ? "[" + url.address.host + "]" : url.address.host) + ":" +
           std::to_string(url.address.port);
}

void writeRequest(ExportClient& client) {
    auto& request = client.request.emplace(http::verb::post, client.url.target, httpVersion);
    request.set(http::field::host, hostOf(client.url));
    request.set(http::field::user_agent, "quorvel-fleet");
    request.set(http::field::content_type, "text/plain; charset=utf-8");
    request.set(http::field::content_encoding, "gzip");
    if (const std::string authorization = authorizationOf(client.url); !authorization.empty()) {
        request.set(http::field::authorization, authorization);
    }
    request.body() = {client.body.data(), client.body.size()};
    request.content_length(client.body.size());
}

} // namespace

std::shared_ptr<ExportClient> ExportClient_create(FleetLoop& loop, const ExportUrl& url,
                                                  int64_t answerTime_ms) {
    return std::make_shared<ExportClient>(loop, url, answerTime_ms);
}

void ExportClient_post(ExportClient& client, std::string body,
                       std::function<void(const ExportAnswer&)> done) {
    client.body = std::move(body);
    client.done = std::move(done);
    writeRequest(client);
    if (client.isConnected) {
        send(client.shared_from_this());
    } else {
        connect(client.shared_from_this());
    }
}

void ExportClient_stop(ExportClient& client) {
    client.done = nullptr;
    client.resolver.cancel();
    hangUp(client);
}
