// Memory of one object and everything in it: allocated piece by piece, freed as a whole.
#ifndef CMPISFCC_ARENA_H_
#define CMPISFCC_ARENA_H_

#include <cstddef>
#include <new>
#include <string_view>
#include <type_traits>

namespace cmpisfcc {

// The objects of an enumeration live in a single arena, so that thousands of properties take a few
// allocations. Nothing in it is destroyed on its own. Throws std::bad_alloc.
class Arena
{
public:
    // firstBytes  what fits without a second allocation.
    static Arena* make(std::size_t firstBytes);
    static void destroy(Arena* arena) noexcept;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    template <typename T>
    T* create(const T& value = T())
    {
        static_assert(std::is_trivially_destructible_v<T>);
        return ::new (allocate(sizeof(T), alignof(T))) T(value);
    }

    template <typename T>
    T* createArray(std::size_t count)
    {
        static_assert(std::is_trivially_destructible_v<T>);
        return ::new (allocate(sizeof(T) * count, alignof(T))) T[count]();
    }

    // A copy that ends with a null character.
    char* copy(std::string_view text);
    // The same; null stays null.
    char* copy(const char* text);

    void* allocate(std::size_t bytes, std::size_t alignment);

    // The object whose release frees the arena, if it has one.
    void setRoot(const void* object) { mRoot = object; }
    [[nodiscard]] bool isRoot(const void* object) const { return object == mRoot; }

private:
    struct Chunk
    {
        Chunk* next;
    };

    Arena(char* free, char* end) : mFree(free), mEnd(end) {}
    ~Arena() = default;
    void addChunk(std::size_t bytes);

    char* mFree;
    char* mEnd;
    Chunk* mChunks = nullptr; // all but the first, which the arena itself is in
    std::size_t mChunkBytes = 1024;
    const void* mRoot = nullptr;
};

} // namespace cmpisfcc

#endif
