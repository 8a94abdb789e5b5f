#include "WebServer.h"

#include "Base64.h"
#include "FleetLoopContext.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/write.hpp>
#include <deque>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::asio::ip::tcp;
using boost::system::error_code;
using std::chrono::seconds;

constexpr size_t longestHeader = 8192;
constexpr size_t mostClients = 200;
constexpr size_t mostReaders = 50;             ///< of events, among them
constexpr size_t mostWaiting = 64UL << 20U;    ///< bytes of answers that clients have not taken yet
constexpr size_t mostEventsWaiting = 16 << 20; ///< bytes for one reader
constexpr int eventRoom = 65536;               ///< bytes that the system keeps for one reader
constexpr seconds requestTime(10);             ///< for a whole request, waiting for it included
constexpr seconds answerTime(60);              ///< for taking a whole answer
constexpr seconds eventTime(10);               ///< for taking a single event
constexpr seconds acceptPause(1);              ///< while no more connections can be taken

constexpr const char* contentPolicy =
    "default-src 'self'; img-src 'self' data: blob:; style-src 'self' 'unsafe-inline'; "
    "frame-ancestors 'none'";

using Answer = http::response<http::span_body<const char>>;

struct WebClient {
    explicit WebClient(tcp::socket socket) : stream(std::move(socket)), buffer(longestHeader * 2) {}

    beast::tcp_stream stream;
    beast::flat_buffer buffer;
    std::optional<http::request_parser<http::empty_body>> parser;
    std::optional<Answer> answer;
    std::shared_ptr<const std::string> body; ///< of the answer
    std::deque<std::shared_ptr<const std::string>> events;
    size_t eventBytes = 0;
    bool isWriting = false; ///< an event
};
using Client = std::shared_ptr<WebClient>;

} // namespace

struct WebServer : std::enable_shared_from_this<WebServer> {
    WebServer(FleetLoop& loop, WebHandler answers)
        : acceptor(loop.context), pause(loop.context), handler(std::move(answers)) {}

    tcp::acceptor acceptor;
    boost::asio::steady_timer pause;
    WebHandler handler;
    std::string bearer; ///< what the header "Authorization" may say; "" without a token
    std::string basic;
    std::set<Client> clients;
    std::set<Client> readers;
    size_t waiting = 0; ///< bytes of answers
};

