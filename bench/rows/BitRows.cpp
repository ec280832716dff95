#include <string>

#include <TarselIO/DataBitInput.h>
#include <TarselIO/DataBitOutput.h>
#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataOutputString.h>

#include "floors/Floors.h"
#include "rows/Row.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

constexpr double kTarget = 1.20;
constexpr ioSize kBytes = 64 * kKiB;
constexpr ioSize kBytesAtOnce = 4 * kKiB;
constexpr std::uint64_t kValue = 0x5AC3'0F96'E187'4B2D;

/// Repeatedly reads values of `width` bits from a stream of kBytes bytes. The bits that are left over at its end begin
/// the next round, so no round asks for more than there is.
template <class Reader, class Make>
Contender Reading(ioSize width, Make make)
{
    return [=](State& state)
    {
        const auto stream = make(SampleBytes(), kBytes);
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
    };
}

/// Repeatedly fills a string of kBytes bytes with `write(writer)`, which writes `bits` bits. The string keeps its
/// length after the first round.
template <class Writer, class Make, class Write>
Contender Writing(ioSize bits, Make make, Write write)
{
    return [=](State& state)
    {
        std::string target(kBytes, '\0');
        const auto stream = make(&target);
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
        Expect(state, target.size() == kBytes);
    };
}

template <class Write>
void AddWriteRow(const std::string& name, ioSize bits, Write write)
{
    AddRow({name, kTarget},
           Writing<Core::DataBitOutput>(bits, &Core::DataOutputString::Create, write),
           Writing<FloorBitOutput>(bits, &MakeStringOutput, write));
}

/// Writes a value of any width in single bytes, the top one first, as writers that take a byte require.
template <class Writer>
void WriteValue(Writer& writer, std::uint64_t value, ioSize width)
{
    while (width > 8)
    {
        width -= 8;
        writer.WriteBits(static_cast<uint8_t>(value >> width), 8);
    }
    writer.WriteBits(static_cast<uint8_t>(value), width);
}

std::string Suffix(ioSize width)
{
    return ", " + std::to_string(width) + (width == 1 ? " bit" : " bits");
}

}  // namespace

void AddBitRows()
{
    const ioSize widths[] = {1, 3, 8, 12, 32, 64};
    for (const ioSize width : widths)
    {
        AddRow({"bit reader" + Suffix(width), kTarget},
               Reading<Core::DataBitInput>(width, &Core::DataInputMemory::Create),
               Reading<FloorBitInput>(width, &MakeMemoryInput));
    }
    for (const ioSize width : widths)
    {
        AddWriteRow("bit writer" + Suffix(width), width, [=](auto& writer) { WriteValue(writer, kValue, width); });
    }
    AddWriteRow(NameWithSize("bit writer, WriteData", kBytesAtOnce),
                8 * kBytesAtOnce,
                [](auto& writer) { writer.WriteData(SampleBytes(), kBytesAtOnce); });
}

}  // namespace Bench
