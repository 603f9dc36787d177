#include "worker/current_request.h"

#include "host_limits.h"
#include "worker/work_note.h"

namespace host {

namespace {

// The last two say most: what was found, and what gave up because of it.
constexpr size_t kToldErrors = 2;

std::string nameOf(const ReadRequest& request)
{
    return "GET " + request.target;
}

std::string nameOf(const ActionRequest& request)
{
    return "POST " + request.target;
}

std::string nameOf(const EmbeddedDataRequest& request)
{
    return "OEM " + request.container + ' ' + request.id;
}

// "[File.cpp.42 function] message": the log has both.
std::string withoutCaller(const std::string& message)
{
    constexpr std::string_view kCallersEnd = "] ";
    const size_t end = message.find(kCallersEnd);
    return end == std::string::npos ? message : message.substr(end + kCallersEnd.size());
}

} // namespace

void CurrentRequest::begin(const WorkerRequest& request)
{
    end();
    mRequest = std::visit([](const auto& kind) { return nameOf(kind); }, request);
    show();
}

void CurrentRequest::end()
{
    mRequest.clear();
    mEntry.clear();
    mClass.clear();
    mReason.clear();
    mFailedAt.clear();
    mLibraryErrors.clear();
    show();
}

void CurrentRequest::concerns(const std::string& entry, const std::string& cimClass)
{
    mEntry = entry;
    mClass = cimClass;
    show();
}

void CurrentRequest::fail(const std::string& reason)
{
    mReason = reason;
    mFailedAt = blame();
}

void CurrentRequest::libraryError(const std::string& message)
{
    const std::string error = withoutCaller(message);
    if (mRequest.empty() || (!mLibraryErrors.empty() && mLibraryErrors.back() == error)) {
        return;
    }
    mLibraryErrors.push_back(error);
    if (mLibraryErrors.size() > kToldErrors) {
        mLibraryErrors.pop_front();
    }
    show();
}

std::string CurrentRequest::remark() const
{
    std::string remark = reasons() + (mFailedAt.empty() ? blame() : mFailedAt);
    if (remark.empty()) {
        remark = "no reason is known";
    }
    remark.resize(std::min(remark.size(), kMaxRemarkBytes));
    return remark;
}

std::string CurrentRequest::reasons() const
{
    std::string reasons = mReason;
    for (const std::string& error : mLibraryErrors) {
        reasons += (reasons.empty() ? "" : "; ") + error;
    }
    return reasons;
}

std::string CurrentRequest::blame() const
{
    if (mEntry.empty()) {
        return "";
    }
    return " (entry " + mEntry + (mClass.empty() ? "" : ", class " + mClass) + ')';
}

void CurrentRequest::show() const
{
    if (mNote != nullptr) {
        const std::string why = reasons();
        mNote->write(mRequest.empty() ? "" : mRequest + blame() + (why.empty() ? "" : ": " + why));
    }
}

CurrentRequest& currentRequest()
{
    static CurrentRequest request;
    return request;
}

} // namespace host
