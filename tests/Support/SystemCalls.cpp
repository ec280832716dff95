#include "Support/SystemCalls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <map>
#include <new>
#include <optional>
#include <pthread.h>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

// The system's function of this name.
#define SYSTEMS(function) reinterpret_cast<decltype(&::function)>(::dlsym(RTLD_NEXT, #function))

namespace
{

int Descriptor(std::FILE* file)
{
    return file != nullptr ? ::fileno(file) : -1;
}

struct Watch
{
    std::string path;
    std::set<int> descriptors;
    std::map<std::string, std::vector<Outcome>> outcomes = {};
    std::vector<std::string> calls = {};
};
std::optional<Watch> watch;

constexpr std::string_view kSweptFunctions =
    " malloc open read write close fopen fseek ftell fread fwrite fflush fclose ftruncate stat statx mkdir tempnam "
    "signal "
    "localtime_r pthread_create pthread_mutex_init pthread_cond_init ";

// The run that is swept. While it is active, threads change only its counters.
struct Sweep
{
    std::atomic<bool> active = false;
    // Two per function, at the place where its name begins above: the calls of the thread that runs the action, and
    // those of all others.
    std::array<std::atomic<unsigned>, 2 * kSweptFunctions.size()> calls = {};
    std::size_t function = 0;  // whose `number`th call ends with `outcome`
    unsigned number = 0;
    Outcome outcome = Pass();
    std::atomic<unsigned> fired = 0;
};
Sweep sweep;
#ifdef KITIO_SANITIZERS_ALLOCATOR
constexpr bool kOwnMalloc = false;
#else
constexpr bool kOwnMalloc = true;
#endif
std::atomic<long> liveBlocks = 0;
thread_local bool runsTheSweep = false;
thread_local int exemptions = 0;

std::size_t Counter(std::string_view function, bool background)
{
    std::size_t at = kSweptFunctions.find(function);
    while (kSweptFunctions.at(at - 1) != ' ' || kSweptFunctions.at(at + function.size()) != ' ')
    {
        at = kSweptFunctions.find(function, at + 1);
    }
    return 2 * at + (background ? 1 : 0);
}

// Counts a call of the run and returns its scripted outcome, if it has one.
const Outcome* OutcomeOf(std::string_view function)
{
    if (!sweep.active || exemptions != 0)
    {
        return nullptr;
    }
    const std::size_t counter = Counter(function, !runsTheSweep);
    const bool meant = sweep.calls.at(counter)++ == sweep.number && counter == sweep.function;
    return meant ? (++sweep.fired, &sweep.outcome) : nullptr;
}

void RunSwept(const std::function<void()>& action)
{
    std::fill(sweep.calls.begin(), sweep.calls.end(), 0);
    sweep.fired = 0;
    sweep.active = runsTheSweep = true;
    action();
    sweep.active = runsTheSweep = false;
}

// Makes a call that is swept but not watched.
template <typename Result, typename Call>
Result MakeSwept(std::string_view function, const Result& failure, Call call)
{
    const Outcome* const outcome = OutcomeOf(function);
    return outcome != nullptr ? (errno = outcome->error, failure) : call();
}

template <typename Call>
void* Allocate(Call call)
{
    void* const block = MakeSwept("malloc", static_cast<void*>(nullptr), call);
    liveBlocks += block != nullptr ? 1 : 0;
    return block;
}

Outcome Next(const std::string& function)
{
    std::vector<Outcome>& outcomes = watch->outcomes[function];
    if (outcomes.empty())
    {
        return Pass();
    }
    const Outcome next = outcomes.front();
    outcomes.erase(outcomes.begin());
    return next;
}

/// Makes a call that opens `path` and returns a descriptor, or, without a path, one that uses `descriptor`: as
/// scripted, or in the system with `call(limit)`, which moves at most `limit` bytes.
template <typename Result, typename Call>
Result Make(const char* path, int descriptor, const char* name, const std::string& arguments, Result failure, Call call)
{
    const Outcome* const befallen = OutcomeOf(name);
    const bool watched = watch && (path != nullptr ? watch->path == path : watch->descriptors.count(descriptor) != 0);
    if (befallen == nullptr && !watched)
    {
        return call(Pass().limit);
    }
    const auto [scripted, limit, pretended] = befallen != nullptr ? *befallen : Next(name);
    const bool closes = std::string(name).find("close") != std::string::npos;
    const bool reaches = (scripted == 0 && !pretended) || closes;
    const Result actual = reaches ? call(limit) : static_cast<Result>(limit);
    const Result result = scripted == 0 ? actual : failure;
    const int error = scripted == 0 && result == failure ? errno : scripted;
    if (!watched)
    {
        errno = error;
        return result;
    }
    if (closes)
    {
        watch->descriptors.erase(descriptor);
    }
    const bool opened = path != nullptr && result != failure;
    if (opened)
    {
        watch->descriptors.insert(static_cast<int>(result));
    }
    watch->calls.push_back(name + ("(" + arguments + ") = ") + (opened ? "ok" : std::to_string(result)));
    errno = error != 0 ? error : EXDEV;
    return result;
}

}  // namespace

