// The operations: which parameters they take, and how they fail.
#include "SampleModel.h"
#include "cim_status.h"
#include "object_manager.h"

#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using cimxml::ClassName;
using cimxml::IntrinsicParameter;
using cimxml::Type;
using sample::path;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kModel = R"(<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>
<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>
<VALUE.OBJECT><CLASS NAME="Fan">
  <PROPERTY NAME="Id" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY>
  <PROPERTY NAME="Speed" TYPE="uint32"/>
  <METHOD NAME="Stop" TYPE="uint32"><PARAMETER NAME="Seconds" TYPE="uint16"/></METHOD>
  <METHOD NAME="Show" TYPE="string"><QUALIFIER NAME="EmbeddedObject" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>
    <PARAMETER NAME="Fan" TYPE="string"><QUALIFIER NAME="EmbeddedInstance" TYPE="string"><VALUE>Fan</VALUE></QUALIFIER></PARAMETER>
    <PARAMETER NAME="Text" TYPE="string"/></METHOD>
</CLASS></VALUE.OBJECT>
<VALUE.OBJECT><CLASS NAME="Blows"><QUALIFIER NAME="Association" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>
  <PROPERTY.REFERENCE NAME="By"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY.REFERENCE>
</CLASS></VALUE.OBJECT>
<VALUE.OBJECT><CLASS NAME="BigFan" SUPERCLASS="Fan"><PROPERTY NAME="Extra" TYPE="string"/></CLASS></VALUE.OBJECT>
<VALUE.OBJECT><INSTANCE CLASSNAME="Fan"><PROPERTY NAME="Id" TYPE="string"><VALUE>f</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>
<VALUE.OBJECT><INSTANCE CLASSNAME="BigFan"><PROPERTY NAME="Id" TYPE="string"><VALUE>big</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>
</DECLGROUP></DECLARATION></CIM>
)";

class OperationsTest : public testing::Test
{
protected:
    OperationsTest()
    {
        std::ofstream(mDirectory.File("model.xml")) << kModel;
        std::string problem;
        if (!mRepository.load(mDirectory.File(""), problem)) {
            throw std::runtime_error(problem);
        }
    }

    std::string call(const std::string& operation, std::vector<IntrinsicParameter> parameters,
                     const std::string& nameSpace = "root/xcim")
    {
        return mManager.answer(
            cimxml::IntrinsicRequest{"7", operation, nameSpace, std::move(parameters)});
    }

    std::string invoke(const std::string& method, const cimxml::ObjectPath& object, bool isInstance,
                       const std::vector<cimxml::MethodParameter>& inputs = {})
    {
        cimxml::ObjectPath full = object;
        full.nameSpace = "root/xcim";
        std::chrono::milliseconds delay{0};
        return mManager.answer(cimxml::ExtrinsicRequest{"7", method, full, isInstance, inputs},
                               delay);
    }

    static std::string code(unsigned int status)
    {
        return "<ERROR CODE=\"" + std::to_string(status) + "\"";
    }

    const std::string mHost = "127.0.0.1";
    support::TempDirectory mDirectory;
    cimomd::Repository mRepository;
    cimomd::Methods mMethods;
    cimomd::ObjectManager mManager{mRepository, mMethods, mHost};
    cimxml::ObjectPath mFan = path("Fan", {{"Id", "f"}});
};

TEST_F(OperationsTest, UnknownOperationNamespaceAndClass)
{
    EXPECT_THAT(call("CreateClass", {}), HasSubstr(code(cimomd::kNotSupported)));
    EXPECT_THAT(call("EnumerateInstances", {{"ClassName", ClassName{"Fan"}}}, "root/other"),
                HasSubstr(code(cimomd::kInvalidNamespace)));
    for (const char* operation :
         {"EnumerateInstances", "EnumerateInstanceNames", "GetClass", "EnumerateClassNames"}) {
        EXPECT_THAT(call(operation, {{"ClassName", ClassName{"X"}}}),
                    HasSubstr(code(cimomd::kInvalidClass)))
            << operation;
    }
}

TEST_F(OperationsTest, ParametersAreChecked)
{
    const std::string wrong = code(cimomd::kInvalidParameter);
    EXPECT_THAT(call("GetInstance", {}), HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"InstanceName", {}}}), HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"InstanceName", ClassName{"Fan"}}}), HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"InstanceName", mFan}, {"InstanceName", mFan}}),
                HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"InstanceName", mFan}, {"Colour", std::string("red")}}),
                HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"InstanceName", mFan}, {"LocalOnly", std::string("maybe")}}),
                HasSubstr(wrong));
    EXPECT_THAT(call("GetInstance", {{"instancename", mFan}, {"LOCALONLY", std::string("true")}}),
                Not(HasSubstr("<ERROR")));
    EXPECT_THAT(call("EnumerateInstances", {{"ClassName", ClassName{"Fan"}},
                                            {"PropertyList", cimxml::TextArray{std::nullopt}}}),
                HasSubstr(wrong));
}

