// Objects of a CIM-XML answer while they are being read: text that stays where the parser has it.
//
// Who owns what: a view refers to the piece of the answer at hand, which the ResponseReader owns. A
// view, and every string_view it gave out, is valid until the handler's function returns. Copy what
// is to stay, or call toInstance(), toObjectPath(). Every string_view is followed by a zero byte.
//
// The reader has checked an object before it hands out its view: elements and attributes are where
// they belong and types are known. Texts of values are not checked against their types;
// parseScalar() and the functions that make owned data do that.
#ifndef CIMXML_VIEWS_H_
#define CIMXML_VIEWS_H_

#include <cimxml/types.h>
#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace cimxml {

class ObjectPathView;

// The elements below an element that are of interest to View, in document order; for range-for.
template <class View>
class ViewRange
{
public:
    class Iterator
    {
    public:
        explicit Iterator(pugi::xml_node node) : mNode(node) { skipOthers(); }
        View operator*() const { return View(mNode); }
        Iterator& operator++()
        {
            mNode = mNode.next_sibling();
            skipOthers();
            return *this;
        }
        bool operator==(const Iterator& other) const { return mNode == other.mNode; }

    private:
        void skipOthers()
        {
            while (mNode && !View::isOne(mNode)) {
                mNode = mNode.next_sibling();
            }
        }
        pugi::xml_node mNode;
    };

    explicit ViewRange(pugi::xml_node parent) : mParent(parent) {}
    Iterator begin() const { return Iterator(mParent.first_child()); }
    Iterator end() const { return Iterator(pugi::xml_node()); }
    std::size_t size() const
    {
        std::size_t count = 0;
        for (Iterator i = begin(); i != end(); ++i) {
            ++count;
        }
        return count;
    }

private:
    pugi::xml_node mParent;
};

// An element of an array: VALUE, VALUE.NULL or VALUE.REFERENCE.
class ElementView
{
public:
    explicit ElementView(pugi::xml_node node) : mNode(node) {}
    static bool isOne(pugi::xml_node node) { return node.type() == pugi::node_element; }

    bool isNull() const;
    std::string_view text() const;    // of VALUE
    ObjectPathView reference() const; // of VALUE.REFERENCE

private:
    pugi::xml_node mNode;
};

// A key: KEYBINDING, or the bare KEYVALUE or VALUE.REFERENCE of a class with one unnamed key.
class KeyView
{
public:
    explicit KeyView(pugi::xml_node node) : mNode(node) {}
    static bool isOne(pugi::xml_node node) { return node.type() == pugi::node_element; }

    std::string_view name() const; // empty without a name
    bool isReference() const;
    ObjectPathView reference() const;
    // Of a KEYVALUE: its type as KeyBinding says, whether that stands in a TYPE, and its text.
    Type type() const;
    bool hasType() const;
    std::string_view text() const;

private:
    pugi::xml_node value() const;
    pugi::xml_node mNode;
};

// Path of an instance (with keys) or a class, from any element that holds one: INSTANCENAME,
// INSTANCEPATH, LOCALINSTANCEPATH, CLASSNAME, CLASSPATH, LOCALCLASSPATH.
class ObjectPathView
{
public:
    ObjectPathView() = default; // no path
    explicit ObjectPathView(pugi::xml_node node) : mNode(node) {}

    explicit operator bool() const { return static_cast<bool>(mNode); }
    bool isClass() const;
    std::string_view host() const;
    // NAMESPACE elements joined with slashes: the one text that a view must build.
    std::string nameSpace() const;
    std::string_view className() const;
    ViewRange<KeyView> keys() const;
    pugi::xml_node node() const { return mNode; }

private:
    pugi::xml_node objectName() const; // INSTANCENAME or CLASSNAME
    pugi::xml_node mNode;
};

// PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE.
class PropertyView
{
public:
    explicit PropertyView(pugi::xml_node node);
    static bool isOne(pugi::xml_node node);

    std::string_view name() const { return mName; }
    Type type() const { return mType; }
    bool isArray() const { return mIsArray; }
    bool isNull() const { return !mValue; }
    std::string_view text() const;           // of a scalar that is not null
    ViewRange<ElementView> elements() const; // of an array that is not null
    ObjectPathView reference() const;        // of a reference that is not null
    Embedded embedded() const { return mEmbedded; }
    bool hasQualifiers() const { return mHasQualifiers; }
    std::string_view classOrigin() const;
    std::string_view referenceClass() const;
    bool propagated() const;
    pugi::xml_node node() const { return mNode; }

private:
    void readAttributes();

    pugi::xml_node mNode;
    pugi::xml_node mValue; // VALUE in one of its forms
    std::string_view mName;
    Type mType = Type::Reference;
    bool mIsArray = false;
    bool mHasQualifiers = false;
    Embedded mEmbedded = Embedded::None;
};

// INSTANCE.
class InstanceView
{
public:
    explicit InstanceView(pugi::xml_node node) : mNode(node) {}

    std::string_view className() const;
    ViewRange<PropertyView> properties() const;
    // Its own, which come before its properties.
    bool hasQualifiers() const;
    pugi::xml_node node() const { return mNode; }

private:
    pugi::xml_node mNode;
};

// Owned copies. False, with what is wrong in problem, when a value is not of its type; the output
// then holds what came before.
bool toObjectPath(const ObjectPathView& view, ObjectPath& path, std::string& problem);
bool toInstance(const InstanceView& view, Instance& instance, std::string& problem);

} // namespace cimxml

#endif
