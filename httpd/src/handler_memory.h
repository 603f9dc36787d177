// Memory for a handler that must get it: what keeps the server going when there is none left.
#ifndef HTTPD_HANDLER_MEMORY_H_
#define HTTPD_HANDLER_MEMORY_H_

#include <array>
#include <cstddef>
#include <new>

namespace httpd {

// Room for one handler at a time.
class HandlerMemory
{
public:
    HandlerMemory() = default;
    ~HandlerMemory() = default;
    HandlerMemory(const HandlerMemory&) = delete;
    HandlerMemory& operator=(const HandlerMemory&) = delete;

    void* take(size_t bytes)
    {
        if (mIsTaken || bytes > mStorage.size()) {
            return ::operator new(bytes);
        }
        mIsTaken = true;
        return mStorage.data();
    }

    void giveBack(void* memory)
    {
        if (memory == mStorage.data()) {
            mIsTaken = false;
        } else {
            ::operator delete(memory);
        }
    }

private:
    alignas(std::max_align_t) std::array<std::byte, 512> mStorage{};
    bool mIsTaken = false;
};

// What boost::asio::bind_allocator() takes.
template <typename T>
class HandlerAllocator
{
public:
    using value_type = T;

    explicit HandlerAllocator(HandlerMemory& memory) : mMemory(&memory) {}
    template <typename U>
    // NOLINTNEXTLINE(google-explicit-constructor): what an allocator is asked for
    HandlerAllocator(const HandlerAllocator<U>& other) : mMemory(other.mMemory)
    {}

    T* allocate(size_t count) { return static_cast<T*>(mMemory->take(count * sizeof(T))); }
    void deallocate(T* memory, size_t /*count*/) { mMemory->giveBack(memory); }

    template <typename U>
    bool operator==(const HandlerAllocator<U>& other) const
    {
        return mMemory == other.mMemory;
    }

private:
    template <typename>
    friend class HandlerAllocator;
    HandlerMemory* mMemory;
};

} // namespace httpd

#endif
