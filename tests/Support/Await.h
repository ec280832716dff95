#pragma once

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

/// How long a test waits for something that must happen. Far longer than it takes, even on a busy machine.
constexpr std::chrono::seconds kDeadline(20);

/// Waits until `condition()` is true. Fails the test if that takes longer than the deadline.
template <class Condition>
void Await(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + kDeadline;
    while (!condition())
    {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::yield();
    }
}
