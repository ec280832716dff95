#pragma once

#include <optional>
#include <string>

#include <boost/exception/get_error_info.hpp>
#include <gtest/gtest.h>

#include <TarselIO/IOException.h>

/// The records of an exception of the library; those that it does not carry are empty.
struct Records
{
    std::optional<std::string> filename;
    std::optional<std::string> description;
    std::optional<std::string> details;
    std::optional<std::string> callStack;
    std::optional<int> systemErrorCode;
    std::optional<Tarsel::Core::ioSize> seek;
    std::string throwFile;
    std::string throwFunction;
};

template <class Info, class E>
std::optional<typename Info::value_type> Record(const E& error)
{
    const auto* const value = boost::get_error_info<Info>(error);
    return value != nullptr ? std::optional<typename Info::value_type>(*value) : std::nullopt;
}

template <class E>
Records RecordsOf(const E& error)
{
    using namespace Tarsel;
    return {Record<ErrorFilename>(error),
            Record<ErrorDescription>(error),
            Record<ErrorDetails>(error),
            Record<ErrorCallStack>(error),
            Record<ErrorSystemErrorCode>(error),
            Record<Core::ErrorSeek>(error),
            Record<boost::throw_file>(error).value_or(""),
            Record<boost::throw_function>(error).value_or("")};
}

/// Runs `action`, which must throw this kind of exception, and returns its records.
template <class E = Tarsel::Core::IOException, class Action>
Records Thrown(Action action)
{
    try
    {
        action();
    }
    catch (const E& error)
    {
        return RecordsOf(error);
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}
