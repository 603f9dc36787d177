// cimgate: the command line of who develops and operates.
#include "cache.h"
#include "oem.h"

int main(int argc, char** argv)
{
    const cli::Command program = {
        .name = "cimgate",
        .summary = "For who develops and operates; each command is one task.",
        .commands = {cache::command(), oem::command()},
        .notes = "cimgate COMMAND --help tells more of each.",
    };
    return cli::run(program, {argv + 1, argv + argc});
}
