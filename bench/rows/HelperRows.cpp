#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataOutputString.h>
#include <TarselIO/StreamTools.h>
#include <openssl/evp.h>

#include "floors/Floors.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

using Buffer = std::vector<uint8_t>;

/// The bytes to be written into `target`. A copy takes a third longer if the target begins, as an offset within a page,
/// a little after its source. Sources at such places are skipped. The other libraries do not show their targets, so
/// they write the sample from where it is.
Buffer MakeSource(const std::string& target)
{
    constexpr ioSize kPage = 4096;
    std::vector<Buffer> passedOver;
    for (;;)
    {
        Buffer source;
        source.reserve(kWholeSize + passedOver.size() * kPage / 4);
        source.assign(SampleBytes(), SampleBytes() + kWholeSize);
        const auto behind =
            reinterpret_cast<std::uintptr_t>(target.data()) - reinterpret_cast<std::uintptr_t>(source.data());
        if (behind % kPage >= kPage / 4)
        {
            return source;
        }
        passedOver.push_back(std::move(source));
    }
}

/// The floor of the three functions that read a whole stream.
template <class Whole>
Whole ReadWhole(FloorInput& stream)
{
    Whole buffer(kWholeSize, 0);
    stream.Read(reinterpret_cast<uint8_t*>(buffer.data()), kWholeSize);
    return buffer;
}

uint8_t DigestWhole(FloorInput& stream)
{
    const auto buffer = ReadWhole<std::vector<uint8_t>>(stream);
    Core::MD5Digest digest;
    EVP_Digest(buffer.data(), buffer.size(), digest.bytes.data(), nullptr, EVP_md5(), nullptr);
    return digest.bytes[0];
}

/// `library(stream)` and `floor(stream)` read a whole stream of kWholeSize bytes and return a number.
template <class Library, class Floor>
void AddWholeRow(const Row& row, Library library, Floor floor)
{
    const auto taking = [](auto make, auto take)
    {
        return [=](State& state)
        {
            const auto stream = make(SampleBytes(), kWholeSize);
            Repeat(state,
                   [&]
                   {
                       stream->SetPosition(0);
                       return take(*stream);
                   });
        };
    };
    AddRow(row, taking(&Core::DataInputMemory::Create, library), taking(&MakeMemoryInput, floor));
}

void AddWholeStreamRows()
{
    AddWholeRow(
        {kDigestRow, 1.03},
        [](Core::IDataInput& stream) { return Core::MD5Generate(Tarsel::SP<Core::IDataInput>(&stream), {}).bytes[0]; },
        [](FloorInput& stream) { return DigestWhole(stream); });
    AddWholeRow(
        {kToVectorRow, 1.05},
        [](Core::IDataInput& stream) { return kLastByte(Core::StreamToBuffer(&stream, false)); },
        [](FloorInput& stream) { return kLastByte(ReadWhole<std::vector<uint8_t>>(stream)); });
    AddWholeRow(
        {kToStringRow, 1.05},
        [](Core::IDataInput& stream) { return kLastByte(Core::StreamToBufferString(&stream)); },
        [](FloorInput& stream) { return kLastByte(ReadWhole<std::string>(stream)); });
}

void AddBufferRow()
{
    const auto writing = [](auto make, auto write)
    {
        return [=](State& state)
        {
            std::string target(kWholeSize, '\0');
            const Buffer buffer = MakeSource(target);
            const auto stream = make(&target);
            Repeat(state,
                   [&]
                   {
                       stream->SetPosition(0);
                       return write(buffer, *stream);
                   });
            Expect(state, target.size() == kWholeSize);
        };
    };
    AddRow(
        {kFromBufferRow, 1.05},
        writing(&Core::DataOutputString::Create,
                [](const Buffer& buffer, Core::IDataOutput& stream) { return Core::BufferToStream(buffer, &stream); }),
        writing(&MakeStringOutput,
                [](const Buffer& buffer, FloorOutput& stream) { return stream.Write(buffer.data(), buffer.size()); }));
}

}  // namespace

void AddHelperRows()
{
    const auto library = [] { return Core::DataInputMemory::Create(SampleBytes(), kKiB); };
    const auto floor = [] { return MakeMemoryInput(SampleBytes(), kKiB); };
    AddWholeStreamRows();
    AddBufferRow();
    AddRow({kMakeRow, 1.20}, Making(library), Making(floor));
    AddRow({kCopyRow, 1.15}, Copying(library), Copying(floor));
}

}  // namespace Bench
