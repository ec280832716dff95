#include "Support/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

struct SystemCallWatch::State
{
    std::string path;
    std::set<int> descriptors;
    State* older = nullptr;
    std::map<std::string, std::vector<Outcome>> outcomes = {};
    std::vector<std::string> calls = {};

    bool Fits(const char* opened) const { return path == opened; }
    bool Fits(int descriptor) const { return descriptors.count(descriptor) != 0; }
};

namespace
{

using Watch = SystemCallWatch::State;

std::mutex watchesMutex;  // guards the watches
Watch* newestWatch = nullptr;

/// Finds the watch for a call that opens this path or uses this descriptor.
template <typename Target>
Watch* Find(Target target)
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    Watch* watch = newestWatch;
    while (watch != nullptr && !watch->Fits(target))
    {
        watch = watch->older;
    }
    return watch;
}

/// Takes the outcome of a call that begins.
Outcome Begin(Watch& watch, const std::string& function, int closed = -1)
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    if (closed != -1)
    {
        watch.descriptors.erase(closed);  // already now: once it is closed, it may be somebody else's
    }
    std::vector<Outcome>& outcomes = watch.outcomes[function];
    const Outcome next = outcomes.empty() ? Pass() : outcomes.front();
    outcomes.erase(outcomes.begin(), std::min(outcomes.begin() + 1, outcomes.end()));
    return next;
}

/// Notes a call that has ended, and leaves its errno: a misleading one when it has succeeded.
void End(Watch& watch, const std::string& call, const std::string& result, int error, int opened = -1)
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    if (opened != -1)
    {
        watch.descriptors.insert(opened);
    }
    watch.calls.push_back(call + " = " + result);
    errno = error != 0 ? error : EXDEV;
}

int Descriptor(int descriptor)
{
    return descriptor;
}

int Descriptor(std::FILE* file)
{
    return file != nullptr ? ::fileno(file) : -1;
}

/// The system's own function.
template <typename Function>
Function* Real(Function* /*ours*/, const std::string& name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name.c_str()));
}

/// Makes a call that opens a path: on the system by `call(real)`, unless it is to fail.
template <typename Function, typename Result, typename Call>
Result Open(
    Function* ours, const std::string& name, const char* path, const std::string& flags, Result failure, Call call)
{
    Function* const real = Real(ours, name);
    Watch* const watch = Find(path);
    if (watch == nullptr)
    {
        return call(real);
    }
    const int scripted = Begin(*watch, name).error;
    const Result result = scripted == 0 ? call(real) : failure;
    const int error = scripted == 0 && result == failure ? errno : scripted;
    const int opened = Descriptor(result);
    End(*watch, name + "(" + flags + ")", opened == -1 ? "-1" : "ok", error, opened);
    return result;
}

/// Makes a call that uses a descriptor, likewise; `call(real, limit)` moves at most `limit` bytes.
template <typename Function, typename Result, typename Call>
Result Use(
    Function* ours, const std::string& name, int descriptor, const std::string& arguments, Result failure, Call call)
{
    Function* const real = Real(ours, name);
    Watch* const watch = Find(descriptor);
    if (watch == nullptr)
    {
        return call(real, Pass().limit);
    }
    const bool closes = name == "close" || name == "fclose";
    const auto [scripted, limit] = Begin(*watch, name, closes ? descriptor : -1);
    const Result actual = scripted == 0 || closes ? call(real, limit) : static_cast<Result>(limit);
    const Result result = scripted <= 0 ? actual : failure;
    const int error = scripted <= 0 && result == failure ? errno : scripted;
    End(*watch, name + "(" + arguments + ")", std::to_string(result), error);
    return result;
}

}  // namespace

SystemCallWatch::SystemCallWatch(const std::string& path) : SystemCallWatch(State{path, {}})
{
}

SystemCallWatch::SystemCallWatch(int descriptor) : SystemCallWatch(State{"", {descriptor}})
{
}

SystemCallWatch::SystemCallWatch(const State& state) : m_state(new State(state))
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    m_state->older = std::exchange(newestWatch, m_state.get());
}

