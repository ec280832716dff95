#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace Examples
{

/// Files that must not outlive the program. Several threads may use one object at the same time.
class TemporaryFiles
{
public:
    TemporaryFiles() = default;
    ~TemporaryFiles();
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

    /// Makes a named pipe that only this user can open and returns its name.
    std::string MakePipe();

    /// Makes an empty file in `directory` (empty: the current one) and returns its name. The process's umask reduces
    /// `mode`.
    std::string MakeFile(const std::filesystem::path& directory, mode_t mode);

    /// Returns the name of a file in `directory` that may be made later.
    std::string ReserveName(const std::filesystem::path& directory);

    /// Removes one file, if it exists, and forgets it.
    void Remove(const std::string& name);

    void RemoveAll();

private:
    std::string Keep(std::string name);

    std::mutex m_mutex;
    std::vector<std::string> m_names;  // guarded by m_mutex
};

}  // namespace Examples
