// What a worker is at, in memory that it shares with the spawner: whoever has ended cannot tell.
#ifndef HOST_WORKER_WORK_NOTE_H_
#define HOST_WORKER_WORK_NOTE_H_

#include <memory>
#include <string>
#include <string_view>

namespace host {

// Made before the fork; the worker writes, the spawner reads once the worker has ended.
class WorkNote
{
public:
    // Without memory for it a note stays empty.
    WorkNote();

    // What does not fit is cut.
    void write(std::string_view text);
    std::string text() const;

private:
    struct Unmap
    {
        void operator()(char* memory) const;
    };
    std::unique_ptr<char, Unmap> mMemory; // a text that ends with a NUL
};

} // namespace host

#endif
