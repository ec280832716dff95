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

/// Names the reason why a channel that reads through a GuardedFrameInput receives nothing more.
enum class FrameEnd
{
    Farewell,     ///< an empty frame, by which a peer asks the other side to stop reading
    EndOfStream,  ///< the source returned nothing where a frame could have begun
    CutHeader,    ///< the source returned only some of the 8 bytes of a length
    OverLimit,    ///< the announced frame is longer than the program allows
    CutPayload,   ///< the source returned less than the announced length
    Failure       ///< the source threw, or there was no memory for a frame within the limit
};

/// Guards a CommunicationChannel, of either mode, against a peer that is not fully trusted. Put the guard between the
/// channel and its input:
///
/// ```cpp
/// input = GuardedFrameInput::Create(input, 1'000'000, [](FrameEnd end) { ... });
/// channel = CommunicationChannel::Create(input, output, true);
/// ```
///
/// It passes on whole frames only. The channel gets the header once both the header and the payload have arrived. A
/// frame that is too long or cut ends the stream instead: the channel's background loop ends cleanly, and ReadHeader
/// returns 0. The guard checks lengths only. The program has to check what is in a message.
///
/// A cut frame is one after which the source ends. If a sender is killed within a frame and another one opens the same
/// FIFO before that, the source does not end: the first bytes of the new sender complete the frame, which passes. Give
/// each connection its own FIFOs, and create a new guard and a new channel for it.
///
/// The guard asks its source once for each header and once for each payload, and takes a short count for the end. Like
/// the channel, it needs a source that delivers what it is asked for. The pipes do. A pipe with the Default protocol
/// returns 0 instead of a short count, so that a cut header looks like EndOfStream. The Raw protocol distinguishes the
/// two.
///
/// The guard holds one payload, at most the limit, in one block that is freed before a larger one is allocated. The
/// channel itself holds a message up to two times more, and a third time while one of these copies grows. If the
/// channel has no memory for that, it ends and the end callback is not called: see EndHandler.
///
/// One thread at a time reads. Any other thread may call Cancel, if the source allows that.
class TARSEL_EXPORT GuardedFrameInput : public RefCounted<IByteDataInput>
{
public:
    /// Receives the reason for the end of a stream: the end callback of a guard. The thread that reads calls it, in
    /// threaded mode the channel's own thread. It is called once when the stream has ended, and for each empty frame.
    ///
    /// The channel is not locked during the call. Its operations may be called, except Read, which would wait forever.
    /// The last reference to the channel must not be dropped here.
    ///
    /// The callback must stay callable until the channel has been destroyed. Destroying the channel may be what ends
    /// the source; from then on, nothing of the channel may be used here. What the callback throws passes through Read:
    /// a threaded channel logs it and ends.
    ///
    /// The callback is not called when a threaded channel ends by itself, because there was no memory for a message
    /// that the guard had passed on, or because the channel's own handler threw. The log then has one ERROR record, the
    /// channel behaves as after an empty frame, and nothing more is read, so that the peer's writes block.
    using EndHandler = std::function<void(FrameEnd end)>;

    /// Creates a guard for `source`, which is not null. `limit` is the longest payload that passes, in bytes; with 0,
    /// only empty frames pass. `onEnd` may be empty.
    static SP<IByteDataInput> Create(SP<IByteDataInput> source, ioSize limit, EndHandler onEnd)
    {
        return SP<IByteDataInput>(new GuardedFrameInput(std::move(source), limit, std::move(onEnd)));
    }

    /// Use Create instead.
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

    // IByteDataInput

    /// Returns the next bytes of the frame, at most to the end of its header or of its payload; 0 after the stream has
    /// ended. An empty frame does not end the stream; every other FrameEnd does.
    ///
    /// Throws what the source throws, and std::bad_alloc if there is no memory for a frame within the limit, once the
    /// end callback has returned.
    ///
    /// Blocks, at the end of a frame, until the whole next one has arrived.
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

    /// Calls the source's Cancel.
    void Cancel() override { m_source->Cancel(); }

protected:
    ~GuardedFrameInput() override = default;

private:
    static constexpr ioSize kHeaderSize = sizeof(ioSize);

    static uint8_t* AsBytes(ioSize& length) { return reinterpret_cast<uint8_t*>(&length); }
    const uint8_t* Payload() const { return m_payload.get() + (m_passedOn - kHeaderSize); }

    /// Returns whether a whole frame has arrived.
    bool FetchFrame()
    {
        // Unless a frame arrives, the stream has ended, even if this function throws.
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
            // All zeros: if a source claims more than it delivers, the program's old data is not passed on.
            m_payload = std::make_unique<uint8_t[]>(length);
            m_capacity = length;
        }
        return length == 0 || m_source->Read(m_payload.get(), length) == length;
    }

    /// Returns the result of `action`. If that throws, reports it to the end callback first.
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
    ioSize m_length;    // of the frame that is being passed on
    ioSize m_passedOn;  // how much of it has been passed on, header and payload
    bool m_ended;
};

}  // namespace Tarsel::Core
