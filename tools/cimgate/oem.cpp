#include "oem.h"

#include <json/json.h>
#include <unistd.h>
#include <zmq.hpp>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>

namespace oem {

namespace {

constexpr unsigned int kMaxTimeoutS = 3600;
constexpr std::chrono::seconds kConnectTime{2};

constexpr const char* kUsage =
    "usage: cimgate oem [OPTION]... CONTAINER ID\n"
    "Asks a running cimgated for the data that a container of its mapping file embeds for an id,\n"
    "and prints the JSON object.\n"
    "\n"
    "  --endpoint ipc:///PATH  where cimgated answers, its --oem-endpoint\n"
    "                          (default ipc:///run/cimgate/oem.sock)\n"
    "  --timeout SECONDS       how long to wait for the answer, 1 to 3600 (default 35)\n"
    "  --help                  this text\n"
    "\n"
    "Exit status: 0 printed, 1 no data (standard error says why), 2 wrong usage.\n";

struct Options
{
    std::string endpoint = "ipc:///run/cimgate/oem.sock";
    unsigned int timeoutS = 35; // above cimgated's deadline, unless that is set
    std::string container;
    std::string id;
    bool help = false;
};

int complain(const std::string& problem, int status)
{
    (void)std::fprintf(stderr, "cimgate oem: %s\n", problem.c_str());
    return status;
}

bool readTimeout(const std::string& text, unsigned int& seconds)
{
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, seconds);
    return error == std::errc() && parsed == end && seconds >= 1 && seconds <= kMaxTimeoutS;
}

bool readOption(const std::string& name, const std::string& value, Options& options,
                std::string& problem)
{
    if (name == "--endpoint" && value.starts_with("ipc:///")) {
        options.endpoint = value;
    } else if (name == "--endpoint") {
        problem = "--endpoint " + value + ": give ipc:// and an absolute path";
    } else if (name != "--timeout") {
        problem = "unknown option " + name + "; cimgate oem --help lists them";
    } else if (!readTimeout(value, options.timeoutS)) {
        problem =
            "--timeout " + value + ": give a number from 1 to " + std::to_string(kMaxTimeoutS);
    }
    return problem.empty();
}

bool parseOptions(const std::vector<std::string>& arguments, Options& options, std::string& problem)
{
    std::vector<std::string> words;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help") {
            options.help = true;
            return true;
        }
        if (!argument.starts_with("--")) {
            words.push_back(argument);
            continue;
        }
        const size_t equals = argument.find('=');
        std::string value;
        if (equals != std::string::npos) {
            value = argument.substr(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        }
        if (!readOption(argument.substr(0, equals), value, options, problem)) {
            return false;
        }
    }
    if (words.size() != 2) {
        problem = "give a container and an id; cimgate oem --help tells more";
        return false;
    }
    options.container = words[0];
    options.id = words[1];
    return true;
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
        return complain("the answer is no JSON object", EXIT_FAILURE);
    }
    const Json::Value error = answer.get("error", Json::Value());
    if (error.isObject() && error["reason"].isString()) {
        return complain(error["reason"].asString() + " (" + compactJson(error["code"]) +
                            "): " + error["message"].asString(),
                        EXIT_FAILURE);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    const std::string output = Json::writeString(builder, answer) + "\n";
    if (std::fputs(output.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        return complain("cannot write to standard output", EXIT_FAILURE);
    }
    return EXIT_SUCCESS;
}

} // namespace

int run(const std::vector<std::string>& arguments)
{
    Options options;
    std::string problem;
    if (!parseOptions(arguments, options, problem)) {
        return complain(problem, kWrongUsage);
    }
    if (options.help) {
        (void)std::fputs(kUsage, stdout);
        return EXIT_SUCCESS;
    }
    try {
        std::string text;
        return ask(options, text) ? printAnswer(text) : complain(text, EXIT_FAILURE);
    } catch (const std::exception& error) { // of ZeroMQ: an endpoint that it cannot use
        return complain(options.endpoint + ": " + error.what(), EXIT_FAILURE);
    }
}

} // namespace oem
