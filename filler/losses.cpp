#include "losses.h"

namespace filler {

namespace {

// Cut in front of a character, not inside it.
std::string shortened(std::string text)
{
    constexpr unsigned char kContinuation = 0x80;
    constexpr unsigned char kContinuationMask = 0xC0;
    if (text.size() <= kMaxLossBytes) {
        return text;
    }
    size_t end = kMaxLossBytes;
    while (end > 0 &&
           (static_cast<unsigned char>(text[end]) & kContinuationMask) == kContinuation) {
        --end;
    }
    return text.substr(0, end) + "...";
}

} // namespace

void Losses::add(const std::string& what, const std::string& why, const std::string& key)
{
    const auto [seen, isNew] = mSeen.try_emplace({what, why});
    if (isNew) {
        seen->second.firstKey = key;
    }
    ++seen->second.times;
}

std::vector<std::string> Losses::sentences() const
{
    std::vector<std::string> list;
    for (const auto& [about, seen] : mSeen) {
        if (list.size() == kMaxLosses) {
            break;
        }
        std::string sentence = about.first + ": " + about.second;
        if (!seen.firstKey.empty()) {
            sentence += " (" + seen.firstKey +
                        (seen.times > 1 ? " and " + std::to_string(seen.times - 1) + " more" : "") +
                        ")";
        }
        list.push_back(shortened(std::move(sentence)));
    }
    return list;
}

} // namespace filler
