// What stands in front of a line on standard error.
#ifndef STAMP_H_
#define STAMP_H_

#include "vexodlog.h"

#include <sys/types.h>

#include <string>

class Stamp
{
public:
    Stamp() = default;
    // Notes which stream is the journal's, from the environment.
    explicit Stamp(VexoStamp kind);

    // For a line that is written now.
    std::string text(int severity) const;

private:
    bool isForJournal() const;

    VexoStamp mKind = VEXO_STAMP_NONE;
    bool mHasJournal = false;
    dev_t mJournalDevice = 0;
    ino_t mJournalInode = 0;
};

#endif
