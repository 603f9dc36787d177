// What is known of each class, and who is told: the log, a terminal, the status file, the service
// manager.
#ifndef FILLER_RECORD_H_
#define FILLER_RECORD_H_

#include "messages.h"
#include "options.h"
#include "plan.h"
#include "service_manager.h"
#include "status_file.h"

#include <chrono>
#include <string>
#include <vector>

namespace filler {

class Record
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    explicit Record(const Options& options);

    // Begins anew with these classes; what is known of those that were there before stays.
    void begin(const Plan& plan, TimePoint now);
    void note(const Greeting& greeting, TimePoint now);
    // There is nobody who refreshes, until note().
    void hindered(const std::string& problem, TimePoint now);
    // From now on who reads the file finds what it needs, if not all classes yet.
    void ready() const { mServiceManager.tellReady(); }

    void refreshed(size_t index, const Report& report, TimePoint now);
    void failed(size_t index, const std::string& error, TimePoint now);
    void unreachable(const std::string& error, TimePoint now);
    void stopped();

    // Writes the status where there is something new, at most once a second unless the filler has
    // nothing else to do.
    void write(TimePoint now, bool isIdle);
    bool isWritten() const { return !mIsNew; }

    bool isLoaded() const; // whether each class has been tried
    const std::vector<ClassStatus>& classes() const { return mStatus.classes; }
    // Of --once: what was done, a line for each class.
    std::string summary() const;

private:
    void reached();
    void tellLosses(size_t index, const Report& report);
    void tellLoaded(const ClassStatus& status);
    void tellProgress(TimePoint now);
    void setState(TimePoint now);
    size_t tried() const;

    ServiceManager mServiceManager;
    Status mStatus;
    std::string mPath;
    std::vector<std::string> mEntries; // of the classes, for messages
    std::vector<bool> mIsTried;        // since begin()
    std::vector<bool> mIsLoaded;       // since begin()
    TimePoint mBegan;
    TimePoint mWrittenAt;
    std::string mHindrance;   // why nobody refreshes; "" while somebody does
    std::string mUnreachable; // why; "" while it can be reached
    std::string mWriteProblem;
    bool mIsNew = true;
    bool mIsTerminal;
    bool mIsShown = false; // whether the terminal shows that all is there
    bool mIsQuiet;         // --once tells at the end what was done
};

} // namespace filler

#endif
