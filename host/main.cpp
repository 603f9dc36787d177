#include "check/command.h"
#include "options.h"
#include "service.h"

int main(int argc, char** argv)
{
    host::Options options;
    cli::Command program = host::commandLine(options);
    program.run = [&options] {
        return options.isCheck ? host::check::runCheck(options) : host::runService(options);
    };
    return cli::run(program, {argv + 1, argv + argc});
}
