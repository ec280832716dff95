#include <TarselException/GetCallStack.h>
#include <TarselException/StackDebugInfo.h>
#include <TarselFilesystem/ioPath.h>
#include <TarselHash/MD5.h>
#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFile.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <sys/wait.h>
#include <thread>
#include <type_traits>
#include <unwind.h>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/TemporaryDirectory.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::PrintToString;

TEST(GetCallStack, NamesTheCallingThreadsFramesWithoutAnotherProcess)
{
    static volatile std::sig_atomic_t childEnded = 0;
    const auto previous = std::signal(SIGCHLD, [](int) { childEnded = 1; });
    // The C library calls `main` on the main thread only.
    const std::string frames = GetCallStack();
    EXPECT_THAT(frames, AllOf(HasSubstr("__libc_start_main"), Not(HasSubstr("GetCallStack"))));
    // Not with backtrace(), to which sanitizers add a frame.
    int expected = 0;
    const auto countFrame = [](_Unwind_Context* frame, void* count)
    { return *static_cast<int*>(count) += ::_Unwind_GetIP(frame) != 0 ? 1 : 0, _URC_NO_REASON; };
    ::_Unwind_Backtrace(countFrame, &expected);
    EXPECT_EQ(std::count(frames.begin(), frames.end(), '\n'), expected) << frames;
    std::thread([] { EXPECT_THAT(GetCallStack(), Not(HasSubstr("__libc_start_main"))); }).join();
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(childEnded, 0);
    std::signal(SIGCHLD, previous);
}

TEST(StackDebugInfo, MarksTheCallStackForItsScopeAndThread)
{
    const StackDebugInfo::Descr outer("a.cpp", "Outer");
    {
        const StackDebugInfo::Descr inner("b.cpp", "Inner");
        EXPECT_THAT(GetCallStack(), testing::EndsWith("\nin Inner (b.cpp)\nin Outer (a.cpp)\n"));
        std::thread([] { EXPECT_THAT(GetCallStack(), Not(HasSubstr("Outer"))); }).join();
    }
    EXPECT_THAT(GetCallStack(), AllOf(testing::EndsWith("\nin Outer (a.cpp)\n"), Not(HasSubstr("Inner"))));
}

TEST(ioPath, KeepsUtf8TextAndComparesByComponents)
{
    const std::string text = "/é x/文//f";
    for (const ioPath& path : {ioPath(text), ioPath(text.c_str()), ioPath(std::filesystem::path(text))})
    {
        EXPECT_EQ(path.utf8string(), text);
        EXPECT_EQ(path.native(), text);
        EXPECT_EQ(PrintToString(path), text);
        EXPECT_EQ(path.parent_path().utf8string(), "/é x/文");
        EXPECT_FALSE(path.empty());
    }
    EXPECT_TRUE(ioPath().empty() && ioPath().utf8string().empty() && ioPath("f").parent_path().empty());
    EXPECT_TRUE(ioPath("a//b") == ioPath("a/b") && !(ioPath("a//b") != ioPath("a/b")));
    EXPECT_TRUE(ioPath("a/../b") != ioPath("b") && !(ioPath("a/../b") == ioPath("b")));
    EXPECT_TRUE(ioPath("a") < ioPath("b") && !(ioPath("b") < ioPath("a")) && !(ioPath("a") < ioPath("a")));
}

TEST(ioPath, IsNotMadeFromANullPointer)
{
    EXPECT_FALSE((std::is_constructible_v<ioPath, std::nullptr_t>));
    EXPECT_FALSE((std::is_convertible_v<std::nullptr_t, ioPath>));
    EXPECT_TRUE((std::is_convertible_v<const char*, ioPath>));
}

TEST(ioPath, KeepsAZeroByteThatTheSystemTakesForTheEnd)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("file", "content");
    const std::string text = file + std::string("\0.txt", 5);
    EXPECT_EQ(ioPath(text).utf8string(), text);
    const SP<IDataInput> input = DataInputFile::Create(text);
    EXPECT_EQ(input->GetSize(), 7);
    EXPECT_EQ(input->GetFilename().utf8string(), text);
    DataOutputFile::Create(text);
    EXPECT_EQ(TemporaryDirectory::Content(file), "");
}

TEST(ioPath, ReportsWhetherTheDirectoriesExistAfterwards)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("file", "");
    for (const std::string& path : {directory.Path("a/é/c"), directory.Path("a/é/c"), directory.Path("b/c/")})
    {
        EXPECT_TRUE(ioPath::create_directories(path));
        EXPECT_TRUE(std::filesystem::is_directory(path));
    }
    for (const std::string& path : {file, file + "/below", std::string(), directory.Path(std::string(5000, 'x'))})
    {
        EXPECT_FALSE(ioPath::create_directories(path));
    }
}

TEST(MD5Generate, DigestsTheDataAndCarriesTheText)
{
    // The test suite of RFC 1321.
    const std::pair<std::string, const char*> suite[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"}};
    for (const auto& [data, hex] : suite)
    {
        EXPECT_EQ(MD5Generate({data.begin(), data.end()}, "text").Hex(), hex);
    }
    const auto digestOf = [](uint8_t byte, const char* text) { return MD5Generate({'a', 'b', byte}, text); };
    const MD5Digest digest = digestOf('c', "a file");
    EXPECT_EQ(digest.bytes[0], 0x90);
    EXPECT_EQ(digest.text, "a file");
    EXPECT_EQ(PrintToString(digest), "900150983cd24fb0d6963f7d28e17f72  a file");
    EXPECT_TRUE(digest == digestOf('c', "a file") && !(digest != digestOf('c', "a file")));
    EXPECT_TRUE(digest != digestOf('d', "a file") && digest != digestOf('c', "another"));
}
