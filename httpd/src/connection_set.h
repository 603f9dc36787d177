// The connections of a server, by the share that each is counted by.
#ifndef HTTPD_CONNECTION_SET_H_
#define HTTPD_CONNECTION_SET_H_

#include "connection.h"

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace httpd {

class ConnectionSet
{
public:
    using Members = std::unordered_set<Connection*>;

    size_t size() const { return mSize; }
    const std::unordered_map<std::string, Members>& byShare() const { return mByShare; }
    const Members& ofShare(const std::string& share) const
    {
        static const Members kNone;
        const auto found = mByShare.find(share);
        return found == mByShare.end() ? kNone : found->second;
    }

    void insert(Connection* connection)
    {
        mByShare[connection->share()].insert(connection);
        ++mSize;
    }

    void erase(Connection* connection) noexcept
    {
        const auto found = mByShare.find(connection->share());
        if (found == mByShare.end() || found->second.erase(connection) == 0) {
            return;
        }
        --mSize;
        if (found->second.empty()) {
            mByShare.erase(found);
        }
    }

private:
    std::unordered_map<std::string, Members> mByShare;
    size_t mSize = 0;
};

} // namespace httpd

#endif
