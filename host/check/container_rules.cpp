#include "check/rules.h"

#include <regex.h>

#include <array>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

// An expression as the library compiles it.
class Expression
{
public:
    explicit Expression(const std::string& text)
        : mResult(regcomp(&mRegex, text.c_str(), REG_EXTENDED | REG_ICASE))
    {}
    ~Expression()
    {
        if (mResult == 0) {
            regfree(&mRegex);
        }
    }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    // Why it does not compile; "" where it does.
    std::string problem() const
    {
        std::array<char, 200> text{};
        return mResult != 0 && regerror(mResult, &mRegex, text.data(), text.size()) > 0
                   ? text.data()
                   : "";
    }
    size_t groups() const { return mRegex.re_nsub; }

private:
    regex_t mRegex = {};
    int mResult;
};

// What a container says of one resource that it embeds.
struct Embedded
{
    Place place;
    std::string resource;
    std::string regex;
    std::string query;
};

constexpr const char* kLeftOut = "the resource is left out of the container's data";
constexpr const char* kNoData = "the container gives no data at all, but not-cached";

void checkResource(Inspection& inspection, const Embedded& embedded)
{
    const Json::Value& all = inspection.mapping();
    const Json::Value& entry = cimgate::memberOf(all, embedded.resource);
    if (!all.isMember(embedded.resource)) {
        inspection.add(embedded.place, {"no entry is called " + quoted(embedded.resource), kLeftOut,
                                        "name an entry"});
        return;
    }
    const Json::Value& described = mapping::memberEntryOf(all, entry);
    const std::string cimClass = mapping::classNameOf(described);
    const Json::Value& classMap = mapping::classOf(described, cimClass);
    if (!described.isObject() || !inspection.isClear(entry) || !inspection.isClear(described) ||
        !inspection.isClear(classMap)) {
        return;
    }
    if (!cimgate::flagOf(classMap, mapping::kIsCached)) {
        inspection.add(embedded.place, {"the class of " + embedded.resource + " is not cached",
                                        kNoData, "embed resources that are cached"});
    }
    if (!embedded.query.empty()) {
        return;
    }
    if (cimgate::flagOf(entry, mapping::kIsCollection)) {
        inspection.add(embedded.place, {"a collection is embedded by a key",
                                        "each request for the container ends a worker",
                                        "embed the entry of its members"});
    } else if (const Json::Value& keys = cimgate::memberOf(classMap, mapping::kKeyProperties);
               keys.size() != 1) {
        inspection.add(embedded.place, {"the class of " + embedded.resource +
                                            " has not exactly one name in \"key_properties\"",
                                        "each request for the container ends a worker",
                                        "name its key property, or find the instance by a "
                                        "\"QueryClause\""});
    }
}

void checkPlaceholders(Inspection& inspection, const Embedded& embedded, size_t groups)
{
    const Place place = embedded.place.at(embedded.place.value[mapping::kQueryClause]);
    constexpr size_t kMaxGroups = 4; // those that are asked for
    const size_t filled = embedded.regex.empty() ? 1 : std::min(groups, kMaxGroups);
    for (size_t number = 1; number <= 9; ++number) {
        const std::string placeholder = "#p" + std::to_string(number);
        const size_t at = embedded.query.find(placeholder);
        if (at == std::string::npos) {
            continue;
        }
        if (number > filled) {
            inspection.add(place, {"nothing is put in the place of " + placeholder,
                                   "the condition is met by no row, and " + std::string(kLeftOut),
                                   "the expression needs as many groups, at most four; without one "
                                   "there is #p1 alone"});
        } else if (embedded.query.find(placeholder, at + 1) != std::string::npos) {
            inspection.add(place, {placeholder + " stands in the condition twice",
                                   "only the first is replaced, and " + std::string(kLeftOut),
                                   "use a second group of the expression for the second place"});
        }
    }
}

void checkEmbedded(Inspection& inspection, const Embedded& embedded)
{
    checkResource(inspection, embedded);
    size_t groups = 0;
    if (!embedded.regex.empty()) {
        const Expression expression(embedded.regex);
        const Place place = embedded.place.at(embedded.place.value[mapping::kKeyRegex]);
        if (!expression.problem().empty()) {
            inspection.add(place,
                           {"\"KeyRegex\" " + quoted(embedded.regex) + ": " + expression.problem(),
                            kLeftOut, "give a POSIX extended regular expression"});
            return;
        }
        groups = expression.groups();
        if (groups == 0 && embedded.query.empty()) {
            inspection.add(place, {"\"KeyRegex\" " + quoted(embedded.regex) + " has no group",
                                   kLeftOut, "put the part that is the key into parentheses"});
        }
    }
    checkPlaceholders(inspection, embedded, groups);
}

} // namespace

void checkContainers(Inspection& inspection)
{
    forEachEntry(inspection, [&](const std::string& name, const Json::Value& container) {
        forEachMember(cimgate::memberOf(container, mapping::kInstances),
                      [&](const std::string& resource, const Json::Value& how) {
                          if (inspection.isClear(how)) {
                              checkEmbedded(
                                  inspection,
                                  {Place{name, container}.part("embedded resource", resource, how),
                                   resource, cimgate::textOf(how, mapping::kKeyRegex),
                                   cimgate::textOf(how, mapping::kQueryClause)});
                          }
                      });
    });
}

} // namespace host::check
