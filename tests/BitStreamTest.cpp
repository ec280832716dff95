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
using testing::Each;
using testing::FieldsAre;
using testing::SizeIs;

namespace
{

constexpr ioSize kHuge = ~ioSize{0};
constexpr auto kNone = std::nullopt;

// Both throws of the reader look like this, apart from the line.
constexpr char kFile[] = "IO/TarselIO/DataBitInput.cpp";
constexpr char kThrower[] = "uint8_t Tarsel::Core::DataBitInput::ReadBitsInt(ioSize)";
const auto kFailure = FieldsAre(kNone, kNone, kNone, kNone, kNone, kNone, kFile, kThrower);

// The model of the bits is a text of the digits 0 and 1, here of the low `count` bits of a value.
std::string Digits(std::uint64_t value, ioSize count)
{
    const ioSize above = count > 64 ? count - 64 : 0;
    return std::string(above, '0') + std::bitset<64>(value).to_string().substr(64 - (count - above));
}

std::string Bytes(const std::string& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at + 8 <= digits.size(); at += 8)
    {
        bytes.push_back(static_cast<char>(std::bitset<8>(digits, at, 8).to_ulong()));
    }
    return bytes;
}

std::size_t WholeBytes(std::size_t bits)
{
    return (bits + 7) / 8;
}

class BitStreams : public testing::Test
{
protected:
    std::string WriteAtRandom()
    {
        const SP<ScriptedOutput> output(new ScriptedOutput);
        DataBitOutput writer(output);
        std::string digits;
        for (int step = 0; step < 40; ++step)
        {
            const uint8_t data[] = {static_cast<uint8_t>(m_random()), static_cast<uint8_t>(m_random())};
            const ioSize count = m_random() % 71;
            const ioSize size = m_random() % 3;
            writer.WriteBits(data[0], count);
            digits += Digits(data[0], count);
            EXPECT_EQ(output->bytes, Bytes(digits)) << "each byte goes out as soon as it is complete";
            writer.WriteData(data, size);
            digits += (Digits(data[0], 8) + Digits(data[1], 8)).substr(0, 8 * size);
            if (m_random() % 4 == 0 || step == 39)
            {
                writer.Flush();
                writer.Flush();
                digits.resize(8 * WholeBytes(digits.size()), '0');
            }
        }
        EXPECT_EQ(output->bytes, Bytes(digits));
        EXPECT_THAT(output->writes, Each(1));
        return digits;
    }

    void ReadAtRandom(const std::string& digits)
    {
        const SP<ScriptedInput> input(new ScriptedInput(Bytes(digits)));
        DataBitInput reader(input);
        for (std::size_t at = 0; at != digits.size();)
        {
            const std::size_t count = std::min<std::size_t>(m_random() % 71, digits.size() - at);
            const std::string last = digits.substr(at, count).substr(count > 64 ? count - 64 : 0);
            ASSERT_EQ(Digits(reader.ReadBits(count), last.size()), last);
            at += count;
            ASSERT_EQ(input->reads, std::vector<ioSize>(WholeBytes(at), 1)) << "a byte is fetched for a bit of it only";
            if (m_random() % 4 == 0)
            {
                reader.SkipBitsToNextByte();
                at = 8 * WholeBytes(at);
            }
            ASSERT_EQ(reader.BitsLeft(), digits.size() - at);
        }
    }

    std::mt19937 m_random{1};
};

}  // namespace

TEST_F(BitStreams, AgreeWithAModel)
{
    for (int round = 0; round < 50; ++round)
    {
        ReadAtRandom(WriteAtRandom());
    }
}

TEST(DataBitInput, StepsWithinAByte)
{
    const SP<ScriptedInput> input(new ScriptedInput("..\xA5\x3C"));
    input->SetPosition(2);
    DataBitInput reader(input);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(9); }), kFailure);
    reader.SkipBitsToNextByte();
    EXPECT_THAT(input->reads, SizeIs(0));
    EXPECT_EQ(reader.ReadBitsInt(0) + reader.ReadBitsInt(0), 0);
    EXPECT_THAT(input->reads, SizeIs(1));
    EXPECT_EQ(reader.BitsLeft(), 16U);
    EXPECT_EQ(reader.ReadBitsInt(3), 5);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(kHuge); }), kFailure);
    EXPECT_EQ(reader.ReadBitsInt(8), 5) << "no more than is unread";
    EXPECT_EQ(reader.ReadBitsInt(8), 0x3C);
    EXPECT_THAT(Thrown([&] { reader.ReadBitsInt(0); }), kFailure);
}

TEST(DataBitInput, LosesTheBitsThatAFailedCallHadTaken)
{
    const SP<ScriptedInput> input(new ScriptedInput("\xAB\xCD\xEF"));
    DataBitInput reader(input);
    EXPECT_EQ(input->GetRefCount(), 2);
    input->failing = {1};
    EXPECT_THROW(reader.ReadBits(12), std::runtime_error);
    EXPECT_EQ(reader.BitsLeft(), 16U);
    EXPECT_EQ(reader.ReadBits(4), 0xCU);
    for (const ioSize lie : {2U, 0U})
    {
        input->result = lie;
        EXPECT_THAT(Thrown([&] { reader.ReadBits(lie == 2 ? 5 : kHuge); }), kFailure);
        EXPECT_EQ(reader.BitsLeft(), 0U);
    }
    EXPECT_THAT(input->reads, SizeIs(5));
}

TEST(DataBitInput, ReadsAllForACountThatNoStreamCanMeet)
{
    const SP<ScriptedInput> input(new ScriptedInput("0123456789"));
    EXPECT_THAT(Thrown([&] { DataBitInput(input).ReadBits(kHuge); }), kFailure);
    EXPECT_EQ(input->reads, std::vector<ioSize>(11, 1));
}

TEST(DataBitOutput, WritesAByteAgainThatTheStreamThrewBack)
{
    const uint8_t data = 0xCD;
    const SP<ScriptedOutput> output(new ScriptedOutput);
    {
        DataBitOutput writer(output);
        EXPECT_EQ(output->GetRefCount(), 2);
        output->failing = {0, 1, 3, 8};
        EXPECT_THROW(writer.WriteBits(0xAB, 8), std::runtime_error);
        writer.Flush();
        writer.WriteBits(1, 0);
        writer.WriteData(nullptr, 0);
        EXPECT_THAT(output->writes, SizeIs(1)) << "nothing was to be appended";
        EXPECT_THROW(writer.WriteData(&data, 1), std::runtime_error);
        writer.WriteBits(1, 1);
        EXPECT_EQ(output->bytes, "\xAB") << "and not what the failed call was to append";
        EXPECT_THROW(writer.WriteBits(0xFF, 11), std::runtime_error);
        writer.WriteBits(5, 3);
        output->result = 0;
        writer.Flush();
        EXPECT_EQ(output->bytes, "\xAB\x8F\xA0");
        EXPECT_THROW(writer.WriteBits(0xFF, kHuge), std::runtime_error);
        writer.WriteBits(1, 1);
    }
    EXPECT_EQ(output->bytes, std::string("\xAB\x8F\xA0\0\0\0", 6)) << "a bit that was not flushed is dropped";
    EXPECT_EQ(output->writes, std::vector<ioSize>(10, 1));
}
