// What a program made for SFCC sees of each function of the interface's tables.
#ifndef TESTS_CMPISFCC_INTERFACE_TEST_H_
#define TESTS_CMPISFCC_INTERFACE_TEST_H_

#include "CannedServer.h"
#include "Owner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// A client, and objects to call functions of.
class Program
{
public:
    Program()
        : client(
              own(cmciConnect("127.0.0.1", "http", server.port().c_str(), "me", nullptr, nullptr))),
          path(own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr)))
    {
        (void)CMAddKey(path.get(), "Id", const_cast<char*>("f"), CMPI_chars);
        instance = own(native_new_CMPIInstance(path.get(), nullptr));
    }

    // What the object manager returns next.
    void returns(const char* operation, const std::string& objects)
    {
        server.addXml(CannedServer::returning(operation, objects));
    }
    void done(const char* operation) { server.addXml(CannedServer::message(operation, "")); }

    // Whether the last request was this operation.
    bool asked(const std::string& operation)
    {
        return server.requests().back().find("CIMMethod: " + operation + "\r\n") !=
               std::string::npos;
    }

    CMCIClientFT& clientTable() const { return *client->ft; }
    CMPIObjectPathFT& pathTable() const { return *path->ft; }
    CMPIInstanceFT& instanceTable() const { return *instance->ft; }

    CannedServer server;
    Owner<CMCIClient> client;
    Owner<CMPIObjectPath> path;
    Owner<CMPIInstance> instance;
    Status status;
};

// What is not there: of type and state null, as SFCC tells.
struct Missing
{
    Status status;
    void expect(const CMPIData& data, int code) const
    {
        EXPECT_EQ(status.code(), code);
        EXPECT_EQ(data.type, CMPI_null);
        EXPECT_NE(data.state & CMPI_nullValue, 0);
    }
};

// A function of a table, "release", and what is seen of it.
struct FunctionCase
{
    const char* function;
    void (*check)(Program& program);
};

inline std::string caseName(const testing::TestParamInfo<FunctionCase>& info)
{
    return info.param.function;
}

template <std::size_t kCount>
std::vector<std::string> functionsOf(const FunctionCase (&cases)[kCount])
{
    std::vector<std::string> names;
    for (const FunctionCase& one : cases) {
        names.emplace_back(one.function);
    }
    return names;
}

// What the headers declare, in their order: the tables, and the functions of one of them.
std::vector<std::string> declaredTables();
std::vector<std::string> declaredFunctions(const std::string& table);

#endif
