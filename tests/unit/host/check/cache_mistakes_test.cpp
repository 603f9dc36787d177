// What can be wrong with a data cache.
#include "check/SampleFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace {

using host::check::Depth;
using host::check::Fault;
using testing::HasSubstr;
using testing::StartsWith;

Fault onlyFault(const SampleFiles& files, Depth depth = Depth::Rows)
{
    const host::check::Report report = files.check(depth);
    std::string told;
    for (const Fault& fault : report.faults) {
        told += logLine(fault) + "\n";
    }
    EXPECT_EQ(report.faults.size(), 1U) << told;
    return report.faults.empty() ? Fault{} : report.faults.front();
}

struct Change
{
    const char* sql;
    const char* at; // a text on the line of the mapping
    const char* place;
    const char* wrong;
};

TEST(CheckedCache, TablesAndColumnsThatTheMappingNeeds)
{
    const std::vector<Change> changes = {
        {"drop table Tbl_XCIM_StorageVolume", "\"XCIM_StorageVolume\": {",
         "VexoVolume, class XCIM_StorageVolume", "no table Tbl_XCIM_StorageVolume"},
        {"alter table Tbl_XCIM_StorageVolume drop column StripeSize", "\"StripeSize\": {",
         "VexoVolume, property StripeSize", "no column \"StripeSize\""},
        {"alter table Tbl_XCIM_StorageVolume rename column DeviceID to Id", "\"VexoVolume\": {",
         "VexoVolume, property DeviceID", "no column \"DeviceID\""},
        {"alter table Tbl_XCIM_SoftwareIdentity rename column InstanceID to Id",
         "\"VexoSoftwareIdentity\": {", "VexoSoftwareIdentity, key InstanceID",
         "no column \"InstanceID\""},
        {"drop table Tbl_xcim_enclosureemmdependency", "\"VexoEnclosureEMMCollection\": {}",
         "VexoEnclosure, link VexoEnclosureEMMCollection", "no such table"},
        {"alter table Tbl_xcim_enclosureemmdependency rename column __LeftClassKey to LeftKey",
         "\"VexoEnclosureEMMCollection\": {}", "VexoEnclosure, link VexoEnclosureEMMCollection",
         "no such column"},
    };
    for (const Change& change : changes) {
        SCOPED_TRACE(change.sql);
        SampleFiles files;
        files.runSql(change.sql);
        const Fault fault = onlyFault(files, Depth::Tables);
        EXPECT_EQ(fault.file, files.mappingPath());
        EXPECT_EQ(fault.place, change.place);
        EXPECT_THAT(fault.finding.wrong, HasSubstr(change.wrong));
        EXPECT_GE(fault.position.line, files.lineOf(change.at));
    }
}

TEST(CheckedCache, TableOfAClassThatIsNotReadyEither)
{
    SampleFiles files;
    files.runSql("drop table Tbl_XCIM_PhysicalMemory");
    EXPECT_THAT(onlyFault(files).finding.effect, HasSubstr("503"));
    files.runSql("insert into Tbl_CMPIReady values ('xcim_physicalmemory')");
    EXPECT_THAT(onlyFault(files).finding.effect, HasSubstr("500"));
}

TEST(CheckedCache, WordOfSqlite)
{
    SampleFiles files;
    files.runSql("alter table Tbl_XCIM_StorageVolume rename column StripeSize to \"Order\"");
    files.replace("\"VexoVolume\": {", "\"StripeSize\"", "\"Order\"");
    const Fault fault = onlyFault(files);
    EXPECT_EQ(fault.place, "VexoVolume, property Order");
    EXPECT_THAT(fault.finding.wrong, HasSubstr("cannot be asked for"));
}

TEST(CheckedCache, RealCells)
{
    SampleFiles files;
    files.runSql("create table Copy as select * from Tbl_XCIM_DiskDrive;"
                 "drop table Tbl_XCIM_DiskDrive;"
                 "alter table Copy rename to Tbl_XCIM_DiskDrive;"
                 "update Tbl_XCIM_DiskDrive set Size = 1.5 where rowid = 100");
    EXPECT_TRUE(files.check(Depth::Tables).faults.empty()) << "only the first row is looked at";
    const Fault fault = onlyFault(files, Depth::Rows);
    EXPECT_EQ(fault.place, "VexoDrive, property Size");
    EXPECT_THAT(fault.finding.wrong, HasSubstr("REAL"));
    files.runSql("update Tbl_XCIM_DiskDrive set Size = 1.5");
    EXPECT_EQ(onlyFault(files, Depth::Tables).place, "VexoDrive, property Size");
}

