#include "arena.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace cmpisfcc {

namespace {

// Below the size from which malloc asks the system for each piece.
constexpr std::size_t kLargestChunkBytes = 64UL * 1024;

} // namespace

Arena* Arena::make(std::size_t firstBytes)
{
    char* memory = static_cast<char*>(::operator new(sizeof(Arena) + firstBytes));
    return ::new (memory) Arena(memory + sizeof(Arena), memory + sizeof(Arena) + firstBytes);
}

void Arena::destroy(Arena* arena) noexcept
{
    for (Chunk* chunk = arena->mChunks; chunk != nullptr;) {
        Chunk* next = chunk->next;
        ::operator delete(chunk);
        chunk = next;
    }
    ::operator delete(arena);
}

void* Arena::allocate(std::size_t bytes, std::size_t alignment)
{
    const auto address = reinterpret_cast<std::uintptr_t>(mFree);
    const std::size_t gap = (alignment - address % alignment) % alignment;
    if (bytes + gap > static_cast<std::size_t>(mEnd - mFree)) {
        addChunk(bytes);
        return allocate(bytes, alignment);
    }
    char* result = mFree + gap;
    mFree = result + bytes;
    return result;
}

void Arena::addChunk(std::size_t bytes)
{
    mChunkBytes = std::min(mChunkBytes * 2, kLargestChunkBytes);
    const std::size_t size =
        std::max(mChunkBytes, sizeof(Chunk) + alignof(std::max_align_t) + bytes);
    char* memory = static_cast<char*>(::operator new(size));
    mChunks = ::new (memory) Chunk{mChunks};
    mFree = memory + sizeof(Chunk);
    mEnd = memory + size;
}

char* Arena::copy(std::string_view text)
{
    char* result = static_cast<char*>(allocate(text.size() + 1, 1));
    std::memcpy(result, text.data(), text.size());
    result[text.size()] = '\0';
    return result;
}

char* Arena::copy(const char* text)
{
    return text == nullptr ? nullptr : copy(std::string_view(text));
}

} // namespace cmpisfcc
