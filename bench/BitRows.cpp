#include <string>

#include <TarselIO/DataBitInput.h>
#include <TarselIO/DataBitOutput.h>
#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataOutputString.h>

#include "Floors.h"
#include "Row.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

constexpr ioSize kBytes = 64 * kKiB;
constexpr ioSize kBytesAtOnce = 4 * kKiB;

/// Reads values of `width` bits from a stream of kBytes bytes, again and again. The bits that are left over at its
/// end lead the next round, so no round asks for more than there is.
template <class Reader, class Stream>
void MeasureReading(State& state, const Stream& stream, ioSize width)
{
    const ioSize values = 8 * kBytes / width;
    Reader reader(stream);
    ioSize left = values;
    for (auto _ : state)
    {
        Keep(reader.ReadBits(width));
        if (--left == 0)
        {
            stream->SetPosition(0);
            left = values;
        }
    }
}

/// Has `write(writer)`, which writes `bits` bits, fill a string of kBytes bytes, again and again. The string keeps its
/// length after the first round.
template <class Writer, class Stream, class Write>
void MeasureWriting(State& state, const Stream& stream, ioSize bits, Write write)
{
    const ioSize calls = 8 * kBytes / bits;
    Writer writer(stream);
    ioSize left = calls;
    for (auto _ : state)
    {
        write(writer);
        if (--left == 0)
        {
            stream->SetPosition(0);
            left = calls;
        }
    }
}

template <class Write>
void AddWriteRow(const std::string& name, ioSize bits, Write write)
{
    AddRow(
        name,
        [=](State& state)
        {
            std::string target(kBytes, '\0');
            MeasureWriting<Core::DataBitOutput>(state, Core::DataOutputString::Create(&target), bits, write);
            Expect(state, target.size() == kBytes);
        },
        [=](State& state)
        {
            std::string target(kBytes, '\0');
            MeasureWriting<FloorBitOutput>(state, MakeStringOutput(&target), bits, write);
            Expect(state, target.size() == kBytes);
        });
}

void AddReadRow(ioSize width)
{
    AddRow(
        "bit reader, " + std::to_string(width) + " bits",
        [=](State& state)
        { MeasureReading<Core::DataBitInput>(state, Core::DataInputMemory::Create(SampleBytes(), kBytes), width); },
        [=](State& state) { MeasureReading<FloorBitInput>(state, MakeMemoryInput(SampleBytes(), kBytes), width); });
}

}  // namespace

void AddBitRows()
{
    for (const ioSize width : {1U, 3U, 8U, 12U, 32U, 64U})
    {
        AddReadRow(width);
    }
    for (const ioSize width : {1U, 3U, 8U})
    {
        AddWriteRow("bit writer, " + std::to_string(width) + " bits",
                    width,
                    [=](auto& writer) { writer.WriteBits(0x5A, width); });
    }
    AddWriteRow(NameWithSize("bit writer, WriteData", kBytesAtOnce),
                8 * kBytesAtOnce,
                [](auto& writer) { writer.WriteData(SampleBytes(), kBytesAtOnce); });
}

}  // namespace Bench
