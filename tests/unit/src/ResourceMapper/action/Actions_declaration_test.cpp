// Declarations of methods whose JSON types are not the expected ones: they read as if they were not
// there and are logged at level 1; what the JSON library can convert is converted.
#include "ActionTest.h"

namespace {

using support::CimValue;
using support::IsJson;
using support::json;
using support::scriptedCim;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::Not;
using ::testing::StartsWith;

using Texts = std::vector<std::string>;

struct DeclarationCase
{
    const char* method; // with "?" for each of the values
    std::vector<const char*> values;
    const char* body;
    unsigned int result;
    Texts arguments; // none after a failure
};

void PrintTo(const DeclarationCase& declaration, std::ostream* stream)
{
    *stream << declaration.method;
}

class Declaration : public support::ActionTest,
                    public ::testing::WithParamInterface<DeclarationCase>
{
protected:
    // Declares the method with each value in turn, and checks what comes of the body.
    template <typename Check>
    void withEach(Check check)
    {
        for (const char* value : GetParam().values) {
            SCOPED_TRACE(value);
            invokeWith(value);
            check();
        }
    }

    void invokeWith(const char* value)
    {
        std::string method = GetParam().method;
        method.replace(method.find('?'), 1, value);
        declareMethod(json(method));
        scriptedCim().arguments.clear();
        unsigned int rc = kUnset;
        EXPECT_NO_THROW(rc = post(GetParam().body));
        EXPECT_EQ(rc, GetParam().result);
        EXPECT_THAT(scriptedCim().arguments, ElementsAreArray(GetParam().arguments));
    }
};

const std::vector<const char*> kNotText = {R"({"x": 1})", "[1]"};
const std::vector<const char*> kNotFlag = {R"({"x": 1})", "[1]", R"("x")"};
const std::vector<const char*> kNotObject = {"[1]", R"("x")", "5", "true"};

class WrongDeclaration : public Declaration
{};

TEST_P(WrongDeclaration, ReadsAsNone)
{
    withEach([] {
        EXPECT_THAT(support::messagesAtLevel(1), Contains(StartsWith("Unexpected JSON type")));
    });
}

INSTANTIATE_TEST_SUITE_P(
    , WrongDeclaration,
    ::testing::Values(
        DeclarationCase{R"({"inputs": ?})", kNotObject, R"({"A": "t"})", RM_PROPERTY_UNKNOWN, {}},
        DeclarationCase{R"({"inputs": {"A": ?}})",
                        kNotObject,
                        R"({"A": "t"})",
                        RM_PROPERTY_VALUE_TYPE_ERROR,
                        {}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": ?}}})",
                        kNotText,
                        R"({"A": "t"})",
                        RM_PROPERTY_VALUE_TYPE_ERROR,
                        {}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_arraytype": ?}}})",
                        kNotFlag,
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_ref_type": ?}}})",
                        kNotFlag,
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"isrequired": ?}}})", kNotFlag, "{}", RM_OK, {}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "alias": ?}}})",
                        kNotText,
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "value_mapping": ?}}})",
                        kNotObject,
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String",
                                             "value_mapping": {"1": ?, "2": "t"}}}})",
                        kNotText,
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "2")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_arraytype": true,
                                             "value_mapping": ?}}})",
                        kNotObject,
                        R"({"A": ["t"]})",
                        RM_OK,
                        {R"(A stringA ["t"])"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_arraytype": true,
                                             "cim_type": ?, "value_mapping": {"2": "t"}}}})",
                        kNotText,
                        R"({"A": ["t"]})",
                        RM_OK,
                        {"A uint16A [2]"}},
        DeclarationCase{R"({"outputs": ?})", kNotObject, "{}", RM_OK, {}},
        DeclarationCase{R"({"outputs": {"S": ?}})", kNotObject, "{}", RM_OK, {}},
        DeclarationCase{R"({"outputs": {"S": {"value_mapping": ?}}})", kNotObject, "{}", RM_OK, {}},
        DeclarationCase{"?", kNotObject, "{}", RM_OK, {}}));

