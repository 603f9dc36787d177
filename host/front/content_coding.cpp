#include "front/content_coding.h"

#include "front/header_list.h"

#include <optional>

namespace host {

namespace {

struct Weights
{
    std::optional<unsigned int> gzip;
    std::optional<unsigned int> plain;
    std::optional<unsigned int> others;

    void take(std::string_view element)
    {
        const auto [coding, weight] = weighed(element);
        if (httpd::isSameWord(coding, "gzip") || httpd::isSameWord(coding, "x-gzip")) {
            gzip = weight;
        } else if (httpd::isSameWord(coding, "identity")) {
            plain = weight;
        } else if (coding == "*") {
            others = weight;
        }
    }
};

} // namespace

bool wantsGzip(const std::vector<httpd::Header>& requestHeaders)
{
    Weights weights;
    forEachElement(requestHeaders, "Accept-Encoding",
                   [&weights](std::string_view element) { weights.take(element); });
    const unsigned int gzip = weights.gzip ? *weights.gzip : weights.others.value_or(0);
    return gzip > 0 && gzip >= weights.plain.value_or(0);
}

} // namespace host
