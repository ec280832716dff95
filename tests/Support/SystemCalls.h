#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The fault tests' program defines these functions itself (SystemCalls.cpp), so that the library's calls come by here:
//     open, read, write, close, fopen, fseek, ftell, fread, fwrite, fflush, fclose, ftruncate
// and for the sweep, which looks at the calls of other libraries, too,
//     malloc, calloc, realloc, free, stat, statx, mkdir, tempnam, signal, localtime_r,
//     pthread_create, pthread_mutex_init, pthread_cond_init
// Calls within the C library do not, but for its allocations: an `fflush` does, the `write` inside it does not. Where a
// sanitizer brings its own allocator, only `operator new` and `operator delete` come by. A watch serves one thread.

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

/// What C++ code on this thread may ask of the heap, where a larger block fails with std::bad_alloc, and what it has
/// asked for.
struct MemoryLimits
{
    std::size_t largest = static_cast<std::size_t>(-1);
    std::size_t inUse = 0;  // bytes that it has got and not given back
    std::size_t peak = 0;   // the most that this has been
};
MemoryLimits& ThisThreadsMemory();

/// A call within a run: the `number`th of its function, from 0, on the thread that runs it or on all others together.
struct CallPoint
{
    std::string function;
    bool background;
    unsigned number;
};

/// Runs `action` and returns the calls that it makes on all threads, which must have ended when it returns.
std::vector<CallPoint> CallsOf(const std::function<void()>& action);

/// Runs `action` with another outcome of one call and returns how often that came about: once, if there is such a call.
unsigned RunWithFault(const CallPoint& point, const Outcome& outcome, const std::function<void()>& action);

/// What this thread does meanwhile is the test's own affair: it is not counted and nothing befalls it.
class Exempt
{
public:
    Exempt();
    ~Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
};

/// Counts a call of a function that the test defines, and says whether it has to fail. Sets errno then.
bool FailsInSweep(const char* function);

/// How many blocks of the heap are in use.
long LiveBlocks();
