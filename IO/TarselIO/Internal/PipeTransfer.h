#pragma once

#include <cerrno>
#include <optional>
#include <unistd.h>
#include <utility>

#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// The largest number of bytes that a pipe moves in one system call.
constexpr ioSize kPipeChunkSize = 1024;

/// Moves `size` bytes in pieces of at most `chunkSize`. `moveChunk(offset, count)` moves at most `count` bytes from or
/// to `offset` and returns how many, or nothing to stop. `done`, if not null, receives how many bytes were moved.
///
/// Returns whether all bytes were moved.
template <typename MoveChunk>
bool MoveInChunks(ioSize size, ioSize chunkSize, ioSize* done, MoveChunk moveChunk)
{
    ioSize total = 0;
    bool moving = true;
    while (moving && total != size)
    {
        const ioSize remaining = size - total;
        const std::optional<ioSize> moved = moveChunk(total, remaining < chunkSize ? remaining : chunkSize);
        moving = moved.has_value();
        total += moved.value_or(0);
    }
    if (done != nullptr)
    {
        *done = total;
    }
    return moving;
}

/// Makes transfers of what remains of `size` bytes until nothing remains or one fails. It makes at least one, also for
/// 0 bytes. `transfer(offset, count, &done)` returns whether it succeeded.
///
/// Returns how many bytes the successful transfers moved.
template <typename Transfer>
ioSize MoveAll(ioSize size, Transfer transfer)
{
    ioSize total = 0;
    bool succeeded = false;
    do
    {
        ioSize done = 0;
        succeeded = transfer(total, size - total, &done);
        total += succeeded ? done : 0;
    } while (succeeded && total != size);
    return total;
}

/// Repeats a system call for as long as a signal interrupts it, and calls `onInterrupt` each time. After a failure,
/// `errno` is the last call's own.
template <typename Call, typename OnInterrupt>
auto RetryOnInterrupt(Call call, OnInterrupt onInterrupt)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
    {
        onInterrupt();
        result = call();
    }
    return result;
}

/// Owns a file descriptor until other code takes ownership of it.
class DescriptorGuard
{
public:
    explicit DescriptorGuard(int descriptor) : m_descriptor(descriptor) {}
    DescriptorGuard(const DescriptorGuard&) = delete;
    DescriptorGuard& operator=(const DescriptorGuard&) = delete;

    ~DescriptorGuard()
    {
        if (m_descriptor != -1)
        {
            ::close(m_descriptor);
        }
    }

    int Get() const { return m_descriptor; }
    int Release() { return std::exchange(m_descriptor, -1); }

private:
    int m_descriptor;
};

}  // namespace Tarsel::Core
