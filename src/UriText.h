// Changes to the text of a URI.
#ifndef URI_TEXT_H_
#define URI_TEXT_H_

#include <cstddef>
#include <string>

namespace cimgate {

// Escapes "#" as "%23" and returns how many there were: keys of instances have it, and what follows
// it would not be part of the path.
size_t escapeHashes(std::string& uri);

// Escapes " " as "%20".
size_t escapeSpaces(std::string& uri);

// Cuts off the query, and a trailing "/" of the path.
void removeQueryAndSlash(std::string& uri);

// Cuts uri at its last "/"; false when it has none.
bool removeLastSegment(std::string& uri);

} // namespace cimgate

#endif