namespace {

using Server = std::shared_ptr<WebServer>;

void awaitRequest(const Server& server, const Client& client);

/// Takes the same time wherever the first difference is.
bool isSame(std::string_view given, std::string_view wanted) {
    unsigned difference = given.size() == wanted.size() ? 0 : 1;
    for (size_t i = 0; i < wanted.size(); ++i) {
        const char character = given.empty() ? '\0' : given[i % given.size()];
        difference |= static_cast<unsigned char>(character ^ wanted[i]);
    }
    return difference == 0;
}

std::string_view view(beast::string_view text) {
    return {text.data(), text.size()};
}

/// A browser that was sent here under somebody's own name must not carry our readings to him.
bool isOwnName(std::string_view host) {
    const std::optional<MeterAddress> address = MeterAddress_parse(host);
    error_code error;
    if (address) {
        boost::asio::ip::make_address(address->host, error);
    }
    return host.empty() || (address && (!error || address->host == "localhost"));
}

void drop(WebServer& server, const Client& client) {
    error_code ignored;
    client->stream.socket().close(ignored);
    server.clients.erase(client);
    server.readers.erase(client);
}

/// Hangs up so that the client can still read what it was sent.
void hangUp(WebServer& server, const Client& client) {
    error_code ignored;
    client->stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    drop(server, client);
}

template <typename Message> void setCommonFields(Message& message) {
    message.set(http::field::cache_control, "no-store");
    message.set("Content-Security-Policy", contentPolicy);
    message.set("Referrer-Policy", "no-referrer");
    message.set("X-Content-Type-Options", "nosniff");
}

void send(const Server& server, const Client& client) {
    server->waiting += client->body->size();
    client->stream.expires_after(answerTime);
    http::async_write(client->stream, *client->answer,
                      [server, client](const error_code& error, size_t) {
                          server->waiting -= client->body->size();
                          const bool isKept = client->answer->keep_alive();
                          client->answer.reset();
                          client->body.reset();
                          if (!error && isKept) {
                              awaitRequest(server, client);
                          } else {
                              hangUp(*server, client);
                          }
                      });
}

void answer(const Server& server, const Client& client, WebAnswer given) {
    if (given.body && server->waiting + given.body->size() > mostWaiting) {
        given = {503, "text/plain", std::make_shared<std::string>("too many slow clients\n")};
    }
    const auto& request = client->parser->get();
    client->body = given.body ? given.body : std::make_shared<std::string>();
    Answer& message = client->answer.emplace(http::status(given.status), request.version());
    setCommonFields(message);
    message.set(http::field::content_type, given.type);
    if (!given.fileName.empty()) {
        message.set(http::field::content_disposition,
                    "attachment; filename=\"" + given.fileName + "\"");
    }
    if (given.status == static_cast<unsigned>(http::status::unauthorized)) {
        message.set(http::field::www_authenticate, "Basic realm=\"quorvel-fleet\"");
    }
    if (given.status == static_cast<unsigned>(http::status::method_not_allowed)) {
        message.set(http::field::allow, "GET, HEAD");
    }
    message.keep_alive(request.keep_alive() && client->parser->is_done());
    message.content_length(client->body->size());
    if (request.method() != http::verb::head) {
        message.body() = {client->body->data(), client->body->size()};
    }
    send(server, client);
}

void refuse(const Server& server, const Client& client, http::status status, const char* why) {
    answer(server, client,
           {static_cast<unsigned>(status), "text/plain",
            std::make_shared<std::string>(std::string(why) + "\n")});
}

void writeEvents(const Server& server, const Client& client) {
    client->isWriting = true;
    client->stream.expires_after(eventTime);
    boost::asio::async_write(client->stream, boost::asio::buffer(*client->events.front()),
                             [server, client](const error_code& error, size_t) {
                                 if (error) {
                                     drop(*server, client);
                                     return;
                                 }
                                 client->eventBytes -= client->events.front()->size();
                                 client->events.pop_front();
                                 client->isWriting = false;
                                 if (!client->events.empty()) {
                                     writeEvents(server, client);
                                 }
                             });
}

void addEvent(const Server& server, const Client& client,
              const std::shared_ptr<const std::string>& event) {
    if (client->eventBytes + event->size() > mostEventsWaiting && !client->events.empty()) {
        drop(*server, client);
        return;
    }
    client->eventBytes += event->size();
    client->events.push_back(event);
    if (!client->isWriting) {
        writeEvents(server, client);
    }
}

/// A reader has nothing to say; its end is read.
void awaitEnd(const Server& server, const Client& client) {
    client->stream.async_read_some(client->buffer.prepare(1),
                                   [server, client](const error_code& error, size_t) {
                                       if (error) {
                                           drop(*server, client);
                                       } else {
                                           awaitEnd(server, client);
                                       }
                                   });
}

void beginStream(const Server& server, const Client& client) {
    if (server->readers.size() >= mostReaders) {
        refuse(server, client, http::status::service_unavailable, "too many readers of events");
        return;
    }
    http::response<http::empty_body> message(http::status::ok, 11);
    setCommonFields(message);
    message.set(http::field::content_type, "text/event-stream");
    message.keep_alive(false);
    std::ostringstream text;
    text << message.base();
    client->buffer.clear();
    client->stream.expires_never();
    error_code ignored; // without it a slow one is noticed later
    client->stream.socket().set_option(boost::asio::socket_base::send_buffer_size(eventRoom),
                                       ignored);
    awaitEnd(server, client);
    server->readers.insert(client);
    addEvent(server, client, std::make_shared<std::string>(text.str()));
}

bool isAllowed(const WebServer& server, std::string_view authorization) {
    return server.bearer.empty() || isSame(authorization, server.bearer) ||
           isSame(authorization, server.basic);
}

void handle(const Server& server, const Client& client) {
    const auto& request = client->parser->get();
    const auto reply = [server, client](WebAnswer given) {
        if (given.isStream && client->parser->get().method() == http::verb::get) {
            beginStream(server, client);
        } else {
            answer(server, client, std::move(given));
        }
    };
    const std::optional<WebTarget> target = WebTarget_parse(view(request.target()));
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
        refuse(server, client, http::status::method_not_allowed, "this server is read-only");
    } else if (server->bearer.empty() && !isOwnName(view(request[http::field::host]))) {
        refuse(server, client, http::status::forbidden, "ask under the computer's address");
    } else if (!isAllowed(*server, view(request[http::field::authorization]))) {
        refuse(server, client, http::status::unauthorized,
               "the token of the configuration is needed");
    } else if (!target) {
        refuse(server, client, http::status::bad_request, "the address makes no sense");
    } else {
        server->handler(*target, reply);
    }
}

