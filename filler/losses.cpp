#include "losses.h"

#include "status_file.h"

namespace filler {

namespace {

// In front of the instances, and nowhere before.
constexpr std::string_view kInstances = " (";

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
            sentence.append(kInstances).append(seen.firstKey);
            sentence += seen.times > 1 ? " and " + std::to_string(seen.times - 1) + " more)" : ")";
        }
        list.push_back(cutSentence(sentence));
    }
    return list;
}

std::string_view kindOfLoss(std::string_view sentence)
{
    return sentence.substr(0, sentence.find(kInstances));
}

} // namespace filler
