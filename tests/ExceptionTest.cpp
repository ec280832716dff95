#include <TarselIO/IOException.h>

#include <stdexcept>
#include <thread>

#include <boost/exception/all.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <TarselException/StackDebugInfo.h>
#include <TarselIO/DataInputMemory.h>

#include "Support/Records.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::HasSubstr;

namespace
{

void SeekTooFar()
{
    DataInputMemory::Create(nullptr, 0)->SetPosition(11);
}

template <class Tag>
using Text = boost::error_info<Tag, std::string>;

template <class E, class = void>
constexpr bool kTakesStack = false;
template <class E>
constexpr bool kTakesStack<E, std::void_t<decltype(AddStack(std::declval<const E&>()))>> = true;
static_assert(kTakesStack<IOException> && kTakesStack<Exception>);
static_assert(!kTakesStack<std::runtime_error> && !kTakesStack<boost::exception>);

}  // namespace

TEST(IOException, IsCaughtAsEachOfItsBasesAndDescribedByItsRecords)
{
    EXPECT_THROW(SeekTooFar(), IOException);
    EXPECT_THROW(SeekTooFar(), CoreException);
    EXPECT_THROW(SeekTooFar(), Exception);
    EXPECT_THAT(SeekTooFar, testing::ThrowsMessage<std::exception>(std::exception().what()));
    const auto describe = [](const boost::exception& error) { return boost::diagnostic_information(error); };
    const auto text = testing::AllOf(HasSubstr("IO/TarselIO/DataInputMemory.cpp("),
                                     HasSubstr("virtual void Tarsel::Core::DataInputMemory::SetPosition(ioSize)"),
                                     HasSubstr("TagSeek*] = 11\n"));
    EXPECT_THAT(SeekTooFar, testing::Throws<boost::exception>(testing::ResultOf(describe, text)));
}

TEST(IOException, KeepsItsRecordsInCopiesAndOnOtherThreads)
{
    const auto expected = testing::FieldsAre("ä", "b", "c", "d", 5, 6U, "here.cpp", "void Here()");
    boost::exception_ptr pointer;
    try
    {
        boost::throw_exception(IOException()
                                   << Text<TagFilename>("ä") << Text<TagDescription>("b") << Text<TagDetails>("c")
                                   << Text<TagCallStack>("d") << boost::error_info<TagSystemErrorCode, int>(5)
                                   << boost::error_info<IOException::TagSeek, ioSize>(6),
                               boost::source_location("here.cpp", 1, "void Here()"));
    }
    catch (const IOException& error)
    {
        pointer = boost::current_exception();
        const IOException slice = error;
        EXPECT_THAT(RecordsOf(slice), expected);
        EXPECT_THAT(RecordsOf(IOException() = slice), expected);
    }
    std::thread([&] { EXPECT_THAT(Thrown([&] { boost::rethrow_exception(pointer); }), expected); }).join();
}

TEST(AddStack, AttachesTheCallStackAndReturnsTheSameObject)
{
    const StackDebugInfo::Descr marker("here.cpp", "Here");
    const IOException error;
    const IOException& returned = AddStack(error);
    EXPECT_EQ(&returned, &error);
    EXPECT_THAT(RecordsOf(error).callStack, testing::Optional(HasSubstr("in Here (here.cpp)")));
}
