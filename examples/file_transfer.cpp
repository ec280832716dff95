// Copies a file from one process to another over a pair of named pipes. The sender reads it with a file input stream
// and sends it in pieces, and the receiver writes them to a file that has no name yet. Both compute the MD5 digest;
// only if the digests agree does the receiver give the new file its name.
//
// Support/Connection shows how two pipes become a channel and how to receive messages, Support/TwoProcesses how to
// start the second process and what happens if either one fails.

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <openssl/evp.h>

#include <Support/Connection.h>
#include <Support/FileReader.h>
#include <Support/Program.h>
#include <Support/ProgressBar.h>
#include <Support/TargetFile.h>
#include <Support/TwoProcesses.h>
#include <TarselHash/MD5.h>

namespace
{

using namespace Tarsel::Core;
using Examples::Kind;
namespace fs = std::filesystem;

constexpr char kDescription[] =
    "Copies the file INPUT to OUTPUT by way of a second process, over named pipes.\n"
    "Compares the MD5 digests of what was sent and received. Prints the digest as\n"
    "md5sum does, the number of bytes and the throughput. OUTPUT is created or\n"
    "replaced only if all of INPUT has arrived.";
constexpr char kExitStatus[] =
    "Creates the named pipes in $TMPDIR, by default /tmp, and removes them as soon as\n"
    "both are open.\n"
    "Exits with status 0 if OUTPUT was written, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

/// Large enough that the frame headers cost nothing, small enough for memory: each process holds a few pieces.
constexpr ioSize kPieceSize = 256UL * 1024;

/// The MD5 digest of bytes that come in pieces. The library computes it only for data that is in memory as a whole,
/// which a large file is not.
class Md5Stream
{
public:
    Md5Stream() : m_context(EVP_MD_CTX_new(), &EVP_MD_CTX_free)
    {
        Require(m_context != nullptr && EVP_DigestInit_ex(m_context.get(), EVP_md5(), nullptr) == 1);
    }

    void Add(const uint8_t* data, ioSize size) { Require(EVP_DigestUpdate(m_context.get(), data, size) == 1); }

    MD5Digest Finish(const std::string& text)
    {
        MD5Digest digest;
        digest.text = text;
        Require(EVP_DigestFinal_ex(m_context.get(), digest.bytes.data(), nullptr) == 1);
        return digest;
    }

private:
    static void Require(bool succeeded)
    {
        if (!succeeded)
        {
            throw std::runtime_error("the cryptography library does not provide MD5");
        }
    }

    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

struct Totals
{
    ioSize bytes = 0;
    MD5Digest digest;
};

/// The first process: sends the file, compares the digests and allows the receiver to keep its file.
Totals SendFile(IDataChannel& channel, const std::string& source, const std::string& target)
{
    Examples::FileReader file(source);
    Examples::ProgressBar progress(file.Size());
    Examples::WaitUntilReady(channel);

    Totals totals;
    Md5Stream md5;
    std::vector<uint8_t> message(1 + kPieceSize);
    message[0] = static_cast<uint8_t>(Kind::Data);
    uint8_t* const piece = message.data() + 1;
    while (const ioSize size = file.Read(piece, kPieceSize))
    {
        md5.Add(piece, size);
        channel.Write(message.data(), 1 + size);
        totals.bytes += size;
        progress.Advance(size);
    }
    Examples::Send(channel, Kind::End);

    totals.digest = md5.Finish(target);
    MD5Digest received;
    received.text = target;
    channel.Read(received.bytes.data(), received.bytes.size());
    if (received != totals.digest)
    {
        throw std::runtime_error("the receiver did not get the bytes that were sent: their MD5 is " + received.Hex() +
                                 ", not " + totals.digest.Hex());
    }
    Examples::Send(channel, Kind::Keep);
    return totals;
}

/// The second process: writes what arrives, answers with its digest, and keeps the file if the sender confirms it.
void ReceiveFile(IDataChannel& channel, Examples::TargetFile& target)
{
    Md5Stream md5;
    Examples::Inbox inbox(channel);
    inbox.SendReady();
    std::vector<uint8_t> message;
    for (inbox.Receive(message); Kind(message[0]) == Kind::Data; inbox.Receive(message))
    {
        md5.Add(message.data() + 1, message.size() - 1);
        target.Write(message.data() + 1, message.size() - 1);
    }

    const MD5Digest digest = md5.Finish("");
    channel.Write(digest.bytes.data(), digest.bytes.size());
    inbox.Receive(message);
    if (Kind(message[0]) != Kind::Keep)  // our sender sends nothing else
    {
        throw Examples::PeerGone();
    }
    target.Keep();
}

Totals RunBoth(const std::string& source, const std::string& targetName)
{
    Totals totals;
    Examples::TwoProcesses processes;
    Examples::TargetFile target(targetName, processes.Files());
    processes.Run([&](IDataChannel& channel) { totals = SendFile(channel, source, targetName); },
                  [&](IDataChannel& channel) { ReceiveFile(channel, target); });
    return totals;
}

void Transfer(const std::string& source, const std::string& targetName)
{
    // Errors in the arguments are reported before anything is started. The file is opened again later, since the second
    // process would inherit what is open now.
    static_cast<void>(Examples::FileReader(source));
    if (fs::exists(targetName) && fs::equivalent(source, targetName))
    {
        throw std::runtime_error(source + " and " + targetName + " are the same file");
    }

    const auto start = std::chrono::steady_clock::now();
    const Totals totals = RunBoth(source, targetName);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

    std::cout << totals.digest << '\n'
              << totals.bytes << " bytes in " << std::fixed << std::setprecision(3) << time.count() << " s, "
              << std::setprecision(1) << static_cast<double>(totals.bytes) / 1e6 / time.count() << " MB/s\n";
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    std::string input;
    std::string output;
    app.add_option("INPUT", input, "the file to read, of any size")->required();
    app.add_option("OUTPUT", output, "the file to write, in a directory that exists")->required();
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, [&] { Transfer(input, output); });
}
