#include "bigdata/Http.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <future>
#include <memory>
#include <optional>

#include <cpprest/http_client.h>

#include "Veltrix/Data/Progress.h"

namespace BigData::Http {

namespace {

namespace Rest = web::http;
using Clock = std::chrono::steady_clock;

/// How often the wait looks at the clock, the size of the reply and the caller's wish to end.
constexpr std::chrono::milliseconds kGlance{20};

constexpr int kMaxPort = 65535;

bool isHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
}

void checkHost(const std::string& host) {
    if (host.empty()) throw AddressError("The host is empty");
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    const std::string_view name =
        isBracketed ? std::string_view(host).substr(1, host.size() - 2) : std::string_view(host);
    const bool isName = std::all_of(name.begin(), name.end(), [isBracketed](char c) {
        return isHostCharacter(c) || (isBracketed && c == ':');
    });
    if (!isName) throw AddressError("\"" + host + "\" is no name or address of a host");
}

void checkPort(const std::string& port) {
    int number = 0;
    const char* const end = port.data() + port.size();
    const auto [rest, error] = std::from_chars(port.data(), end, number);
    if (error != std::errc() || rest != end || number < 1 || number > kMaxPort) {
        throw AddressError("\"" + port + "\" is no port, expected a number from 1 to 65535");
    }
}

web::uri baseAddress(const Request& request) {
    checkHost(request.host);
    checkPort(request.port);
    return web::uri("http://" + request.host + ":" + request.port);
}

void checkAuthorization(const std::string& value) {
    const bool isPrintable =
        std::all_of(value.begin(), value.end(), [](char c) { return c >= ' ' && c <= '~'; });
    if (!isPrintable) throw AddressError("The authorization is no printable ASCII");
}

web::uri relativeAddress(const Request& request) {
    web::uri_builder builder(web::uri(request.path));
    for (const auto& [name, value] : request.query) {
        builder.append_query(
            web::uri::encode_data_string(name) + "=" + web::uri::encode_data_string(value), false);
    }
    return builder.to_uri();
}

Rest::http_request message(const Request& request) {
    Rest::http_request made(request.method == Method::Get ? Rest::methods::GET
                                                          : Rest::methods::POST);
    made.set_request_uri(relativeAddress(request));
    checkAuthorization(request.authorization);
    if (!request.authorization.empty()) made.headers().add("Authorization", request.authorization);
    if (!request.body.empty()) made.set_body(request.body, "application/json");
    return made;
}

/// An exchange under way on the library's threads.
class Exchange {
  public:
    explicit Exchange(const Request& request)
        : request_(request), client_(baseAddress(request), settings(request.timeout)) {
        Rest::http_request sent = message(request);
        const auto received = received_;
        sent.set_progress_handler([received](auto direction, utility::size64_t bytes) {
            if (direction == Rest::message_direction::download) received->store(bytes);
        });
        reply_ =
            client_.request(sent, cancel_.get_token()).then([](const Rest::http_response& reply) {
                return reply.content_ready();
            });
        const auto done = std::make_shared<std::promise<void>>();
        done_ = done->get_future();
        reply_.then(
            [done](const pplx::task<Rest::http_response>& /*reply*/) { done->set_value(); });
    }
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    /// Nothing is left running and no failure unread, whatever ended the wait.
    ~Exchange() {
        if (isTaken_) return;
        cancel_.cancel();
        try {
            reply_.get();
        } catch (...) {  // NOLINT(bugprone-empty-catch): why it ended is known already
        }
    }

    Rest::http_response wait() {
        Veltrix::ProgressPhase phase("Waiting for the cluster", 0);
        const Clock::time_point start = Clock::now();
        while (done_.wait_for(kGlance) != std::future_status::ready) {
            const std::chrono::duration<double> elapsed = Clock::now() - start;
            if (elapsed.count() > request_.timeout) {
                throw TransportError("No complete reply within the time-out");
            }
            checkSize(received_->load());
            phase.advance();
        }
        isTaken_ = true;
        Rest::http_response reply = reply_.get();
        checkSize(received_->load());
        return reply;
    }

  private:
    static Rest::client::http_client_config settings(double timeout) {
        Rest::client::http_client_config config;
        constexpr double kMicro = 1e6;
        config.set_timeout(
            std::chrono::microseconds(static_cast<std::int64_t>(std::max(timeout, 1e-3) * kMicro)));
        // What is asked of one server, keys included, is not to be asked of another.
        config.set_max_redirects(0);
        return config;
    }
    void checkSize(std::uint64_t bytes) const {
        if (bytes <= request_.maxReplySize) return;
        throw TransportError("The reply is longer than the limit of " +
                             std::to_string(request_.maxReplySize) + " bytes");
    }

    const Request& request_;
    Rest::client::http_client client_;
    pplx::cancellation_token_source cancel_;
    std::shared_ptr<std::atomic<std::uint64_t>> received_ =
        std::make_shared<std::atomic<std::uint64_t>>(0);
    pplx::task<Rest::http_response> reply_;
    std::future<void> done_;
    bool isTaken_ = false;
};

bool isJsonType(const std::string& contentType) {
    const std::string type = contentType.substr(0, contentType.find_first_of("; "));
    return type == "application/json" || type == "text/json" || type == "text/x-json";
}

}  // namespace

Reply exchange(const Request& request) {
    try {
        Exchange sent(request);
        Rest::http_response received = sent.wait();
        Reply reply;
        reply.status = received.status_code();
        const std::string contentType = received.headers().content_type();
        reply.isTyped = !contentType.empty();
        reply.isJson = isJsonType(contentType);
        reply.body = received.extract_utf8string().get();
        return reply;
    } catch (const Rest::http_exception& error) {
        throw TransportError(error.what());
    } catch (const web::uri_exception& error) {
        throw AddressError(error.what());
    }
}

std::string encodeSegment(const std::string& text) { return web::uri::encode_data_string(text); }

}  // namespace BigData::Http
