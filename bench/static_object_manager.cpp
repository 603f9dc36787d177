#include "static_object_manager.h"

#include <arpa/inet.h>
#include <cimxml/response.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <stdexcept>

namespace bench {

namespace {

// One property in five is a text, a date-time, a boolean, a number and null.
cimxml::Property makeProperty(int instance, int number, bool isChanged)
{
    using cimxml::Type;
    using cimxml::Value;
    cimxml::Property property;
    property.name = propertyName(number);
    switch (number % 5) {
    case 0:
        property.value = Value::of(Type::String, "Text of " + std::to_string(instance));
        break;
    case 1:
        property.value = Value::of(Type::DateTime, std::string("20260102030405.000000+000"));
        break;
    case 2:
        property.value = Value::of(Type::Boolean, instance % 2 == 0);
        break;
    case 3:
        property.value = Value::of(Type::Uint32, static_cast<std::uint64_t>(instance) * 1000 +
                                                     (isChanged ? 1 : 0));
        break;
    default:
        property.value = Value::null(Type::Uint16);
    }
    return property;
}

// Requests have a body: each ends with the end of its XML.
[[noreturn]] void answerRequests(int connection, const std::string& answer)
{
    std::string request;
    char bytes[8192];
    for (ssize_t count = 0; (count = ::recv(connection, bytes, sizeof bytes, 0)) > 0;) {
        request.append(bytes, static_cast<std::size_t>(count));
        if (request.find("</CIM>") == std::string::npos) {
            continue;
        }
        request.clear();
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t some =
                ::send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (some <= 0) {
                ::_exit(1);
            }
            sent += static_cast<std::size_t>(some);
        }
    }
    ::_exit(0);
}

[[noreturn]] void serve(int listener, const std::string& body)
{
    const std::string answer =
        "HTTP/1.1 200 OK\r\nContent-Type: application/xml\r\nContent-Length: " +
        std::to_string(body.size()) + "\r\n\r\n" + body;
    for (;;) {
        const int connection = ::accept(listener, nullptr, nullptr);
        if (::fork() == 0) {
            (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
            answerRequests(connection, answer);
        }
        ::close(connection);
    }
}

} // namespace

std::string propertyName(int number)
{
    static const std::array<const char*, kInstanceProperties> kNames = {
        "DeviceID",     "InstallDate",     "PowerOnState",  "MaxMediaSize",     "Availability",
        "ElementName",  "LastErrorDate",   "Locked",        "BlockSize",        "HealthState",
        "Manufacturer", "ManufactureDate", "Removable",     "NumberOfBlocks",   "EnabledState",
        "Model",        "LastCleaned",     "ErrorCleared",  "MountCount",       "RequestedState",
        "SerialNumber", "TimeOfLastMount", "NeedsCleaning", "UncompressedSize", "UnitsUsed"};
    return kNames.at(static_cast<size_t>(number));
}

void require(bool condition, const char* what)
{
    if (!condition) {
        throw std::runtime_error(what);
    }
}

std::string instancesAnswer(int count, int changedEvery)
{
    cimxml::ResponseWriter writer("4711", "EnumerateInstances");
    for (int i = 0; i < count; ++i) {
        const bool isChanged = changedEvery != 0 && i % changedEvery == 0;
        cimxml::NamedInstance named;
        named.path.className = "XCIM_Benchmark";
        named.path.keys.push_back(
            {propertyName(0), cimxml::Type::String, "Text of " + std::to_string(i), false});
        named.instance.className = "XCIM_Benchmark";
        for (int p = 0; p < kInstanceProperties; ++p) {
            named.instance.properties.push_back(makeProperty(i, p, isChanged));
        }
        writer.addNamedInstance(named.path, named.instance);
    }
    return writer.finish();
}

StaticObjectManager::StaticObjectManager(const std::string& body)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    require(::bind(listener, generic, length) == 0 && ::listen(listener, 8) == 0, "listen");
    require(::getsockname(listener, generic, &length) == 0, "getsockname");
    mPort = std::to_string(ntohs(address.sin_port));
    mProcess = ::fork();
    require(mProcess >= 0, "fork");
    if (mProcess == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL); // who measures may be killed
        serve(listener, body);
    }
    ::close(listener);
}

StaticObjectManager::~StaticObjectManager()
{
    (void)::kill(mProcess, SIGKILL);
    (void)::waitpid(mProcess, nullptr, 0);
}

} // namespace bench
