// JSON written as text, without a tree in memory: some thousand documents are made at the start.
#ifndef HOST_SCHEMA_JSON_TEXT_H_
#define HOST_SCHEMA_JSON_TEXT_H_

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace host::schema {

// The text of one value. Members of objects are written in the order of the calls.
//
//   JsonText json;
//   json.beginObject();
//   json.member("type", "object");
//   json.end();
class JsonText
{
public:
    void beginObject() { begin('{', '}'); }
    void beginArray() { begin('[', ']'); }
    void beginObject(std::string_view name);
    void beginArray(std::string_view name);
    void end();

    void member(std::string_view name, std::string_view text);
    void member(std::string_view name, const char* text) { member(name, std::string_view(text)); }
    void member(std::string_view name, bool value) { rawMember(name, value ? "true" : "false"); }
    void member(std::string_view name, size_t value);
    void memberList(std::string_view name, std::initializer_list<std::string_view> texts);

    void element(std::string_view text);
    void nullElement();

    // A member whose value is JSON already.
    void rawMember(std::string_view name, std::string_view json);

    // What has been written; nothing is left of it.
    std::string take() { return std::move(mText); }

private:
    void begin(char opening, char closing);
    void name(std::string_view name);
    void separate();
    void quote(std::string_view text);

    std::string mText;
    std::string mClosing; // of what is open, innermost last
    bool mIsFirst = true; // in what is open
};

} // namespace host::schema

#endif
