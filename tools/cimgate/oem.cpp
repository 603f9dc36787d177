#include "oem.h"

#include <json/json.h>
#include <unistd.h>
#include <zmq.hpp>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace oem {

namespace {

constexpr unsigned int kMaxTimeoutS = 3600;
constexpr std::chrono::seconds kConnectTime{2};

struct Options
{
    std::string endpoint = "ipc:///run/cimgate/oem.sock";
    unsigned int timeoutS = 35; // above cimgated's deadline, unless that is set
    std::string container;
    std::string id;
};

int complain(const std::string& problem)
{
    (void)std::fprintf(stderr, "cimgate oem: %s\n", problem.c_str());
    return EXIT_FAILURE;
}

cli::Value endpoint(std::string& target)
{
    const auto read = [&target](const std::string& value) -> std::string {
        if (!value.starts_with("ipc:///")) {
            return "give ipc:// and an absolute path";
        }
        target = value;
        return "";
    };
    return {read, target};
}

std::string compactJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

std::string nobodyAnswers(const Options& options, const std::string& cause)
{
    return options.endpoint + ": " + cause +
           "; is cimgated running with this --oem-endpoint? Name another one with --endpoint";
}

// Sends the request and waits for the answer; false with the cause in text.
bool ask(const Options& options, std::string& text)
{
    // ZeroMQ would wait for somebody to open the endpoint.
    const std::string path = options.endpoint.substr(options.endpoint.find('/') + 2);
    if (access(path.c_str(), W_OK) != 0) {
        text = nobodyAnswers(options, std::generic_category().message(errno));
        return false;
    }
    Json::Value request;
    request["container"] = options.container;
    request["id"] = options.id;
    zmq::context_t context;
    zmq::socket_t socket(context, zmq::socket_type::req);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::immediate, 1); // sending fails where nobody has connected
    socket.set(zmq::sockopt::sndtimeo,
               static_cast<int>(std::chrono::milliseconds(kConnectTime).count()));
    socket.set(zmq::sockopt::rcvtimeo, static_cast<int>(options.timeoutS) * 1000);
    socket.connect(options.endpoint);
    if (!socket.send(zmq::buffer(compactJson(request)), zmq::send_flags::none)) {
        text = nobodyAnswers(options, "nobody answers");
        return false;
    }
    zmq::message_t answer;
    if (!socket.recv(answer)) {
        text = options.endpoint + ": no answer within " + std::to_string(options.timeoutS) +
               " s; look into the service's log, or give it longer with --timeout";
        return false;
    }
    text = answer.to_string();
    return true;
}

int printAnswer(const std::string& text)
{
    Json::Value answer;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &answer, nullptr) ||
        !answer.isObject()) {
        return complain("the answer is no JSON object");
    }
    const Json::Value error = answer.get("error", Json::Value());
    if (error.isObject() && error["reason"].isString()) {
        return complain(error["reason"].asString() + " (" + compactJson(error["code"]) +
                        "): " + error["message"].asString());
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    const std::string output = Json::writeString(builder, answer) + "\n";
    if (std::fputs(output.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        return complain("cannot write to standard output");
    }
    return EXIT_SUCCESS;
}

int run(const Options& options)
{
    try {
        std::string text;
        return ask(options, text) ? printAnswer(text) : complain(text);
    } catch (const std::exception& error) { // of ZeroMQ: an endpoint that it cannot use
        return complain(options.endpoint + ": " + error.what());
    }
}

} // namespace

cli::Command command()
{
    const auto options = std::make_shared<Options>();
    return {
        .name = "oem",
        .summary = "Asks a running cimgated for the data that a container of its mapping file "
                   "embeds for an id, and prints the JSON object.",
        .options = {{"--endpoint", "ipc:///PATH", "where cimgated answers, its --oem-endpoint",
                     endpoint(options->endpoint)},
                    {"--timeout", "SECONDS", "how long to wait for the answer, 1 to 3600",
                     cli::number(options->timeoutS, 1, kMaxTimeoutS)}},
        .words = {{"CONTAINER", "a container", options->container}, {"ID", "an id", options->id}},
        .notes = "Exit status: 0 printed, 1 no data (standard error says why), 2 wrong usage.",
        .run = [options] { return run(*options); },
    };
}

} // namespace oem
