// What all fuzzers share: the entry point and the memory limit.

#include <cstdlib>
#include <new>

#include <Support/Input.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Input input(data, size);
    Fuzz(input);
    return 0;
}

// All forms for single objects, which containers use: sanitizers reject a mixture of their own and these.

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return size < kMemoryLimit ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow))
    {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
