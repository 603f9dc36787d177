#include "process_name.h"

#include "log.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace host {

namespace {

struct Name
{
    const char* command; // in place of the program's name: at most 15 bytes
    const char* title;
    const char* inLog;
};

Name nameOf(ProcessKind kind)
{
    switch (kind) {
    case ProcessKind::Spawner:
        return {"cimgated-spawn", "spawner", "spawner"};
    case ProcessKind::Check:
        return {"cimgated-check", "check", ""};
    case ProcessKind::Schemas:
        return {"cimgated-schema", "schemas", ""};
    case ProcessKind::Worker:
        return {"cimgated-worker", "worker", "worker"};
    case ProcessKind::Queue:
        return {"cimgated-oem", "queue", "queue"};
    default:
        return {"cimgated", "front", ""};
    }
}

// The command line and the environment, which the kernel keeps one behind the other.
struct TitleRoom
{
    char* begin = nullptr;
    size_t bytes = 0;
    std::string options;
};

TitleRoom& titleRoom()
{
    static TitleRoom room;
    return room;
}

// The environment moves away. It is never freed: what ends last may still ask for it.
void moveEnvironment()
{
    size_t count = 0;
    while (environ[count] != nullptr) {
        ++count;
    }
    auto** const moved = new char*[count + 1];
    std::transform(environ, environ + count, moved, strdup);
    moved[count] = nullptr;
    environ = moved;
}

// Where the text ends that begins at this address, if that is where it is expected.
char* endOfText(char* expected, char* text)
{
    return text == expected ? text + std::strlen(text) + 1 : expected;
}

void setTitle(const std::string& title)
{
    const TitleRoom& room = titleRoom();
    if (room.bytes > 0) {
        std::fill_n(room.begin, room.bytes, '\0');
        (void)title.copy(room.begin, room.bytes - 1);
    }
}

} // namespace

void keepTitleRoom(int argc, char** argv)
{
    char* end = argv[0];
    TitleRoom& room = titleRoom();
    for (int i = 0; i < argc; ++i) {
        room.options += i == 0 ? "" : std::string(" ") + argv[i];
        end = endOfText(end, argv[i]);
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
        end = endOfText(end, *variable);
    }
    room.begin = argv[0];
    room.bytes = static_cast<size_t>(end - argv[0]);
    moveEnvironment();
}

void nameProcess(ProcessKind kind)
{
    const Name name = nameOf(kind);
    (void)prctl(PR_SET_NAME, name.command);
    setTitle(std::string("cimgated: ") + name.title +
             (kind == ProcessKind::Front ? titleRoom().options : ""));
    nameLog(name.inLog);
}

} // namespace host
