// The only translation unit that instantiates Beast's templates.
#include "request_parser.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>

#include <iterator>

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

class RequestParser::Impl
{
public:
    // A body as it is put together. Unlike Beast's own it takes no memory for what was only
    // announced.
    struct GrowingBody
    {
        using value_type = std::string;

        class reader // NOLINT(readability-identifier-naming): what Beast looks for
        {
        public:
            template <bool kIsRequest, class Fields>
            reader(http::header<kIsRequest, Fields>& /*header*/, value_type& body) : mBody(body)
            {}

            void init(const boost::optional<uint64_t>& /*length*/, error_code& error)
            {
                error = {};
            }

            size_t put(const asio::const_buffer& piece, error_code& error)
            {
                error = {};
                mBody.append(static_cast<const char*>(piece.data()), piece.size());
                return piece.size();
            }

            void finish(error_code& error) { error = {}; }

        private:
            value_type& mBody;
        };
    };

    http::request_parser<GrowingBody> parser;
};

RequestParser::RequestParser(const Limits& limits) : mImpl(std::make_unique<Impl>())
{
    mImpl->parser.header_limit(limits.headerBytes + 1);
    mImpl->parser.body_limit(limits.bodyBytes);
}

RequestParser::~RequestParser() = default;

unsigned int RequestParser::putHead(std::string_view head)
{
    error_code error;
    (void)mImpl->parser.put(asio::buffer(head), error);
    if (error || !mImpl->parser.is_header_done()) {
        return statusOf(error);
    }
    mImpl->parser.eager(true);
    return 0;
}

Request RequestParser::request() const
{
    const auto& header = mImpl->parser.get();
    Request request = {std::string(header.method_string()), std::string(header.target()), {}, {}};
    request.headers.reserve(static_cast<size_t>(std::distance(header.begin(), header.end())));
    for (const auto& field : header) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    return request;
}

unsigned int RequestParser::version() const
{
    return mImpl->parser.get().version();
}

bool RequestParser::isKeptAlive() const
{
    return mImpl->parser.get().keep_alive();
}

bool RequestParser::isHeadRequest() const
{
    return mImpl->parser.get().method() == http::verb::head;
}

std::optional<uint64_t> RequestParser::announcedBytes() const
{
    const auto length = mImpl->parser.content_length();
    return length ? std::optional<uint64_t>(*length) : std::nullopt;
}

unsigned int RequestParser::putBody(std::string_view bytes, size_t& used)
{
    error_code error;
    size_t last = 1;
    used = 0;
    while (used < bytes.size() && !isDone() && !error && last > 0) {
        last = mImpl->parser.put(asio::buffer(bytes.substr(used)), error);
        used += last;
    }
    return error && error != http::error::need_more ? statusOf(error) : 0;
}

bool RequestParser::isDone() const
{
    return mImpl->parser.is_done();
}

std::string& RequestParser::body()
{
    return mImpl->parser.get().body();
}

} // namespace httpd
