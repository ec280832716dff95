#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>

#include "peers/Peers.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

constexpr char kPeer[] = "std";

class StringInput : public IoStreamInput<std::istringstream>
{
public:
    StringInput(const uint8_t* data, ioSize size) : IoStreamInput(std::string(AsChars(data), size)) {}
};

class StringOutput : public IoStreamOutput<std::ostringstream>
{
public:
    explicit StringOutput(ioSize size) : IoStreamOutput(std::string(size, '\0')) {}
    void Clear() { Get().str({}); }
};

class FileInput : public IoStreamInput<std::ifstream>
{
public:
    explicit FileInput(const std::string& path) : IoStreamInput(path, std::ios::binary) {}
};

class FileOutput : public IoStreamOutput<std::ofstream, true>
{
public:
    explicit FileOutput(const std::string& path) : IoStreamOutput(path, std::ios::binary) {}
};

}  // namespace

void AddStdPeers()
{
    AddMemoryPeer<StringInput>(kPeer);
    AddStringPeer<StringOutput>(kStringAppend, kPeer, [](const auto& stream) { stream->Clear(); });
    AddStringPeer<StringOutput>(kStringOverwrite, kPeer, kRewind);
    AddFilePeer<FileInput, FileOutput>(kPeer);
    AddWholePeers<StringInput, StringOutput>(kPeer);
    AddPeer(kMakeRow, kPeer, Making([] { return std::make_unique<std::istringstream>(std::string(kKiB, ' ')); }));
    AddPeer(kCopyRow, kPeer, Copying([] { return std::make_shared<int>(0); }));
}

}  // namespace Bench
