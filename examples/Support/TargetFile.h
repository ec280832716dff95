#pragma once

#include <string>
#include <sys/stat.h>

#include <Support/TemporaryFiles.h>
#include <TarselIO/ioSize.h>

namespace Examples
{

/// A file that a program makes. It gets its name, in place of a file that has it already, when it is complete: after a
/// failure that file is what it was before. A name that is a symbolic link stands for the file that it points to, which
/// need not exist.
///
/// A replaced file passes on its permissions, but no set-ID bits, and its owner and group where the process may set
/// them. If it may not set the group, or the replaced file has an access list, the group gets no more rights than
/// everybody else. Access lists and extended attributes are not passed on.
///
/// Until then the file has no name, so that nothing is left of it when the process is killed. Only between two steps of
/// Keep does it have one that ends in ".part": the system gives a file a name, or one file the name of another, but not
/// both at once. Where the file system has no files without names it is called ".part" from the start.
class TargetFile
{
public:
    /// Makes the empty file, which goes away unless it is kept. Throws when `name` cannot be replaced, or should not
    /// be, like /dev/null. A process that is forked afterwards may write and keep the file; `files`, which has to
    /// outlive this object, then removes it in either process.
    TargetFile(const std::string& name, TemporaryFiles& files);
    ~TargetFile();
    TargetFile(const TargetFile&) = delete;
    TargetFile& operator=(const TargetFile&) = delete;

    /// Appends all of these bytes or throws.
    void Write(const uint8_t* data, Tarsel::Core::ioSize size);

    /// Closes the file and gives it its name. Throws when that fails, and leaves nothing of the file then.
    void Keep();

private:
    TargetFile(TemporaryFiles& files,
               std::string path);  // first of all, so that the destructor cleans up after the rest

    void Open(const std::string& directory);
    mode_t TakeOverOwner() const;
    mode_t ModeOf(int descriptor) const;
    int Check(int result) const;

    TemporaryFiles& m_files;
    std::string m_name;
    std::string m_partialName;
    struct stat m_replaced = {};  // all zeros unless there is a file to replace
    int m_descriptor = -1;
    bool m_nameless = false;
    mode_t m_mode = 0;  // of the complete file, if it replaces none
};

}  // namespace Examples
