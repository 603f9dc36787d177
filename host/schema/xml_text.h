// XML written as text, as JsonText.h writes JSON.
#ifndef HOST_SCHEMA_XML_TEXT_H_
#define HOST_SCHEMA_XML_TEXT_H_

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host::schema {

// An attribute's name and value; one without a value is left out.
using Attribute = std::pair<std::string_view, std::string_view>;

// The text of a document. Element names are kept until end(): they are those of literals.
class XmlText
{
public:
    XmlText();

    void begin(std::string_view element, std::initializer_list<Attribute> attributes = {});
    void end();

    // An element without content.
    void empty(std::string_view element, std::initializer_list<Attribute> attributes);

    // An element with nothing but text.
    void text(std::string_view element, std::string_view content);

    // What has been written; nothing is left of it.
    std::string take() { return std::move(mText); }

private:
    void open(std::string_view element, std::initializer_list<Attribute> attributes);
    void append(std::string_view text);

    std::string mText;
    std::vector<std::string_view> mOpen;
};

} // namespace host::schema

#endif
