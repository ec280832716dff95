// Makes system calls of an example fail. The checks load it with LD_PRELOAD. Two environment variables control it:
//
//   FAULT_STATE   the file that scripts/fail-examples and the processes share, see State: one read or write fails
//   FAULT_ALWAYS  "close": closing a written file reports a failure; "nameless": files without names are not supported
//
// A read or a write is a call of the C library by the program or by another library. It counts if it moves data of a
// file, pipe, socket or device. Standard error does not count, since the report of the failure would be lost. Neither
// do the descriptors with which threads wake each other (eventfd, timerfd): in the kernel these calls never fail.

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kProcesses = 4;

/// Shared by the driver and the processes. The driver knows the layout: 64-bit numbers, then a text.
struct State
{
    std::atomic<std::uint64_t> processes;  // how many have started; each one takes the current value as its number
    std::uint64_t failingProcess;
    std::uint64_t failingCall;                     // counted from 1; 0: none fails
    std::atomic<std::uint64_t> calls[kProcesses];  // how many each process has made
    char failed[512];                              // the call that failed and its file; empty if it was not reached
};

State* state = nullptr;
std::uint64_t process = 0;

void TakeNumber()
{
    if (state != nullptr)
    {
        process = state->processes++;
    }
}

[[gnu::constructor]] void MapState()
{
    const char* const name = std::getenv("FAULT_STATE");
    const int descriptor = name == nullptr ? -1 : ::open(name, O_RDWR | O_CLOEXEC);
    if (descriptor == -1)
    {
        return;
    }
    void* const mapped = ::mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    state = mapped == MAP_FAILED ? nullptr : static_cast<State*>(mapped);
    TakeNumber();
}

bool FailsAlways(const char* what)
{
    const char* const failing = std::getenv("FAULT_ALWAYS");
    return failing != nullptr && std::strcmp(failing, what) == 0;
}

bool Counts(int descriptor)
{
    struct stat status = {};
    return descriptor != STDERR_FILENO && ::fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) != 0;
}

/// Returns whether this call is the one that has to fail; if so, sets errno.
bool Fails(const char* call, int descriptor)
{
    if (state == nullptr || process >= kProcesses || !Counts(descriptor) ||
        ++state->calls[process] != state->failingCall || process != state->failingProcess)
    {
        return false;
    }
    char link[64];
    std::snprintf(link, sizeof(link), "/proc/self/fd/%d", descriptor);
    char path[256] = {};
    [[maybe_unused]] const ssize_t length = ::readlink(link, path, sizeof(path) - 1);
    std::snprintf(state->failed, sizeof(state->failed), "%s of %s", call, path);
    errno = EIO;
    return true;
}

/// Returns the function that the program would call without this library.
template <class Function>
Function* Real(const char* name, Function* /*ours*/)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// clang-format off
#define FAIL_OR_CALL(name, descriptor, failure, ...) \
    static auto* const real = Real(#name, &name);    \
    return Fails(#name, descriptor) ? (failure) : real(__VA_ARGS__)
// clang-format on

extern "C"
{
    ssize_t read(int descriptor, void* data, size_t size)
    {
        FAIL_OR_CALL(read, descriptor, -1, descriptor, data, size);
    }

    ssize_t readv(int descriptor, const iovec* parts, int count)
    {
        FAIL_OR_CALL(readv, descriptor, -1, descriptor, parts, count);
    }

    ssize_t recv(int descriptor, void* data, size_t size, int flags)
    {
        FAIL_OR_CALL(recv, descriptor, -1, descriptor, data, size, flags);
    }

    ssize_t recvmsg(int descriptor, msghdr* message, int flags)
    {
        FAIL_OR_CALL(recvmsg, descriptor, -1, descriptor, message, flags);
    }

    ssize_t write(int descriptor, const void* data, size_t size)
    {
        FAIL_OR_CALL(write, descriptor, -1, descriptor, data, size);
    }

    ssize_t writev(int descriptor, const iovec* parts, int count)
    {
        FAIL_OR_CALL(writev, descriptor, -1, descriptor, parts, count);
    }

    ssize_t send(int descriptor, const void* data, size_t size, int flags)
    {
        FAIL_OR_CALL(send, descriptor, -1, descriptor, data, size, flags);
    }

    ssize_t sendmsg(int descriptor, const msghdr* message, int flags)
    {
        FAIL_OR_CALL(sendmsg, descriptor, -1, descriptor, message, flags);
    }

    size_t fread(void* data, size_t size, size_t count, FILE* file)
    {
        FAIL_OR_CALL(fread, ::fileno(file), 0, data, size, count, file);
    }

    size_t fwrite(const void* data, size_t size, size_t count, FILE* file)
    {
        FAIL_OR_CALL(fwrite, ::fileno(file), 0, data, size, count, file);
    }

    int fflush(FILE* file)
    {
        static auto* const real = Real("fflush", &fflush);
        const bool writes = file != nullptr && ::__fpending(file) != 0;
        return writes && Fails("fflush", ::fileno(file)) ? EOF : real(file);
    }

    int close(int descriptor)
    {
        static auto* const real = Real("close", &close);
        struct stat status = {};
        const bool fails = FailsAlways("close") && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                           (::fcntl(descriptor, F_GETFL) & O_ACCMODE) == O_WRONLY;
        const int result = real(descriptor);
        errno = fails ? EIO : errno;
        return fails ? -1 : result;
    }

    int open(const char* name, int flags, ...)
    {
        static auto* const real = Real("open", &open);
        va_list arguments;
        va_start(arguments, flags);
        const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
        va_end(arguments);
        if ((flags & O_TMPFILE) == O_TMPFILE && FailsAlways("nameless"))
        {
            errno = EOPNOTSUPP;
            return -1;
        }
        return real(name, flags, mode);
    }

    pid_t fork()
    {
        static auto* const real = Real("fork", &fork);
        const pid_t child = real();
        if (child == 0)
        {
            TakeNumber();
        }
        return child;
    }

}  // extern "C"
