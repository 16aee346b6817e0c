#include "bigdata/Server.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "Veltrix/BigData/Exceptions.h"

namespace BigData {

namespace {

using Veltrix::Support::JsonDocument;
using Veltrix::Support::JsonError;
using Veltrix::Support::JsonView;

constexpr const char* kContextFactory = "spark.jobserver.context.HiveContextFactory";
/// The longest delay, in seconds, that the server's scheduler takes.
constexpr const char* kServerTimeout = "21474835";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr int kMaxDepth = 128;
constexpr std::size_t kQuotedCharacters = 500;
/// What is shorter hides nothing, and would blot out half of a message.
constexpr std::size_t kShortestSecret = 4;

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// The first characters of a text that should be UTF-8.
std::string beginning(const std::string& text) {
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end) {
        if (!isContinuation(text[end]) && characters++ == kQuotedCharacters) break;
    }
    return text.substr(0, end);
}

bool isUtf8(const std::string& text) {
    try {
        static_cast<void>(WString::fromUtf8(text));
        return true;
    } catch (const Veltrix::Exception&) {
        return false;
    }
}

void replaceAll(std::string& text, const std::string& what, std::string_view by) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}

bool isPathCharacter(wchar_t c) { return c > L' ' && c < 0x7F && c != '/' && c != '?' && c != '#'; }

/// Whether a reply says that its job is not known.
bool isUnknownJob(const JsonView& reply) {
    if (!reply.isObject()) return false;
    const auto status = reply.find("status");
    const auto result = reply.find("result");
    return status && result && status->isString() && result->isString() &&
           status->asString() == "ERROR" && result->asString().starts_with("No such job ID");
}

/// Whether a reply says that its job runs or failed.
bool isUnfinished(const JsonView& reply) {
    if (!reply.isObject()) return false;
    const auto status = reply.find("status");
    if (!status || !status->isString()) return false;
    const std::string text = status->asString();
    return text == "RUNNING" || text == "ERROR";
}

}  // namespace

bool isSuccess(const Http::Reply& reply) { return reply.status >= 200 && reply.status < 300; }

JsonView resultOf(const JsonView& reply) {
    JsonView result = reply.at("result");
    if (reply.at("status").asString() != "ERROR") return result;
    const std::optional<JsonView> message =
        result.isObject() ? result.find("message") : std::optional<JsonView>(result);
    throw JsonError("the job failed: " +
                    (message && message->isString() ? message->asString() : result.toJson()));
}

std::string jobPath(const WString& jobID) {
    const std::wstring_view id = jobID.view();
    if (id.empty()) throw Http::AddressError("The job identifier is empty");
    if (!std::all_of(id.begin(), id.end(), isPathCharacter)) {
        throw Http::AddressError("\"" + jobID.toUtf8() + "\" is no job identifier");
    }
    return "/jobs/" + jobID.toUtf8();
}

Server::Server(const SparkMasterSettings& settings, const AWSCredentials& keys)
    : settings_(settings) {
    // The credentials without the name of their scheme, which a server may quote alone.
    const std::string authorization = settings.getAuthorization().toUtf8();
    const std::string credentials = authorization.substr(authorization.find(' ') + 1);
    for (const std::string& secret :
         {keys.getSecret().toUtf8(), keys.getAccess().toUtf8(), credentials}) {
        if (secret.size() >= kShortestSecret) secrets_.push_back(secret);
    }
}

Http::Request Server::request(Http::Method method, const std::string& path) const {
    Http::Request request;
    request.method = method;
    request.host = settings_.getHost().toUtf8();
    request.port = settings_.getPort().toUtf8();
    request.path = path;
    request.authorization = settings_.getAuthorization().toUtf8();
    request.timeout = settings_.getTimeout();
    request.maxReplySize = settings_.getMaxReplySize();
    return request;
}

Http::Reply Server::get(const std::string& path) const {
    return Http::exchange(request(Http::Method::Get, path));
}

Http::Reply Server::post(const std::string& path, const Query& query,
                         const std::string& body) const {
    Http::Request sent = request(Http::Method::Post, path);
    sent.query = query;
    sent.body = body;
    return Http::exchange(sent);
}

std::string Server::quoted(std::string text) const {
    for (const std::string& secret : secrets_) replaceAll(text, secret, "***");
    if (isUtf8(text)) return text;
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; },
        '?');
    return text;
}

void Server::fail(const Http::Reply& reply) const {
    throw BDHttpError(beginning(quoted(reply.body)));
}

JsonDocument Server::json(Http::Reply&& received) const {
    const Http::Reply reply = std::move(received);
    if (!isSuccess(reply) || (reply.isTyped && !reply.isJson)) fail(reply);
    if (reply.body.empty()) throw JsonError("JSON text: the reply is empty");
    if (reply.body.starts_with(kByteOrderMark)) {
        throw JsonError("JSON text: it begins with a byte-order mark");
    }
    try {
        return JsonDocument::parse(reply.body, kMaxDepth);
    } catch (const JsonError& error) {
        throw JsonError(quoted(error.what()));
    }
}

void Server::ensureContext() const {
    const JsonDocument reply = json(get("/contexts"));
    const std::vector<std::string> running = reply.root().asStrings();
    const std::string configured = settings_.getSparkContext().toUtf8();
    if (running.empty()) {
        if (configured.empty()) throw Http::AddressError("The name of the context is empty");
        const Http::Reply created = post("/contexts/" + Http::encodeSegment(configured),
                                         {{"context-factory", kContextFactory}}, {});
        if (!isSuccess(created)) fail(created);
        return;
    }
    if (running.size() > 1) {
        std::string names = "[";
        for (const std::string& name : running) names += name + ",";
        throw BDMultipleSparkContexts(names);
    }
    if (running.front() != configured) {
        throw BDIncorrectSparkApplication("Context is: " + running.front());
    }
}

Http::Reply Server::submit(const wchar_t* classPath, const std::string& body, bool isSync) const {
    ensureContext();
    Query query{{"appName", settings_.getAppName().toUtf8()},
                {"classPath", WString(classPath).toUtf8()},
                {"context", settings_.getSparkContext().toUtf8()}};
    if (isSync) query.emplace_back("sync", "true");
    query.emplace_back("timeout", kServerTimeout);
    return post("/jobs", query, body);
}

JobSubmissionResult Server::submitAsync(const wchar_t* classPath, const std::string& body) const {
    const JsonDocument document = json(submit(classPath, body, false));
    const JsonView reply = document.root();
    JobSubmissionResult submission;
    if (reply.at("status").asString() != "STARTED") return submission;
    const JsonView result = reply.at("result");
    submission.setJobID(WString::fromUtf8(result.at("jobId").asString()))
        .setContextName(WString::fromUtf8(result.at("context").asString()))
        .setStatus(0);
    return submission;
}

JsonDocument Server::results(const WString& jobID) const {
    Http::Reply reply = get(jobPath(jobID));
    if (reply.status == 404) throw BDResultsNotAvailable();
    if (isSuccess(reply)) {
        JsonDocument document = json(std::move(reply));
        if (isUnknownJob(document.root())) throw BDResultsNotAvailable();
        return document;
    }
    if (!reply.isJson) fail(reply);
    try {
        const JsonDocument document = JsonDocument::parse(reply.body, kMaxDepth);
        if (isUnknownJob(document.root())) throw BDResultsNotAvailable();
        if (isUnfinished(document.root())) throw BDJobNotCompleted();
    } catch (const JsonError&) {
        // The status code says enough.
    }
    fail(reply);
}

}  // namespace BigData
