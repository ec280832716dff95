#pragma once

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <typeinfo>

/// Aborts with a message unless the library did what the model expects.
inline void Check(const char* what, const std::string& actual, const std::string& expected)
{
    if (actual != expected)
    {
        std::cerr << "CHECK FAILED: " << what << "\n  expected: " << expected << "\n  actual:   " << actual
                  << std::endl;
        std::abort();
    }
}

inline void Check(const char* what, std::uint64_t actual, std::uint64_t expected)
{
    Check(what, std::to_string(actual), std::to_string(expected));
}

/// Returns the number that a call returns, or the type of its exception, as text.
template <class Action>
std::string OutcomeOf(Action action)
{
    try
    {
        return std::to_string(action());
    }
    catch (const std::exception& error)
    {
        return typeid(error).name();
    }
}

/// Requires that both calls return the same number or throw the same type.
template <class Library, class Model>
void CheckSame(const char* what, Library library, Model model)
{
    Check(what, OutcomeOf(library), OutcomeOf(model));
}
