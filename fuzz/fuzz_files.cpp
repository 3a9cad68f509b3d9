#include "fuzz/fuzz_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

namespace Orvik {
namespace Fuzzing {

namespace {

namespace fs = std::filesystem;

class FuzzDirectory {
public:
    FuzzDirectory()
        : path_(fs::temp_directory_path() / ("orvik_fuzz_" + std::to_string(std::random_device{}())))
    {
        fs::create_directories(path_);
    }
    ~FuzzDirectory()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    FuzzDirectory(const FuzzDirectory&) = delete;
    FuzzDirectory& operator=(const FuzzDirectory&) = delete;

    fs::path operator/(const std::string& name) const { return path_ / name; }

private:
    fs::path path_;
};

const FuzzDirectory& Directory()
{
    static const FuzzDirectory directory;
    return directory;
}

}  // namespace

std::string WriteFuzzFile(const std::string& name, const uint8_t* data, size_t size)
{
    const fs::path path = Directory() / name;
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    std::string framework = path.string();
    std::replace(framework.begin(), framework.end(), '/', '\\');
    return framework;
}

void RemoveFuzzFile(const std::string& name)
{
    std::error_code ignored;
    fs::remove(Directory() / name, ignored);
}

}  // namespace Fuzzing
}  // namespace Orvik
