// One message registry (DSP0266, "Message registry"), read from its JSON file.
//
// Threads: load() belongs to one thread; afterwards any thread may read.
#ifndef MESSAGE_REGISTRY_H_
#define MESSAGE_REGISTRY_H_

#include <json/json.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// What the registry says of one message key.
struct RegistryMessage
{
    std::string text; // with %1, %2, ... where the arguments go
    std::string severity;
    std::string resolution;
    size_t argumentCount = 0;
};

class MessageRegistry
{
public:
    // A registry without messages. name, for example "Base.1.18", is the name of the file without
    // ".json", and what its message ids begin with as long as the file has not been read.
    explicit MessageRegistry(std::string name);

    // Reads name.json from directory. False when something in it cannot be used, with file and
    // cause in problem: a damaged message is left out, a damaged file leaves the registry empty.
    // Throws nothing.
    bool load(const std::string& directory, std::string& problem);

    // The MessageId of a key: "Prefix.Major.Minor.Key".
    std::string messageId(const std::string& key) const;

    // Null for a key that the registry does not have.
    const RegistryMessage* find(const std::string& key) const;

private:
    std::string readFrom(const std::string& path);
    std::string readMessages(const Json::Value& messages);

    std::string mName;
    std::string mIdPrefix;
    std::map<std::string, RegistryMessage, std::less<>> mMessages;
};

// text with every %n, n from 1 to the number of arguments, replaced by its argument. Of several
// readings the longest counts: with ten arguments "%10" is the tenth, with nine the first and a
// "0".
std::string fillArguments(const std::string& text, const std::vector<std::string>& arguments);

#endif