SystemCallWatch::SystemCallWatch(const std::string& path)
{
    watch = Watch{path, {}};
}

SystemCallWatch::SystemCallWatch(int descriptor)
{
    watch = Watch{"", {descriptor}};
}

SystemCallWatch::~SystemCallWatch()
{
    for (const auto& [function, outcomes] : watch->outcomes)
    {
        EXPECT_TRUE(outcomes.empty()) << outcomes.size() << " scripted outcomes of " << function << " never came about";
    }
    watch.reset();
}

void SystemCallWatch::Script(const std::string& function, const std::vector<Outcome>& outcomes)
{
    watch->outcomes[function] = outcomes;
}

std::vector<std::string> SystemCallWatch::Take()
{
    return std::exchange(watch->calls, {});
}

MemoryLimits& ThisThreadsMemory()
{
    static thread_local MemoryLimits memory;
    return memory;
}

std::vector<CallPoint> CallsOf(const std::function<void()>& action)
{
    sweep.function = 0;
    RunSwept(action);
    std::vector<CallPoint> points;
    for (std::size_t i = 0; i != sweep.calls.size(); ++i)
    {
        const std::string_view name = kSweptFunctions.substr(i / 2, kSweptFunctions.find(' ', i / 2) - i / 2);
        for (unsigned number = 0; number != sweep.calls.at(i); ++number)
        {
            points.push_back({std::string(name), i % 2 != 0, number});
        }
    }
    return points;
}

unsigned RunWithFault(const CallPoint& point, const Outcome& outcome, const std::function<void()>& action)
{
    sweep.function = Counter(point.function, point.background);
    sweep.number = point.number;
    sweep.outcome = outcome;
    RunSwept(action);
    return sweep.fired;
}

Exempt::Exempt()
{
    ++exemptions;
}

Exempt::~Exempt()
{
    --exemptions;
}

bool FailsInSweep(const char* function)
{
    return MakeSwept(function, true, [] { return false; });
}

long LiveBlocks()
{
    return liveBlocks;
}

// Not inlined: an optimizer that sees only one of the two reports a mismatch of malloc and free.
__attribute__((noinline)) void* operator new(std::size_t size)
{
    const auto call = [=] { return std::malloc(size); };
    void* const block = size > ThisThreadsMemory().largest ? nullptr : kOwnMalloc ? call() : Allocate(call);
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    MemoryLimits& memory = ThisThreadsMemory();
    memory.inUse += ::malloc_usable_size(block);
    memory.peak = std::max(memory.peak, memory.inUse);
    return block;
}

__attribute__((noinline)) void operator delete(void* block) noexcept
{
    ThisThreadsMemory().inUse -= ::malloc_usable_size(block);
    liveBlocks -= !kOwnMalloc && block != nullptr ? 1 : 0;
    std::free(block);
}

__attribute__((noinline)) void operator delete(void* block, std::size_t /*size*/) noexcept
{
    ::operator delete(block);
}

// Sanitizers have their own, which would not call these.
void* operator new[](std::size_t size)
{
    return ::operator new(size);
}

