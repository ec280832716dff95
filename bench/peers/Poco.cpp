#include <Poco/AutoPtr.h>
#include <Poco/FileStream.h>
#include <Poco/MD5Engine.h>
#include <Poco/MemoryStream.h>
#include <Poco/RefCountedObject.h>
#include <memory>
#include <string>

#include "peers/Peers.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

constexpr char kPeer[] = "Poco";

class MemoryInput : public IoStreamInput<Poco::MemoryInputStream>
{
public:
    MemoryInput(const uint8_t* data, ioSize size) : IoStreamInput(AsChars(data), static_cast<std::streamsize>(size)) {}
};

using MemoryOutput = BlockOutput<Poco::MemoryOutputStream>;

class FileInput : public IoStreamInput<Poco::FileInputStream>
{
public:
    explicit FileInput(const std::string& path) : IoStreamInput(path, std::ios::in) {}
};

class FileOutput : public IoStreamOutput<Poco::FileOutputStream, true>
{
public:
    explicit FileOutput(const std::string& path) : IoStreamOutput(path, std::ios::out | std::ios::trunc) {}
};

/// Like all counted classes of Poco, this one has a destructor that is not public.
class Counted : public Poco::RefCountedObject
{
protected:
    ~Counted() override = default;
};

}  // namespace

void AddPocoPeers()
{
    AddMemoryPeer<MemoryInput>(kPeer);
    AddStringPeer<MemoryOutput>(kStringOverwrite, kPeer, kRewind);
    AddFilePeer<FileInput, FileOutput>(kPeer);
    AddWholePeers<MemoryInput, MemoryOutput>(kPeer);
    AddDigestPeer<MemoryInput>(kPeer,
                               [](const std::vector<uint8_t>& buffer)
                               {
                                   Poco::MD5Engine engine;
                                   engine.update(buffer.data(), buffer.size());
                                   return engine.digest().front();
                               });
    AddPeer(kMakeRow, kPeer, Making([] { return std::make_unique<MemoryInput>(SampleBytes(), kKiB); }));
    AddPeer(kCopyRow, kPeer, Copying([] { return Poco::AutoPtr<Counted>(new Counted); }));
}

}  // namespace Bench
