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
    /// Throws if `path` is not a regular file or cannot be opened.
    explicit FileReader(const std::string& path);

    /// Returns the size that the file had when it was opened; 0 for a file that the system generates, like
    /// /proc/cpuinfo.
    Tarsel::Core::ioSize Size() const;

    /// Reads up to `size` bytes and returns how many; 0 at the end. Throws if reading fails or the file ends before its
    /// size.
    Tarsel::Core::ioSize Read(uint8_t* data, Tarsel::Core::ioSize size);

private:
    Tarsel::SP<Tarsel::Core::IDataInput> m_file;
    Tarsel::Core::ioSize m_done = 0;
};

}  // namespace Examples
