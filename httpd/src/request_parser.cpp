// The only translation unit that instantiates Beast's templates.
#include "request_parser.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/basic_parser.hpp>

#include <utility>

namespace httpd {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

// How to answer a request that could not be read.
unsigned int statusOf(error_code error)
{
    return error == http::error::body_limit ? kContentTooLarge : kBadRequest;
}

} // namespace

// Takes what Beast finds where it is wanted. Beast's own message would copy all of it once more,
// and take memory for a body that was only announced.
class RequestParser::Impl : public http::basic_parser<true>
{
public:
    Request request;  // without its body
    std::string body; // what has come of it
    unsigned int version = 0;
    bool isHead = false;

private:
    using Text = boost::core::string_view;

    void on_request_impl(http::verb verb, Text method, Text target, int httpVersion,
                         error_code& /*error*/) override
    {
        request.method = method;
        request.target = target;
        request.headers.reserve(kUsualHeaders);
        version = static_cast<unsigned int>(httpVersion);
        isHead = verb == http::verb::head;
    }

    void on_field_impl(http::field /*known*/, Text name, Text value, error_code& /*error*/) override
    {
        if (!is_header_done()) { // trailers come later
            request.headers.push_back({name, value});
        }
    }

    size_t on_body_impl(Text piece, error_code& /*error*/) override
    {
        body.append(piece.data(), piece.size());
        return piece.size();
    }

    size_t on_chunk_body_impl(uint64_t /*left*/, Text piece, error_code& error) override
    {
        return on_body_impl(piece, error);
    }

    void on_response_impl(int /*status*/, Text /*reason*/, int /*version*/,
                          error_code& /*error*/) override
    {}
    void on_header_impl(error_code& /*error*/) override {}
    void on_body_init_impl(const boost::optional<uint64_t>& /*length*/,
                           error_code& /*error*/) override
    {}
    void on_chunk_header_impl(uint64_t /*size*/, Text /*extensions*/,
                              error_code& /*error*/) override
    {}
    void on_finish_impl(error_code& /*error*/) override {}

    static constexpr size_t kUsualHeaders = 8;
};

RequestParser::RequestParser(const Limits& limits) : mImpl(std::make_unique<Impl>())
{
    mImpl->header_limit(limits.headerBytes + 1);
    mImpl->body_limit(limits.bodyBytes);
}

RequestParser::~RequestParser() = default;

unsigned int RequestParser::putHead(std::string_view head)
{
    error_code error;
    (void)mImpl->put(asio::buffer(head), error);
    if (error || !mImpl->is_header_done()) {
        return statusOf(error);
    }
    mImpl->eager(true);
    return 0;
}

Request RequestParser::takeRequest()
{
    return std::move(mImpl->request);
}

unsigned int RequestParser::version() const
{
    return mImpl->version;
}

bool RequestParser::isKeptAlive() const
{
    return mImpl->keep_alive();
}

bool RequestParser::isHeadRequest() const
{
    return mImpl->isHead;
}

std::optional<uint64_t> RequestParser::announcedBytes() const
{
    const auto length = mImpl->content_length();
    return length ? std::optional<uint64_t>(*length) : std::nullopt;
}

unsigned int RequestParser::putBody(std::string_view bytes, size_t& used)
{
    error_code error;
    size_t last = 1;
    used = 0;
    while (used < bytes.size() && !isDone() && !error && last > 0) {
        last = mImpl->put(asio::buffer(bytes.substr(used)), error);
        used += last;
    }
    return error && error != http::error::need_more ? statusOf(error) : 0;
}

bool RequestParser::isDone() const
{
    return mImpl->is_done();
}

std::string& RequestParser::body()
{
    return mImpl->body;
}

} // namespace httpd
