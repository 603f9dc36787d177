#include "response_state.h"

#include <utility>

namespace cimxml {

ResponseHandler::~ResponseHandler() = default;

bool ResponseHandler::onInstance(const InstanceView& /*instance*/, const ObjectPathView& /*path*/)
{
    return false;
}

bool ResponseHandler::onPath(const ObjectPathView& /*path*/)
{
    return false;
}

bool ResponseHandler::onClass(const Class& /*cls*/, const ObjectPathView& /*path*/)
{
    return false;
}

bool ResponseHandler::onClassName(std::string_view /*name*/)
{
    return false;
}

bool ResponseHandler::onValue(const Value& /*value*/)
{
    return false;
}

bool ResponseHandler::onReturnValue(const MethodParameter& /*value*/)
{
    return false;
}

bool ResponseHandler::onOutput(const MethodParameter& /*output*/)
{
    return false;
}

bool ResponseHandler::onError(const CimError& /*error*/)
{
    return false;
}

ResponseReader::ResponseReader(ResponseHandler& handler, const ReaderLimits& limits)
    : mState(std::make_unique<State>(limits))
{
    mState->reset(handler);
}

ResponseReader::~ResponseReader() = default;

bool ResponseReader::feed(std::string_view bytes)
{
    return mState->feed(bytes);
}

bool ResponseReader::finish()
{
    return mState->finish();
}

const std::string& ResponseReader::problem() const
{
    return mState->problem();
}

const std::string& ResponseReader::messageId() const
{
    return mState->messageId();
}

const std::string& ResponseReader::operation() const
{
    return mState->operation();
}

void ResponseReader::reset(ResponseHandler& handler)
{
    mState->reset(handler);
}

} // namespace cimxml
