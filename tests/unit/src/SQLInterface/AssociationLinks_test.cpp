#include "LibraryTest.h"
#include "SQLInterface/AssociationLinks.h"

#include <sys/time.h>

#include <csignal>

namespace {

using support::IsJson;
using support::json;
using support::logged;
using support::StatementTrace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSensor =
    "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoPSNumericSensor/Tavix.Embedded.1";
constexpr const char* kSupply =
    "/redfish/v1/Vexo/Chassis/System.Embedded.1/Power/PowerSupplies/VexoPowerSupply/PSU.Slot.";
constexpr const char* kEnclosure = "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure";

class AssociationLinks : public support::LibraryTest
{
protected:
    // The links of an instance; names is the entry's "Links".
    static Json::Value links(const std::string& names, const std::string& id)
    {
        Json::Value resource;
        resource["Links"] = json(names);
        Json::Value result;
        SQLInterface().getLinksFromAssociation(resource, result, id);
        return result;
    }

    // A cache in which enclosure E1 has two management modules and E2 has one.
    void openEnclosures(const std::string& more = "") const
    {
        openCache("create table Tbl_XCIM_EnclosureEMMDependency "
                  "(__LeftClass, __LeftClassKey, __RightClass, __RightClassKey); "
                  "insert into Tbl_XCIM_EnclosureEMMDependency values "
                  "('XCIM_Enclosure', 'E1', 'XCIM_EMM', 'EMM#1'), "
                  "('XCIM_Enclosure', 'E1', 'XCIM_EMM', 'EMM.2'), "
                  "('XCIM_Enclosure', 'E2', 'XCIM_EMM', 'EMM.2')" +
                  more);
    }

    // Ends the process by SIGALRM.
    static void endAfterMicroseconds(int microseconds)
    {
        itimerval deadline{};
        deadline.it_value.tv_usec = microseconds;
        (void)setitimer(ITIMER_REAL, &deadline, nullptr);
    }

    static std::string reference(const std::string& base, const std::string& rest)
    {
        return R"({"@odata.id": ")" + base + rest + "\"}";
    }
};

TEST_F(AssociationLinks, DescriptionIsBuiltIn)
{
    EXPECT_TRUE(assocParsed);
    EXPECT_EQ(assocString,
              R"({    "VexoEnclosureCollection" : {        "assocation" : )"
              R"("Tbl_xcim_enclosureemmdependency",        "keyCol" : "__LeftClassKey",        )"
              R"("baseLink": "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure"    },    )"
              R"("VexoEnclosureEMMCollection" : {        "assocation" : )"
              R"("Tbl_xcim_enclosureemmdependency",        "keyCol" : "__RightClassKey",        )"
              R"("baseLink": "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosureEMM"    }})");
    EXPECT_THAT(assocObj, IsJson(assocString));
    EXPECT_EQ(id_pattern, R"((PSU\.Slot\.[0-9]+)|(Tavix\.Embedded\.1#PS[0-9]+Current[0-9]+))");
    EXPECT_EQ(reg_comp_assoc, 0);
    EXPECT_EQ(powerSupplyLink, kSupply);
    EXPECT_EQ(psnumericLink, std::string(kSensor) + "#PS");
}