TEST_F(OperationsTest, AnswersRepeatMessageAndOperation)
{
    const std::string answer = call("GetInstance", {{"InstanceName", mFan}});
    EXPECT_THAT(answer, HasSubstr("<MESSAGE ID=\"7\""));
    EXPECT_THAT(answer, HasSubstr("<IMETHODRESPONSE NAME=\"GetInstance\">"));
}

TEST_F(OperationsTest, ShallowEnumerationLeavesOutWhatSubclassesAdd)
{
    const IntrinsicParameter fans{"ClassName", ClassName{"Fan"}};
    const std::string deep = call("EnumerateInstances", {fans});
    const std::string shallow =
        call("EnumerateInstances", {fans, {"DeepInheritance", std::string("FALSE")}});
    EXPECT_THAT(deep, HasSubstr("\"Extra\""));
    EXPECT_THAT(shallow, Not(HasSubstr("\"Extra\"")));
    EXPECT_THAT(shallow, HasSubstr("<INSTANCE CLASSNAME=\"BigFan\">"));
}

TEST_F(OperationsTest, PropertyListAndClassOrigin)
{
    const std::string all =
        call("GetInstance", {{"InstanceName", mFan}, {"IncludeClassOrigin", std::string("TRUE")}});
    EXPECT_THAT(all, HasSubstr("CLASSORIGIN=\"Fan\""));
    const std::string one =
        call("GetInstance",
             {{"InstanceName", mFan}, {"PropertyList", cimxml::TextArray{"SPEED", "Unknown"}}});
    EXPECT_THAT(one, HasSubstr("\"Speed\""));
    EXPECT_THAT(one, Not(HasSubstr("\"Id\"")));
    EXPECT_THAT(one, Not(HasSubstr("CLASSORIGIN")));
}

TEST_F(OperationsTest, QueriesFailWithTheirOwnCodes)
{
    const auto query = [this](const std::string& language, const std::string& text) {
        return call("ExecQuery", {{"QueryLanguage", language}, {"Query", text}});
    };
    EXPECT_THAT(query("SQL", "SELECT * FROM Fan"),
                HasSubstr(code(cimomd::kQueryLanguageNotSupported)));
    EXPECT_THAT(query("CQL", "SELECT"), HasSubstr(code(cimomd::kInvalidQuery)));
    EXPECT_THAT(query("CQL", "SELECT Nothing FROM Fan"), HasSubstr(code(cimomd::kInvalidQuery)));
    EXPECT_THAT(query("CQL", "SELECT * FROM X"), HasSubstr(code(cimomd::kInvalidClass)));
    EXPECT_THAT(query("WQL", "SELECT * FROM Fan"), HasSubstr("the query language is CQL"));
    const std::string found = query("DMTF:CQL", "SELECT Speed FROM Fan WHERE Id = 'big'");
    EXPECT_THAT(found, HasSubstr("<INSTANCE CLASSNAME=\"BigFan\"><PROPERTY NAME=\"Speed\""));
    EXPECT_THAT(found, HasSubstr("<KEYVALUE"));
    EXPECT_THAT(found, Not(HasSubstr(">f<")));
}

TEST_F(OperationsTest, ModifiedInstanceMustBeOfTheClassOfItsPath)
{
    EXPECT_THAT(call("ModifyInstance",
                     {{"ModifiedInstance",
                       cimxml::NamedInstance{mFan, sample::instance("BigFan", {{"Speed", "1"}})}}}),
                HasSubstr(code(cimomd::kInvalidParameter)));
}

TEST_F(OperationsTest, MethodsThatAreNotThere)
{
    EXPECT_THAT(invoke("Stop", mFan, true), HasSubstr(code(cimomd::kMethodNotAvailable)));
    EXPECT_THAT(invoke("Fly", mFan, true), HasSubstr(code(cimomd::kMethodNotFound)));
    EXPECT_THAT(invoke("Stop", path("X", {{"Id", "f"}}), true),
                HasSubstr(code(cimomd::kInvalidClass)));
    EXPECT_THAT(invoke("Stop", path("Fan", {{"Id", "z"}}), true),
                HasSubstr(code(cimomd::kNotFound)));
}

TEST_F(OperationsTest, MethodsGetTheirInputsInTheDeclaredTypes)
{
    std::ofstream(mDirectory.File("model.methods.json"))
        << R"({"namespace": "root/xcim", "methods": {"Fan.Stop": [{"return": {"input": "Seconds"}}]}})";
    std::string problem;
    ASSERT_TRUE(mMethods.load(mDirectory.File(""), mRepository, problem)) << problem;
    cimxml::MethodParameter waiting;
    waiting.name = "SECONDS";
    waiting.value = cimxml::Value::of(Type::String, std::string("0x5"));
    EXPECT_THAT(invoke("stop", path("BigFan", {{"Id", "big"}}), true, {waiting}),
                HasSubstr("<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>5</VALUE>"));
    EXPECT_THAT(invoke("Stop", path("Fan", {}), false, {waiting}), HasSubstr("<VALUE>5</VALUE>"));
    waiting.value.scalar = std::string("soon");
    EXPECT_THAT(invoke("Stop", mFan, true, {waiting}), HasSubstr(code(cimomd::kInvalidParameter)));
    waiting.name = "Hours";
    EXPECT_THAT(invoke("Stop", mFan, true, {waiting}), HasSubstr(code(cimomd::kInvalidParameter)));
}

