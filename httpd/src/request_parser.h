// Reads one request out of its bytes.
#ifndef HTTPD_REQUEST_PARSER_H_
#define HTTPD_REQUEST_PARSER_H_

#include "httpd/server.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace httpd {

class RequestParser
{
public:
    explicit RequestParser(const Limits& limits);
    ~RequestParser();
    RequestParser(const RequestParser&) = delete;
    RequestParser& operator=(const RequestParser&) = delete;

    // Takes a head, the whole of it. The status that refuses it, 0 when it is one.
    unsigned int putHead(std::string_view head);

    // What a head said: the request without its body, once, and what it is about.
    Request takeRequest();
    unsigned int version() const; // 10 or 11
    bool isKeptAlive() const;
    bool isHeadRequest() const; // also where the rest of the head is refused

    // The length that was announced for the body; nothing for one that comes in chunks.
    std::optional<uint64_t> announcedBytes() const;

    // Takes what it can of these bytes of the body, and says how much. The status that refuses it,
    // 0 when there is nothing wrong with it so far. Trailers behind a body in chunks are dropped:
    // they could stand for headers that have been acted upon.
    unsigned int putBody(std::string_view bytes, size_t& used);

    // Whether that was the end of the request.
    bool isDone() const;

    std::string& body();

private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};

} // namespace httpd

#endif
