#include "client.h"

#include "message_values.h"

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

Result unanswered(std::string message)
{
    return {CMPI_RC_ERR_FAILED, std::move(message), false};
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
        return unanswered(outcome.problem);
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

Result Client::call(cimxml::IntrinsicRequest& request, bool isRepeatable, Answer& answer)
{
    return withTypedKeys(request, [&] { return send(request, isRepeatable, answer); });
}

Result Client::call(cimxml::ExtrinsicRequest& request, Answer& answer)
{
    return withTypedKeys(request, [&] { return send(request, answer); });
}

template <typename Request, typename Send>
Result Client::withTypedKeys(Request& request, const Send& send)
{
    Result result;
    const auto fetch = [&](const std::string& nameSpace, const std::string& className) {
        return fetchTypes(nameSpace, className, result);
    };
    if (!mKeyTypes.settle(request, fetch)) {
        return result; // the object manager does not answer
    }
    result = send();
    if (result.code == CMPI_RC_ERR_NOT_FOUND) {
        mKeyTypes.doubt();
    }
    return result;
}

Result Client::send(const cimxml::IntrinsicRequest& request, bool isRepeatable, Answer& answer)
{
    const std::string body = cimxml::encodeRequest(request);
    return exchange(
        {request.operation, HttpTransport::escape(request.nameSpace), body, isRepeatable}, answer);
}

Result Client::send(const cimxml::ExtrinsicRequest& request, Answer& answer)
{
    const std::string body = cimxml::encodeRequest(request);
    const std::string object = request.object.nameSpace + ":" + cimxml::pathText(request.object);
    return exchange(
        {HttpTransport::escape(request.method), HttpTransport::escape(object), body, false},
        answer);
}

KeyTypes::Fetched Client::fetchTypes(const std::string& nameSpace, const std::string& className,
                                     Result& result)
{
    using Outcome = KeyTypes::Fetched::Outcome;
    const std::string no = "FALSE";
    Owned<ClassObject> cls; // what the answer is made of is in its memory
    Answer answer(Returns::Classes, nullptr);
    result = send({kMessageId,
                   "GetClass",
                   nameSpace,
                   {{"ClassName", cimxml::ClassName{className}},
                    {"LocalOnly", no}, // keys are inherited
                    {"IncludeQualifiers", no},
                    {"IncludeClassOrigin", no}}},
                  true, answer);
    if (!result.wasAnswered) {
        return {Outcome::NoAnswer};
    }
    cls.reset(result.failed() ? nullptr : answer.takeFirst<ClassObject>());
    if (cls == nullptr) {
        return {Outcome::NoClass};
    }
    KeyTypes::Fetched fetched{Outcome::Class};
    for (unsigned int i = 0; i < cls->properties.count; ++i) {
        const NamedValue& property = cls->properties.items[i];
        const auto type = messageType(property.data.type);
        if (type && (*type == cimxml::Type::Boolean || cimxml::isNumber(*type))) {
            fetched.types.emplace_back(property.name, *type);
        }
    }
    return fetched;
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
