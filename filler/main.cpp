#include "options.h"
#include "supervisor.h"

int main(int argc, char** argv)
{
    filler::Options options;
    cli::Command program = filler::commandLine(options);
    program.run = [&options] {
        return filler::runFiller(options);
    };
    return cli::run(program, {argv + 1, argv + argc});
}
