#pragma once

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>

#include <Support/Input.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputString.h>

using Tarsel::Core::ioSize;

/// The faults of a stream, one per call, from the next bytes of an input; and a record of the sizes that were asked
/// for. A model uses its own stream with a copy of the plan.
struct FaultPlan
{
    explicit FaultPlan(Input& input) : faults(input.Text()) {}

    /// Makes one call; `move` moves the bytes and returns how many.
    template <class Move>
    ioSize Do(ioSize size, Move move)
    {
        sizes += std::to_string(size) + " ";
        switch (const std::size_t call = calls++; call < faults.size() ? faults[call] & 15 : 0)
        {
            case 1:
                throw std::runtime_error("planned");
            case 2:
                return 0;  // moves nothing
            case 3:
                return move() + 2;  // a wrong count
            default:
                return move();
        }
    }

    std::string faults;
    std::string sizes;
    std::size_t calls = 0;
};

struct FaultyInput : Tarsel::Core::DataInputString
{
    FaultyInput(const std::string* source, const FaultPlan& faults) : DataInputString(source), plan(faults) {}

    ioSize Read(uint8_t* data, ioSize size) override
    {
        return plan.Do(size, [&] { return DataInputString::Read(data, size); });
    }

    FaultPlan plan;
};

/// Blocks reads until it is opened, and can wait until a number of reads have been made.
struct GatedInput : FaultyInput
{
    using FaultyInput::FaultyInput;

    ioSize Read(uint8_t* data, ioSize size) override
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return open; });
        changed.notify_all();
        return FaultyInput::Read(data, size);
    }

    void Cancel() override { ++cancels; }

    void OpenAndWaitForCalls(std::size_t calls)
    {
        std::unique_lock<std::mutex> lock(mutex);
        open = true;
        changed.notify_all();
        changed.wait(lock, [&] { return plan.calls >= calls; });
    }

    std::mutex mutex;
    std::condition_variable changed;
    bool open = false;
    unsigned cancels = 0;
};

struct FaultyOutput : Tarsel::Core::DataOutputString
{
    FaultyOutput(std::string* target, const FaultPlan& faults) : DataOutputString(target), plan(faults) {}

    ioSize Write(const uint8_t* data, ioSize size) override
    {
        return plan.Do(size, [&] { return DataOutputString::Write(data, size); });
    }

    FaultPlan plan;
};
