#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// The fault tests' program defines these functions itself (SystemCalls.cpp), so that the library's calls come by here:
//     open, read, write, close, fopen, fseek, ftell, fread, fwrite, fflush, fclose, ftruncate
// Calls within the C library do not: an `fflush` does, the `write` inside it does not.

/// What becomes of one call: `error`, unless 0, makes it fail with this errno instead of reaching the system (only
/// close and fclose still close); a transfer moves at most `limit` bytes. -1 as `error` makes it one that does not
/// reach the system either and returns `limit`.
struct Outcome
{
    int error;
    std::size_t limit;
};

constexpr Outcome AtMost(std::size_t bytes)
{
    return {0, bytes};
}
constexpr Outcome Pass()
{
    return AtMost(static_cast<std::size_t>(-1));
}
constexpr Outcome Fail(int error)
{
    return {error, 0};
}
constexpr Outcome Pretend(std::size_t bytes)
{
    return {-1, bytes};
}

/// Watches, on all threads, the calls that open one path and those upon what these gave, or the calls upon one
/// descriptor. Of several watches the newest takes a call. A watch outlives the calls that it watches, and those made
/// before it was. Watched calls that succeed leave a misleading errno behind, as they may.
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
    /// `watch.Script("read", {Pass(), Fail(EINTR), AtMost(3)})`
    void Script(const std::string& function, const std::vector<Outcome>& outcomes);

    /// Returns the calls that have ended, in this order, and starts anew. They read "open(0) = ok" (its flags),
    /// "read(1024) = 6", "write(5) = -1", "close() = 0", "fopen(wb) = ok", "fseek(0, end) = 0", "ftell() = 0",
    /// "fread(4) = 2", "fwrite(4) = 4", "fflush() = 0", "fclose() = 0" and "ftruncate(9) = 0".
    std::vector<std::string> Take();

    struct State;

private:
    explicit SystemCallWatch(const State& state);

    std::unique_ptr<State> m_state;
};

/// What C++ code on this thread may ask of the heap: anything beyond fails with std::bad_alloc. The program's operator
/// new obeys these limits, which a test sets and sets back.
struct MemoryLimits
{
    std::size_t largest = static_cast<std::size_t>(-1);      // bytes in one block
    std::size_t allocations = static_cast<std::size_t>(-1);  // blocks from now on
    long held = 0;                                           // blocks that were taken and not given back, a count
};
MemoryLimits& ThisThreadsMemory();
