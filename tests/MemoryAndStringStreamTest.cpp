#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputString.h>

#include <limits>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/Records.h"

using namespace Tarsel::Core;
using namespace std::string_literals;
using Tarsel::SP;
using testing::Eq;

namespace
{

constexpr ioSize kMost = std::numeric_limits<ioSize>::max();

const uint8_t* Bytes(const std::string& text)
{
    return reinterpret_cast<const uint8_t*>(text.data());
}

// Returns the bytes of a Read of `size` bytes, which must store nothing after them.
std::string Read(IDataInput& stream, ioSize size)
{
    uint8_t data[] = "########";
    const ioSize count = stream.Read(data, size);
    EXPECT_EQ(std::string(data + count, data + 8), std::string(8 - count, '#'));
    return {data, data + count};
}

template <class Stream>
void ExpectRefusal(Stream& stream, ioSize position, const std::string& name)
{
    const ioSize before = stream.GetPosition();
    const auto none = Eq(std::nullopt);
    const std::string file = "IO/TarselIO/" + name + ".cpp";
    const std::string function = "virtual void Tarsel::Core::" + name + "::SetPosition(ioSize)";
    EXPECT_THAT(Thrown([&] { stream.SetPosition(position); }),
                testing::FieldsAre(none, none, none, none, none, position, file, function));
    EXPECT_EQ(stream.GetPosition(), before);
}

class InMemoryInput : public testing::TestWithParam<std::string>
{
protected:
    std::string m_source = "a\0cd\xE9"s;
    const SP<IDataInput> m_stream = GetParam() == "DataInputMemory" ? DataInputMemory::Create(Bytes(m_source), 5)
                                                                    : DataInputString::Create(&m_source);
};

INSTANTIATE_TEST_SUITE_P(All, InMemoryInput, testing::Values("DataInputMemory", "DataInputString"));

TEST_P(InMemoryInput, ReadsWhatRemainsAndRefusesAPositionPastTheEnd)
{
    EXPECT_EQ(Read(*m_stream, 3), "a\0c"s);
    EXPECT_EQ(m_stream->GetPosition(), 3U);
    m_source[3] = 'D';
    EXPECT_EQ(Read(*m_stream, kMost), "D\xE9");
    EXPECT_EQ(Read(*m_stream, kMost), "");
    EXPECT_EQ(m_stream->GetPosition(), 5U);
    EXPECT_EQ(m_stream->GetSize(), 5U);
    m_stream->SetPosition(0);
    EXPECT_EQ(Read(*m_stream, 5), "a\0cD\xE9"s);

    m_stream->SetPosition(5);
    EXPECT_EQ(Read(*m_stream, 1), "");
    m_stream->SetPosition(4);
    ExpectRefusal(*m_stream, 6, GetParam());
    ExpectRefusal(*m_stream, kMost, GetParam());
    EXPECT_EQ(Read(*m_stream, 2), "\xE9");
}

// UndefinedBehaviorSanitizer checks that no pointer into the null block is formed.
TEST(DataInputMemory, ReadsNothingOfANullBlock)
{
    for (const ioSize size : {0U, 5U})
    {
        const SP<IDataInput> stream = DataInputMemory::Create(nullptr, size);
        stream->SetPosition(0);
        EXPECT_EQ(Read(*stream, 0), "");
        stream->SetPosition(size);
        EXPECT_EQ(Read(*stream, kMost), "");
        EXPECT_EQ(stream->GetSize(), size);
        ExpectRefusal(*stream, size + 1, "DataInputMemory");
    }
}

TEST(DataInputString, FollowsTheLengthOfItsString)
{
    std::string source = "abc";
    const SP<IDataInput> stream = DataInputString::Create(&source);
    stream->SetPosition(3);
    source = "abcde";
    EXPECT_EQ(stream->GetSize(), 5U);
    EXPECT_EQ(Read(*stream, 1), "d");
    source = "abc";
    EXPECT_EQ(Read(*stream, 1), "");
    EXPECT_EQ(stream->GetPosition(), 4U);
    ExpectRefusal(*stream, 4, "DataInputString");
    source = "ABCDE";
    EXPECT_EQ(Read(*stream, 2), "E");
}

class StringOutput : public testing::Test
{
protected:
    void Write(const std::string& text) { EXPECT_EQ(m_stream->Write(Bytes(text), text.size()), text.size()); }

    void Expect(const std::string& target, ioSize position) const
    {
        EXPECT_EQ(m_target, target);
        EXPECT_EQ(m_stream->GetSize(), target.size());
        EXPECT_EQ(m_stream->GetPosition(), position);
    }

    std::string m_target = "ABC";
    const SP<IDataOutput> m_stream = DataOutputString::Create(&m_target);
};

TEST_F(StringOutput, OverwritesAppendsAndMovesWithinItsString)
{
    Write("x\0"s);
    Expect("x\0C"s, 2);
    Write("123");
    Expect("x\000123"s, 5);
    m_stream->Cancel();
    Write("");
    Write("4");
    Expect("x\0001234"s, 6);
    ExpectRefusal(*m_stream, 7, "DataOutputString");
    ExpectRefusal(*m_stream, kMost, "DataOutputString");
    m_stream->SetPosition(6);
    m_target.clear();
    m_stream->SetPosition(0);
    Write("abcd");
    Expect("abcd", 4);
}

TEST_F(StringOutput, SetsASizeAndMovesBackToANearerEnd)
{
    m_stream->SetPosition(3);
    m_stream->SetSize(5);
    Expect("ABC\0\0"s, 3);
    m_stream->SetSize(1);
    Expect("A", 1);
    EXPECT_THROW(m_stream->SetSize(kMost), std::length_error);
    Expect("A", 1);
}

TEST_F(StringOutput, FillsTheGapAfterTheStringIsCut)
{
    m_stream->SetPosition(3);
    m_target = "AB";
    Write("");
    Expect("AB", 3);
    Write("xy");
    Expect("AB\0xy"s, 5);
}

TEST_F(StringOutput, ChangesNothingWhenTheStringCannotGrow)
{
    m_stream->SetPosition(1);
    EXPECT_THROW(m_stream->Write(Bytes("xyz"), kMost - 1), std::length_error);
    Expect("ABC", 1);
    m_stream->SetPosition(3);
    m_target = "A";
    for (const ioSize size : {kMost, kMost - 2, kMost - 3})  // the end is 2, 0 or 2^64-1 in 64 bits
    {
        EXPECT_THROW(m_stream->Write(Bytes("xyz"), size), std::length_error);
        Expect("A", 3);
    }
}

}  // namespace
