#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace Examples
{

/// Files that must not outlive the program. May be used by several threads at once.
class TemporaryFiles
{
public:
    TemporaryFiles() = default;
    ~TemporaryFiles();
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;

    /// Makes a named pipe that only this user can open and returns its name.
    std::string MakePipe();

    /// Makes an empty file in `directory` (empty: the current one) and returns its name.
    std::string MakeFile(const std::filesystem::path& directory);

    /// Removes one file, if it is still there, and forgets it.
    void Remove(const std::string& name);

    void RemoveAll();

private:
    std::string Keep(std::string name);

    std::mutex m_mutex;
    std::vector<std::string> m_names;  // guarded by m_mutex
};

}  // namespace Examples
