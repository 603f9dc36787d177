#include "checks.h"

#include <json/json.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace fuzz {

void fail(const char* expectation)
{
    (void)std::fprintf(stderr, "not as expected: %s\n", expectation);
    std::abort();
}

void requireJsonObject(std::string_view text)
{
    Json::CharReaderBuilder strict;
    Json::CharReaderBuilder::strictMode(&strict.settings_);
    const std::unique_ptr<Json::CharReader> reader(strict.newCharReader());
    Json::Value value;
    std::string errors;
    const bool isJson = reader->parse(text.data(), text.data() + text.size(), &value, &errors);
    require(isJson && value.isObject(), "a body is a JSON object");
}

} // namespace fuzz
