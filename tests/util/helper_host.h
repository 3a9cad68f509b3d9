#pragma once
// A class deriving from both helper templates, as the catalog and the
// factory do, with a base directory of the test's choosing; and a scratch
// directory for the file-system cases.

#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include "platform/multibyte.h"
#include "util/file_operator.h"
#include "util/string_manipulate.h"

namespace OrvikTest {

class HelperHost : public Orvik::StringManipulate<HelperHost>,
                   public Orvik::FileOperator<HelperHost> {
public:
    explicit HelperHost(std::string base = "C:\\base") : base_(std::move(base)) {}
    const char* GetBaseDirectory() const { return base_.c_str(); }

private:
    std::string base_;
};

// The framework writes paths with backslashes on every platform; a POSIX
// absolute path /tmp/x is \tmp\x, a Windows one keeps its drive letter.
inline std::string FrameworkPath(const std::filesystem::path& path)
{
    std::string text = path.string();
    for (char& c : text) {
        if (c == '/') c = '\\';
    }
    return text;
}

// A fresh, empty directory under the temporary directory, removed with
// everything in it at the end.
class ScratchDirectory {
public:
    ScratchDirectory()
    {
        std::random_device random;
        native_ = std::filesystem::temp_directory_path() /
                  ("orvik-util-" + std::to_string(random()) + "-" + std::to_string(random()));
        std::filesystem::create_directories(native_);
    }
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(native_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& Native() const { return native_; }
    // In the framework's form, without a trailing backslash.
    std::string Path() const { return FrameworkPath(native_); }

private:
    std::filesystem::path native_;
};

// Selects a code page for one test and goes back to the start-up one.
class CodePageScope {
public:
    explicit CodePageScope(int codePage) { ok_ = Orvik::Platform::SelectCodePage(codePage); }
    ~CodePageScope() { Orvik::Platform::SelectCodePage(Orvik::Platform::kStartupCodePage); }
    CodePageScope(const CodePageScope&) = delete;
    CodePageScope& operator=(const CodePageScope&) = delete;
    bool ok() const { return ok_; }

private:
    bool ok_;
};

}  // namespace OrvikTest
