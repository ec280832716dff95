// Compresses or expands a file with a filter of Boost.Iostreams that reads and writes the library's streams.

#include <iostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <boost/iostreams/categories.hpp>
#include <boost/iostreams/copy.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_streambuf.hpp>

#include <Support/FileReader.h>
#include <Support/Program.h>
#include <Support/TargetFile.h>
#include <TarselIO/ioSize.h>

namespace
{

namespace io = boost::iostreams;
using Tarsel::Core::ioSize;

constexpr char kDescription[] =
    "Compresses the file INPUT in gzip's format, or expands it again.\n"
    "OUTPUT is created or replaced only if everything succeeds.";
constexpr char kExitStatus[] =
    "Exits with status 0 if OUTPUT was written, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

// NOLINTBEGIN(readability-identifier-naming): Boost.Iostreams looks for these names

/// What a filter reads from. Boost.Iostreams copies its devices, so they only point to a stream, which could be any
/// input stream of the library.
struct Source
{
    using char_type = char;
    using category = io::source_tag;

    std::streamsize read(char* data, std::streamsize size) const
    {
        const ioSize count = input->Read(reinterpret_cast<uint8_t*>(data), static_cast<ioSize>(size));
        return count == 0 ? -1 : static_cast<std::streamsize>(count);
    }

    Examples::FileReader* input;
};

/// What a filter writes to. It writes everything or throws.
struct Sink
{
    using char_type = char;
    using category = io::sink_tag;

    std::streamsize write(const char* data, std::streamsize size) const
    {
        output->Write(reinterpret_cast<const uint8_t*>(data), static_cast<ioSize>(size));
        return size;
    }

    Examples::TargetFile* output;
};
// NOLINTEND(readability-identifier-naming)

template <class Filter>
void CopyThrough(Filter filter, Examples::FileReader& source, Examples::TargetFile& target)
{
    io::filtering_streambuf<io::input> filtered;
    filtered.push(filter);
    filtered.push(Source{&source});
    io::copy(filtered, Sink{&target});
}

void Convert(const std::string& mode, const std::string& input, const std::string& output)
{
    if (mode != "compress" && mode != "expand")
    {
        throw std::runtime_error("'" + mode + "' is neither compress nor expand, try --help");
    }
    Examples::FileReader source(input);
    Examples::TemporaryFiles files;
    Examples::TargetFile target(output, files);
    try
    {
        mode == "compress" ? CopyThrough(io::gzip_compressor(), source, target)
                           : CopyThrough(io::gzip_decompressor(), source, target);
    }
    catch (const io::gzip_error&)
    {
        throw std::runtime_error(input + ": is not compressed by gzip, or damaged");
    }
    target.Keep();
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    std::string mode;
    std::string input;
    std::string output;
    app.add_option("MODE", mode, "compress or expand")->required();
    app.add_option("INPUT", input, "the file to read")->required();
    app.add_option("OUTPUT", output, "the file to write")->required();
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, [&] { Convert(mode, input, output); });
}