TEST_F(AssociationLinks, ComputerSystemIsCopied)
{
    EXPECT_THAT(links(R"({"ComputerSystem": {"@odata.id": "/r/System#1", "more": [1]}})", "x"),
                IsJson(R"({"ComputerSystem": {"@odata.id": "/r/System#1", "more": [1]}})"));
}

TEST_F(AssociationLinks, SensorOfAPowerSupplyHasItsNumberTwice)
{
    const std::string names = R"({"VexoPSNumericSensorCollection": {}})";
    EXPECT_THAT(links(names, "PSU.Slot.1"), IsJson(R"({"VexoPSNumericSensorCollection": [)" +
                                                   reference(kSensor, "%23PS1Current1") + "]}"));
    EXPECT_THAT(links(names, "PSU.Slot.12")["VexoPSNumericSensorCollection"],
                IsJson("[" + reference(kSensor, "%23PS12Current12") + "]"));
}

TEST_F(AssociationLinks, PowerSupplyOfASensorHasTheNumberOfTheCurrent)
{
    const std::string names = R"({"VexoPowerSupplyCollection": {}})";
    EXPECT_THAT(links(names, "Tavix.Embedded.1#PS1Current3"),
                IsJson(R"({"VexoPowerSupplyCollection": [)" + reference(kSupply, "3") + "]}"));
    EXPECT_THAT(links(names, "Tavix.Embedded.1#PS2Current14")["VexoPowerSupplyCollection"],
                IsJson("[" + reference(kSupply, "14") + "]"));
}

TEST_F(AssociationLinks, IdThatIsNoPowerSupplyGivesNone)
{
    for (const char* id : {"", "Fan.1", "PSU.Slot.", "psu.slot.1", "PSU-Slot-1",
                           "Tavix.Embedded.1#PS1Voltage1", "Tavix.Embedded.2#PS1Current1"}) {
        EXPECT_TRUE(links(R"({"VexoPowerSupplyCollection": {},
                              "VexoPSNumericSensorCollection": {}})",
                          id)
                        .empty())
            << id;
    }
}

TEST_F(AssociationLinks, IdOfTheOtherKindDoesNoHarm)
{
    EXPECT_NO_THROW((void)links(R"({"VexoPowerSupplyCollection": {}})", "PSU.Slot.1"));
    EXPECT_NO_THROW(
        (void)links(R"({"VexoPSNumericSensorCollection": {}})", "Tavix.Embedded.1#PS1Current3"));
}

TEST_F(AssociationLinks, RelatedInstancesComeFromTheAssociationTable)
{
    openEnclosures();
    EXPECT_THAT(links(R"({"VexoEnclosureCollection": {}})", "E1"),
                IsJson(R"({"VexoEnclosureCollection": [)" + reference(kEnclosure, "/EMM%231") +
                       "," + reference(kEnclosure, "/EMM.2") + "]}"));
    EXPECT_THAT(links(R"({"VexoEnclosureEMMCollection": {}})", "EMM.2"),
                IsJson(R"({"VexoEnclosureEMMCollection": [)" + reference(kEnclosure, "EMM/E1") +
                       "," + reference(kEnclosure, "EMM/E2") + "]}"));
}

TEST_F(AssociationLinks, LookUpBindsTheId)
{
    openEnclosures();
    const StatementTrace trace;
    EXPECT_TRUE(links(R"({"VexoEnclosureCollection": {}})", "' or '1'='1").empty());
    EXPECT_THAT(trace.Texts(),
                ElementsAre("select __LeftClass, __LeftClassKey, __RightClass, __RightClassKey "
                            "from Tbl_xcim_enclosureemmdependency where __LeftClassKey = ?"));
}

TEST_F(AssociationLinks, InstanceWithoutRelativesGetsNoMember)
{
    openEnclosures();
    EXPECT_TRUE(links(R"({"VexoEnclosureCollection": {}})", "E3").isNull());
    EXPECT_TRUE(links(R"({"VexoEnclosureCollection": {}})", "").isNull());
}

TEST_F(AssociationLinks, RowOfTheSystemIsSkipped)
{
    openEnclosures(", ('XCIM_Enclosure', 'E3', 'XCIM_ComputerSystem', 'System'), "
                   "('XCIM_Enclosure', 'E3', 'XCIM_EMM', 'EMM.9')");
    EXPECT_THAT(links(R"({"VexoEnclosureCollection": {}})", "E3")["VexoEnclosureCollection"],
                IsJson("[" + reference(kEnclosure, "/EMM.9") + "]"));
    EXPECT_TRUE(links(R"({"VexoEnclosureEMMCollection": {}})", "System").empty());
}

TEST_F(AssociationLinks, MalformedRowsAreSkipped)
{
    openEnclosures(", (null, 'E3', 'XCIM_EMM', 'a'), ('XCIM_Enclosure', 'E3', null, 'b'), "
                   "('XCIM_Enclosure', 'E3', 'XCIM_EMM', null), ('XCIM_Enclosure', 'E3', 7, 'd'), "
                   "('XCIM_Enclosure', 'E3', 'XCIM_EMM', x'41'), "
                   "('XCIM_Enclosure', 'E3', 'XCIM_EMM', 'EMM.9')");
    EXPECT_THAT(links(R"({"VexoEnclosureCollection": {}})", "E3")["VexoEnclosureCollection"],
                IsJson("[" + reference(kEnclosure, "/EMM.9") + "]"));
}

TEST_F(AssociationLinks, UnknownNameIsLoggedAndSkipped)
{
    openEnclosures();
    const Json::Value result =
        links(R"({"ComputerSystem": "/s", "Doors": {}, "VexoEnclosureCollection": {}})", "E2");
    EXPECT_TRUE(logged(1, "Assocation key not found for class Doors"));
    EXPECT_THAT(result.getMemberNames(), ElementsAre("ComputerSystem", "VexoEnclosureCollection"));
}

TEST_F(AssociationLinks, EveryLookUpIsFinalized)
{
    openEnclosures(", ('XCIM_Enclosure', 'X', 'XCIM_EMM', 'X')");
    const StatementTrace trace;
    const Json::Value result =
        links(R"({"Doors": {}, "VexoEnclosureCollection": {}, "VexoEnclosureEMMCollection": {},
                  "VexoPowerSupplyCollection": {}})",
              "X");
    EXPECT_THAT(result.getMemberNames(),
                ElementsAre("VexoEnclosureCollection", "VexoEnclosureEMMCollection"));
    EXPECT_EQ(trace.Texts().size(), 2U);
    EXPECT_EQ(support::openStatements(), 0);
}

TEST_F(AssociationLinks, NoNamesGiveNoLinks)
{
    EXPECT_TRUE(links("{}", "E1").isNull());
    EXPECT_TRUE(links("null", "E1").isNull());
    EXPECT_THAT(support::messagesAtLevel(1), IsEmpty());
}

TEST_F(AssociationLinks, PatternThatDidNotCompileAborts)
{
    EXPECT_ABORTS("0 == reg_comp_assoc", {
        reg_comp_assoc = 1;
        (void)links("{}", "E1");
    });
}

// What the host's request deadline is for.
TEST_F(AssociationLinks, MissingTableNeverEnds)
{
    ASSERT_EQ(mCache.Open(), 0);
    EXPECT_EXIT(
        {
            support::LogCapture::SetThreshold(0);
            endAfterMicroseconds(200000);
            (void)links(R"({"VexoEnclosureCollection": {}})", "E1");
        },
        ::testing::KilledBySignal(SIGALRM), "");
}

} // namespace
