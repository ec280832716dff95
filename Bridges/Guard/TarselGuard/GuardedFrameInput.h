#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include <TarselExport/Export.h>
#include <TarselIO/IByteDataInput.h>
#include <TarselPointer/RefCounted.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Why a channel that reads through a GuardedFrameInput receives nothing more.
enum class FrameEnd
{
    Farewell,     ///< an empty frame, by which a peer asks the other side to stop reading
    EndOfStream,  ///< the source gave nothing where a frame could have begun
    CutHeader,    ///< the source gave only some of the 8 bytes of a length
    OverLimit,    ///< a frame was announced that is longer than the program allows
    CutPayload,   ///< the source gave less than the announced length
    Failure       ///< the source has thrown, or there was no memory for a frame within the limit
};

/// Stands between a CommunicationChannel, of either mode, and its input, for a peer that is not fully trusted:
///
/// ```cpp
/// input = GuardedFrameInput::Create(input, 1'000'000, [](FrameEnd end) { ... });
/// channel = CommunicationChannel::Create(input, output, true);
/// ```
///
/// It passes on whole frames only. Header and payload have both arrived before the channel gets the header; a frame
/// that is too long or cut ends the stream instead, so that the channel's background loop ends cleanly and ReadHeader
/// gives 0. It looks at lengths alone: what is in a message is for the program to check.
///
/// A cut frame is one after which the source ends. If a sender is killed within a frame and another one opens the same
/// FIFO before that, the source does not end: the first bytes of the new sender complete the frame, which passes. Give
/// each connection FIFOs of its own, and make a new guard and a new channel for it.
///
/// It asks its source once for each header and once for each payload and takes a short count for the end, as the
/// channel needs an input that delivers what it is asked for. The pipes do. One with the Default protocol gives 0
/// instead of a short count, so that a cut header looks like EndOfStream; the Raw protocol tells them apart.
///
/// It holds one payload, at most the limit, in one block that is freed before a larger one is made. The channel itself
/// holds a message up to two times more, and a third for the moment in which one of these grows. If the channel has no
/// memory for that, it ends without the guard: see EndHandler.
class TARSEL_EXPORT GuardedFrameInput : public RefCounted<IByteDataInput>
{
public:
    /// Is called by the thread that reads, in threaded mode the channel's own: once, when the stream has ended, and
    /// for each Farewell. The channel is not locked, so its operations may be called, but not Read, which would wait
    /// for good; and the last reference to it must not be dropped here. Must stay callable until the channel has gone:
    /// its release may be what ends the source, and from then on nothing of the channel may be used here. What it
    /// throws passes through Read: a threaded channel logs it and ends.
    ///
    /// It is not called when a threaded channel ends by itself: because there was no memory for a message that the
    /// guard had passed on, or because the channel's own handler threw. The log then has one ERROR record, the channel
    /// behaves as after an empty frame, and nothing more is read, so that the peer's writes block.
    using EndHandler = std::function<void(FrameEnd end)>;

    /// Guards `source`, which is not null. `limit` is the longest payload that passes, in bytes; 0 lets only empty
    /// frames pass. `onEnd` may be empty.
    static SP<IByteDataInput> Create(SP<IByteDataInput> source, ioSize limit, EndHandler onEnd)
    {
        return SP<IByteDataInput>(new GuardedFrameInput(std::move(source), limit, std::move(onEnd)));
    }

    /// Does the work of Create, which callers use.
    GuardedFrameInput(SP<IByteDataInput> source, ioSize limit, EndHandler onEnd)
        : m_source(std::move(source)),
          m_limit(limit),
          m_onEnd(std::move(onEnd)),
          m_capacity(0),
          m_length(0),
          m_passedOn(kHeaderSize),
          m_ended(false)
    {
    }

    // IByteDataInput. One thread at a time reads; Cancel may come from any other, if the source allows that.

    /// Returns the next bytes of the frame, at most to the end of its header or of its payload. At the end of a frame
    /// it first waits for the whole next one. 0 after the stream has ended; only an empty frame does not end it. What
    /// the source throws, and std::bad_alloc when there is no memory for a frame within the limit, passes through once
    /// the handler has returned.
    ioSize Read(uint8_t* data, ioSize size) override
    {
        const bool frameIsDone = m_passedOn >= kHeaderSize && m_passedOn - kHeaderSize == m_length;
        if (size == 0 || (frameIsDone && !FetchFrame()))
        {
            return 0;
        }
        return m_passedOn < kHeaderSize ? PassOn(data, size, AsBytes(m_length) + m_passedOn, kHeaderSize - m_passedOn)
                                        : PassOn(data, size, Payload(), m_length - (m_passedOn - kHeaderSize));
    }

    /// The source's Cancel.
    void Cancel() override { m_source->Cancel(); }

protected:
    ~GuardedFrameInput() override = default;

private:
    static constexpr ioSize kHeaderSize = sizeof(ioSize);

    static uint8_t* AsBytes(ioSize& length) { return reinterpret_cast<uint8_t*>(&length); }
    const uint8_t* Payload() const { return m_payload.get() + (m_passedOn - kHeaderSize); }

    /// Returns whether a whole frame has come.
    bool FetchFrame()
    {
        // Unless one comes the stream has ended, also when something is thrown.
        if (std::exchange(m_ended, true))
        {
            return false;
        }
        ioSize length = 0;
        const ioSize headerSize = ReportingFailures([&] { return m_source->Read(AsBytes(length), kHeaderSize); });
        if (headerSize != kHeaderSize)
        {
            return End(headerSize == 0 ? FrameEnd::EndOfStream : FrameEnd::CutHeader);
        }
        if (length > m_limit)
        {
            return End(FrameEnd::OverLimit);
        }
        if (!ReportingFailures([&] { return FetchPayload(length); }))
        {
            return End(FrameEnd::CutPayload);
        }
        m_length = length;
        m_passedOn = 0;
        m_ended = false;
        if (length == 0)
        {
            Report(FrameEnd::Farewell);
        }
        return true;
    }

    bool FetchPayload(ioSize length)
    {
        if (length > m_capacity)
        {
            FreePayload();
            // All zeros: a source that claims more than it delivers passes on nothing that the program has forgotten.
            m_payload = std::make_unique<uint8_t[]>(length);
            m_capacity = length;
        }
        return length == 0 || m_source->Read(m_payload.get(), length) == length;
    }

    /// The result of `action`; the program hears of it if that throws.
    template <class Action>
    auto ReportingFailures(Action action) -> decltype(action())
    {
        try
        {
            return action();
        }
        catch (...)
        {
            End(FrameEnd::Failure);
            throw;
        }
    }

    bool End(FrameEnd end)
    {
        FreePayload();
        Report(end);
        return false;
    }

    void FreePayload()
    {
        m_payload.reset();
        m_capacity = 0;
    }

    void Report(FrameEnd end) const
    {
        if (m_onEnd)
        {
            m_onEnd(end);
        }
    }

    ioSize PassOn(uint8_t* target, ioSize size, const uint8_t* from, ioSize remaining)
    {
        const ioSize count = std::min(size, remaining);
        std::memcpy(target, from, count);
        m_passedOn += count;
        return count;
    }

    const SP<IByteDataInput> m_source;
    const ioSize m_limit;
    const EndHandler m_onEnd;
    std::unique_ptr<uint8_t[]> m_payload;
    ioSize m_capacity;  // of m_payload
    ioSize m_length;    // of the frame that is being handed on
    ioSize m_passedOn;  // how much of it has been, header and payload
    bool m_ended;
};

}  // namespace Tarsel::Core
