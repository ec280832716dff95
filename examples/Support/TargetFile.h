#pragma once

#include <string>

#include <Support/TemporaryFiles.h>
#include <TarselIO/IDataOutput.h>
#include <TarselPointer/SP.h>

namespace Examples
{

/// A file that a program makes. It is written under another name in the same directory and gets its own name, in place
/// of a file that has it already, when it is complete: after a failure that file is what it was before.
class TargetFile
{
public:
    /// Makes the partial file, which goes away with `files` unless it is kept. Throws when `name` cannot be replaced,
    /// or should not be, like /dev/null.
    TargetFile(const std::string& name, TemporaryFiles& files);

    /// Appends all of these bytes or throws. The first call opens the file, so that it is open only in the process that
    /// writes it.
    void Write(const uint8_t* data, Tarsel::Core::ioSize size);

    /// Closes the file and gives it its name.
    void Keep();

private:
    std::string m_name;
    std::string m_partialName;
    Tarsel::SP<Tarsel::Core::IDataOutput> m_file;
};

}  // namespace Examples
