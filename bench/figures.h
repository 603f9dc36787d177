// What the library is measured with: reads from the cache, each beside its floor.
//
// A floor is what any reader of the cache has to do: the library's own SELECT prepared, stepped and
// finalized, the values put into flat JSON, and that written as text.
#ifndef BENCH_FIGURES_H_
#define BENCH_FIGURES_H_

#include <memory>
#include <string>

namespace bench {

class Figure
{
public:
    Figure() = default;
    virtual ~Figure() = default;
    Figure(const Figure&) = delete;
    Figure& operator=(const Figure&) = delete;

    // What one run needs and is not part of it.
    virtual void prepare() {}
    // What is measured.
    virtual void run() = 0;
    // The answer of the last run.
    virtual std::string answer() const = 0;
};

// A figure by its name: "instance", "instance_floor"; "request", to be compared with
// instance_floor; "page", "page_floor"; "mapping_floor", the mapping file parsed. Throws
// std::runtime_error for any other.
std::unique_ptr<Figure> makeFigure(const std::string& name);

// Throws std::runtime_error where the last run did not answer as it should: a figure that does
// something else than it says would be worth nothing.
void checkAnswer(const std::string& name, const Figure& figure);

// Opens the system of a directory (see writeSystem()), once per process, before the first figure.
// The log is as quiet as a service's.
void openSystem(const std::string& directory);

} // namespace bench

#endif
