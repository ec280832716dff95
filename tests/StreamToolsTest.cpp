#include <TarselIO/StreamTools.h>

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include "Support/ScriptedStreams.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using namespace testing;

namespace
{

std::string Text(const std::vector<uint8_t>& bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The reading functions, each with its result as text.
const std::function<std::string(const SP<IDataInput>&)> kReaders[] = {
    [](const auto& stream) { return StreamToBufferString(stream.get()); },
    [](const auto& stream) { return Text(StreamToBuffer(stream.get(), false)); },
    [](const auto& stream) { return Text(StreamToBuffer(stream.get(), true)); },
    [](const auto& stream) { return PrintToString(MD5Generate(stream, "name")); }};

}  // namespace

TEST(StreamTools, ReadOnceFromThePositionOfTheStream)
{
    struct Case
    {
        std::string bytes;
        ioSize position;
        std::optional<ioSize> size;  // that the stream reports instead of its own
        std::string result;
        ioSize end;
    };
    for (const auto& [bytes, position, size, result, end] : {Case{"abc", 0, {}, "abc", 3},
                                                             {"abc", 1, {}, {"bc\0", 3}, 3},
                                                             {"abc", 0, 5, {"abc\0\0", 5}, 3},
                                                             {"abc", 0, 2, "ab", 2},
                                                             {"", 0, {}, "", 0}})
    {
        const auto digest = MD5Generate(std::vector<uint8_t>(result.begin(), result.end()), "name");
        const std::string expected[] = {result, result, result + '\0', PrintToString(digest)};
        for (std::size_t reader = 0; reader < 4; ++reader)
        {
            const SP<ScriptedInput> stream(new ScriptedInput(bytes));
            stream->SetPosition(position);
            stream->size = size;
            EXPECT_EQ(kReaders[reader](stream), expected[reader]);
            EXPECT_THAT(stream->reads, ElementsAre(result.size()));
            EXPECT_EQ(stream->GetPosition(), end);
        }
    }
}

TEST(StreamTools, PassFailuresOn)
{
    for (const auto& read : kReaders)
    {
        const SP<ScriptedInput> stream(new ScriptedInput("abc"));
        stream->size = ~ioSize{0};
        EXPECT_THROW(read(stream), std::length_error);
        EXPECT_THAT(stream->reads, IsEmpty());
        stream->size.reset();
        stream->failing = {0};
        EXPECT_THROW(read(stream), std::runtime_error);
    }
}

TEST(StreamTools, WriteABufferOnceAndUnchanged)
{
    const std::string text("a\0bc", 4);
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    ScriptedOutput output;
    EXPECT_EQ(BufferToStream(bytes, &output), 4U);
    EXPECT_EQ(output.data, bytes.data());
    EXPECT_EQ(BufferToStream(text, &output), 4U);
    EXPECT_EQ(static_cast<const void*>(output.data), text.data());
    EXPECT_EQ(BufferToStream(std::string(), &output) + BufferToStream(std::vector<uint8_t>(), &output), 0U);
    EXPECT_EQ(output.bytes, text + text);
    EXPECT_THAT(output.writes, ElementsAre(4, 4, 0, 0));
    output.result = 2;
    EXPECT_EQ(BufferToStream(bytes, &output) + BufferToStream(text, &output), 4U) << "the result of Write";
}

TEST(StreamTools, KeepTheCallersOpenSslErrors)
{
    const SP<ScriptedInput> stream(new ScriptedInput("abc"));
    for (const bool hasOwn : {false, true})
    {
        hasOwn ? ERR_raise(ERR_LIB_USER, 1) : ERR_clear_error();
        MD5Generate(stream, "");
        ASSERT_EQ(EVP_set_default_properties(nullptr, "fips=yes"), 1);  // which excludes MD5
        EXPECT_THROW(MD5Generate(stream, ""), std::runtime_error);
        ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), hasOwn ? 1 : 0);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
}
