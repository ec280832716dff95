#pragma once

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputString.h>

using Tarsel::Core::ioSize;

// String streams that record each call and can be made to misbehave. Nothing may lock them: that is left to programs
// that share a stream.

struct ScriptedInput : Tarsel::Core::DataInputString
{
    explicit ScriptedInput(const std::string& text) : DataInputString(&bytes), bytes(text) {}

    std::string bytes;              // the bytes to read
    std::vector<ioSize> reads;      // the sizes asked for
    std::set<std::size_t> failing;  // the reads, from 0, that throw std::runtime_error
    std::optional<ioSize> size;     // returned by GetSize instead of the size
    std::optional<ioSize> result;   // returned by Read instead of its count

    ioSize Read(uint8_t* data, ioSize count) override
    {
        reads.push_back(count);
        if (failing.count(reads.size() - 1) != 0)
        {
            throw std::runtime_error("read");
        }
        return result.value_or(DataInputString::Read(data, count));
    }
    ioSize GetSize() const override { return size.value_or(DataInputString::GetSize()); }
    void Lock() override { ADD_FAILURE() << "locked"; }
};

struct ScriptedOutput : Tarsel::Core::DataOutputString
{
    ScriptedOutput() : DataOutputString(&bytes) {}

    std::string bytes;              // the bytes written
    std::vector<ioSize> writes;     // the sizes given
    const uint8_t* data = nullptr;  // the pointer that the last write was given
    std::set<std::size_t> failing;  // the writes, from 0, that throw std::runtime_error
    std::optional<ioSize> result;   // returned by Write instead of its count

    ioSize Write(const uint8_t* source, ioSize count) override
    {
        writes.push_back(count);
        data = source;
        if (failing.count(writes.size() - 1) != 0)
        {
            throw std::runtime_error("write");
        }
        return result.value_or(DataOutputString::Write(source, count));
    }
    void Lock() override { ADD_FAILURE() << "locked"; }
};
