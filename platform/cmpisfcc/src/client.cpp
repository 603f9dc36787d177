#include "client.h"

namespace cmpisfcc {

namespace {

// Feeds what arrives to the reader.
class ReaderSink : public BodySink
{
public:
    explicit ReaderSink(cimxml::ResponseReader& reader) : mReader(reader) {}
    bool take(std::string_view bytes) override { return mReader.feed(bytes); }

private:
    cimxml::ResponseReader& mReader;
};

Result failed(std::string message)
{
    return {CMPI_RC_ERR_FAILED, std::move(message)};
}

Result failedWith(unsigned int code, const std::string& description)
{
    return {static_cast<CMPIrc>(code), description};
}

Result httpFailure(const HttpOutcome& outcome)
{
    if (outcome.status == kHttpUnauthorized) {
        return {CMPI_RC_ERR_ACCESS_DENIED, "Invalid username/password"};
    }
    std::string message = "HTTP status " + std::to_string(outcome.status);
    if (!outcome.cimError.empty()) {
        message += ", " + outcome.cimError;
    }
    if (!outcome.errorDetail.empty()) {
        message += ": " + outcome.errorDetail;
    }
    return failed(message);
}

// Why there is no answer to be read; nothing where there should be one.
std::optional<Result> failureBeforeBody(const HttpOutcome& outcome)
{
    if (!outcome.problem.empty()) {
        return failed(outcome.problem);
    }
    if (outcome.cimStatusCode) {
        return failedWith(*outcome.cimStatusCode, outcome.cimStatusDescription);
    }
    if (outcome.status != kHttpOk) {
        return httpFailure(outcome);
    }
    if (outcome.contentType.empty() && outcome.bodyBytes == 0) {
        return failed("No data received from server");
    }
    if (!outcome.isXml) {
        return failed("The answer is no XML: its content type is '" + outcome.contentType + "'");
    }
    return std::nullopt;
}

} // namespace

CMPIStatus Result::status() const
{
    return failed() ? failure(code, message.c_str()) : kSuccess;
}

Client::Client(const Endpoint& endpoint, const std::optional<Credentials>& credentials,
               const std::string& port, const TransportLimits& limits)
    : CMCIClient(),
      mEndpoint(endpoint),
      mCredentials(credentials),
      mPort(port),
      mTransport(endpoint, credentials, limits)
{
    mData.hostName = mEndpoint.host.data();
    mData.port = mPort.data();
    mData.scheme = mEndpoint.scheme.data();
    if (mCredentials) {
        mData.user = mCredentials->user.data();
        mData.pwd = mCredentials->password.data();
    }
    hdl = &mData;
    // The table is a constant; the interface just does not say so.
    ft = const_cast<CMCIClientFT*>(&kTable);
}

Result Client::call(const cimxml::IntrinsicRequest& request, bool isRepeatable, Answer& answer)
{
    const std::string body = cimxml::encodeRequest(request);
    return exchange(
        {request.operation, HttpTransport::escape(request.nameSpace), body, isRepeatable}, answer);
}

Result Client::call(const cimxml::ExtrinsicRequest& request, Answer& answer)
{
    const std::string body = cimxml::encodeRequest(request);
    const std::string object = request.object.nameSpace + ":" + cimxml::pathText(request.object);
    return exchange(
        {HttpTransport::escape(request.method), HttpTransport::escape(object), body, false},
        answer);
}

Result Client::exchange(const HttpRequest& request, Answer& answer)
{
    if (mReader) {
        mReader->reset(answer);
    } else {
        mReader.emplace(answer);
    }
    ReaderSink sink(*mReader);
    const HttpOutcome outcome = mTransport.post(request, sink);
    return resultOf(outcome, answer);
}

Result Client::resultOf(const HttpOutcome& outcome, Answer& answer)
{
    if (auto failure = failureBeforeBody(outcome)) {
        return *failure;
    }
    if (outcome.bodyBytes == 0) {
        return failed("No data received from server");
    }
    if (!answer.problem().empty()) {
        return failed(answer.problem());
    }
    if (!mReader->finish()) {
        return failed("The answer is no valid CIM-XML: " + mReader->problem());
    }
    if (answer.error()) {
        return failedWith(answer.error()->code, answer.error()->description);
    }
    return {};
}

} // namespace cmpisfcc
