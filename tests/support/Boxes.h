// A collection of boxes, called Box0, Box1 and so on, with sizes of 0, 1 and so on, and its pages:
// the same from either source of data.
#ifndef TESTS_SUPPORT_BOXES_H_
#define TESTS_SUPPORT_BOXES_H_

#include "Answer.h"
#include "JsonText.h"

#include <ostream>

namespace support {

constexpr const char* kNextLink = "Members@odata.nextLink";
constexpr const char* kCount = "Members@odata.count";

// The mapping of the boxes; "paged" and "topSkip" are the collection's flags.
inline Json::Value boxMapping(bool paged, bool topSkip)
{
    Json::Value mapping = json(R"({
        "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "@odata.type": "#Boxes",
            "@odata.context": "/ctx/Boxes", "Name": "All", "Description": "All boxes",
            "is_collection": true, "allowed_operations": ["GET"], "Link_Header": "</boxes>",
            "mappings": {"VexoBox": {}}},
        "VexoBox": {"@odata.id": "/r/VexoBox", "@odata.type": "#Box",
            "@odata.context": "/ctx/Box", "Name": "One", "Description": "One box",
            "UniqueSelector": "Key", "mappings": {"XCIM_Box": {
                "properties": {"Size": {"cim_type": "uint32", "alias": "SizeMM"}},
                "Actions": {"#Box.Open": {"target": "/open"}}}}}})");
    mapping["VexoBoxes"]["supports_nextlink"] = paged;
    mapping["VexoBoxes"]["supports_top_skip"] = topSkip;
    return mapping;
}

// A page: what is asked of a collection of so many boxes, and what comes.
struct PageCase
{
    int boxes;
    const char* query;
    int first;
    unsigned int members;
    const char* nextLink; // null for none
};

inline void PrintTo(const PageCase& page, std::ostream* stream)
{
    *stream << page.query << " of " << page.boxes;
}

inline void expectPage(const Answer& answer, const PageCase& page)
{
    ASSERT_EQ(answer.result, RM_OK);
    const Json::Value& members = answer.body["Members"];
    ASSERT_TRUE(members.isArray());
    ASSERT_EQ(members.size(), page.members);
    for (Json::ArrayIndex i = 0; i < members.size(); ++i) {
        EXPECT_EQ(members[i]["SizeMM"].asInt(), page.first + static_cast<int>(i));
    }
    EXPECT_EQ(answer.body[kCount].asInt(), page.boxes);
    EXPECT_EQ(answer.body.isMember(kNextLink), page.nextLink != nullptr);
    if (page.nextLink != nullptr) {
        EXPECT_EQ(answer.body[kNextLink].asString(), page.nextLink);
    }
}

} // namespace support

#endif
