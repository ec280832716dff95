#pragma once

#include <algorithm>
#include <cstdint>
#include <ios>
#include <limits>
#include <optional>
#include <streambuf>
#include <utility>

#include <boost/throw_exception.hpp>

#include <TarselIO/IOException.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Provides what DataInputIstream and DataOutputOstream share: one direction, `std::ios_base::in` or `out`, of a
/// standard stream.
///
/// It uses the stream's buffer and not the stream's operations. Those would take the end of the data for a failure, and
/// throw what the program has asked for with exceptions(). What the buffer throws sets badbit and goes no further.
class StandardStream
{
public:
    /// Takes one direction of `stream`, which is not owned.
    ///
    /// Throws IOException with TagDescription if the stream has failed or does not report its positions.
    StandardStream(std::ios& stream, std::ios_base::openmode direction)
        : m_stream(stream), m_direction(direction), m_begin(Seek(0, std::ios_base::cur)), m_end(m_begin)
    {
        const std::optional<ioSize> end = m_begin ? Seek(0, std::ios_base::end) : std::nullopt;
        if (!end || !MoveTo(*m_begin))
        {
            BOOST_THROW_EXCEPTION(IOException() << ErrorDescription("The standard stream cannot be positioned"));
        }
        m_end = end;
    }

    ioSize Begin() const { return *m_begin; }  ///< Returns where the stream was at first.
    ioSize End() const { return *m_end; }      ///< Returns where the stream ended at first.

    /// Moves to `position`, from 0. Returns whether the stream moved there.
    bool MoveTo(ioSize position)
    {
        return position <= static_cast<ioSize>(std::numeric_limits<std::streamoff>::max()) &&
               Seek(static_cast<std::streamoff>(position), std::ios_base::beg) == position;
    }

    /// Moves to `position`.
    ///
    /// Throws IOException with IOException::TagSeek if that is beyond `size`, or if the stream does not move there.
    void SetPosition(ioSize position, ioSize size)
    {
        if (position > size || !MoveTo(position))
        {
            BOOST_THROW_EXCEPTION(IOException() << ErrorSeek(position));
        }
    }

    /// Moves up to `size` bytes by calls of `transfer(buffer, offset, count)`, which returns how many it moved. Stops
    /// at 0. Returns their sum.
    template <class Transfer>
    ioSize MoveBytes(ioSize size, Transfer transfer)
    {
        constexpr ioSize kMost = std::numeric_limits<std::streamsize>::max();
        ioSize done = 0;
        bool moving = true;
        while (moving && done != size)
        {
            const auto count = static_cast<std::streamsize>(std::min(size - done, kMost));
            const auto moved = OnBuffer([&](std::streambuf& buffer) { return transfer(buffer, done, count); });
            moving = moved && *moved > 0;
            done += moving ? static_cast<ioSize>(*moved) : 0;
        }
        return done;
    }

    /// Sets badbit, without the exception that exceptions() of the stream would make of that.
    void SetBad() noexcept
    {
        try
        {
            m_stream.setstate(std::ios_base::badbit);
        }
        catch (const std::ios_base::failure&)
        {
            // The bit is set in any case.
        }
    }

private:
    /// Returns the result of `action(buffer)`; nothing if that throws or the stream has failed before.
    template <class Action>
    auto OnBuffer(Action action) -> std::optional<decltype(action(std::declval<std::streambuf&>()))>
    {
        if (m_stream.bad())  // as is a stream without a buffer
        {
            return std::nullopt;
        }
        try
        {
            return action(*m_stream.rdbuf());
        }
        catch (...)
        {
            SetBad();
            return std::nullopt;
        }
    }

    std::optional<ioSize> Seek(std::streamoff offset, std::ios_base::seekdir from)
    {
        const auto reached = OnBuffer([&](std::streambuf& buffer)
                                      { return std::streamoff(buffer.pubseekoff(offset, from, m_direction)); });
        return reached && *reached >= 0 ? std::optional<ioSize>(static_cast<ioSize>(*reached)) : std::nullopt;
    }

    std::ios& m_stream;
    const std::ios_base::openmode m_direction;
    std::optional<ioSize> m_begin;
    std::optional<ioSize> m_end;
};

}  // namespace Tarsel::Core
