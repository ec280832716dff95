#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The fault tests' program defines these functions itself (SystemCalls.cpp), so that the library's calls come by here:
//     open, read, write, close, fopen, fseek, ftell, fread, fwrite, fflush, fclose, ftruncate
// Calls within the C library do not: an `fflush` does, the `write` inside it does not. All of this serves one thread.

/// What becomes of one call.
struct Outcome
{
    int error;          // unless 0, it fails with this errno and does not reach the system; close and fclose still do
    std::size_t limit;  // a transfer moves at most so many bytes
    bool pretended;     // it does not reach the system either, and returns `limit`
};

constexpr Outcome AtMost(std::size_t bytes)
{
    return {0, bytes, false};
}
constexpr Outcome Pass()
{
    return AtMost(static_cast<std::size_t>(-1));
}
constexpr Outcome Fail(int error)
{
    return {error, 0, false};
}
constexpr Outcome Pretend(std::size_t bytes)
{
    return {0, bytes, true};
}

/// Watches the calls that open one path and those upon what these gave, or the calls upon one descriptor. There is one
/// watch at a time. Watched calls that succeed leave a misleading errno behind, as they may.
class SystemCallWatch
{
public:
    explicit SystemCallWatch(const std::string& path);
    explicit SystemCallWatch(int descriptor);

    /// Fails the test if a scripted outcome has not come about.
    ~SystemCallWatch();

    SystemCallWatch(const SystemCallWatch&) = delete;
    SystemCallWatch& operator=(const SystemCallWatch&) = delete;

    /// Sets what becomes of the next calls of a function; those after them pass.
    void Script(const std::string& function, const std::vector<Outcome>& outcomes);

    /// Returns the calls that have ended, in this order, and starts anew. They read like "open(0) = ok" (its flags),
    /// "read(1024) = 6", "write(5) = -1", "fopen(wb) = ok", "fseek(0, end) = 0" and "close() = 0".
    std::vector<std::string> Take();
};

/// What C++ code on this thread may ask of the heap: a larger block fails with std::bad_alloc.
struct MemoryLimits
{
    std::size_t largest = static_cast<std::size_t>(-1);
};
MemoryLimits& ThisThreadsMemory();
