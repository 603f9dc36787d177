#include "schema/json_text.h"

#include <algorithm>
#include <cstdio>

namespace host::schema {

namespace {

// Whether text stands in JSON as it is, as almost all does.
bool isPlainJson(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\';
    });
}

} // namespace

void JsonText::beginObject(std::string_view memberName)
{
    name(memberName);
    mIsFirst = true;
    beginObject();
}

void JsonText::beginArray(std::string_view memberName)
{
    name(memberName);
    mIsFirst = true;
    beginArray();
}

void JsonText::begin(char opening, char closing)
{
    separate();
    mText += opening;
    mClosing += closing;
    mIsFirst = true;
}

void JsonText::end()
{
    mText += mClosing.back();
    mClosing.pop_back();
    mIsFirst = false;
}

void JsonText::member(std::string_view memberName, std::string_view text)
{
    name(memberName);
    quote(text);
}

void JsonText::member(std::string_view memberName, size_t value)
{
    rawMember(memberName, std::to_string(value));
}

void JsonText::memberList(std::string_view memberName,
                          std::initializer_list<std::string_view> texts)
{
    beginArray(memberName);
    for (const std::string_view text : texts) {
        element(text);
    }
    end();
}

void JsonText::rawMember(std::string_view memberName, std::string_view json)
{
    name(memberName);
    mText.append(json);
}

void JsonText::element(std::string_view text)
{
    separate();
    quote(text);
}

void JsonText::nullElement()
{
    separate();
    mText += "null";
}

void JsonText::name(std::string_view memberName)
{
    separate();
    quote(memberName);
    mText += ':';
}

void JsonText::separate()
{
    if (!mIsFirst) {
        mText += ',';
    }
    mIsFirst = false;
}

void JsonText::quote(std::string_view text)
{
    mText += '"';
    if (isPlainJson(text)) {
        mText.append(text).append("\"");
        return;
    }
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            (mText += '\\') += c;
        } else if (static_cast<unsigned char>(c) < ' ') {
            char escaped[8];
            (void)std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned int>(c));
            mText += escaped;
        } else {
            mText += c;
        }
    }
    mText += '"';
}

} // namespace host::schema
