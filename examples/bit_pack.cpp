// bit_pack: a small lossless compressor over the bit streams, for files that fit into memory.
//
// It gives frequent byte values short codes (canonical Huffman codes). A packed file is one sequence of bits, each
// number with its most significant bit first:
//
//   32 bits        "KBP1"
//   64 bits        the original's size in bytes
//   128 bits       the original's MD5 digest
//   for each byte value, 0 to 255:
//     1 bit        whether it occurs
//     6 bits       if it does: how many bits its code has, 1 to 63
//   the codes of the original's bytes
//   0 to 7 bits    zeros to complete the last byte
//
// The codes follow from the lengths: they count up from 0, shorter ones first, and in the order of the byte values
// within one length; where the length grows, zeros are appended. If only one value occurs, its code is 0.

#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <Support/FileReader.h>
#include <Support/Program.h>
#include <Support/TargetFile.h>
#include <Support/TemporaryFiles.h>
#include <TarselIO/KitIO.h>

namespace
{

using namespace Tarsel::Core;

constexpr std::uint64_t kMagic = 0x4B425031;  // "KBP1"
constexpr ioSize kMagicBits = 32;
constexpr ioSize kSizeBits = 64;
constexpr ioSize kByteBits = 8;
constexpr ioSize kLengthBits = 6;
constexpr std::size_t kLongestCode = 63;
constexpr std::size_t kByteValues = 256;
constexpr ioSize kLeastRoom = 256;

constexpr char kDescription[] =
    "Packs the file INPUT into OUTPUT, or unpacks a packed file.\n"
    "OUTPUT is created or replaced only if everything succeeds. Both files must fit\n"
    "into memory.";
constexpr char kExitStatus[] =
    "Exits with status 0 if OUTPUT was written, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

/// How many bits the code of each byte value has; 0 if the value does not occur.
using CodeLengths = std::array<std::uint8_t, kByteValues>;

std::uint8_t ToByte(char character)
{
    return static_cast<std::uint8_t>(character);
}

/// Returns one group for each byte value that occurs, keyed by how often it does.
std::multimap<ioSize, std::string> GroupByCount(const std::string& original)
{
    std::array<ioSize, kByteValues> counts{};
    for (const char character : original)
    {
        ++counts[ToByte(character)];
    }
    std::multimap<ioSize, std::string> groups;
    for (std::size_t value = 0; value != kByteValues; ++value)
    {
        if (counts[value] != 0)
        {
            groups.emplace(counts[value], std::string(1, static_cast<char>(value)));
        }
    }
    return groups;
}

/// Huffman's method: the two rarest groups become one, until only one is left. Each time, the codes of all their values
/// grow by one bit.
///
/// kLongestCode is enough: a code of 64 bits needs counts that grow like the Fibonacci numbers, 27 terabytes in all.
CodeLengths ChooseLengths(const std::string& original)
{
    CodeLengths lengths{};
    std::multimap<ioSize, std::string> groups = GroupByCount(original);
    if (groups.size() == 1)
    {
        // Even a single value takes one bit, so that a packed file's size limits how much it can hold.
        lengths[ToByte(groups.begin()->second.front())] = 1;
    }
    while (groups.size() > 1)
    {
        const auto rarest = groups.begin();
        const auto second = std::next(rarest);
        const ioSize count = rarest->first + second->first;
        const std::string values = rarest->second + second->second;
        groups.erase(rarest, std::next(second));
        groups.emplace(count, values);
        for (const char value : values)
        {
            ++lengths[ToByte(value)];
        }
    }
    return lengths;
}

/// Appends the low `count` bits of `number`, at most one byte at a time, as the bit writer requires.
void WriteNumber(DataBitOutput& bits, std::uint64_t number, ioSize count)
{
    while (count != 0)
    {
        const ioSize take = (count - 1) % kByteBits + 1;
        count -= take;
        bits.WriteBits(static_cast<std::uint8_t>(number >> count), take);
    }
}

/// The codes for the given lengths.
class Code
{
public:
    explicit Code(const CodeLengths& lengths) : m_lengths(lengths)
    {
        std::uint64_t code = 0;
        for (std::size_t length = 1; length <= kLongestCode; ++length, code <<= 1)
        {
            for (std::size_t value = 0; value != kByteValues; ++value)
            {
                if (lengths[value] == length)
                {
                    m_codes[value] = code++;
                    m_values.push_back(static_cast<std::uint8_t>(value));
                    ++m_countByLength[length];
                }
            }
        }
    }

    void Write(DataBitOutput& bits, std::uint8_t value) const { WriteNumber(bits, m_codes[value], m_lengths[value]); }

