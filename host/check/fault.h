// What is wrong with the mapping file or the data cache, and how it is said.
#ifndef HOST_CHECK_FAULT_H_
#define HOST_CHECK_FAULT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace host::check {

// Where a fault stands.
struct Position
{
    size_t line = 0;   // from 1; 0 where it is about the file as a whole
    size_t column = 0; // from 1, in characters; 0 where the line says enough
};

// What is said of it: three phrases, each without a period at its end.
struct Finding
{
    std::string wrong;
    std::string effect; // what becomes of requests
    std::string remedy;
};

struct Fault
{
    std::string file;
    Position position;
    std::string place; // the entry, and what of it: "VexoDrive, property Size"; may be empty
    Finding finding;
};

// For the log: "FILE:LINE:COLUMN: PLACE: WRONG; EFFECT; REMEDY".
std::string logLine(const Fault& fault);

// For a person who knows which file it is: a few lines, the first of which says where.
std::string paragraph(const Fault& fault);

// A text of the mapping as a message shows it: between quotation marks, and shortened.
std::string quoted(std::string_view text);

} // namespace host::check

#endif
