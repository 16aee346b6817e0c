#pragma once

/// @file
/// The only way to the network: one request, one reply. Which library does it is known to its
/// source alone.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace BigData::Http {

/// The exchange failed: no connection, no or a broken reply, no time left, too long a reply.
struct TransportError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The address, or what is sent along with it, is none.
struct AddressError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Method : std::uint8_t { Get, Post };

/// All text is UTF-8.
struct Request {
    Method method = Method::Get;
    std::string host;
    std::string port;
    /// Begins with "/"; encoded by the caller.
    std::string path;
    /// Names and values, encoded as they are put into the address.
    std::vector<std::pair<std::string, std::string>> query;
    /// Sent as JSON unless empty.
    std::string body;
    /// Value of the header "Authorization"; empty for none.
    std::string authorization;
    /// Seconds for the whole exchange.
    double timeout = 0.0;
    /// Bytes of the body of the reply.
    std::uint64_t maxReplySize = 0;
};

struct Reply {
    std::int32_t status = 0;
    /// Whether the content type is one of JSON; a body without a content type counts as missing.
    bool isJson = false;
    bool isTyped = false;
    /// UTF-8, converted where the content type names another character set; not checked.
    std::string body;
};

/// Sends the request over a connection of its own and waits for the reply, whatever its status.
/// Throws `TransportError`, `AddressError`, and `Veltrix::Cancelled` under a scope of progress.
Reply exchange(const Request& request);

/// Text as a segment of a path.
std::string encodeSegment(const std::string& text);

}  // namespace BigData::Http
