#include "studio/Server.h"

#include <array>
#include <atomic>
#include <charconv>
#include <functional>
#include <new>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <sys/random.h>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "studio/TextCache.h"
#include "studio/ValueTexts.h"

namespace zun::studio {
namespace {

using namespace std::chrono_literals;
using httplib::Request, httplib::Response;
using nlohmann::json;

constexpr std::size_t largestBody = 1u << 20;
constexpr int mostEventStreams = 16;     ///< each has a thread for as long as it lasts
constexpr std::size_t otherThreads = 48; ///< connections that a browser keeps open have one, too
constexpr auto pingPeriod = 15s;
constexpr auto stopPeriod = 250ms;
constexpr std::size_t mostThumbs = 1000, mostLayouts = 16;

constexpr char const *neverStored = "no-store", *immutable = "private, max-age=31536000, immutable";
constexpr char const *jsonType = "application/json", *pngType = "image/png", *bytesType = "application/octet-stream";

/// What a request is refused with.
struct HttpError : Exception {
    HttpError(int httpStatus, std::string const &message) : Exception(message), status(httpStatus) {}

    int status;
};

std::string randomHex() {
    std::array<unsigned char, 16> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw Exception("the system gives no random numbers, without which the studio isn't safe");
    std::string text;
    for (unsigned char const byte : bytes)
        for (int const digit : {byte >> 4, byte & 15}) text += "0123456789abcdef"[digit];
    return text;
}

/// Takes the same time wherever two texts differ.
bool same(std::string const &a, std::string const &b) {
    unsigned char difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); i++)
        difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

/// Sends a body as it is. The library would compress it otherwise, which costs more here than it saves.
void send(Response &response, std::string body, char const *type, char const *stored = neverStored) {
    response.set_header("Cache-Control", stored);
    if (body.empty()) return response.set_content(body, type);
    auto const shared = std::make_shared<std::string const>(std::move(body));
    response.set_content_provider(shared->size(), type,
                                  [shared](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                                      return sink.write(shared->data() + offset, length);
                                  });
}

void sendError(Response &response, int status, std::string const &message) {
    response.status = status;
    send(response, json{{"error", message}}.dump(-1, ' ', false, json::error_handler_t::replace), jsonType);
}

int statusOf(Refusal const &refusal) {
    switch (refusal.kind) {
    case Refusal::Kind::Conflict:
        return 409;
    case Refusal::Kind::Gone:
        return 410;
    case Refusal::Kind::Wrong:
        break;
    }
    return 400;
}

/// Carries out a request; what it throws becomes its answer.
void answer(Response &response, std::function<void()> const &action) {
    try {
        action();
    } catch (Refusal const &refusal) {
        sendError(response, statusOf(refusal), refusal.what());
    } catch (HttpError const &error) {
        sendError(response, error.status, error.what());
    } catch (json::exception const &) {
        sendError(response, 400, "a field of the request is missing, or has another type than it should");
    } catch (std::bad_alloc const &) {
        sendError(response, 500, "there is not enough memory");
    } catch (std::exception const &error) {
        sendError(response, 404, error.what());
    }
}

template <class Number>
Number numberIn(Request const &request, char const *name) {
    std::string const text = request.get_param_value(name);
    Number number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw HttpError(400, std::string("the request needs a number as '") + name + "'");
    return number;
}

Direction directionIn(Request const &request) {
    std::string const direction = request.get_param_value("direction");
    if (direction != "LR" && direction != "TB") throw HttpError(400, "the direction is LR or TB");
    return direction == "LR" ? Direction::LeftToRight : Direction::TopToBottom;
}

/// The body of a request. Its type keeps forms of other sites out, which can't send it.
json bodyOf(Request const &request) {
    if (!request.get_header_value("Content-Type").starts_with(jsonType))
        throw HttpError(415, std::string("requests have the type ") + jsonType);
    json body = json::parse(request.body, nullptr, false);
    if (!body.is_object()) throw HttpError(400, "the request holds no JSON object");
    return body;
}

Tick tickIn(json const &body) {
    json const &tick = body.at("tick");
    if (!tick.is_number_unsigned()) throw HttpError(400, "a tick is a number from 0 up");
    return tick.get<Tick>();
}

/// Of the host in an address: "192.168.1.2", "[fe80::1]". Other sites have names, which their owners can point
/// anywhere.
bool isNumericAddress(std::string host) {
    in6_addr unused{};
    if (host.starts_with('[') && host.ends_with(']'))
        return ::inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &unused) == 1;
    return ::inet_pton(AF_INET, host.c_str(), &unused) == 1;
}

} // namespace

class Server::Implementation {
public:
    Implementation(Session &served, Page pageFiles, Settings const &settings)
        : session(served), page(std::move(pageFiles)), open(!isLoopback(settings.host)), key(randomHex()) {
        configure();
        addRequests();
        bind(settings);
        std::string const host =
            settings.host.find(':') != std::string::npos ? "[" + settings.host + "]" : settings.host;
        address = "http://" + host + ":" + std::to_string(port) + "/" + key + "/";
        listener = std::thread([this] { server.listen_after_bind(); });
        while (!server.is_running()) std::this_thread::sleep_for(1ms);
    }

