#include <string>

#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataOutputString.h>

#include "floors/Floors.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

/// Small copies, and large ones for which the copying itself takes most of the time.
double MemoryTarget(ioSize size)
{
    return size < kKiB ? 1.25 : 1.10;
}

/// To append, the string is emptied before each round but keeps its memory. To overwrite, it keeps its length.
void AddStringRow(const std::string& name, ioSize size, bool appends)
{
    const auto writing = [=](auto make)
    {
        return [=](State& state)
        {
            const ioSize total = MemorySize(size);
            std::string target(total, '\0');
            const auto restart = [&target, appends](const auto& stream)
            {
                if (appends)
                {
                    target.clear();
                }
                stream->SetPosition(0);
            };
            const auto stream = make(&target);
            restart(stream);
            MeasureWrite(state, stream, size, total, restart);
        };
    };
    AddRow({NameWithSize(name, size), MemoryTarget(size)},
           writing(&Core::DataOutputString::Create),
           writing(&MakeStringOutput));
}

}  // namespace

void AddStreamRows()
{
    for (const ioSize size : kMemorySizes)
    {
        AddRow({NameWithSize(kMemoryRead, size), MemoryTarget(size)},
               MemoryReading(size, &Core::DataInputMemory::Create),
               MemoryReading(size, &MakeMemoryInput));
    }
    for (const ioSize size : kMemorySizes)
    {
        AddStringRow(kStringAppend, size, true);
    }
    for (const ioSize size : kMemorySizes)
    {
        AddStringRow(kStringOverwrite, size, false);
    }
}

}  // namespace Bench