void requestFailed(const Server& server, const Client& client, const error_code& error) {
    const bool isEnd = error == http::error::end_of_stream || error == http::error::partial_message;
    const bool isRequest =
        error.category() == error_code(http::error::bad_version).category() && !isEnd;
    if (!isRequest) {
        drop(*server, client);
    } else if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        refuse(server, client, http::status::request_header_fields_too_large,
               "the request is too long");
    } else {
        refuse(server, client, http::status::bad_request, "this is no request that is served here");
    }
}

void awaitRequest(const Server& server, const Client& client) {
    client->parser.emplace();
    client->parser->header_limit(longestHeader);
    client->stream.expires_after(requestTime);
    http::async_read(client->stream, client->buffer, *client->parser,
                     [server, client](const error_code& error, size_t) {
                         if (error) {
                             requestFailed(server, client, error);
                         } else {
                             handle(server, client);
                         }
                     });
}

void accept(const Server& server);

void acceptLater(const Server& server) {
    server->pause.expires_after(acceptPause);
    server->pause.async_wait([server](const error_code& error) {
        if (!error) {
            accept(server);
        }
    });
}

void accept(const Server& server) {
    server->acceptor.async_accept([server](const error_code& error, tcp::socket socket) {
        if (error == boost::asio::error::operation_aborted) {
            return;
        }
        if (error) { // no descriptors left, say
            acceptLater(server);
            return;
        }
        if (server->clients.size() < mostClients) {
            const auto client = std::make_shared<WebClient>(std::move(socket));
            server->clients.insert(client);
            awaitRequest(server, client);
        }
        accept(server);
    });
}

bool listen(WebServer& server, const MeterAddress& address, std::string& error) {
    error_code failure;
    const auto host = boost::asio::ip::make_address(
        address.host == "localhost" ? "127.0.0.1" : address.host, failure);
    const tcp::endpoint endpoint(host, address.port);
    tcp::acceptor& acceptor = server.acceptor;
    if (!failure) {
        acceptor.open(endpoint.protocol(), failure);
    }
    if (!failure) {
        acceptor.set_option(tcp::acceptor::reuse_address(true), failure);
    }
    if (!failure) {
        acceptor.bind(endpoint, failure);
    }
    if (!failure) {
        acceptor.listen(tcp::acceptor::max_listen_connections, failure);
    }
    error = failure ? failure.message() : "";
    return !failure;
}

} // namespace

std::shared_ptr<WebServer> WebServer_start(FleetLoop& loop, const MeterAddress& address,
                                           const std::string& token, WebHandler handler,
                                           std::string& error) {
    auto server = std::make_shared<WebServer>(loop, std::move(handler));
    if (!token.empty()) {
        server->bearer = "Bearer " + token;
        server->basic = "Basic " + Base64_encode("fleet:" + token);
    }
    if (!listen(*server, address, error)) {
        return nullptr;
    }
    accept(server);
    return server;
}

std::string WebServer_url(const WebServer& server) {
    error_code ignored;
    std::ostringstream text;
    text << "http://" << server.acceptor.local_endpoint(ignored) << "/";
    return text.str();
}

bool WebServer_hasReaders(const WebServer& server) {
    return !server.readers.empty();
}

void WebServer_publish(WebServer& server, const std::shared_ptr<const std::string>& event) {
    const std::set<Client> readers = server.readers; // slow ones leave it meanwhile
    for (const Client& client : readers) {
        addEvent(server.shared_from_this(), client, event);
    }
}

void WebServer_stop(WebServer& server) {
    error_code ignored;
    server.acceptor.close(ignored);
    server.pause.cancel();
    server.readers.clear();
    const std::set<Client> clients = std::exchange(server.clients, {});
    for (const Client& client : clients) {
        client->stream.socket().close(ignored);
    }
}
