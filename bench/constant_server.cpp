// Answers every request with the same body: what the HTTP server costs when nothing stands behind
// it.
//
//   constant_server BODY_BYTES     prints "listening on http://127.0.0.1:PORT" when it is ready
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <httpd/server.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

// The headers that the service gives to a cached read.
httpd::Response answer(size_t bodyBytes)
{
    httpd::Response response;
    response.headers = {{"Content-Type", "application/json"},
                        {"ETag", "\"0123456789abcdef0123456789abcdef\""},
                        {"Vary", "Accept-Encoding"},
                        {"Allow", "GET,HEAD"},
                        {"Link", "</redfish/v1/JsonSchemas/VexoDisk0.json>; rel=describedby"},
                        {"OData-Version", "4.0"},
                        {"Cache-Control", "no-cache"}};
    response.body.assign(bodyBytes, 'x');
    return response;
}

int serve(size_t bodyBytes)
{
    boost::asio::io_context context(1);
    boost::asio::signal_set signals(context, SIGTERM);
    signals.async_wait(
        [&context](boost::system::error_code /*error*/, int /*signal*/) { context.stop(); });
    httpd::Server server(
        context,
        [bodyBytes](const httpd::Request& /*request*/, const httpd::Reply& reply) {
            reply(answer(bodyBytes));
        },
        [](unsigned int status) {
            httpd::Response response;
            response.status = status;
            return response;
        });
    std::string problem;
    if (!server.listen("127.0.0.1", 0, problem)) {
        (void)std::fprintf(stderr, "constant_server: %s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    (void)std::printf("listening on http://127.0.0.1:%u\n", unsigned{server.port()});
    (void)std::fflush(stdout);
    context.run();
    server.stop();
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        (void)std::fprintf(stderr, "usage: %s BODY_BYTES\n", argv[0]);
        return 2;
    }
    try {
        return serve(std::strtoul(argv[1], nullptr, 10));
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}
