// Runs the message channel over arbitrary bytes and over streams that fail, in both modes. The model uses streams with
// the same content and the same faults as the channel's.

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <glog/logging.h>

#include <Support/Check.h>
#include <Support/FaultyStreams.h>
#include <TarselIO/CommunicationChannel.h>

using namespace Tarsel::Core;
using Message = std::vector<uint8_t>;

namespace
{

/// Throws when it is notified of the message with the number `failing`, counted from 1.
struct Handler : IDataAvailableHandler
{
    void OnDataAvailable(ioSize size) override
    {
        sizes += std::to_string(size) + " ";
        if (--failing == 0)
        {
            throw std::runtime_error("handler");
        }
    }

    unsigned failing = 0;
    std::string sizes;
};

ioSize ReadLength(FaultyInput& stream)
{
    ioSize length = 0;
    stream.Read(reinterpret_cast<uint8_t*>(&length), sizeof(length));
    return length;
}

/// Receives messages as a channel's thread does. Returns false for a length that would only cost time.
bool ReceiveAll(FaultyInput& stream, Handler& handler, std::vector<Message>& messages)
{
    try
    {
        for (Message message; const ioSize length = ReadLength(stream);)
        {
            if (length > kMemoryLimit / 1024 && length < kMemoryLimit)
            {
                return false;
            }
            message.resize(length);
            stream.Read(message.data(), length);
            messages.push_back(message);
            handler.OnDataAvailable(length);
        }
    }
    catch (const std::exception&)
    {
        return true;  // an exception ends the thread like an empty frame
    }
    return true;
}

struct Talk
{
    void Write()
    {
        const std::string text = input.Text();
        const auto* const data = reinterpret_cast<const uint8_t*>(text.data());
        const ioSize size = text.size();
        const auto* const length = reinterpret_cast<const uint8_t*>(&size);
        const auto writeModel = [&] { return modelTarget.Write(length, 8), modelTarget.Write(data, size); };
        CheckSame(
            "Write", [&] { return channel->Write(data, size); }, writeModel);
        Check("calls of Write", target->plan.sizes, modelTarget.plan.sizes);
        Check("bytes written", written, expected);
    }

    void ReadDirect()
    {
        const std::size_t size = input.Below(256);
        Message message(size);
        Message model(size);
        CheckSame(
            "ReadHeader", [&] { return channel->ReadHeader(); }, [&] { return ReadLength(modelSource); });
        const auto readModel = [&] { return modelSource.Read(model.data(), size); };
        CheckSame(
            "Read", [&] { return channel->Read(message.data(), size); }, readModel);
        Check("equal bytes read", message == model, 1);
    }

    /// Reads a message in pieces. Returns false if some of it is left.
    bool Take(const Message& message)
    {
        for (std::size_t position = 0; position < message.size();)
        {
            if (input.Below(16) == 1)
            {
                return false;
            }
            const ioSize asked = input.Empty() ? message.size() : input.Size(message.size());
            Message piece(std::min<ioSize>(asked, message.size() - position));
            Check("Read", channel->Read(piece.data(), asked), piece.size());
            Check("equal bytes read", std::equal(piece.begin(), piece.end(), &message[position]), 1);
            position += piece.size();
        }
        return true;
    }

    Input& input;
    const FaultPlan readFaults{input};
    const FaultPlan writeFaults{input};
    const std::string wire = input.Take(input.Number(2));
    std::string written = {};
    std::string expected = {};
    Tarsel::SP<GatedInput> source{new GatedInput(&wire, readFaults)};
    Tarsel::SP<FaultyOutput> target{new FaultyOutput(&written, writeFaults)};
    FaultyInput modelSource{&wire, readFaults};
    FaultyOutput modelTarget{&expected, writeFaults};
    Tarsel::SP<IDataChannel> channel = {};
};

void FuzzDirect(Talk& talk)
{
    talk.channel = CommunicationChannel::Create(talk.source, talk.target, false);
    talk.source->OpenAndWaitForCalls(0);
    while (!talk.input.Empty())
    {
        talk.ReadDirect();
        talk.Write();
    }
    talk.channel.reset();
    Check("calls of Cancel", talk.source->cancels, 0);
}

void FuzzThreaded(Talk& talk)
{
    Handler handler;
    handler.failing = talk.input.Below(16);
    Handler model = handler;
    std::vector<Message> messages;
    if (!ReceiveAll(talk.modelSource, model, messages))
    {
        return;
    }
    talk.channel = CommunicationChannel::Create(talk.source, talk.target, true);
    talk.channel->SetDataAvailableHandler(&handler);
    talk.source->OpenAndWaitForCalls(0);
    const auto take = [&](const Message& message) { return talk.Write(), talk.Take(message); };
    if (std::all_of(messages.begin(), messages.end(), take))
    {
        talk.source->OpenAndWaitForCalls(talk.modelSource.plan.calls);
        Check("IsDataAvaliable", talk.channel->IsDataAvaliable(), 0);
        talk.channel.reset();
        Check("sizes announced", handler.sizes, model.sizes);
        Check("calls of Read", talk.source->plan.sizes, talk.modelSource.plan.sizes);
    }
    talk.channel.reset();
    Check("calls of Cancel", talk.source->cancels, 1);
}

}  // namespace

void Fuzz(Input& input)
{
    FLAGS_minloglevel = google::GLOG_FATAL;  // exceptions that end a thread are expected
    const bool threaded = input.Below(2) == 0;
    Talk talk{input};
    threaded ? FuzzThreaded(talk) : FuzzDirect(talk);
}
