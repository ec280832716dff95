#pragma once

#include <algorithm>
#include <cstddef>
#include <exception>
#include <ios>
#include <limits>
#include <optional>
#include <streambuf>
#include <string>

#include <boost/throw_exception.hpp>

#include <TarselExport/Export.h>
#include <TarselFilesystem/ioPath.h>
#include <TarselIO/IOException.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Provides what InputStreambuf and OutputStreambuf share: seeking by 64-bit offsets, and the failure that is kept.
///
/// The buffer keeps what the underlying stream throws:
/// - Operations that read or write throw it as well. A standard stream over the buffer catches it and sets badbit, or
///   passes it on after `exceptions(std::ios::badbit)`.
/// - Seeking and sync return -1 instead, because some standard streams do not catch exceptions there (`seekp`, and the
///   flush of `unitbuf`). Seeking then sets failbit, and sync badbit. An output writes what is buffered before it
///   seeks, so a failbit can mean a failed write.
///
/// Do not use it for pipes and channels: their bytes come when the peer sends them. Reading ahead would wait for bytes
/// that the program has not asked for yet, and a pipe with the Default protocol drops what came before the end of the
/// data.
class TARSEL_EXPORT SeekableStreambuf : public std::streambuf
{
public:
    static constexpr std::size_t kDefaultBufferSize = 16384;  ///< the default size of the buffer, in bytes

    SeekableStreambuf(const SeekableStreambuf&) = delete;
    SeekableStreambuf& operator=(const SeekableStreambuf&) = delete;

    /// Returns the latest failure, for std::rethrow_exception; null if there was none. Later successes do not change
    /// it.
    std::exception_ptr Failure() const noexcept { return m_failure; }

protected:
    /// Makes a buffer for `direction`, which is std::ios_base::in or out.
    explicit SeekableStreambuf(std::ios_base::openmode direction) : m_direction(direction) {}
    ~SeekableStreambuf() override = default;

    virtual ioSize Position() const = 0;       ///< Returns the offset of the next byte for the user of the buffer.
    virtual ioSize End() const = 0;            ///< Returns what offsets from the end count from.
    virtual bool MoveTo(ioSize position) = 0;  ///< Returns false if the stream does not move there.

    /// Moves relative to the beginning, the position or the end. Returns -1 if that does not work.
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override
    {
        std::optional<ioSize> target;
        const bool moved = Succeeds(
            [&]
            {
                target = (which & m_direction) != 0 ? Target(offset, from) : std::nullopt;
                return target && MoveTo(*target);
            });
        return moved ? pos_type(static_cast<off_type>(*target)) : pos_type(off_type(-1));
    }

    /// Moves to `position`, from 0. Returns -1 if that does not work.
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override
    {
        return seekoff(position, std::ios_base::beg, which);
    }

    /// Runs `action`. Keeps what it throws, and passes it on.
    template <class Action>
    auto KeepFailure(Action action) -> decltype(action())
    {
        try
        {
            return action();
        }
        catch (...)
        {
            m_failure = std::current_exception();
            throw;
        }
    }

    /// Returns the result of `action`; false if it throws.
    template <class Action>
    bool Succeeds(Action action) noexcept
    {
        try
        {
            return KeepFailure(action);
        }
        catch (...)
        {
            return false;
        }
    }

    /// Throws IOException with TagDescription and, for a stream that has a name, TagFilename.
    [[noreturn]] static void Fail(const std::string& description, const ioPath& filename)
    {
        IOException error;
        error << ErrorDescription(description);
        if (!filename.empty())
        {
            error << ErrorFilename(filename.utf8string());
        }
        BOOST_THROW_EXCEPTION(error);
    }

    /// Limits `wanted` to the sizes that a buffer can have: its areas are moved by `int`.
    static std::size_t UsableSize(std::size_t wanted)
    {
        return std::clamp<std::size_t>(wanted, 1, std::numeric_limits<int>::max());
    }

private:
    /// Returns the offset from the start, or nothing for one that a stream position cannot represent: before the start,
    /// or from 2^63.
    std::optional<ioSize> Target(off_type offset, std::ios_base::seekdir from) const
    {
        constexpr off_type kMost = std::numeric_limits<off_type>::max();
        const ioSize base = from == std::ios_base::beg ? 0 : from == std::ios_base::cur ? Position() : End();
        if (base > static_cast<ioSize>(kMost) || offset > kMost - static_cast<off_type>(base) ||
            offset < -static_cast<off_type>(base))
        {
            return std::nullopt;
        }
        return static_cast<ioSize>(static_cast<off_type>(base) + offset);
    }

    const std::ios_base::openmode m_direction;
    std::exception_ptr m_failure;
};

}  // namespace Tarsel::Core
