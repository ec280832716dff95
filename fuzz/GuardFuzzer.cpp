// The guard between a channel and an untrusted input: checks what it passes on, in pieces of any size and through a
// threaded channel, and what it reports to the program.

#include <algorithm>
#include <string>

#include <glog/logging.h>

#include <Support/Check.h>
#include <Support/FaultyStreams.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/CommunicationChannel.h>

using namespace Tarsel::Core;

namespace
{

constexpr std::size_t kHeaderSize = 8;

/// Computes what a guard passes on and reports, from its own stream with the same content and the same faults.
struct Model
{
    ioSize Read(std::string& data, ioSize size)
    {
        if (size == 0)
        {
            return 0;
        }
        if (position == frame.size())
        {
            position = 0;
            frame.clear();
            frame = NextFrame();
        }
        const std::size_t end = position < kHeaderSize ? std::min(kHeaderSize, frame.size()) : frame.size();
        const std::size_t count = std::min<std::size_t>(size, end - position);
        data.replace(0, count, frame, position, count);
        position += count;
        return count;
    }

    /// Returns header and payload; an empty string once the stream has ended.
    std::string NextFrame()
    {
        if (ended)
        {
            return {};
        }
        ended = true;
        ioSize length = 0;
        std::string whole(kHeaderSize, '\0');
        const ioSize count = ReadSource(whole.data(), kHeaderSize);
        whole.copy(reinterpret_cast<char*>(&length), kHeaderSize);
        if (count != kHeaderSize)
        {
            return End(count == 0 ? FrameEnd::EndOfStream : FrameEnd::CutHeader);
        }
        if (length > limit)
        {
            return End(FrameEnd::OverLimit);
        }
        if (length > block.size())
        {
            block.assign(length, '\0');
        }
        if (length != 0 && ReadSource(block.data(), length) != length)
        {
            return End(FrameEnd::CutPayload);
        }
        whole.append(block, 0, length);
        ended = false;
        ends += length == 0 ? std::to_string(static_cast<int>(FrameEnd::Farewell)) : "";
        return whole;
    }

    ioSize ReadSource(char* data, ioSize size)
    {
        try
        {
            return source.Read(reinterpret_cast<uint8_t*>(data), size);
        }
        catch (...)
        {
            End(FrameEnd::Failure);
            throw;
        }
    }

    std::string End(FrameEnd end)
    {
        ends += std::to_string(static_cast<int>(end));
        return {};
    }

    FaultyInput& source;
    ioSize limit;
    std::string ends = {};
    std::string frame = {};
    std::string block = {};  // where payloads arrive; bytes that a source only claims to deliver keep their old values
    std::size_t position = 0;
    bool ended = false;
};

void FuzzPieces(Input& input, IByteDataInput& guard, Model& model)
{
    while (!input.Empty())
    {
        std::string actual(input.Below(256), '-');
        std::string expected = actual;
        CheckSame(
            "Read",
            [&] { return guard.Read(reinterpret_cast<uint8_t*>(actual.data()), actual.size()); },
            [&] { return model.Read(expected, expected.size()); });
        Check("bytes read", actual, expected);
    }
}

void FuzzThreaded(const Tarsel::SP<IByteDataInput>& guard, GatedInput& source, Model& model)
{
    std::string unused;
    const auto channel = CommunicationChannel::Create(guard, DataOutputString::Create(&unused), true);
    try
    {
        for (std::string frame = model.NextFrame(); frame.size() > kHeaderSize; frame = model.NextFrame())
        {
            std::string message(frame.size() - kHeaderSize, '-');
            Check("Read", channel->Read(reinterpret_cast<uint8_t*>(message.data()), message.size()), message.size());
            Check("message", message, frame.substr(kHeaderSize));
        }
    }
    catch (const std::runtime_error&)
    {
        // The stream's exception ends the channel's thread like an empty frame.
    }
    source.OpenAndWaitForCalls(model.source.plan.calls);
}

}  // namespace

void Fuzz(Input& input)
{
    FLAGS_minloglevel = google::GLOG_FATAL;  // exceptions that end a thread are expected
    const bool threaded = input.Below(2) == 0;
    const ioSize limit = input.Below(200);
    const FaultPlan faults(input);
    const std::string wire = input.Take(input.Number(2));
    const Tarsel::SP<GatedInput> source(new GatedInput(&wire, faults));
    source->OpenAndWaitForCalls(0);
    FaultyInput modelSource(&wire, faults);
    Model model{modelSource, limit};
    std::string ends;
    auto guard = GuardedFrameInput::Create(
        source, limit, [&ends](FrameEnd end) { ends += std::to_string(static_cast<int>(end)); });
    if (threaded)
    {
        FuzzThreaded(guard, *source, model);
    }
    else
    {
        FuzzPieces(input, *guard, model);
    }
    Check("reported ends", ends, model.ends);
    Check("calls of Read", source->plan.sizes, modelSource.plan.sizes);
}
