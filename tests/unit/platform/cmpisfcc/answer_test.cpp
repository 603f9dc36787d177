// What an answer costs while it arrives.
#include "Owner.h"
#include "answer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

namespace {

// What this process has in memory now.
std::size_t residentBytes()
{
    std::size_t all = 0;
    std::size_t pages = 0;
    EXPECT_TRUE(std::ifstream("/proc/self/statm") >> all >> pages);
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

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

TEST(Answer, OfManyInstancesTakesLessThanItsText)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
    constexpr unsigned int kInstances = 100'000;
    cmpisfcc::Answer answer(cmpisfcc::Returns::Instances, nullptr);
    cimxml::ResponseReader reader(answer);
    const std::size_t before = residentBytes();
    const std::string begin =
        R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLERSP>)"
        R"(<IMETHODRESPONSE NAME="EnumerateInstances"><IRETURNVALUE>)";
    const std::string end = "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
    ASSERT_TRUE(reader.feed(begin));
    std::size_t textBytes = begin.size() + end.size();
    for (unsigned int i = 0; i < kInstances; ++i) {
        const std::string text = fan(i);
        textBytes += text.size();
        ASSERT_TRUE(reader.feed(text)) << reader.problem();
    }
    ASSERT_TRUE(reader.feed(end) && reader.finish()) << reader.problem();
    const auto fans = own(answer.takeEnumeration());
    unsigned int walked = 0;
    while (CMHasNext(fans.get(), nullptr) != 0) {
        walked += CMGetNext(fans.get(), nullptr).type == CMPI_instance ? 1U : 0U;
    }
    EXPECT_EQ(walked, kInstances);
    EXPECT_LE(residentBytes() - before, textBytes);
}

} // namespace
