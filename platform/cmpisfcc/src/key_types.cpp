#include "key_types.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <variant>

namespace cmpisfcc {

namespace {

using cimxml::Type;

constexpr std::chrono::minutes kRenewal{1};

bool mayBeTyped(const std::string& text)
{
    constexpr Type kTypes[] = {Type::Boolean, Type::Sint64, Type::Uint64, Type::Real64};
    return std::any_of(std::begin(kTypes), std::end(kTypes),
                       [&text](Type type) { return cimxml::parseScalar(type, text).has_value(); });
}

} // namespace

// Goes through all that can hold a path.
class KeyTypes::Settling
{
public:
    Settling(KeyTypes& types, const std::string& nameSpace, const Fetch& fetch)
        : mTypes(types), mNameSpace(nameSpace), mFetch(fetch)
    {}

    bool operator()(cimxml::ObjectPath& path)
    {
        return std::all_of(path.keys.begin(), path.keys.end(),
                           [&](cimxml::KeyBinding& key) { return settleKey(path, key); });
    }
    bool operator()(cimxml::ReferenceValue& reference) { return (*this)(reference.path); }
    bool operator()(cimxml::Instance& instance)
    {
        return std::all_of(instance.properties.begin(), instance.properties.end(),
                           [this](cimxml::Property& property) { return (*this)(property.value); });
    }
    bool operator()(cimxml::NamedInstance& named)
    {
        return (*this)(named.path) && (*this)(named.instance);
    }
    bool operator()(cimxml::Value& value)
    {
        return value.type != Type::Reference ||
               (settleReference(value.scalar) &&
                std::all_of(value.elements.begin(), value.elements.end(),
                            [this](cimxml::Scalar& element) { return settleReference(element); }));
    }
    template <typename Other>
    bool operator()(Other& /*other*/)
    {
        return true; // holds no path
    }

private:
    bool settleReference(cimxml::Scalar& scalar)
    {
        auto* const reference = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar);
        if (reference == nullptr) {
            return true;
        }
        auto path = std::make_shared<cimxml::ObjectPath>(**reference);
        const bool isSettled = (*this)(*path);
        *reference = std::move(path);
        return isSettled;
    }

    bool settleKey(const cimxml::ObjectPath& path, cimxml::KeyBinding& key)
    {
        const auto* const text = std::get_if<std::string>(&key.value);
        if (text == nullptr || key.type != Type::String || !mayBeTyped(*text)) {
            return settleReference(key.value);
        }
        const std::string& nameSpace = path.nameSpace.empty() ? mNameSpace : path.nameSpace;
        const KnownClass* const cls = mTypes.find(nameSpace, path.className, mFetch);
        if (cls == nullptr) {
            return false;
        }
        const auto declared =
            std::find_if(cls->types.begin(), cls->types.end(), [&key](const auto& one) {
                return cimxml::equalsIgnoreCase(one.first, key.name);
            });
        auto value = declared == cls->types.end() ? std::nullopt
                                                  : cimxml::parseScalar(declared->second, *text);
        if (value) {
            key.type = declared->second;
            key.value = *std::move(value);
        }
        return true;
    }

    KeyTypes& mTypes;
    const std::string& mNameSpace;
    const Fetch& mFetch;
};

bool KeyTypes::settle(cimxml::IntrinsicRequest& request, const Fetch& fetch)
{
    mUsed.clear();
    Settling settling(*this, request.nameSpace, fetch);
    return std::all_of(
        request.parameters.begin(), request.parameters.end(),
        [&settling](auto& parameter) { return std::visit(settling, parameter.value); });
}

bool KeyTypes::settle(cimxml::ExtrinsicRequest& request, const Fetch& fetch)
{
    mUsed.clear();
    Settling settling(*this, request.object.nameSpace, fetch);
    return settling(request.object) &&
           std::all_of(request.inputs.begin(), request.inputs.end(),
                       [&settling](auto& input) { return settling(input.value); });
}

void KeyTypes::doubt()
{
    for (KnownClass* const used : mUsed) {
        used->isDoubtful = true;
    }
}

// Null when the object manager did not answer.
KeyTypes::KnownClass* KeyTypes::find(const std::string& nameSpace, const std::string& className,
                                     const Fetch& fetch)
{
    const auto now = mClock();
    const auto [entry, isNew] = mClasses.try_emplace({nameSpace, className});
    KnownClass& known = entry->second;
    if (isNew || (known.isDoubtful && now - known.askedAt >= kRenewal)) {
        Fetched fetched = fetch(nameSpace, className);
        if (fetched.outcome == Fetched::Outcome::NoAnswer) {
            if (isNew) {
                mClasses.erase(entry);
            }
            return nullptr;
        }
        known = {now, fetched.outcome == Fetched::Outcome::NoClass, std::move(fetched.types)};
    }
    mUsed.push_back(&known);
    return &known;
}

} // namespace cmpisfcc
