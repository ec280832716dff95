#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFile.h>

#include "floors/Floors.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;

/// The floor's fread locks the FILE and the library's does not: small reads must show the difference.
double ReadTarget(ioSize size)
{
    return size < kKiB ? 0.80 : 1.03;
}

}  // namespace

void AddFileRows()
{
    for (const FilePlace& place : kFilePlaces)
    {
        for (const ioSize size : kFileSizes)
        {
            AddRow({FileRead(place, size), ReadTarget(size)},
                   FileReading(place, size, &Core::DataInputFile::Create),
                   FileReading(place, size, &MakeFileInput));
        }
    }
    for (const FilePlace& place : kFilePlaces)
    {
        for (const ioSize size : kFileSizes)
        {
            AddRow({FileWrite(place, size), 1.03},
                   FileWriting(place, size, &Core::DataOutputFile::Create),
                   FileWriting(place, size, &MakeFileOutput));
        }
    }
}

}  // namespace Bench
