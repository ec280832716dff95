// Runs sequences of operations on the bit reader and the bit writer, over streams that sometimes fail, and compares
// them with models that handle single bits.

#include <algorithm>
#include <string>

#include <boost/throw_exception.hpp>

#include <Support/Check.h>
#include <Support/FaultyStreams.h>
#include <TarselIO/DataBitInput.h>
#include <TarselIO/DataBitOutput.h>
#include <TarselIO/IOException.h>

using namespace Tarsel::Core;

namespace
{

/// The low `count` bits, the most significant first, as text.
std::string BitsOf(std::uint64_t value, std::size_t count)
{
    std::string bits(count, '0');
    for (std::size_t i = 0; i < count && i < 64; ++i)
    {
        bits[count - 1 - i] = (value >> i & 1U) != 0 ? '1' : '0';
    }
    return bits;
}

struct ReaderModel
{
    /// Makes bits available and returns how many of them an operation on one byte takes.
    std::size_t Fetch(std::size_t count)
    {
        uint8_t byte = 0;
        if (count > 8 || (unread.empty() && stream.Read(&byte, 1) != 1))
        {
            boost::throw_exception(IOException());
        }
        unread = unread.empty() ? BitsOf(byte, 8) : unread;
        return std::min(count, unread.size());
    }

    std::uint64_t Take(std::size_t count)
    {
        std::uint64_t value = 0;
        for (; count != 0; --count)
        {
            Fetch(1);
            value = value << 1 | (unread.front() == '1' ? 1U : 0U);
            unread.erase(0, 1);
        }
        return value;
    }

    FaultyInput stream;
    std::string unread;
};

struct WriterModel
{
    void WriteIfFull()
    {
        if (pending.size() == 8)
        {
            const auto byte = static_cast<uint8_t>(std::stoi(pending, nullptr, 2));
            stream.Write(&byte, 1);
            pending.clear();
        }
    }

    int Append(const std::string& bits)
    {
        for (const char bit : bits)
        {
            WriteIfFull();  // only after a write that threw
            pending += bit;
            WriteIfFull();
        }
        return 0;
    }

    FaultyOutput stream;
    std::string pending;
};

void FuzzReader(Input& input)
{
    const FaultPlan plan(input);
    const std::string bytes = input.Text();
    ReaderModel model{{&bytes, plan}, ""};
    const Tarsel::SP<FaultyInput> stream(new FaultyInput(&bytes, plan));
    DataBitInput reader(stream);
    while (!input.Empty())
    {
        const unsigned operation = input.Below(8);
        const unsigned count = input.Below(operation == 0 ? 10 : 80);
        if (operation == 0)
        {
            const auto take = [&] { return model.Take(model.Fetch(count)); };
            CheckSame(
                "ReadBitsInt", [&] { return reader.ReadBitsInt(count); }, take);
        }
        else if (operation == 1)
        {
            reader.SkipBitsToNextByte();
            model.unread.clear();
        }
        else
        {
            CheckSame(
                "ReadBits", [&] { return reader.ReadBits(count); }, [&] { return model.Take(count); });
        }
        Check("calls of Read", stream->plan.sizes, model.stream.plan.sizes);
        Check("BitsLeft", reader.BitsLeft(), model.unread.size() + 8 * (bytes.size() - model.stream.GetPosition()));
    }
}

void FuzzWriter(Input& input)
{
    const FaultPlan plan(input);
    std::string written;
    std::string expected;
    WriterModel model{{&expected, plan}, ""};
    const Tarsel::SP<FaultyOutput> stream(new FaultyOutput(&written, plan));
    DataBitOutput writer(stream);
    while (!input.Empty())
    {
        const unsigned operation = input.Below(8);
        const unsigned count = input.Below(operation == 0 ? 80 : 10);
        const std::string text = input.Take(operation == 1 ? count : 1);
        const auto* const data = reinterpret_cast<const uint8_t*>(text.data());
        std::string bits((8 - model.pending.size()) % 8, '0');
        if (operation == 2)
        {
            CheckSame(
                "Flush", [&] { return writer.Flush(), 0; }, [&] { return model.Append(bits); });
        }
        else if (operation == 1)
        {
            bits.clear();
            std::for_each(data, data + text.size(), [&](uint8_t byte) { bits += BitsOf(byte, 8); });
            CheckSame(
                "WriteData",
                [&] { return writer.WriteData(data, text.size()), 0; },
                [&] { return model.Append(bits); });
        }
        else
        {
            bits = BitsOf(*data, count);
            CheckSame(
                "WriteBits", [&] { return writer.WriteBits(*data, count), 0; }, [&] { return model.Append(bits); });
        }
        Check("calls of Write", stream->plan.sizes, model.stream.plan.sizes);
        Check("bytes written", written, expected);
    }
}

}  // namespace

void Fuzz(Input& input)
{
    input.Below(2) == 0 ? FuzzReader(input) : FuzzWriter(input);
}