class ConvertedDeclaration : public Declaration
{};

TEST_P(ConvertedDeclaration, IsTaken)
{
    withEach([] {
        EXPECT_THAT(support::messagesAtLevel(1), Not(Contains(StartsWith("Unexpected JSON type"))));
    });
}

INSTANTIATE_TEST_SUITE_P(
    , ConvertedDeclaration,
    ::testing::Values(
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_arraytype": ?}}})",
                        {"1", "true"},
                        R"({"A": ["t"]})",
                        RM_OK,
                        {R"(A stringA ["t"])"}},
        DeclarationCase{R"({"inputs": {"A": {"isrequired": ?}}})",
                        {"1", "2.5", "true"},
                        "{}",
                        RM_PROPERTY_MISSING,
                        {}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "alias": ?}}})",
                        {"5", R"("5")"},
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(5 chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String",
                                             "value_mapping": {"1": ?}}}})",
                        {"true", R"("true")"},
                        R"({"A": "true"})",
                        RM_OK,
                        {R"(A chars "1")"}},
        // Null is as good as absent.
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "is_arraytype": ?}}})",
                        {"null", "0", "false"},
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}},
        DeclarationCase{R"({"inputs": {"A": {"redfish_type": "Edm.String", "value_mapping": null,
                                             "alias": ?, "is_ref_type": null}}})",
                        {"null", R"("")"},
                        R"({"A": "t"})",
                        RM_OK,
                        {R"(A chars "t")"}}));

class OutputDeclaration : public support::ActionTest
{};

TEST_F(OutputDeclaration, OfAnotherTypeLeavesTheOutput)
{
    for (const char* outputs :
         {R"("x")", "[1]", R"({"S": [1]})", R"({"S": {"value_mapping": 5}})"}) {
        declare("{}", outputs);
        scriptedCim().outputs = {{"S", CimValue::Number(CMPI_uint16, 1)}};
        EXPECT_EQ(post("{}"), RM_OK);
        EXPECT_THAT(mResponse, IsJson(R"({"S": 1})"));
    }
}

class ReferenceDeclaration : public support::ActionTest
{
protected:
    // What a reference to "/r/Jobs/J1" becomes with this entry.
    Texts add(const std::string& entry)
    {
        mEntries["Jobs"] = json(entry);
        declare(R"({"A": {"redfish_type": "Edm.String", "is_ref_type": true}})");
        scriptedCim().arguments.clear();
        mResult = post(R"({"A": "/r/Jobs/J1"})");
        return scriptedCim().arguments;
    }

    unsigned int mResult = kUnset;
};

TEST_F(ReferenceDeclaration, WithoutTextualKeysHasNone)
{
    for (const char* entry : {R"({"Selectors": {"x": 1}, "mappings": {"XCIM_Job": {}}})",
                              R"({"UniqueSelector": [1], "mappings": {"XCIM_Job": 5}})"}) {
        EXPECT_THAT(add(entry), ::testing::ElementsAre("A ref root/xcim:XCIM_Job"));
        EXPECT_THAT(support::messagesAtLevel(1), Contains(StartsWith("Unexpected JSON type")));
    }
}

TEST_F(ReferenceDeclaration, WithoutAClassIsRefused)
{
    for (const char* entry :
         {R"({"mappings": "x"})", R"({"mappings": [1]})", R"({"mappings": null})", "5", "[1]"}) {
        EXPECT_THAT(add(entry), ::testing::IsEmpty());
        EXPECT_EQ(mResult, RM_PROPERTY_VALUE_NOT_IN_LIST);
        EXPECT_THAT(mErrorArgs, IsJson(R"(["/r/Jobs/J1", "A"])"));
    }
}

} // namespace
