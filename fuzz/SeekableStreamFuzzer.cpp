// Runs sequences of operations on every seekable stream and compares them with one model of all streams.

#include <algorithm>
#include <stdexcept>
#include <string>

#include <boost/exception/get_error_info.hpp>

#include <Support/Check.h>
#include <Support/Input.h>
#include <Support/TemporaryDirectory.h>
#include <TarselIO/KitIO.h>

using namespace Tarsel::Core;

namespace
{

enum class Kind
{
    Memory,
    String,
    File,
    Placeholder
};

constexpr std::uint64_t kNoOffset = std::uint64_t{1} << 63;  // the first number that is not a position in a file
constexpr std::uint64_t kRoom = 6000;                        // more than a file stream's buffer holds

struct Model
{
    int SetPosition(std::uint64_t target)
    {
        const bool memory = kind == Kind::Memory || kind == Kind::String;
        if (memory ? target > content.size() : kind == Kind::File && isOutput && target >= kNoOffset)
        {
            boost::throw_exception(IOException());
        }
        position = kind == Kind::Placeholder || target >= kNoOffset ? position : target;
        return 0;
    }

    int SetSize(std::uint64_t size)
    {
        if (kind == Kind::File && size >= kNoOffset)
        {
            boost::throw_exception(IOException());
        }
        content.resize(kind == Kind::Placeholder ? 0 : size);
        position = std::min<std::uint64_t>(position, content.size());
        return 0;
    }

    std::uint64_t Read(std::string& buffer, std::uint64_t size)
    {
        const std::string bytes = position < content.size() ? content.substr(position, size) : "";
        buffer.replace(0, bytes.size(), bytes);
        position += bytes.size();
        return bytes.size();
    }

    std::uint64_t Write(const std::string& bytes, std::uint64_t size)
    {
        if (kind == Kind::Placeholder || size == 0)
        {
            return 0;
        }
        if (position + size < position)
        {
            throw std::length_error("");
        }
        content.resize(std::max<std::uint64_t>(content.size(), position + size));
        content.replace(position, size, bytes);
        position += size;
        return size;
    }

    Kind kind;
    bool isOutput;
    std::string& medium;  // the string that the stream is over, or the path of its file
    std::string content;
    std::uint64_t position = 0;
};

uint8_t* Bytes(std::string& text)
{
    return reinterpret_cast<uint8_t*>(text.data());
}

void Move(IDataInput& stream, Model& model, std::uint64_t size, Input& /*input*/)
{
    // A file's Read needs a buffer of `size` bytes, other streams only one for their content.
    size = model.kind == Kind::File ? size % kRoom : size;
    std::string actual(std::min<std::uint64_t>(size, UINT16_MAX), '#');
    std::string expected = actual;
    CheckSame(
        "Read", [&] { return stream.Read(Bytes(actual), size); }, [&] { return model.Read(expected, size); });
    Check("bytes read", actual, expected);
}

void Move(IDataOutput& stream, Model& model, std::uint64_t size, Input& input)
{
    const bool resizes = input.Below(4) == 0;
    std::string bytes = input.Take(size % 256);
    const bool huge = size > UINT16_MAX + 4 && model.kind != Kind::File;
    const std::uint64_t count = huge ? size : bytes.size();
    if (resizes)
    {
        CheckSame(
            "SetSize", [&] { return stream.SetSize(size), 0; }, [&] { return model.SetSize(size); });
    }
    else
    {
        CheckSame(
            "Write", [&] { return stream.Write(Bytes(bytes), count); }, [&] { return model.Write(bytes, count); });
    }
    const std::string file = model.kind == Kind::File ? TemporaryDirectory::Content(model.medium) : "";
    Check("bytes written", model.kind == Kind::String ? model.medium : file, model.content);
}

/// Runs a sequence of operations on a new stream.
template <class Stream>
void Run(Kind kind, Stream& stream, std::string& medium, const std::string& content, Input& input)
{
    constexpr bool isOutput = std::is_same_v<Stream, IDataOutput>;
    Model model{kind, isOutput, medium, content};
    while (!input.Empty())
    {
        const unsigned operation = input.Below(6);
        std::uint64_t size = input.Size(model.content.size());
        size = kind == Kind::File && size < kNoOffset ? size % kRoom : size;  // others may need a larger disk
        const auto seek = [&]
        {
            try
            {
                return stream.SetPosition(size), 0;
            }
            catch (const IOException& error)
            {
                const ioSize* const named = boost::get_error_info<ErrorSeek>(error);
                Check("position in the exception", named != nullptr ? *named : 0, kind == Kind::File ? 0 : size);
                throw;
            }
        };
        if (operation == 0 && kind == Kind::String)
        {
            model.content.resize(size % kRoom, '+');  // by the owner, which may cut the string below the position
            medium = model.content;
        }
        else if (operation <= 2)
        {
            CheckSame("SetPosition", seek, [&] { return model.SetPosition(size); });
        }
        else
        {
            Move(stream, model, size, input);
        }
        Check("GetPosition", stream.GetPosition(), model.position);
        Check("GetSize", stream.GetSize(), isOutput && kind != Kind::String ? 0 : model.content.size());
    }
}

}  // namespace

void Fuzz(Input& input)
{
    static const TemporaryDirectory kDirectory;
    static std::string path = kDirectory.Path("new/file");
    const unsigned choice = input.Below(7);
    std::string text = input.Text();
    switch (choice)
    {
        case 0:
            return Run(Kind::Memory, *DataInputMemory::Create(Bytes(text), text.size()), text, text, input);
        case 1:
            return Run(Kind::String, *DataInputString::Create(&text), text, text, input);
        case 2:
            return Run(Kind::File, *DataInputFile::Create(kDirectory.File("file", text)), text, text, input);
        case 3:
            return Run(Kind::Placeholder, *DataInputFF::Create(path), path, "", input);
        case 4:
            return Run(Kind::String, *DataOutputString::Create(&text), text, text, input);
        case 5:
            return Run(Kind::File, *DataOutputFile::Create(path), path, "", input);
        default:
            return Run(Kind::Placeholder, *DataOutputFF::Create(path), path, "", input);
    }
}
