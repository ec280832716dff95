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

/// What InputStreambuf and OutputStreambuf share: seeking by 64-bit offsets, and the failure that is kept.
///
/// What the stream beneath throws is kept here. It also leaves the buffer's operations that read or write: a standard
/// stream over the buffer catches it and sets badbit, or passes it on after `exceptions(std::ios::badbit)`. Seeking and
/// sync return -1 instead, because some standard streams do not catch there (`seekp`, and the flush of `unitbuf`); they
/// set failbit and badbit. An output writes what is buffered before it seeks, so a failbit can mean a failed write.
///
/// Not for pipes and channels: their bytes come when the peer sends them. To read ahead would wait for bytes that
/// nobody has asked for yet, and a pipe with the Default protocol drops what came before the end of the data.
class TARSEL_EXPORT SeekableStreambuf : public std::streambuf
{
public:
    static constexpr std::size_t kDefaultBufferSize = 16384;  ///< in bytes

    SeekableStreambuf(const SeekableStreambuf&) = delete;
    SeekableStreambuf& operator=(const SeekableStreambuf&) = delete;

    /// The latest failure, for std::rethrow_exception; null if there was none. Later successes leave it as it is.
    std::exception_ptr Failure() const noexcept { return m_failure; }

protected:
    /// `direction` is std::ios_base::in or out.
    explicit SeekableStreambuf(std::ios_base::openmode direction) : m_direction(direction) {}
    ~SeekableStreambuf() override = default;

    virtual ioSize Position() const = 0;       ///< the offset of the next byte for the user of the buffer
    virtual ioSize End() const = 0;            ///< what offsets from the end count from
    virtual bool MoveTo(ioSize position) = 0;  ///< false if the stream does not go there

    /// Moves relative to the begin, the position or the end; -1 where that does not work.
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

    /// Moves to `position`, from 0; -1 where that does not work.
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override
    {
        return seekoff(position, std::ios_base::beg, which);
    }

    /// Runs `action`; what it throws is kept, and passed on.
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

    /// The result of `action`, false if it throws.
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

    /// The areas of a buffer are moved by `int`.
    static std::size_t UsableSize(std::size_t wanted)
    {
        return std::clamp<std::size_t>(wanted, 1, std::numeric_limits<int>::max());
    }

private:
    /// Nothing for offsets that a stream position cannot tell: before the start, and from 2^63.
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
