// The filler's log lines, on standard error.
#ifndef FILLER_LOG_H_
#define FILLER_LOG_H_

#include <string>

namespace filler {

// level: 0 (errors only) to 4; every line has a stamp from then on.
void startLog(int level);

void logError(const std::string& text);
// What is worth a line although nothing is wrong, from level 1 on.
void logInfo(const std::string& text);
// Each refresh, from level 3 on.
void logDetail(const std::string& text);

// On a terminal, over what was there: text has its line's beginning and end. Left out where the
// terminal has no room.
void showProgress(const std::string& text);

} // namespace filler

#endif
