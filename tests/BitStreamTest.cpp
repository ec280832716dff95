#include <TarselIO/DataBitInput.h>
#include <TarselIO/DataBitOutput.h>

#include <algorithm>
#include <bitset>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/Records.h"
#include "Support/ScriptedStreams.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using namespace testing;

namespace
{

constexpr ioSize kHuge = ~ioSize{0};
constexpr auto kNone = std::nullopt;

// Both exceptions of the reader look like this, except for the line.
constexpr char kThrower[] = "uint8_t Tarsel::Core::DataBitInput::ReadBitsInt(ioSize)";
const auto kFailure = FieldsAre(kNone, kNone, kNone, kNone, kNone, kNone, "IO/TarselIO/DataBitInput.cpp", kThrower);

// The model of the bits is a string of the digits 0 and 1. No value in the tests has more bits than this.
using Bits = std::bitset<72>;

std::string Digits(uint8_t value, std::size_t count)
{
    return Bits(value).to_string().substr(Bits().size() - count);
}

std::string Bytes(const std::string& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at + 8 <= digits.size(); at += 8)
    {
        bytes.push_back(static_cast<char>(Bits(digits, at, 8).to_ulong()));
    }
    return bytes;
}

// Writes the low `count` bits of `value`, at most 64.
void WriteWide(DataBitOutput& bits, std::uint64_t value, ioSize count)
{
    for (; count > 8; count -= 8)
    {
        bits.WriteBits(static_cast<uint8_t>(value >> (count - 8)), 8);
    }
    bits.WriteBits(static_cast<uint8_t>(value), count);
}

}  // namespace

TEST(DataBitOutput, AgreesWithAModel)
{
    std::mt19937 random{1};
    const SP<ScriptedOutput> output(new ScriptedOutput);
    DataBitOutput writer(output);
    std::string digits;
    for (int step = 0; step < 300; ++step)
    {
        const uint8_t data[] = {static_cast<uint8_t>(random()), static_cast<uint8_t>(random())};
        const ioSize count = random() % 71;
        writer.WriteBits(data[0], count);
        writer.WriteData(data, 2);
        digits += Digits(data[0], count) + Digits(data[0], 8) + Digits(data[1], 8);
        if (random() % 4 == 0)
        {
            writer.Flush();
            writer.Flush();
            digits.append((8 - digits.size() % 8) % 8, '0');
        }
        ASSERT_EQ(output->bytes, Bytes(digits)) << "each byte is written as soon as it is complete";
    }
    EXPECT_THAT(output->writes, Each(1));
}

TEST(DataBitInput, AgreesWithAModel)
{
    std::mt19937 random{1};
    std::string digits(8000, '0');
    std::generate(digits.begin(), digits.end(), [&random] { return random() % 2 == 0 ? '0' : '1'; });
    const SP<ScriptedInput> input(new ScriptedInput(Bytes(digits)));
    DataBitInput reader(input);
    for (std::size_t at = 0; at != digits.size();)
    {
        const std::size_t count = std::min<std::size_t>(random() % 71, digits.size() - at);
        ASSERT_EQ(Bits(reader.ReadBits(count)), Bits(digits, at, count) << 8 >> 8) << "the last 64 of the bits";
        at += count;
        ASSERT_EQ(input->reads, std::vector<ioSize>((at + 7) / 8, 1))
            << "a byte is read only when a bit of it is needed";
        if (random() % 4 == 0)
        {
            reader.SkipBitsToNextByte();
            at = 8 * input->GetPosition();
        }
        ASSERT_EQ(reader.BitsLeft(), digits.size() - at);
    }
}

TEST(DataBitInput, StepsWithinAByte)
{
    const SP<ScriptedInput> input(new ScriptedInput("..\xA5\x3C"));
    input->SetPosition(2);
    DataBitInput reader(input);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(9); }), kFailure);
    EXPECT_THAT(input->reads, SizeIs(0));
    EXPECT_EQ(reader.ReadBitsInt(0) + reader.ReadBitsInt(0), 0);
    EXPECT_THAT(input->reads, SizeIs(1));
    EXPECT_EQ(reader.BitsLeft(), 16U);
    EXPECT_EQ(reader.ReadBitsInt(3), 5);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(kHuge); }), kFailure);
    EXPECT_EQ(reader.ReadBitsInt(8), 5) << "only the unread bits";
    EXPECT_EQ(reader.ReadBitsInt(8), 0x3C);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(0); }), kFailure);
}

TEST(DataBitInput, LosesTheBitsThatAFailedCallHasRead)
{
    const SP<ScriptedInput> input(new ScriptedInput("\xAB\xCD\xEF"));
    DataBitInput reader(input);
    EXPECT_EQ(input->GetRefCount(), 2);
    input->failing = {1};
    EXPECT_THROW(reader.ReadBits(12), std::runtime_error);
    EXPECT_EQ(reader.BitsLeft(), 16U);
    EXPECT_EQ(reader.ReadBits(4), 0xCU);
    for (const ioSize wrongCount : {2U, 0U})
    {
        input->result = wrongCount;
        EXPECT_THAT(Thrown([&] { reader.ReadBits(wrongCount == 2 ? 5 : kHuge); }), kFailure);
        EXPECT_EQ(reader.BitsLeft(), 0U);
    }
}

TEST(DataBitOutput, TakesTheLowEightBitsOfAValue)
{
    std::string bytes;
    DataBitOutput writer(DataOutputString::Create(&bytes));
    writer.WriteBits(static_cast<uint8_t>(1000), 10);
    const auto values = {std::pair(1000ULL, 10U), {5, 3}, {0xAB, 8}, {0xFEDCBA9876543210, 64}, {0x1FF, 9}, {7, 0}};
    for (const auto& [value, count] : values)
    {
        WriteWide(writer, value, count);
    }
    writer.Flush();
    DataBitInput reader(DataInputString::Create(&bytes));
    EXPECT_EQ(reader.ReadBits(10), 232U);
    for (const auto& [value, count] : values)
    {
        EXPECT_EQ(reader.ReadBits(count), count != 0 ? value : 0);
    }
}

TEST(DataBitOutput, WritesAByteAgainAfterTheStreamHasThrown)
{
    const uint8_t data = 0xCD;
    const SP<ScriptedOutput> output(new ScriptedOutput);
    {
        DataBitOutput writer(output);
        EXPECT_EQ(output->GetRefCount(), 2);
        output->failing = {0, 1};
        EXPECT_THROW(writer.WriteBits(0xAB, 8), std::runtime_error);
        writer.Flush();
        writer.WriteBits(1, 0);
        writer.WriteData(nullptr, 0);
        EXPECT_THAT(output->writes, SizeIs(1)) << "there was nothing to append";
        EXPECT_THROW(writer.WriteData(&data, 1), std::runtime_error);
        writer.WriteBits(1, 1);
        EXPECT_EQ(output->bytes, "\xAB") << "and nothing of the failed call";
        output->result = 0;
        writer.Flush();
        writer.WriteBits(1, 1);
    }
    EXPECT_EQ(output->bytes, "\xAB\x80") << "a bit that was not flushed is dropped";
    EXPECT_EQ(output->writes, std::vector<ioSize>(4, 1));
}
