#pragma once
// Paths for tests, in the framework's own form: backslashes as separators on
// every platform (on POSIX /tmp/x is written \tmp\x).

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

#include "orvik/platform/module_loader.h"

namespace Orvik {
namespace Testing {

inline std::string FrameworkPath(const std::filesystem::path& path)
{
    std::string text = path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

// A path in the framework's form as the file system wants it.
inline std::filesystem::path NativePath(std::string text)
{
#if !defined(_WIN32)
    std::replace(text.begin(), text.end(), '\\', '/');
#endif
    return std::filesystem::path(text);
}

// The directory holding the test program and the modules built with it.
inline std::string ProgramDirectory()
{
    char path[Platform::kMaxPath] = {};
    Platform::GetModuleFilePath(Platform::FindLoadedModule(nullptr), path, sizeof path);
    std::string text(path);
    return text.substr(0, text.rfind('\\'));
}

// A fresh, empty directory for one test, removed again by its destructor.
// Its name is unique, since the cases of a program run in parallel.
class ScratchDirectory {
public:
    explicit ScratchDirectory(const std::string& name)
        : path_(std::filesystem::temp_directory_path() /
                ("orvik_" + name + "_" + std::to_string(std::random_device{}())))
    {
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& native() const { return path_; }
    // The directory, or a name inside it, in the framework's form.
    std::string Framework(const std::string& name = std::string()) const
    {
        return FrameworkPath(name.empty() ? path_ : path_ / name);
    }

private:
    std::filesystem::path path_;
};

}  // namespace Testing
}  // namespace Orvik
