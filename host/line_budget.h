// How many lines of one kind the service writes: where requests fail in numbers, each with a URI of
// its own, the first of them say what is wrong, and a count says how many more there were.
#ifndef HOST_LINE_BUDGET_H_
#define HOST_LINE_BUDGET_H_

#include <string>
#include <string_view>
#include <vector>

namespace host {

// In memory that the processes share which are forked later: a worker that ends at each request
// begins with what its predecessors have left. Every process may ask it at any time.
class LineBudget
{
public:
    struct Withheld
    {
        std::string kind;
        size_t lines = 0;
    };

    LineBudget();
    ~LineBudget();
    LineBudget(const LineBudget&) = delete;
    LineBudget& operator=(const LineBudget&) = delete;

    // Whether one more line of this kind is to be written: there have been fewer than
    // kLinesOfAKind since renew(). Else it is counted. Beyond kLineKinds (both host_limits.h) all
    // other kinds are one. Without memory to be shared every line is written.
    bool admits(std::string_view kind);

    // Gives all kinds their lines again; returns what was withheld. For one process alone.
    std::vector<Withheld> renew();

private:
    struct Table;

    Table* mTable; // null without memory for it
};

} // namespace host

#endif
