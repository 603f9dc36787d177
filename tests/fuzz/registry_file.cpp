// Any bytes as the file of a message registry, and its texts as parts of an error body. The body is
// rendered by the process's own registries, which are read once: there the texts stand where a
// client's would, as ids and arguments.
#include "MessageRegistry.h"
#include "TempDirectory.h"
#include "checks.h"

#include <ExtendedErrorInfoHandling.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

// What the corpus calls its messages.
constexpr const char* kKeys[] = {"A", "B", "C", "GeneralError", ""};

void render(const RegistryMessage& message, const std::string& filled)
{
    ExtendedErrorInfoHandling info;
    info.InsertMessageID(message.severity.c_str(), message.resolution.c_str(), filled.c_str(),
                         message.text.c_str(), nullptr);
    std::string body;
    info.GetNewExtendedErrMsg(body);
    fuzz::requireJsonObject(body);
    info.InsertBaseMessageID("PropertyValueNotInList", "", filled.c_str(), message.text.c_str());
    info.GetNewExtendedErrMsg(body);
    fuzz::requireJsonObject(body);
}

void use(const MessageRegistry& registry, const std::string& key)
{
    const RegistryMessage* message = registry.find(key);
    if (message == nullptr) {
        return;
    }
    fuzz::require(!message->text.empty() && !message->severity.empty() &&
                      !message->resolution.empty() && message->argumentCount <= 99,
                  "a message that was read is complete");
    const std::vector<std::string> arguments(message->argumentCount, "%1");
    render(*message, fillArguments(message->text, arguments));
    fuzz::require(fillArguments(message->text, {}) == message->text,
                  "without arguments a text stays as it is");
}

struct Surroundings
{
    Surroundings()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory("data/registries");
        std::string problem;
        fuzz::require(ExtendedErrorInfoHandling::LoadRegistries(problem), "the registries load");
    }

    support::TempDirectory directory;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Surroundings kSurroundings;
    std::ofstream(kSurroundings.directory.File("Fuzz.1.0.json"), std::ios::binary)
        << std::string(data, data + size);

    MessageRegistry registry("Fuzz.1.0");
    std::string problem;
    const bool isLoaded = registry.load(kSurroundings.directory.File("."), problem);
    fuzz::require(isLoaded == problem.empty(), "a problem is told exactly where there is one");
    for (const char* key : kKeys) {
        use(registry, key);
    }
    return 0;
}
