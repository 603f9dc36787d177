// How a process of the service is told from the others: in ps, in top, and in its log lines.
#ifndef HOST_PROCESS_NAME_H_
#define HOST_PROCESS_NAME_H_

#include <string>

namespace host {

enum class ProcessKind { Front, Spawner, Check, Schemas, Worker, Queue };

// Makes room for titles where the kernel shows the command line: to be called first of all, by
// main(). Without it processes have a name only.
void keepTitleRoom(int argc, char** argv);

// Names this process. Its title is "cimgated: worker"; the front's has the options behind it, and
// its log lines have no name.
void nameProcess(ProcessKind kind);

} // namespace host

#endif