TEST(CheckedCache, ReadinessTable)
{
    for (const char* sql : {"drop table Tbl_CMPIReady",
                            "alter table Tbl_CMPIReady rename column ClassName to Name"}) {
        SampleFiles files;
        files.runSql(sql);
        const Fault fault = onlyFault(files);
        EXPECT_EQ(fault.file, files.cachePath());
        EXPECT_THAT(fault.finding.wrong, HasSubstr("Tbl_CMPIReady"));
        EXPECT_THAT(fault.finding.effect, HasSubstr("503"));
    }
}

TEST(CheckedCache, ReadinessTableWithoutRows)
{
    SampleFiles files;
    files.runSql("delete from Tbl_CMPIReady");
    EXPECT_TRUE(files.check().faults.empty()) << "the cache is being filled";
}

TEST(CheckedCache, FileThatIsMissing)
{
    SampleFiles files;
    std::filesystem::remove(files.cachePath());
    const Fault fault = onlyFault(files);
    EXPECT_EQ(fault.file, files.cachePath());
    EXPECT_THAT(fault.finding.wrong, HasSubstr("No such file"));
}

TEST(CheckedCache, FileThatIsNoDatabase)
{
    SampleFiles files;
    std::ofstream(files.cachePath()) << std::string(10000, 'x');
    const Fault fault = onlyFault(files);
    EXPECT_THAT(fault.finding.wrong, HasSubstr("cannot be read: file is not a database"));
    EXPECT_THAT(fault.finding.effect, HasSubstr("503"));
}

TEST(CheckedCache, FileThatTheServiceDoesNotStartWith)
{
    SampleFiles files;
    std::filesystem::remove(files.cachePath());
    std::filesystem::create_directory(files.cachePath());
    const Fault fault = onlyFault(files);
    EXPECT_THAT(fault.finding.wrong, HasSubstr("cannot be opened: it is no regular file"));
    EXPECT_EQ(fault.finding.effect, "the service does not start");
}

TEST(CheckedCache, FileWithoutTables)
{
    SampleFiles files;
    std::ofstream(files.cachePath(), std::ios::trunc).close();
    EXPECT_THAT(onlyFault(files).finding.wrong, HasSubstr("no tables yet"));
}

TEST(CheckedCache, TablesThatItsWriterHasNotMadeYetAreMissedByTheCheckAlone)
{
    SampleFiles files;
    std::filesystem::remove(files.cachePath());
    files.runSql("CREATE TABLE Tbl_CMPIReady (ClassName TEXT)");
    EXPECT_THAT(files.check(host::check::Depth::Tables).faults, testing::IsEmpty());
    EXPECT_THAT(files.check().faults, testing::Not(testing::IsEmpty()));
    files.runSql("INSERT INTO Tbl_CMPIReady VALUES ('XCIM_PowerSupply')");
    EXPECT_THAT(files.check(host::check::Depth::Tables).faults, testing::Not(testing::IsEmpty()));
}

TEST(CheckedCache, DamagedPages)
{
    SampleFiles files;
    std::fstream file(files.cachePath());
    file.seekp(static_cast<std::streamoff>(std::filesystem::file_size(files.cachePath())) - 4096);
    file << std::string(4096, '\xFF');
    file.close();
    const Fault fault = onlyFault(files);
    EXPECT_EQ(fault.file, files.cachePath());
    EXPECT_THAT(fault.finding.wrong, StartsWith("it is damaged: "));
}

TEST(CheckedCache, IsNotLookedAtWhereNothingIsReadFromIt)
{
    SampleFiles files;
    files.mapping = R"({"VexoThing": {"@odata.id": "/redfish/v1/VexoThing"}})";
    std::filesystem::remove(files.cachePath());
    const host::check::Report report = files.check();
    EXPECT_FALSE(report.needsCache);
    EXPECT_TRUE(report.faults.empty());
}

} // namespace
