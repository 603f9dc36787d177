#include "front/content_coding.h"

#include "front/header_list.h"

#include <algorithm>
#include <optional>

namespace host {

namespace {

constexpr unsigned int kThousand = 1000;

// "0.5" in thousandths; nothing for what is no weight.
std::optional<unsigned int> weightOf(std::string_view text)
{
    const bool isWeight = !text.empty() && text.size() <= 5 &&
                          (text.front() == '0' || text.front() == '1') &&
                          (text.size() == 1 || text[1] == '.');
    if (!isWeight) {
        return std::nullopt;
    }
    unsigned int weight = text.front() == '1' ? kThousand : 0;
    unsigned int digitsWorth = kThousand / 10;
    for (const char digit : text.substr(std::min<size_t>(text.size(), 2))) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        weight += static_cast<unsigned int>(digit - '0') * digitsWorth;
        digitsWorth /= 10;
    }
    return weight <= kThousand ? std::optional(weight) : std::nullopt;
}

// Of "gzip;q=0.5"; without a weight it is 1.
std::optional<unsigned int> weightOfElement(std::string_view element)
{
    const size_t semicolon = element.find(';');
    if (semicolon == std::string_view::npos) {
        return kThousand;
    }
    const std::string_view parameter = trimmed(element.substr(semicolon + 1));
    const bool isWeight = parameter.starts_with("q=") || parameter.starts_with("Q=");
    return isWeight ? weightOf(parameter.substr(2)) : std::nullopt;
}

struct Weights
{
    std::optional<unsigned int> gzip;
    std::optional<unsigned int> plain;
    std::optional<unsigned int> others;

    void take(std::string_view element)
    {
        const std::optional<unsigned int> weight = weightOfElement(element);
        const std::string_view coding = trimmed(element.substr(0, element.find(';')));
        if (isSameWord(coding, "gzip") || isSameWord(coding, "x-gzip")) {
            gzip = weight;
        } else if (isSameWord(coding, "identity")) {
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
    forEachElement(listOf(requestHeaders, "Accept-Encoding"),
                   [&weights](std::string_view element) { weights.take(element); });
    const unsigned int gzip = weights.gzip ? *weights.gzip : weights.others.value_or(0);
    return gzip > 0 && gzip >= weights.plain.value_or(0);
}

} // namespace host
