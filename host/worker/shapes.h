// The shape that Redfish (DSP0266) wants of the answers of mapped resources, where the library's
// own differs: date-times have a colon in their offset, an array without a value is empty and not
// null, and so is "Links" without a link. What is a date-time, an array or a link is known by its
// declaration in the mapping, as schemas tell it. Of what actions answer, date-times alone.
#ifndef HOST_WORKER_SHAPES_H_
#define HOST_WORKER_SHAPES_H_

#include <json/json.h>

#include <map>
#include <string>
#include <vector>

namespace host {

// Of all entries of a mapping. What is looked for in the answers of one is found out with the first
// of them.
//
// Threads: one instance, one thread.
class Shapes
{
public:
    // The mapping must be complete when the first answer comes, and outlive the object.
    explicit Shapes(const Json::Value& mapping) : mMapping(mapping) {}

    // Brings the answer of an entry, by its name, into shape: a resource, or a collection with its
    // members in place. It may be incomplete.
    void shape(const std::string& entryName, Json::Value& body);

    // Brings what a method has answered into shape: its date-times alone.
    void shapeOutputs(const std::string& entryName, const std::string& method,
                      Json::Value& outputs);

    // The address of the JSON Schema of an entry's answers; "" where it has no type.
    const std::string& schemaUriOf(const std::string& entryName);

private:
    // Of an entry. Names are those that answers show.
    struct Shape
    {
        std::string schemaUri;
        bool isCollection = false;
        // Of the resource, or of each member of the collection.
        std::vector<std::string> dateTimes;
        std::vector<std::string> arrays;
        bool hasLinks = false;
        std::vector<std::string> linkArrays;
        std::map<std::string, std::vector<std::string>> outputDateTimes; // by method
    };

    const Shape& shapeOf(const std::string& entryName);
    static Shape makeShape(const Json::Value& mapping, const Json::Value& entry);
    static void shapeResource(const Shape& shape, Json::Value& resource);

    const Json::Value& mMapping;
    std::map<std::string, Shape> mShapes; // by name of the entry
};

} // namespace host

#endif
