// Two processes exchange messages over a pair of named pipes. The first one sends each line of a file, the second one
// answers with the MD5 digest of what it received, and the first one checks the answers.
//
// This file has the conversation itself. Support/Connection shows how two pipes become a channel and how to receive
// messages, Support/TwoProcesses how to start the second process and what happens if either one fails.

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <Support/Connection.h>
#include <Support/FileReader.h>
#include <Support/Program.h>
#include <Support/ProgressBar.h>
#include <Support/TwoProcesses.h>
#include <TarselHash/MD5.h>

namespace
{

using namespace Tarsel::Core;
using Examples::Kind;

constexpr char kDescription[] =
    "Sends each line of FILE to a second process, which answers with its MD5 digest.\n"
    "The messages go over named pipes, and every answer is checked. Prints the number\n"
    "of messages and bytes and the time. Lines may be empty or long and contain any\n"
    "bytes; each must fit into memory.";
constexpr char kExitStatus[] =
    "Creates the named pipes in $TMPDIR, by default /tmp, and removes them as soon as\n"
    "both are open.\n"
    "Exits with status 0 if every answer was right, with 1 after a failure and with 2\n"
    "if the command line is wrong.";

/// Reads a file as messages, one for each line. A line keeps its newline; the last line may have none.
class LineReader
{
public:
    explicit LineReader(const std::string& path) : m_file(path), m_block(64UL * 1024) {}

    ioSize FileSize() const { return m_file.Size(); }

    /// Reads the next line as a message. Returns false at the end of the file.
    bool Next(std::vector<uint8_t>& message)
    {
        message.assign(1, static_cast<uint8_t>(Kind::Data));
        bool complete = false;
        while (!complete && (m_begin != m_end || Refill()))
        {
            const uint8_t* const newline = std::find(m_begin, m_end, '\n');
            complete = newline != m_end;
            const uint8_t* const next = complete ? newline + 1 : m_end;
            message.insert(message.end(), m_begin, next);
            m_begin = next;
        }
        return message.size() > 1;
    }

private:
    bool Refill()
    {
        m_begin = m_block.data();
        m_end = m_begin + m_file.Read(m_block.data(), m_block.size());
        return m_begin != m_end;
    }

    Examples::FileReader m_file;
    std::vector<uint8_t> m_block;
    const uint8_t* m_begin = nullptr;
    const uint8_t* m_end = nullptr;
};

struct Totals
{
    ioSize messages = 0;
    ioSize bytes = 0;
};

/// The first process: sends the lines and checks the answers.
Totals SendLines(IDataChannel& channel, const std::string& path)
{
    LineReader lines(path);
    Examples::ProgressBar progress(lines.FileSize());
    Examples::WaitUntilReady(channel);

    Totals totals;
    for (std::vector<uint8_t> message; lines.Next(message);)
    {
        channel.Write(message.data(), message.size());

        // All answers have the same length, so no handler is needed to wait for them.
        MD5Digest answer;
        channel.Read(answer.bytes.data(), answer.bytes.size());
        ++totals.messages;
        if (answer != MD5Generate(message, ""))
        {
            throw std::runtime_error("the answer to message " + std::to_string(totals.messages) + " is wrong");
        }
        totals.bytes += message.size() - 1;
        progress.Advance(message.size() - 1);
    }
    Examples::Send(channel, Kind::End);
    return totals;
}

/// The second process: answers each message with the digest of all its bytes.
void AnswerLines(IDataChannel& channel)
{
    Examples::Inbox inbox(channel);
    inbox.SendReady();
    std::vector<uint8_t> message;
    for (inbox.Receive(message); Kind(message[0]) != Kind::End; inbox.Receive(message))
    {
        const MD5Digest digest = MD5Generate(message, "");
        channel.Write(digest.bytes.data(), digest.bytes.size());
    }
}

void Exchange(const std::string& path)
{
    // A file that cannot be opened is reported before anything is started. It is opened again later, since the second
    // process would inherit what is open now.
    static_cast<void>(Examples::FileReader(path));

    const auto start = std::chrono::steady_clock::now();
    Totals totals;
    Examples::TwoProcesses().Run([&](IDataChannel& channel) { totals = SendLines(channel, path); }, &AnswerLines);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

    std::cout << totals.messages << " messages with " << totals.bytes << " bytes in " << std::fixed
              << std::setprecision(3) << time.count() << " s, every answer was right\n";
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    std::string file = KITIO_README;
    app.add_option("FILE", file, "the file to send (default: the README of the project)");
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, [&] { Exchange(file); });
}
