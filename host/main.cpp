#include "check/command.h"
#include "options.h"
#include "process_name.h"
#include "service.h"

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    host::keepTitleRoom(argc, argv); // from here on argv may be overwritten
    host::Options options;
    cli::Command program = host::commandLine(options);
    program.run = [&options] {
        return options.isCheck ? host::check::runCheck(options) : host::runService(options);
    };
    return cli::run(program, arguments);
}
