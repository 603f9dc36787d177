#include <cimxml/request.h>
#include <gtest/gtest.h>

namespace {

TEST(IntrinsicRequest, is_one_message_with_the_parameters_in_their_order)
{
    const cimxml::IntrinsicRequest request = {
        "42",
        "EnumerateInstances",
        "root/xcim",
        {{"ClassName", cimxml::ClassName{"XCIM_Thing"}}, {"LocalOnly", std::string("FALSE")}}};
    EXPECT_EQ(cimxml::encodeRequest(request),
              R"(<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
              R"(<MESSAGE ID="42" PROTOCOLVERSION="1.0"><SIMPLEREQ>)"
              R"(<IMETHODCALL NAME="EnumerateInstances"><LOCALNAMESPACEPATH>)"
              R"(<NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>)"
              R"(<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="XCIM_Thing"/></IPARAMVALUE>)"
              R"(<IPARAMVALUE NAME="LocalOnly"><VALUE>FALSE</VALUE></IPARAMVALUE>)"
              R"(</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>)");
}

} // namespace