    /// Reads bits until they form a code. `place` counts from the first code of each length; lengths that the packer
    /// never chooses give wrong values at worst, but never an index outside of m_values.
    std::uint8_t Read(DataBitInput& bits) const
    {
        std::uint64_t place = 0;
        std::size_t shorter = 0;
        for (std::size_t length = 1; length <= kLongestCode; ++length)
        {
            place = place << 1 | bits.ReadBits(1);
            if (place < m_countByLength[length])
            {
                return m_values[shorter + place];
            }
            place -= m_countByLength[length];
            shorter += m_countByLength[length];
        }
        throw IOException();
    }

private:
    CodeLengths m_lengths;
    std::array<std::uint64_t, kByteValues> m_codes{};
    std::vector<std::uint8_t> m_values;  // the values that occur, in the order of their codes
    std::array<std::size_t, kLongestCode + 1> m_countByLength{};
};

MD5Digest Digest(const std::string& original)
{
    return MD5Generate(DataInputString::Create(&original), "");
}

void WriteHeader(DataBitOutput& bits, const std::string& original, const CodeLengths& lengths)
{
    WriteNumber(bits, kMagic, kMagicBits);
    WriteNumber(bits, original.size(), kSizeBits);
    const MD5Digest digest = Digest(original);
    bits.WriteData(digest.bytes.data(), digest.bytes.size());
    for (const std::uint8_t length : lengths)
    {
        const bool occurs = length != 0;
        bits.WriteBits(occurs ? 1 : 0, 1);
        bits.WriteBits(length, occurs ? kLengthBits : 0);
    }
}

/// Packs into a string, which is then written to the file at once. The bit writer passes on single bytes, and over a
/// file stream each byte would be a system call.
std::string Pack(const std::string& original)
{
    const CodeLengths lengths = ChooseLengths(original);
    const Code code(lengths);
    std::string packed;
    DataBitOutput bits(DataOutputString::Create(&packed));
    WriteHeader(bits, original, lengths);
    for (const char character : original)
    {
        code.Write(bits, ToByte(character));
    }
    bits.Flush();
    return packed;
}

CodeLengths ReadLengths(DataBitInput& bits)
{
    CodeLengths lengths{};
    for (std::uint8_t& length : lengths)
    {
        const bool occurs = bits.ReadBits(1) != 0;
        length = static_cast<std::uint8_t>(bits.ReadBits(occurs ? kLengthBits : 0));
    }
    return lengths;
}

/// Reads what follows the magic number. Throws IOException, as the bit reader does, if the bits end too early or are
/// not what Pack writes.
std::string ReadOriginal(DataBitInput& bits)
{
    const ioSize size = bits.ReadBits(kSizeBits);
    MD5Digest digest;
    for (std::uint8_t& byte : digest.bytes)
    {
        byte = static_cast<std::uint8_t>(bits.ReadBits(kByteBits));
    }
    const Code code(ReadLengths(bits));
    // Each byte has a code of at least one bit. An impossible size must not allocate memory.
    if (size > bits.BitsLeft())
    {
        throw IOException();
    }
    std::string original;
    original.reserve(size);
    while (original.size() != size)
    {
        original.push_back(static_cast<char>(code.Read(bits)));
    }
    const bool atEnd = bits.BitsLeft() < kByteBits && bits.ReadBits(bits.BitsLeft()) == 0;
    if (!atEnd || Digest(original) != digest)
    {
        throw IOException();
    }
    return original;
}

/// `name` is the packed file's name, for messages.
std::string Unpack(const std::string& packed, const std::string& name)
{
    DataBitInput bits(DataInputString::Create(&packed));
    if (bits.BitsLeft() < kMagicBits || bits.ReadBits(kMagicBits) != kMagic)
    {
        throw std::runtime_error(name + ": was not packed by bit_pack");
    }
    try
    {
        return ReadOriginal(bits);
    }
    catch (const IOException&)
    {
        throw std::runtime_error(name + ": is damaged or cut off");
    }
}

std::string ReadFile(const std::string& path)
{
    Examples::FileReader file(path);
    // Room for one more byte, so that a read returns less at the file's end. Files that the system generates report the
    // size 0.
    std::string contents(std::max(file.Size() + 1, kLeastRoom), '\0');
    ioSize done = 0;
    while (const ioSize count = file.Read(reinterpret_cast<std::uint8_t*>(&contents[done]), contents.size() - done))
    {
        done += count;
        contents.resize(done == contents.size() ? 2 * done : contents.size());
    }
    contents.resize(done);
    return contents;
}

void WriteFile(const std::string& name, const std::string& contents)
{
    Examples::TemporaryFiles files;
    Examples::TargetFile target(name, files);
    target.Write(reinterpret_cast<const std::uint8_t*>(contents.data()), contents.size());
    target.Keep();
}

void Convert(const std::string& verb, const std::string& input, const std::string& output)
{
    if (verb != "pack" && verb != "unpack")
    {
        throw std::runtime_error("'" + verb + "' is neither pack nor unpack, try --help");
    }
    const std::string source = ReadFile(input);
    const std::string result = verb == "pack" ? Pack(source) : Unpack(source, input);
    WriteFile(output, result);
    const std::string share = source.empty() ? "" : ", " + std::to_string(100 * result.size() / source.size()) + " %";
    std::cout << input << ": " << source.size() << " bytes; " << output << ": " << result.size() << " bytes" << share
              << '\n';
}

void ConvertInMemory(const std::string& verb, const std::string& input, const std::string& output)
{
    try
    {
        Convert(verb, input, output);
    }
    catch (const std::bad_alloc&)
    {
        throw std::runtime_error(input + ": does not fit into memory");
    }
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    std::string mode;
    std::string input;
    std::string output;
    app.add_option("MODE", mode, "pack or unpack")->required();
    app.add_option("INPUT", input, "the file to read")->required();
    app.add_option("OUTPUT", output, "the file to write")->required();
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, [&] { ConvertInMemory(mode, input, output); });
}
