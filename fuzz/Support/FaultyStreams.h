#pragma once

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>

#include <Support/Input.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputString.h>

using Tarsel::Core::ioSize;

/// What a stream does instead of what it was asked for, call by call, as the next bytes of an input have it; and the
/// sizes that it was asked for. A model drives a stream of its own with a copy of the plan.
struct FaultPlan
{
    explicit FaultPlan(Input& input) : faults(input.Text()) {}

    /// One call; `move` moves the bytes and returns how many.
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
                return move() + 2;  // lies
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

/// Lets nobody read before it is opened, and tells when so many reads have been made.
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
