// What the rules share: the mapping, and where they tell what they find.
#ifndef HOST_CHECK_INSPECTION_H_
#define HOST_CHECK_INSPECTION_H_

#include "check/fault.h"
#include "check/mapping_text.h"

#include <JsonMembers.h>
#include <ResourceMapper/mapping/Entry.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host::check {

// A part of the mapping, as messages name it.
struct Place
{
    std::string name;         // "VexoDrive, property Size"
    const Json::Value& value; // what stands there

    Place part(const std::string& kind, std::string_view partName,
               const Json::Value& partValue) const
    {
        return {name + ", " + kind + " " + std::string(partName), partValue};
    }
    // The same with the line of one of its members.
    Place at(const Json::Value& member) const { return {name, member}; }
};

class Inspection
{
public:
    Inspection(std::string file, const MappingText& text, const Json::Value& mapping)
        : mFile(std::move(file)), mText(text), mMapping(mapping)
    {}

    const Json::Value& mapping() const { return mMapping; }
    size_t lineOf(const Json::Value& value) const { return mText.lineOf(value); }

    void add(const Place& place, Finding finding)
    {
        mFaults.push_back({mFile, {lineOf(place.value), 0}, place.name, std::move(finding)});
    }
    void add(Position position, std::string place, Finding finding)
    {
        mFaults.push_back({mFile, position, std::move(place), std::move(finding)});
    }

    // An object that has not the form that it should have: what follows from that is no fault of
    // its own.
    void markUnclear(const Json::Value& object) { mUnclear.insert(&object); }
    bool isClear(const Json::Value& object) const { return !mUnclear.contains(&object); }

    std::vector<Fault>& faults() { return mFaults; }

private:
    std::string mFile;
    const MappingText& mText;
    const Json::Value& mMapping;
    std::set<const Json::Value*> mUnclear;
    std::vector<Fault> mFaults;
};

using cimgate::forEachMember;

// Calls use(name, entry) for each entry that is an object of the right form.
template <typename Use>
void forEachEntry(const Inspection& inspection, const Use& use)
{
    forEachMember(inspection.mapping(), [&](const std::string& name, const Json::Value& entry) {
        if (entry.isObject() && inspection.isClear(entry)) {
            use(name, entry);
        }
    });
}

} // namespace host::check

#endif
