#include "httpd/memory_budget.h"

#include <algorithm>

namespace httpd {

size_t MemoryBudget::ceilingOf(Holding holding) const
{
    switch (holding) {
    case Holding::LargeBody:
        return mLimit / 2;
    case Holding::Answer:
        return mLimit - mLimit / 4;
    case Holding::Small:
        break;
    }
    return mLimit;
}

bool MemoryShare::resize(size_t bytes, Holding holding)
{
    const size_t others = mBudget->mHeld - mBytes;
    const size_t ceiling = mBudget->ceilingOf(holding);
    if (bytes > mBytes && (others > ceiling || bytes > ceiling - others)) {
        return false;
    }
    force(bytes);
    return true;
}

void MemoryShare::force(size_t bytes)
{
    const bool isGivingBack = bytes < mBytes;
    mBudget->mHeld += bytes;
    mBudget->mHeld -= mBytes;
    mBudget->mMostHeld = std::max(mBudget->mMostHeld, mBudget->mHeld);
    mBytes = bytes;
    if (isGivingBack && mBudget->mRoomMade) {
        mBudget->mRoomMade();
    }
}

} // namespace httpd
