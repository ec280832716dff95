#pragma once

#include <string>

#include <TarselIO/IDataInput.h>
#include <TarselPointer/SP.h>

namespace Examples
{

/// Throws if `path` is something other than a regular file. A missing file passes.
void RequireRegularFile(const std::string& path);

/// Reads a regular file from front to back through a file input stream.
class FileReader
{
public:
    /// Throws when `path` is no regular file or cannot be opened.
    explicit FileReader(const std::string& path);

    /// The size of the file when it was opened; 0 for a file that is made up as it is read, like /proc/cpuinfo.
    Tarsel::Core::ioSize Size() const;

    /// Reads up to `size` bytes; 0 at the end. Throws when reading fails, or the end comes before the file's size.
    Tarsel::Core::ioSize Read(uint8_t* data, Tarsel::Core::ioSize size);

private:
    Tarsel::SP<Tarsel::Core::IDataInput> m_file;
    Tarsel::Core::ioSize m_done = 0;
};

}  // namespace Examples
