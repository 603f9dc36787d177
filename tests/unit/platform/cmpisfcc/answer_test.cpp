// What an answer costs while it arrives.
#include "ClientOperationsTest.h"

#include <CountedMemory.h>

namespace {

std::string fan(unsigned int number)
{
    const std::string id = "fan" + std::to_string(number);
    return R"(<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id">)"
           R"(<KEYVALUE VALUETYPE="string">)" +
           id +
           R"(</KEYVALUE></KEYBINDING></INSTANCENAME><INSTANCE CLASSNAME="XCIM_Fan">)"
           R"(<PROPERTY NAME="Id" TYPE="string"><VALUE>)" +
           id +
           R"(</VALUE></PROPERTY><PROPERTY NAME="Speed" TYPE="uint32"><VALUE>1000</VALUE></PROPERTY>)"
           R"(</INSTANCE></VALUE.NAMEDINSTANCE>)";
}

std::string fans(unsigned int count)
{
    std::string objects;
    for (unsigned int i = 0; i < count; ++i) {
        objects += fan(i);
    }
    return objects;
}

unsigned int walk(CMPIEnumeration* enumeration)
{
    unsigned int walked = 0;
    while (CMHasNext(enumeration, nullptr) != 0) {
        const CMPIData data = CMGetNext(enumeration, nullptr);
        const bool isRead = textOf(CMGetProperty(data.value.inst, "Id", nullptr)) ==
                                "fan" + std::to_string(walked) &&
                            CMGetProperty(data.value.inst, "Speed", nullptr).value.uint32 == 1000;
        walked += isRead ? 1U : 0U;
    }
    return walked;
}

TEST_F(ClientOperations, OneHundredThousandInstancesTakeTwentyMebibytesAtMost)
{
    constexpr unsigned int kInstances = 100'000;
    constexpr std::size_t kMostBytes = std::size_t{20} * 1024 * 1024;
    mServer.addXml(CannedServer::returning("EnumerateInstances", fans(kInstances)));
    const CountedMemory memory;
    const auto all = own(ft()->enumInstances(mClient.get(), mPath.get(), 0, nullptr, nullptr));
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(walk(all.get()), kInstances);
    EXPECT_LE(memory.peakBytes(), kMostBytes);
}

} // namespace
