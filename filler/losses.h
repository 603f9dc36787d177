// What a refresh could not store as it is: of each kind one sentence, however often it came.
#ifndef FILLER_LOSSES_H_
#define FILLER_LOSSES_H_

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace filler {

class Losses
{
public:
    // what: "property Size"; of the instance with this key, "" for none in particular.
    void add(const std::string& what, const std::string& why, const std::string& key);

    // In the order of what they are about: as many and as long as the status has room for.
    std::vector<std::string> sentences() const;

private:
    struct Seen
    {
        size_t times = 0;
        std::string firstKey;
    };
    std::map<std::pair<std::string, std::string>, Seen> mSeen;
};

// What such a sentence says without the instances, which come and go while the loss stays the same.
std::string_view kindOfLoss(std::string_view sentence);

} // namespace filler

#endif
