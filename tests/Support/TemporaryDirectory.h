#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

/// A directory for one test, which is removed with all that is in it. It is made where temporary files go, or in
/// `parent`.
class TemporaryDirectory
{
public:
    explicit TemporaryDirectory(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
    {
        std::string name = parent / "kitio-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("no temporary directory");
        }
        m_path = name;
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string Path(const std::string& name) const { return m_path / name; }

    /// Makes a named pipe and returns its path.
    std::string Fifo(const std::string& name) const
    {
        if (::mkfifo(Path(name).c_str(), 0600) != 0)
        {
            throw std::runtime_error("no named pipe");
        }
        return Path(name);
    }

    /// Makes a file with this content and returns its path.
    std::string File(const std::string& name, const std::string& content) const
    {
        std::ofstream(Path(name), std::ios::binary) << content;
        return Path(name);
    }

    static std::string Content(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::filesystem::path m_path;
};
