#include "fuzz_logger.h"

#include <vexodlog.h>

#include <string_view>

namespace fuzz {
namespace {

std::vector<std::string>& thrownMessages()
{
    static std::vector<std::string> messages;
    return messages;
}

// What a line says behind "<time>:[<place>] ". Looked for from the front, since the message can
// hold any text that the fuzzer makes.
std::string_view messageOf(std::string_view line)
{
    constexpr std::string_view kPlaceEnd = "] ";
    const size_t end = line.find(kPlaceEnd);
    return end == std::string_view::npos ? line : line.substr(end + kPlaceEnd.size());
}

} // namespace

void throwOnAssertions(const std::vector<std::string>& conditions)
{
    for (const std::string& condition : conditions) {
        thrownMessages().push_back("Assertion '" + condition + "' failed");
    }
}

} // namespace fuzz

int vexoprintf(int /*severity*/, int /*module*/, const char* text)
{
    const std::string_view message = fuzz::messageOf(text);
    for (const std::string& thrown : fuzz::thrownMessages()) {
        if (message == thrown) {
            throw fuzz::BrokenInvariant();
        }
    }
    return 1;
}

int vexoPutText(const char* /*text*/)
{
    return 1;
}

int vexoPutTextAs(int /*severity*/, const char* /*text*/)
{
    return 1;
}

int vexoAwaitRoom(int /*timeoutMs*/)
{
    return 1;
}

int vexoThreshold(void)
{
    return VEXO_DEBUG;
}

void vexoSetThreshold(int /*severity*/) {}
