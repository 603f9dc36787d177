#include "decoder.h"
#include "xml_document.h"

#include <cimxml/views.h>

#include <cstring>

namespace cimxml {
namespace {

pugi::xml_node firstElement(pugi::xml_node parent)
{
    pugi::xml_node child = parent.first_child();
    while (child && child.type() != pugi::node_element) {
        child = child.next_sibling();
    }
    return child;
}

// What a numeric key without a TYPE is.
Type numericType(std::string_view text)
{
    for (const Type type : {Type::Uint64, Type::Sint64}) {
        if (parseScalar(type, text)) {
            return type;
        }
    }
    return Type::Real64;
}

} // namespace

bool ElementView::isNull() const
{
    return isNamed(mNode, "VALUE.NULL");
}

std::string_view ElementView::text() const
{
    return elementText(mNode);
}

ObjectPathView ElementView::reference() const
{
    return ObjectPathView(firstElement(mNode));
}

std::string_view KeyView::name() const
{
    return mNode.attribute("NAME").value();
}

// KEYBINDING holds what may also stand bare.
pugi::xml_node KeyView::value() const
{
    return isNamed(mNode, "KEYBINDING") ? firstElement(mNode) : mNode;
}

bool KeyView::isReference() const
{
    return isNamed(value(), "VALUE.REFERENCE");
}

ObjectPathView KeyView::reference() const
{
    return ObjectPathView(firstElement(value()));
}

bool KeyView::hasType() const
{
    return static_cast<bool>(value().attribute("TYPE"));
}

Type KeyView::type() const
{
    if (hasType()) {
        return typeFromName(value().attribute("TYPE").value()).value_or(Type::String);
    }
    const std::string_view valueType = value().attribute("VALUETYPE").value();
    if (equalsIgnoreCase(valueType, "boolean")) {
        return Type::Boolean;
    }
    return equalsIgnoreCase(valueType, "numeric") ? numericType(text()) : Type::String;
}

std::string_view KeyView::text() const
{
    return elementText(value());
}

pugi::xml_node ObjectPathView::objectName() const
{
    if (isNamed(mNode, "INSTANCENAME") || isNamed(mNode, "CLASSNAME")) {
        return mNode;
    }
    const pugi::xml_node instance = mNode.child("INSTANCENAME");
    return instance ? instance : mNode.child("CLASSNAME");
}

bool ObjectPathView::isClass() const
{
    return isNamed(objectName(), "CLASSNAME");
}

std::string_view ObjectPathView::host() const
{
    const pugi::xml_node host = mNode.child("NAMESPACEPATH").child("HOST");
    return host ? elementText(host) : std::string_view();
}

std::string ObjectPathView::nameSpace() const
{
    const pugi::xml_node path = mNode.child("NAMESPACEPATH");
    return joinedNameSpace((path ? path : mNode).child("LOCALNAMESPACEPATH"));
}

std::string_view ObjectPathView::className() const
{
    const pugi::xml_node name = objectName();
    return name.attribute(isNamed(name, "CLASSNAME") ? "NAME" : "CLASSNAME").value();
}

ViewRange<KeyView> ObjectPathView::keys() const
{
    return ViewRange<KeyView>(objectName());
}

// PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE; what else is here is QUALIFIER.
bool PropertyView::isOne(pugi::xml_node node)
{
    return node.type() == pugi::node_element && node.name()[0] == 'P';
}

PropertyView::PropertyView(pugi::xml_node node)
    : mNode(node), mIsArray(isNamed(node, "PROPERTY.ARRAY"))
{
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.name()[0] == 'V') {
            mValue = child;
            break;
        }
        mHasQualifiers = mHasQualifiers || child.name()[0] == 'Q';
    }
    readAttributes();
}

// In one go, since each look-up by name would go through those before it.
void PropertyView::readAttributes()
{
    const bool isReference = isNamed(mNode, "PROPERTY.REFERENCE");
    for (pugi::xml_attribute one = mNode.first_attribute(); one; one = one.next_attribute()) {
        const std::string_view attribute = one.name();
        if (attribute == "NAME") {
            mName = one.value();
        } else if (attribute == "TYPE" && !isReference) {
            mType = typeFromName(one.value()).value_or(Type::String);
        } else if (attribute[0] == 'E') {
            mEmbedded = embeddedOf(mNode);
        }
    }
}

std::string_view PropertyView::text() const
{
    return elementText(mValue);
}

ViewRange<ElementView> PropertyView::elements() const
{
    return ViewRange<ElementView>(mValue);
}

ObjectPathView PropertyView::reference() const
{
    return ObjectPathView(firstElement(mValue));
}

std::string_view PropertyView::classOrigin() const
{
    return mNode.attribute("CLASSORIGIN").value();
}

std::string_view PropertyView::referenceClass() const
{
    return mNode.attribute("REFERENCECLASS").value();
}

bool PropertyView::propagated() const
{
    return equalsIgnoreCase(mNode.attribute("PROPAGATED").value(), "true");
}

std::string_view InstanceView::className() const
{
    return mNode.attribute("CLASSNAME").value();
}

bool InstanceView::hasQualifiers() const
{
    return isNamed(firstElement(mNode), "QUALIFIER");
}

ViewRange<PropertyView> InstanceView::properties() const
{
    return ViewRange<PropertyView>(mNode);
}

bool toObjectPath(const ObjectPathView& view, ObjectPath& path, std::string& problem)
{
    Fault fault;
    const bool isSound = decodePath(view, path, fault);
    problem = fault.problem;
    return isSound;
}

bool toInstance(const InstanceView& view, Instance& instance, std::string& problem)
{
    Fault fault;
    const bool isSound = decodeInstance(view.node(), instance, fault);
    problem = fault.problem;
    return isSound;
}

} // namespace cimxml
