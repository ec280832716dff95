#include "Support/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

// The system's own function of this name.
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

Outcome Next(const std::string& function)
{
    std::vector<Outcome>& outcomes = watch->outcomes[function];
    const Outcome next = outcomes.empty() ? Pass() : outcomes.front();
    outcomes.erase(outcomes.begin(), std::min(outcomes.begin() + 1, outcomes.end()));
    return next;
}

/// Makes a call that opens `path` and gives a descriptor, or without a path one that uses `descriptor`: as it is
/// scripted, or on the system by `call(limit)`, which moves at most `limit` bytes.
template <typename Result, typename Call>
Result Make(const char* path, int descriptor, const char* name, const std::string& arguments, Result failure, Call call)
{
    if (!watch || (path != nullptr ? watch->path != path : watch->descriptors.count(descriptor) == 0))
    {
        return call(Pass().limit);
    }
    const auto [scripted, limit, pretended] = Next(name);
    const bool closes = std::string(name).find("close") != std::string::npos;
    const bool reaches = (scripted == 0 && !pretended) || closes;
    const Result actual = reaches ? call(limit) : static_cast<Result>(limit);
    const Result result = scripted == 0 ? actual : failure;
    const int error = scripted == 0 && result == failure ? errno : scripted;
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

// Not inlined: an optimizer that sees only one of the pair takes malloc and free for a mismatch.
__attribute__((noinline)) void* operator new(std::size_t size)
{
    void* const block = size <= ThisThreadsMemory().largest ? std::malloc(size) : nullptr;
    return block != nullptr ? block : throw std::bad_alloc();
}

__attribute__((noinline)) void operator delete(void* block) noexcept
{
    std::free(block);
}

__attribute__((noinline)) void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

// The names are given, and the parameters say what the system's headers abbreviate.
// NOLINTBEGIN(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
extern "C" int open(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
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
// NOLINTEND(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
