#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The fault tests' program defines these functions itself (SystemCalls.cpp), so that the library calls them:
//     open, read, write, close, fopen, fseek, ftell, fread, fwrite, fflush, fclose, ftruncate
// and for the sweep, which also covers the calls of other libraries,
//     malloc, calloc, realloc, free, stat, statx, mkdir, tempnam, signal, localtime_r,
//     pthread_create, pthread_mutex_init, pthread_cond_init
// Calls within the C library do not come here, except for its allocations: an `fflush` does, the `write` inside it does
// not. If a sanitizer has its own allocator, only `operator new` and `operator delete` come here. A watch serves one
// thread.

/// The outcome of one call.
struct Outcome
{
    int error;  // unless 0, the call fails with this errno and does not reach the system; close and fclose still do
    std::size_t limit;  // a transfer moves at most this many bytes
    bool pretended;     // the call does not reach the system and returns `limit`
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

/// Watches the calls that open one path and the calls on the descriptors that they return, or the calls on one
/// descriptor. There is one watch at a time. Watched calls that succeed leave a misleading errno, as they may.
class SystemCallWatch
{
public:
    explicit SystemCallWatch(const std::string& path);
    explicit SystemCallWatch(int descriptor);

    /// Fails the test if a scripted outcome has not occurred.
    ~SystemCallWatch();

    SystemCallWatch(const SystemCallWatch&) = delete;
    SystemCallWatch& operator=(const SystemCallWatch&) = delete;

    /// Sets the outcomes of the next calls of a function; later calls pass.
    void Script(const std::string& function, const std::vector<Outcome>& outcomes);

    /// Returns the calls that have ended, in their order, and clears them. They read like "open(0) = ok" (its flags),
    /// "read(1024) = 6", "write(5) = -1", "fopen(wb) = ok", "fseek(0, end) = 0" and "close() = 0".
    std::vector<std::string> Take();
};

/// Limits what C++ code on this thread may allocate, and counts what it has allocated. A larger block fails with
/// std::bad_alloc.
struct MemoryLimits
{
    std::size_t largest = static_cast<std::size_t>(-1);
    std::size_t inUse = 0;  // bytes that are allocated and not freed
    std::size_t peak = 0;   // the highest value of `inUse`
};
MemoryLimits& ThisThreadsMemory();

/// A call in a run: the `number`th one of its function, from 0, on the thread that runs the action or on all others
/// together.
struct CallPoint
{
    std::string function;
    bool background;
    unsigned number;
};

/// Runs `action` and returns the calls that it makes on all threads. They must have ended when it returns.
std::vector<CallPoint> CallsOf(const std::function<void()>& action);

/// Runs `action` with another outcome of one call and returns how often that occurred: once, if there is such a call.
unsigned RunWithFault(const CallPoint& point, const Outcome& outcome, const std::function<void()>& action);

/// While it is alive, this thread's calls are the test's own: they are not counted and have no scripted outcome.
class Exempt
{
public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
};

/// Counts a call of a function that the test defines and returns whether it has to fail; if so, sets errno.
bool FailsInSweep(const char* function);

/// Returns how many blocks of the heap are in use.
long LiveBlocks();
