#include "native/service_uuid.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <cctype>
#include <fstream>

namespace host::native {

namespace {

// Names within it are machine ids. Another one would give all services another UUID.
constexpr boost::uuids::uuid kNameSpace = {{0x5c, 0x1d, 0x0f, 0x6a, 0x83, 0x2e, 0x4b, 0x97, 0xa4,
                                            0x60, 0x1e, 0x7b, 0x3d, 0x95, 0xc2, 0x48}};

bool isMachineId(const std::string& text)
{
    constexpr size_t kDigits = 32; // machine-id(5)
    return text.size() == kDigits && std::all_of(text.begin(), text.end(), [](char c) {
               return std::isxdigit(static_cast<unsigned char>(c)) != 0;
           });
}

} // namespace

std::string uuidOfMachine(const std::string& machineId)
{
    const std::string id = machineId.substr(0, machineId.find('\n'));
    return isMachineId(id) ? to_string(boost::uuids::name_generator_sha1(kNameSpace)(id)) : "";
}

std::string uuidOfThisMachine()
{
    for (const char* path : {"/etc/machine-id", "/var/lib/dbus/machine-id"}) {
        std::ifstream file(path);
        std::string line;
        std::getline(file, line);
        if (std::string uuid = uuidOfMachine(line); !uuid.empty()) {
            return uuid;
        }
    }
    return {};
}

} // namespace host::native