    ~Implementation() {
        stopping = true;
        server.stop();
        listener.join();
    }

    std::string address;

private:
    using Get = std::function<void(Request const &, Response &)>;
    using Post = std::function<std::uint64_t(json const &)>;

    void configure();
    void bind(Settings const &settings);
    void addRequests();
    void addValueRequests();
    void addChanges();
    bool isAllowed(Request const &request) const;
    bool isOurHost(std::string const &host) const;
    std::optional<std::string> nameIn(Request const &request) const;
    void get(Request const &request, Response &response);
    void post(Request const &request, Response &response);
    void sendPage(std::string const &name, Response &response);
    void sendEvents(Response &response);
    bool sendNextEvent(httplib::DataSink &sink, std::uint64_t &seen, std::chrono::steady_clock::time_point &sent);

    Session &session;
    Page const page;
    bool const open; ///< to others than this machine
    std::string const key;
    int port = 0;
    std::map<std::string, Get> gets;
    std::map<std::string, Post> posts;
    TextCache thumbs{mostThumbs}, layouts{mostLayouts};
    std::atomic<int> eventStreams = 0;
    std::atomic<bool> stopping = false;
    httplib::Server server;
    std::thread listener;
};

void Server::Implementation::configure() {
    server.new_task_queue = [] { return new httplib::ThreadPool(mostEventStreams + otherThreads); };
    server.set_payload_max_length(largestBody);
    server.set_keep_alive_max_count(1000);
    server.set_keep_alive_timeout(1);
    server.set_tcp_nodelay(true);
    // Without the library's own options two programs could share a port.
    server.set_socket_options([](socket_t socket) {
        int const yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    server.set_pre_routing_handler([this](Request const &request, Response &response) {
        if (isAllowed(request)) return httplib::Server::HandlerResponse::Unhandled;
        sendError(response, 403, "open the address that zun studio has printed");
        return httplib::Server::HandlerResponse::Handled;
    });
    server.set_post_routing_handler([](Request const &, Response &response) {
        response.set_header("X-Content-Type-Options", "nosniff");
        response.set_header("Referrer-Policy", "no-referrer");
        response.set_header("Cross-Origin-Resource-Policy", "same-origin");
        if (!response.has_header("Content-Security-Policy"))
            response.set_header("Content-Security-Policy", "default-src 'self'");
    });
    server.Get(".*", [this](Request const &request, Response &response) { get(request, response); });
    server.Post(".*", [this](Request const &request, Response &response) { post(request, response); });
}

void Server::Implementation::bind(Settings const &settings) {
    if (settings.port == 0)
        port = server.bind_to_any_port(settings.host);
    else if (server.bind_to_port(settings.host, settings.port))
        port = settings.port;
    if (port > 0) return;
    throw Exception("port " + std::to_string(settings.port) + " of " + settings.host +
                    " can't be used: it is taken, or not allowed; --port 0 takes any that is free");
}

bool Server::Implementation::isOurHost(std::string const &host) const {
    std::string const end = ":" + std::to_string(port);
    if (!host.ends_with(end)) return false;
    std::string const name = host.substr(0, host.size() - end.size());
    return name == "127.0.0.1" || name == "localhost" || name == "[::1]" || (open && isNumericAddress(name));
}

bool Server::Implementation::isAllowed(Request const &request) const {
    std::string const host = request.get_header_value("Host");
    if (request.get_header_value_count("Host") != 1 || !isOurHost(host)) return false;
    std::string const origin = request.get_header_value("Origin");
    if (request.has_header("Origin") && origin != "http://" + host) return false;
    std::string const first = request.path.substr(0, request.path.find('/', 1));
    return same(first, "/" + key);
}

/// What follows the key in a path; nothing where that is no name.
std::optional<std::string> Server::Implementation::nameIn(Request const &request) const {
    std::size_t const before = key.size() + 2;
    if (request.path.size() < before) return std::nullopt;
    std::string name = request.path.substr(before);
    return name.find('/') == std::string::npos ? std::optional(std::move(name)) : std::nullopt;
}

void Server::Implementation::get(Request const &request, Response &response) {
    answer(response, [&] {
        if (request.path == "/" + key) return response.set_redirect("/" + key + "/");
        std::string const name = nameIn(request).value_or("..");
        if (auto const found = gets.find(name); found != gets.end()) return found->second(request, response);
        sendPage(name.empty() ? "index.html" : name, response);
    });
}

void Server::Implementation::post(Request const &request, Response &response) {
    answer(response, [&] {
        auto const found = posts.find(nameIn(request).value_or(".."));
        if (found == posts.end()) throw HttpError(404, "there is no such request");
        send(response, json{{"generation", found->second(bodyOf(request))}}.dump(), jsonType);
    });
}

void Server::Implementation::sendPage(std::string const &name, Response &response) {
    auto const found = page.find(name);
    if (found == page.end()) throw HttpError(404, "the studio has no such file");
    if (name != "index.html") return send(response, found->second.text, found->second.type.c_str());
    std::string const nonce = randomHex();
    response.set_header("Content-Security-Policy",
                        "default-src 'self'; img-src 'self' data: blob:; style-src 'self' 'unsafe-inline'; "
                        "script-src 'self' 'nonce-" +
                            nonce + "'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    send(response, indexWithNonce(page, nonce), found->second.type.c_str());
}

void Server::Implementation::sendEvents(Response &response) {
    if (eventStreams.fetch_add(1) >= mostEventStreams) {
        eventStreams--;
        throw HttpError(503, "too many pages are open; close some");
    }
    response.set_header("Cache-Control", neverStored);
    auto const provide = [this, seen = std::uint64_t{0}, sent = std::chrono::steady_clock::now()](
                             std::size_t, httplib::DataSink &sink) mutable { return sendNextEvent(sink, seen, sent); };
    response.set_content_provider("text/event-stream", provide, [this](bool) { eventStreams--; });
}

/// Sends what there is within a short time. False ends the stream.
bool Server::Implementation::sendNextEvent(httplib::DataSink &sink, std::uint64_t &seen,
                                           std::chrono::steady_clock::time_point &sent) {
    auto const next = session.waitForState(seen, stopPeriod);
    if (stopping) return false;
    auto const now = std::chrono::steady_clock::now();
    if (!next && now - sent < pingPeriod) return sink.is_writable();
    std::string const text = next ? "event: state\ndata: " + next->state + "\n\n" : ": ping\n\n";
    if (next) seen = next->version;
    sent = now;
    return sink.write(text.data(), text.size());
}

void Server::Implementation::addRequests() {
    gets["state"] = [this](Request const &, Response &response) {
        send(response, session.waitForState(0, 0ms)->state, jsonType);
    };
    gets["events"] = [this](Request const &, Response &response) { sendEvents(response); };
    gets["layout"] = [this](Request const &request, Response &response) {
        Direction const direction = directionIn(request);
        std::string const structure = request.get_param_value("structure");
        send(response,
             layouts.get(request.get_param_value("direction") + structure,
                         [&] { return session.layout(direction, structure); }),
             jsonType);
    };
    gets["diff"] = [this](Request const &, Response &response) {
        send(response, json{{"diff", session.diff()}}.dump(-1, ' ', false, json::error_handler_t::replace), jsonType);
    };
    addValueRequests();
    addChanges();
}

void Server::Implementation::addValueRequests() {
    auto const value = [this](Request const &request) { return session.value(request.get_param_value("id")); };
    auto const item = numberIn<std::size_t>;
    gets["thumb"] = [=, this](Request const &request, Response &response) {
        KeptValue const kept = value(request);
        std::size_t const index = item(request, "item");
        send(response, thumbs.get(kept.id + "/" + std::to_string(index), [&] { return thumbnail(*kept.value, index); }),
             pngType, immutable);
    };
    gets["pixels"] = [=](Request const &request, Response &response) {
        send(response, pixels(*value(request).value, item(request, "item")), bytesType, immutable);
    };
    gets["pixel"] = [=](Request const &request, Response &response) {
        send(response,
             pixelText(*value(request).value, item(request, "item"), numberIn<std::int64_t>(request, "x"),
                       numberIn<std::int64_t>(request, "y")),
             jsonType, immutable);
    };
    gets["data"] = [=](Request const &request, Response &response) {
        KeptValue const kept = value(request);
        send(response, recordText(*kept.value, kept.type), jsonType, immutable);
    };
}

void Server::Implementation::addChanges() {
    posts["change"] = [this](json const &body) {
        return session.change(body.at("node").get<std::string>(), body.at("option").get<std::string>(),
                              body.at("text").get<std::string>());
    };
    posts["reset"] = [this](json const &body) {
        return session.reset(body.at("node").get<std::string>(), body.at("option").get<std::string>());
    };
    posts["undo"] = [this](json const &) { return session.undo(); };
    posts["redo"] = [this](json const &) { return session.redo(); };
    posts["discard"] = [this](json const &) { return session.discard(); };
    posts["tick"] = [this](json const &body) { return session.show(tickIn(body)); };
    posts["bookmark"] = [this](json const &body) { return session.bookmark(tickIn(body), body.at("on").get<bool>()); };
    posts["save"] = [this](json const &body) { return session.save(body.value("overwrite", false)); };
    posts["run"] = [this](json const &) { return session.run(); };
    posts["stop"] = [this](json const &) { return session.stop(); };
}

bool isLoopback(std::string const &host) { return host == "127.0.0.1" || host == "localhost" || host == "::1"; }

Server::Server(Session &session, Page page, Settings const &settings)
    : implementation(std::make_unique<Implementation>(session, std::move(page), settings)) {}

Server::~Server() = default;

std::string const &Server::address() const { return implementation->address; }

} // namespace zun::studio