SystemCallWatch::~SystemCallWatch()
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    newestWatch = m_state->older;
    for (const auto& [function, outcomes] : m_state->outcomes)
    {
        EXPECT_TRUE(outcomes.empty()) << outcomes.size() << " scripted outcomes of " << function << " never came about";
    }
}

void SystemCallWatch::Script(const std::string& function, const std::vector<Outcome>& outcomes)
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    m_state->outcomes[function] = outcomes;
}

std::vector<std::string> SystemCallWatch::Take()
{
    const std::lock_guard<std::mutex> lock(watchesMutex);
    return std::exchange(m_state->calls, {});
}

MemoryLimits& ThisThreadsMemory()
{
    static thread_local MemoryLimits memory;
    return memory;
}

void* operator new(std::size_t size)
{
    MemoryLimits& limits = ThisThreadsMemory();
    void* const block = size <= limits.largest && limits.allocations != 0 ? std::malloc(size) : nullptr;
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    --limits.allocations;
    ++limits.held;
    return block;
}

void operator delete(void* block) noexcept
{
    ThisThreadsMemory().held -= block != nullptr ? 1 : 0;
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    operator delete(block);
}

// The names are given, and the parameters say what the system's headers abbreviate.
// NOLINTBEGIN(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
extern "C" int open(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    const auto call = [=](auto* real) { return real(path, flags, mode); };
    return Open(&::open, "open", path, std::to_string(flags), -1, call);
}

extern "C" ssize_t read(int descriptor, void* buffer, size_t size)
{
    const auto call = [=](auto* real, size_t limit) { return real(descriptor, buffer, std::min(size, limit)); };
    return Use(&::read, "read", descriptor, std::to_string(size), ssize_t{-1}, call);
}

extern "C" ssize_t write(int descriptor, const void* buffer, size_t size)
{
    const auto call = [=](auto* real, size_t limit) { return real(descriptor, buffer, std::min(size, limit)); };
    return Use(&::write, "write", descriptor, std::to_string(size), ssize_t{-1}, call);
}

extern "C" int close(int descriptor)
{
    return Use(&::close, "close", descriptor, "", -1, [=](auto* real, size_t) { return real(descriptor); });
}

extern "C" FILE* fopen(const char* path, const char* mode)
{
    const auto call = [=](auto* real) { return real(path, mode); };
    return Open(&::fopen, "fopen", path, mode, static_cast<FILE*>(nullptr), call);
}

extern "C" int fseek(FILE* file, long offset, int whence)
{
    const auto call = [=](auto* real, size_t) { return real(file, offset, whence); };
    const std::string arguments = std::to_string(offset) + (whence == SEEK_SET ? ", set" : ", end");
    return Use(&::fseek, "fseek", Descriptor(file), arguments, -1, call);
}

extern "C" long ftell(FILE* file)
{
    return Use(&::ftell, "ftell", Descriptor(file), "", -1L, [=](auto* real, size_t) { return real(file); });
}

// The library's items have one byte each.
extern "C" size_t fread(void* buffer, size_t item, size_t size, FILE* file)
{
    const auto call = [=](auto* real, size_t limit) { return real(buffer, item, std::min(size, limit), file); };
    return Use(&::fread, "fread", Descriptor(file), std::to_string(item * size), size_t{0}, call);
}

extern "C" size_t fwrite(const void* buffer, size_t item, size_t size, FILE* file)
{
    const auto call = [=](auto* real, size_t limit) { return real(buffer, item, std::min(size, limit), file); };
    return Use(&::fwrite, "fwrite", Descriptor(file), std::to_string(item * size), size_t{0}, call);
}

extern "C" int fflush(FILE* file)
{
    return Use(&::fflush, "fflush", Descriptor(file), "", EOF, [=](auto* real, size_t) { return real(file); });
}

extern "C" int fclose(FILE* file)
{
    return Use(&::fclose, "fclose", Descriptor(file), "", EOF, [=](auto* real, size_t) { return real(file); });
}

extern "C" int ftruncate(int descriptor, off_t length) noexcept
{
    const auto call = [=](auto* real, size_t) { return real(descriptor, length); };
    return Use(&::ftruncate, "ftruncate", descriptor, std::to_string(length), -1, call);
}
// NOLINTEND(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
