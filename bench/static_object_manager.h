// An object manager that gives one answer to whatever it is asked: instances of 25 properties.
#ifndef BENCH_STATIC_OBJECT_MANAGER_H_
#define BENCH_STATIC_OBJECT_MANAGER_H_

#include <sys/types.h>

#include <string>

namespace bench {

inline constexpr int kInstanceProperties = 25;

// The name of property number 0 and so on; number 0 is the key, a text.
std::string propertyName(int number);

// The answer to EnumerateInstances for so many of XCIM_Benchmark. Of each changedEvery-th, if that
// is not 0, the numbers differ from those of an answer without it.
std::string instancesAnswer(int count, int changedEvery = 0);

// Throws std::runtime_error that says what, unless the condition holds.
void require(bool condition, const char* what);

// A server of one answer, as a process of its own.
class StaticObjectManager
{
public:
    explicit StaticObjectManager(const std::string& body);
    ~StaticObjectManager();
    StaticObjectManager(const StaticObjectManager&) = delete;
    StaticObjectManager& operator=(const StaticObjectManager&) = delete;

    const std::string& port() const { return mPort; }
    std::string url() const { return "http://127.0.0.1:" + mPort; }

private:
    std::string mPort;
    pid_t mProcess = 0;
};

} // namespace bench

#endif
