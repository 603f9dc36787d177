#include "recorder.h"

namespace {

std::string textOf(const cimxml::Scalar& scalar, cimxml::Type type)
{
    if (const auto* path = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar)) {
        return '[' + lineOf(**path) + ']';
    }
    return cimxml::isNull(scalar) ? "null" : cimxml::scalarText(type, scalar);
}

std::string textOf(const cimxml::ObjectPathView& view)
{
    if (!view) {
        return "no path";
    }
    cimxml::ObjectPath path;
    std::string problem;
    return (view.isClass() ? "class " : "") +
           (cimxml::toObjectPath(view, path, problem) ? lineOf(path) : problem);
}

std::string textOf(const cimxml::MethodParameter& parameter)
{
    return parameter.name + (parameter.hasType ? "" : " untyped") +
           (parameter.embedded == cimxml::Embedded::Instance ? " instance" : "") +
           (parameter.embedded == cimxml::Embedded::Object ? " object" : "") + ' ' +
           lineOf(parameter.value);
}

} // namespace

std::string lineOf(const cimxml::Value& value)
{
    std::string line(cimxml::typeName(value.type));
    line += value.isArray ? "[]" : "";
    if (value.isNull) {
        return line + " null";
    }
    if (!value.isArray) {
        return line + " '" + textOf(value.scalar, value.type) + '\'';
    }
    for (const cimxml::Scalar& element : value.elements) {
        line += " '" + textOf(element, value.type) + '\'';
    }
    return line;
}

std::string lineOf(const cimxml::ObjectPath& path)
{
    return (path.host.empty() ? "" : "//" + path.host + '/') + path.nameSpace +
           (path.nameSpace.empty() ? "" : ":") + cimxml::pathText(path);
}

bool Recorder::onInstance(const cimxml::InstanceView& instance, const cimxml::ObjectPathView& path)
{
    cimxml::Instance owned;
    std::string problem;
    if (!cimxml::toInstance(instance, owned, problem)) {
        lines.push_back("instance: " + problem);
        return true;
    }
    lines.push_back("instance " + owned.className + " at " + textOf(path));
    for (const cimxml::Property& property : owned.properties) {
        lines.push_back(property.name + ' ' + lineOf(property.value));
    }
    instances.push_back(std::move(owned));
    return true;
}

bool Recorder::onPath(const cimxml::ObjectPathView& path)
{
    lines.push_back("path " + textOf(path));
    return true;
}

bool Recorder::onClass(const cimxml::Class& cls, const cimxml::ObjectPathView& path)
{
    lines.push_back("class " + cls.name + " at " + textOf(path));
    return true;
}

bool Recorder::onClassName(std::string_view name)
{
    lines.push_back("class name " + std::string(name));
    return true;
}

bool Recorder::onValue(const cimxml::Value& value)
{
    lines.push_back("value " + lineOf(value));
    return true;
}

bool Recorder::onReturnValue(const cimxml::MethodParameter& value)
{
    lines.push_back("returned" + textOf(value));
    return true;
}

bool Recorder::onOutput(const cimxml::MethodParameter& output)
{
    lines.push_back("output " + textOf(output));
    return true;
}

bool Recorder::onError(const cimxml::CimError& error)
{
    lines.push_back("error " + std::to_string(error.code) + ' ' + error.description);
    return true;
}
