#pragma once

#include <sys/socket.h>

#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Veltrix/BigData/Settings.h"

namespace VeltrixTest {

/// Bytes that the server sends, and how.
struct Answer {
    std::string bytes;
    std::chrono::milliseconds delay{0};  ///< before the first byte
    std::chrono::milliseconds pause{0};  ///< after each byte, when above 0

    static Answer http(int status, const std::string& type, const std::string& body) {
        std::string bytes = "HTTP/1.1 " + std::to_string(status) + " Said\r\n";
        if (!type.empty()) bytes += "Content-Type: " + type + "\r\n";
        bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        return {bytes};
    }
    static Answer json(const std::string& body, int status = 200) {
        return http(status, "application/json; charset=UTF-8", body);
    }
};

struct Received {
    std::string method;
    std::string path;
    std::string query;
    std::string header;
    std::string body;
};

/// A server on the loopback address that answers what it is told and notes what it was asked. The
/// connection is closed after each answer. Answers to one path are given in turn, the last one
/// again and again; a path without answers is not found.
class StandInServer {
  public:
    StandInServer() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* const plain = reinterpret_cast<sockaddr*>(&address);
        if (::bind(socket_, plain, size) != 0 || ::listen(socket_, 128) != 0 ||
            ::getsockname(socket_, plain, &size) != 0) {
            throw std::runtime_error("no socket for the server");
        }
        port_ = ntohs(address.sin_port);
        listener_ = std::thread([this] { listen(); });
    }
    ~StandInServer() {
        stops_ = true;
        listener_.join();
        for (std::thread& each : connections_) each.join();
        ::close(socket_);
    }

    StandInServer& on(const std::string& path, std::vector<Answer> answers) {
        const std::lock_guard lock(mutex_);
        answers_[path] = {std::move(answers), 0};
        return *this;
    }
    /// The configured context runs.
    StandInServer& ready() { return on("/contexts", {Answer::json(R"(["spark-sql-context"])")}); }

    BigData::SparkMasterSettings settings(double timeout = 20.0) const {
        return BigData::SparkMasterSettings(L"127.0.0.1", Veltrix::WString(std::to_wstring(port_)))
            .setTimeout(timeout);
    }
    std::vector<Received> received() const {
        const std::lock_guard lock(mutex_);
        return received_;
    }
    Received last() const { return received().at(received().size() - 1); }

  private:
    struct Script {
        std::vector<Answer> answers;
        std::size_t next = 0;
    };

    bool isReadable(int socket) const {
        pollfd wait{socket, POLLIN, 0};
        while (!stops_) {
            if (::poll(&wait, 1, 20) > 0) return true;
        }
        return false;
    }
    void listen() {
        while (isReadable(socket_)) {
            const int connection = ::accept(socket_, nullptr, nullptr);
            connections_.emplace_back([this, connection] {
                const Received request = read(connection);
                if (!request.method.empty()) send(connection, answerTo(request));
                ::shutdown(connection, SHUT_RDWR);
                ::close(connection);
            });
        }
    }
    Received read(int connection) const {
        std::string text;
        std::size_t bodyAt = std::string::npos;
        std::size_t length = 0;
        while (bodyAt == std::string::npos || text.size() < bodyAt + length) {
            char buffer[4096];
            if (!isReadable(connection)) return {};
            const ssize_t got = ::recv(connection, buffer, sizeof(buffer), 0);
            if (got <= 0) return {};
            text.append(buffer, static_cast<std::size_t>(got));
            if (bodyAt != std::string::npos) continue;
            const std::size_t end = text.find("\r\n\r\n");
            if (end == std::string::npos) continue;
            bodyAt = end + 4;
            const std::size_t named = text.find("Content-Length:");
            if (named < end) length = std::stoul(text.substr(named + 15));
        }
        Received request;
        const std::size_t first = text.find(' ');
        const std::string target = text.substr(first + 1, text.find(' ', first + 1) - first - 1);
        request.method = text.substr(0, first);
        request.path = target.substr(0, target.find('?'));
        if (request.path != target) request.query = target.substr(request.path.size() + 1);
        request.header = text.substr(0, bodyAt);
        request.body = text.substr(bodyAt);
        return request;
    }
    Answer answerTo(const Received& request) {
        const std::lock_guard lock(mutex_);
        received_.push_back(request);
        const auto found = answers_.find(request.path);
        if (found == answers_.end()) return Answer::json(R"({"status":"ERROR"})", 404);
        Script& script = found->second;
        const std::size_t k = std::min(script.next++, script.answers.size() - 1);
        return script.answers[k];
    }
    void send(int connection, const Answer& answer) const {
        for (auto waited = answer.delay; waited.count() > 0 && !stops_; waited -= kTick) {
            std::this_thread::sleep_for(kTick);
        }
        const std::size_t piece = answer.pause.count() > 0 ? 1 : answer.bytes.size();
        for (std::size_t at = 0; at < answer.bytes.size() && !stops_;) {
            const ssize_t sent = ::send(connection, answer.bytes.data() + at,
                                        std::min(piece, answer.bytes.size() - at), MSG_NOSIGNAL);
            if (sent <= 0) return;
            at += static_cast<std::size_t>(sent);
            std::this_thread::sleep_for(answer.pause);
        }
    }

    static constexpr std::chrono::milliseconds kTick{10};

    int socket_;
    int port_ = 0;
    std::atomic<bool> stops_ = false;
    std::thread listener_;
    std::list<std::thread> connections_;
    mutable std::mutex mutex_;
    std::map<std::string, Script> answers_;
    std::vector<Received> received_;
};

}  // namespace VeltrixTest
