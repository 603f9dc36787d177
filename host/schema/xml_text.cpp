#include "schema/xml_text.h"

#include <algorithm>

namespace host::schema {

namespace {

// Whether text stands in XML as it is, as almost all does.
bool isPlainXml(std::string_view text)
{
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return c == '&' || c == '<' || c == '>' || c == '"'; });
}

} // namespace

XmlText::XmlText() : mText("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") {}

void XmlText::begin(std::string_view element, std::initializer_list<Attribute> attributes)
{
    open(element, attributes);
    mText += ">\n";
    mOpen.push_back(element);
}

void XmlText::end()
{
    mText.append("</").append(mOpen.back()).append(">\n");
    mOpen.pop_back();
}

void XmlText::empty(std::string_view element, std::initializer_list<Attribute> attributes)
{
    open(element, attributes);
    mText += "/>\n";
}

void XmlText::text(std::string_view element, std::string_view content)
{
    open(element, {});
    mText += '>';
    append(content);
    mText.append("</").append(element).append(">\n");
}

void XmlText::open(std::string_view element, std::initializer_list<Attribute> attributes)
{
    mText.append("<").append(element);
    for (const auto& [name, value] : attributes) {
        if (!value.empty()) {
            mText.append(" ").append(name).append("=\"");
            append(value);
            mText += '"';
        }
    }
}

void XmlText::append(std::string_view text)
{
    if (isPlainXml(text)) {
        mText.append(text);
        return;
    }
    for (const char c : text) {
        switch (c) {
        case '&':
            mText += "&amp;";
            break;
        case '<':
            mText += "&lt;";
            break;
        case '>':
            mText += "&gt;";
            break;
        case '"':
            mText += "&quot;";
            break;
        default:
            mText += c;
        }
    }
}

} // namespace host::schema