void operator delete[](void* block) noexcept
{
    ::operator delete(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    ::operator delete(block);
}

// The names are given, and the parameters spell out what the system's headers abbreviate.
// NOLINTBEGIN(readability-identifier-naming,readability-inconsistent-declaration-parameter-name,bugprone-reserved-identifier)
#ifndef KITIO_SANITIZERS_ALLOCATOR
// The C library keeps its own functions under other names, for programs with their own malloc.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);
extern "C" void __libc_free(void* block);

extern "C" void* malloc(size_t size)
{
    return Allocate([=] { return __libc_malloc(size); });
}

extern "C" void* calloc(size_t count, size_t size)
{
    return Allocate([=] { return __libc_calloc(count, size); });
}

extern "C" void* realloc(void* block, size_t size)
{
    void* const moved = Allocate([=] { return __libc_realloc(block, size); });
    liveBlocks -= block != nullptr && (moved != nullptr || size == 0) ? 1 : 0;
    return moved;
}

extern "C" void free(void* block)
{
    liveBlocks -= block != nullptr ? 1 : 0;
    __libc_free(block);
}
#endif

extern "C" int open(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is, by the line above
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    const auto call = [=](size_t) { return SYSTEMS(open)(path, flags, mode); };
    return Make(path, -1, "open", std::to_string(flags), -1, call);
}

extern "C" ssize_t read(int descriptor, void* buffer, size_t size)
{
    const auto call = [=](size_t limit) { return SYSTEMS(read)(descriptor, buffer, std::min(size, limit)); };
    return Make(nullptr, descriptor, "read", std::to_string(size), ssize_t{-1}, call);
}

extern "C" ssize_t write(int descriptor, const void* buffer, size_t size)
{
    const auto call = [=](size_t limit) { return SYSTEMS(write)(descriptor, buffer, std::min(size, limit)); };
    return Make(nullptr, descriptor, "write", std::to_string(size), ssize_t{-1}, call);
}

extern "C" int close(int descriptor)
{
    return Make(nullptr, descriptor, "close", "", -1, [=](size_t) { return SYSTEMS(close)(descriptor); });
}

extern "C" FILE* fopen(const char* path, const char* mode)
{
    FILE* file = nullptr;
    const auto call = [&](size_t) { return Descriptor(file = SYSTEMS(fopen)(path, mode)); };
    Make(path, -1, "fopen", mode, -1, call);
    return file;
}

extern "C" int fseek(FILE* file, long offset, int whence)
{
    const std::string to = std::to_string(offset) + (whence == SEEK_SET ? ", set" : ", end");
    return Make(
        nullptr, Descriptor(file), "fseek", to, -1, [=](size_t) { return SYSTEMS(fseek)(file, offset, whence); });
}

extern "C" long ftell(FILE* file)
{
    return Make(nullptr, Descriptor(file), "ftell", "", -1L, [=](size_t) { return SYSTEMS(ftell)(file); });
}

extern "C" size_t fread(void* buffer, size_t item, size_t size, FILE* file)
{
    const auto call = [=](size_t limit) { return SYSTEMS(fread)(buffer, item, std::min(size, limit), file); };
    return Make(nullptr, Descriptor(file), "fread", std::to_string(item * size), size_t{0}, call);
}

extern "C" size_t fwrite(const void* buffer, size_t item, size_t size, FILE* file)
{
    const auto call = [=](size_t limit) { return SYSTEMS(fwrite)(buffer, item, std::min(size, limit), file); };
    return Make(nullptr, Descriptor(file), "fwrite", std::to_string(item * size), size_t{0}, call);
}

extern "C" int fflush(FILE* file)
{
    return Make(nullptr, Descriptor(file), "fflush", "", EOF, [=](size_t) { return SYSTEMS(fflush)(file); });
}

extern "C" int fclose(FILE* file)
{
    return Make(nullptr, Descriptor(file), "fclose", "", EOF, [=](size_t) { return SYSTEMS(fclose)(file); });
}

extern "C" int ftruncate(int descriptor, off_t length) noexcept
{
    const auto call = [=](size_t) { return SYSTEMS(ftruncate)(descriptor, length); };
    return Make(nullptr, descriptor, "ftruncate", std::to_string(length), -1, call);
}

#define SWEPT_CALL(Result, function, failure, parameters, ...)                                        \
    extern "C" Result function parameters noexcept                                                    \
    {                                                                                                 \
        return MakeSwept<Result>(#function, failure, [=] { return SYSTEMS(function)(__VA_ARGS__); }); \
    }
using StatX = struct statx;
using Run = void*(void*);
SWEPT_CALL(int, stat, -1, (const char* path, struct stat* to), path, to)
SWEPT_CALL(int, statx, -1, (int at, const char* path, int flags, unsigned mask, StatX* to), at, path, flags, mask, to)
SWEPT_CALL(int, mkdir, -1, (const char* path, mode_t mode), path, mode)
SWEPT_CALL(sighandler_t, signal, SIG_ERR, (int number, sighandler_t handler), number, handler)
SWEPT_CALL(std::tm*, localtime_r, nullptr, (const std::time_t* time, std::tm* to), time, to)
SWEPT_CALL(
    int, pthread_create, errno, (pthread_t * id, const pthread_attr_t* how, Run* run, void* on), id, how, run, on)
SWEPT_CALL(int, pthread_mutex_init, errno, (pthread_mutex_t * mutex, const pthread_mutexattr_t* how), mutex, how)
SWEPT_CALL(int, pthread_cond_init, errno, (pthread_cond_t * condition, const pthread_condattr_t* how), condition, how)
// NOLINTEND(readability-identifier-naming,readability-inconsistent-declaration-parameter-name,bugprone-reserved-identifier)