TEST_F(OperationsTest, EmbeddedObjectsAreSaidToBeSo)
{
    std::ofstream(mDirectory.File("model.methods.json"))
        << R"({"namespace": "root/xcim", "methods": {"Fan.Show": [{"return": "<CLASS NAME='A'/>",
               "outputs": {"Fan": "<INSTANCE CLASSNAME='Fan'/>", "Text": "t"}}]}})";
    std::string problem;
    ASSERT_TRUE(mMethods.load(mDirectory.File(""), mRepository, problem)) << problem;
    const std::string answer = invoke("Show", mFan, true);
    EXPECT_THAT(
        answer,
        HasSubstr(R"(<RETURNVALUE PARAMTYPE="string" EmbeddedObject="object"><VALUE>&lt;CL)"));
    EXPECT_THAT(answer, HasSubstr(R"(NAME="Fan" PARAMTYPE="string" EmbeddedObject="instance">)"));
    EXPECT_THAT(answer, HasSubstr(R"(<PARAMVALUE NAME="Text" PARAMTYPE="string"><VALUE>t<)"));
}

TEST_F(OperationsTest, UnknownProperties)
{
    const cimxml::Instance odd = sample::instance("Fan", {{"Id", "new"}, {"Colour", "red"}});
    EXPECT_THAT(call("CreateInstance", {{"NewInstance", odd}}),
                HasSubstr(code(cimomd::kInvalidParameter)));
    EXPECT_THAT(call("ModifyInstance", {{"ModifiedInstance", cimxml::NamedInstance{mFan, odd}}}),
                HasSubstr(code(cimomd::kInvalidParameter)));
    EXPECT_THAT(call("GetProperty", {{"InstanceName", mFan}, {"PropertyName", "Colour"}}),
                HasSubstr(code(cimomd::kNoSuchProperty)));
    EXPECT_THAT(call("SetProperty",
                     {{"InstanceName", mFan}, {"PropertyName", "Colour"}, {"NewValue", "red"}}),
                HasSubstr(code(cimomd::kNoSuchProperty)));
}

TEST_F(OperationsTest, ClassesThatNarrowAssociations)
{
    const auto associated = [this](const char* operation, const char* parameter, const char* cls) {
        return call(operation, {{"ObjectName", mFan}, {parameter, ClassName{cls}}});
    };
    const std::string invalid = code(cimomd::kInvalidParameter);
    for (const char* cls : {"Nothing", "Fan"}) {
        EXPECT_THAT(associated("Associators", "AssocClass", cls), HasSubstr(invalid));
        EXPECT_THAT(associated("AssociatorNames", "AssocClass", cls), HasSubstr(invalid));
        EXPECT_THAT(associated("References", "ResultClass", cls), HasSubstr(invalid));
        EXPECT_THAT(associated("ReferenceNames", "ResultClass", cls), HasSubstr(invalid));
    }
    EXPECT_THAT(associated("Associators", "ResultClass", "Nothing"), HasSubstr(invalid));
    EXPECT_THAT(associated("Associators", "ResultClass", "Fan"), HasSubstr("<IRETURNVALUE>"));
    EXPECT_THAT(associated("Associators", "AssocClass", "Blows"), HasSubstr("<IRETURNVALUE>"));
}

TEST_F(OperationsTest, StrictTypesAreRefusedByAManagerThatIsMadeSo)
{
    cimomd::ObjectManager strict(mRepository, mMethods, mHost, true);
    cimxml::ObjectPath fan = mFan;
    fan.nameSpace = "root/xcim";
    const cimxml::ExtrinsicRequest stop{
        "7", "Stop", fan, true, {{"Seconds", cimxml::Value::of(Type::String, std::string("5"))}}};
    std::chrono::milliseconds delay{0};
    EXPECT_THAT(mManager.answer(stop, delay), HasSubstr(code(cimomd::kMethodNotAvailable)));
    EXPECT_THAT(strict.answer(stop, delay),
                HasSubstr("the parameter Seconds is not of type uint16"));
    const cimxml::IntrinsicRequest create{
        "7",
        "CreateInstance",
        "root/xcim",
        {{"NewInstance", sample::instance("Fan", {{"Id", "new"}, {"Speed", "1"}})}}};
    EXPECT_THAT(strict.answer(create), HasSubstr(code(cimomd::kTypeMismatch)));
    EXPECT_THAT(mManager.answer(create), HasSubstr("<INSTANCENAME"));
}

} // namespace
