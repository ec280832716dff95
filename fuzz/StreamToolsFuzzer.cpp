// Runs the whole-stream helpers over streams that report wrong sizes and counts, or throw.

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <Support/Check.h>
#include <Support/FaultyStreams.h>
#include <TarselIO/StreamTools.h>

using namespace Tarsel::Core;
using Buffer = std::vector<uint8_t>;

namespace
{

struct LyingInput : FaultyInput
{
    LyingInput(const std::string* source, const FaultPlan& faults, ioSize reported)
        : FaultyInput(source, faults), size(reported)
    {
    }

    ioSize GetSize() const override { return size; }
    void Lock() override { std::abort(); }

    ioSize size;
};

/// Reads as many bytes as the stream reports, in one call.
template <class Result>
Result ReadAll(IDataInput& stream, unsigned terminators)
{
    const ioSize size = stream.GetSize();
    if (size + terminators < size)
    {
        throw std::length_error("no room for the terminator");
    }
    Result result(size + terminators, '\0');
    stream.Read(reinterpret_cast<uint8_t*>(result.data()), size);
    return result;
}

/// Runs a helper and its model, each on its own stream, from the same position.
template <class Helper, class Model>
void Compare(Input& input, Helper helper, Model model)
{
    const FaultPlan faults(input);
    const std::string source = input.Text();
    const ioSize size = input.Size(source.size());
    const Tarsel::SP<LyingInput> stream(new LyingInput(&source, faults, size));
    const Tarsel::SP<LyingInput> modelStream(new LyingInput(&source, faults, size));
    for (int i = 0; i < 3; ++i)
    {
        decltype(helper(stream)) actual;
        decltype(actual) expected;
        CheckSame(
            "position",
            [&] { return actual = helper(stream), stream->GetPosition(); },
            [&] { return expected = model(modelStream), modelStream->GetPosition(); });
        Check("equal results", actual == expected, 1);
        Check("calls of Read", stream->plan.sizes, modelStream->plan.sizes);
    }
}

template <class Text>
void FuzzWriting(Input& input)
{
    const FaultPlan faults(input);
    std::string actual;
    std::string expected;
    const Tarsel::SP<FaultyOutput> stream(new FaultyOutput(&actual, faults));
    FaultyOutput model(&expected, faults);
    while (!input.Empty())
    {
        const std::string text = input.Text();
        const auto* const data = reinterpret_cast<const uint8_t*>(text.data());
        const auto write = [&] { return BufferToStream(Text(text.begin(), text.end()), stream.get()); };
        CheckSame("BufferToStream", write, [&] { return model.Write(data, text.size()); });
        Check("calls of Write", stream->plan.sizes, model.plan.sizes);
        Check("bytes written", actual, expected);
    }
}

}  // namespace

void Fuzz(Input& input)
{
    const auto digest = [](const auto& stream) { return MD5Generate(stream, "name"); };
    const auto digestModel = [](const auto& stream) { return MD5Generate(ReadAll<Buffer>(*stream, 0), "name"); };
    const auto text = [](const auto& stream) { return StreamToBufferString(stream.get()); };
    const auto textModel = [](const auto& stream) { return ReadAll<std::string>(*stream, 0); };
    const unsigned terminators = input.Below(2);
    const auto buffer = [&](const auto& stream) { return StreamToBuffer(stream.get(), terminators == 1); };
    const auto bufferModel = [&](const auto& stream) { return ReadAll<Buffer>(*stream, terminators); };
    switch (input.Below(5))
    {
        case 0:
            return FuzzWriting<std::string>(input);
        case 1:
            return FuzzWriting<Buffer>(input);
        case 2:
            return Compare(input, digest, digestModel);
        case 3:
            return Compare(input, text, textModel);
        default:
            return Compare(input, buffer, bufferModel);
    }
}
