#pragma once

#include <cstring>
#include <optional>
#include <string>

#include <gmock/gmock.h>

constexpr char kConstructor[] = "Tarsel::Core::DataOutputFile::DataOutputFile(const ioPath &)";
constexpr char kSetPosition[] = "virtual void Tarsel::Core::DataOutputFile::SetPosition(ioSize)";
constexpr char kSetSize[] = "virtual void Tarsel::Core::DataOutputFile::SetSize(ioSize)";
constexpr char kWrite[] = "virtual ioSize Tarsel::Core::DataOutputFile::Write(const uint8_t *, ioSize)";

/// Matches the records of a failure of the file output stream: the system's words for `error` and nothing else.
inline auto Reports(int error, const char* function)
{
    const std::string words = std::strerror(error);
    const auto none = std::nullopt;
    return testing::FieldsAre(none, words, none, none, none, none, "IO/TarselIO/DataOutputFile.cpp", function);
}
