// What a ResponseReader hands over, as lines of text.
#ifndef TESTS_CIMXML_RECORDER_H_
#define TESTS_CIMXML_RECORDER_H_

#include <cimxml/response.h>

#include <string>
#include <string_view>
#include <vector>

class Recorder : public cimxml::ResponseHandler
{
public:
    bool onInstance(const cimxml::InstanceView& instance,
                    const cimxml::ObjectPathView& path) override;
    bool onPath(const cimxml::ObjectPathView& path) override;
    bool onClass(const cimxml::Class& cls, const cimxml::ObjectPathView& path) override;
    bool onClassName(std::string_view name) override;
    bool onValue(const cimxml::Value& value) override;
    bool onReturnValue(const cimxml::MethodParameter& value) override;
    bool onOutput(const cimxml::MethodParameter& output) override;
    bool onError(const cimxml::CimError& error) override;

    std::vector<std::string> lines;
    std::vector<cimxml::Instance> instances; // whose values were of their types
};

std::string lineOf(const cimxml::Value& value);
std::string lineOf(const cimxml::ObjectPath& path);

#endif
