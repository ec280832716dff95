#pragma once

#include <string>
#include <sys/stat.h>

#include <Support/TemporaryFiles.h>
#include <TarselIO/ioSize.h>

namespace Examples
{

/// A file that a program writes. It gets its name, or replaces the file with that name, only when it is complete: after
/// a failure the old file is unchanged. If the name is a symbolic link, the file that the link points to is replaced;
/// it need not exist.
///
/// The new file gets the permissions of the replaced one, but no set-ID bits, and its owner and group if the process
/// may set them. If it may not set the group, or the replaced file has an access list, the group gets no more
/// permissions than all others. Access lists and extended attributes are not copied.
///
/// Until it is complete the file has no name, so nothing is left of it when the process is killed. Only between two
/// steps of Keep does it have a name that ends in ".part": the system can name a file, or rename a file over another
/// one, but not both at once. On file systems without nameless files its name ends in ".part" from the start.
class TargetFile
{
public:
    /// Makes the empty file, which is removed unless Keep is called. Throws if `name` cannot be replaced, or should not
    /// be, like /dev/null. A process that is forked later may write and keep the file; `files` then removes it in
    /// either process. `files` must outlive this object.
    TargetFile(const std::string& name, TemporaryFiles& files);
    ~TargetFile();
    TargetFile(const TargetFile&) = delete;
    TargetFile& operator=(const TargetFile&) = delete;

    /// Appends all of these bytes, or throws.
    void Write(const uint8_t* data, Tarsel::Core::ioSize size);

    /// Closes the file and gives it its name. If that fails, removes the file and throws.
    void Keep();

private:
    TargetFile(TemporaryFiles& files,
               std::string path);  // runs first, so that the destructor cleans up if the rest throws

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
