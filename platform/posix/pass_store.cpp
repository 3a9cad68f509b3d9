#include "platform/posix/pass_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// A store read whole at each process's first load stays small: past this
// it is started over.
constexpr size_t kMaxStoreBytes = 1 << 20;
// Appends up to this size are written whole, even by processes at once.
constexpr size_t kMaxLineBytes = 4096;
constexpr size_t kMaxNeededNames = 256;
constexpr const char* kLineTag = "pass";

// The line's fields, in their order: numbers, then strings as
// "<length>:<bytes>", each after one space.
void AddNumber(std::string* line, long long value)
{
    *line += ' ';
    *line += std::to_string(value);
}

void AddString(std::string* line, const std::string& text)
{
    *line += ' ';
    *line += std::to_string(text.size());
    *line += ':';
    *line += text;
}

// Reads one line's fields; any field not as written fails the line.
class LineReader {
public:
    LineReader(const char* at, const char* end) : at_(at), end_(end) {}

    bool Tag(const char* tag)
    {
        const size_t size = std::strlen(tag);
        if (static_cast<size_t>(end_ - at_) < size || std::memcmp(at_, tag, size) != 0) return false;
        at_ += size;
        return true;
    }
    bool Number(long long* value)
    {
        if (!Space()) return false;
        const bool negative = at_ < end_ && *at_ == '-';
        if (negative) ++at_;
        unsigned long long magnitude = 0;
        const char* first = at_;
        for (; at_ < end_ && *at_ >= '0' && *at_ <= '9'; ++at_) {
            if (at_ - first >= 19) return false;  // beyond what a 64-bit number holds
            magnitude = magnitude * 10 + static_cast<unsigned>(*at_ - '0');
        }
        if (at_ == first || magnitude > static_cast<unsigned long long>(INT64_MAX)) return false;
        *value = negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude);
        return true;
    }
    template <class T>
    bool Field(T* value)
    {
        long long number = 0;
        if (!Number(&number)) return false;
        *value = static_cast<T>(number);
        return static_cast<long long>(*value) == number;
    }
    bool String(std::string* text)
    {
        long long size = 0;
        if (!Number(&size) || size < 0 || static_cast<size_t>(size) > kMaxLineBytes) return false;
        if (at_ == end_ || *at_ != ':' || end_ - at_ - 1 < size) return false;
        text->assign(at_ + 1, static_cast<size_t>(size));
        at_ += 1 + size;
        return true;
    }
    bool LineEnd() { return at_ < end_ && *at_++ == '\n'; }
    // Past the end of the line the reading stopped in.
    const char* NextLine() const
    {
        const void* newline = std::memchr(at_, '\n', static_cast<size_t>(end_ - at_));
        return newline != nullptr ? static_cast<const char*>(newline) + 1 : end_;
    }
    const char* at() const { return at_; }

private:
    bool Space() { return at_ < end_ && *at_++ == ' '; }

    const char* at_;
    const char* end_;
};

// memchr finds a line's end many bytes at a time, where a loop over the
// bytes takes one.
size_t LineCount(const char* at, const char* end)
{
    size_t count = 0;
    while (const void* newline = std::memchr(at, '\n', static_cast<size_t>(end - at))) {
        at = static_cast<const char*>(newline) + 1;
        ++count;
    }
    return count;
}

bool ReadLine(LineReader* reader, std::string* path, PassedFile* pass)
{
    FileIdentity& id = pass->identity;
    Needs& needs = pass->needs;
    int flags = 0;
    size_t count = 0;
    if (!reader->Tag(kLineTag) || !reader->Field(&id.device) || !reader->Field(&id.inode) ||
        !reader->Field(&id.size) || !reader->Field(&id.modified.tv_sec) || !reader->Field(&id.modified.tv_nsec) ||
        !reader->Field(&id.changed.tv_sec) || !reader->Field(&id.changed.tv_nsec) || !reader->Field(&flags) ||
        !reader->Field(&count) || count > kMaxNeededNames || !reader->String(path) ||
        !reader->String(&needs.runPath) || !reader->String(&needs.oldRunPath)) {
        return false;
    }
    needs.hasRunPath = (flags & 1) != 0;
    needs.hasOldRunPath = (flags & 2) != 0;
    needs.names.resize(count);
    for (std::string& name : needs.names) {
        if (!reader->String(&name)) return false;
    }
    return reader->LineEnd() && !path->empty();
}

std::string FromEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The directory the store goes in; empty for none.
std::string StoreDirectory()
{
    if (std::getenv("ORVIK_CACHE_DIR") != nullptr) return FromEnvironment("ORVIK_CACHE_DIR");
    const std::string cacheHome = FromEnvironment("XDG_CACHE_HOME");
    // A relative cache home is not taken: it would move with the current directory.
    if (!cacheHome.empty() && cacheHome[0] == '/') return cacheHome + "/orvik";
    const std::string home = FromEnvironment("HOME");
    return home.empty() ? std::string() : home + "/.cache/orvik";
}

// The directory and the ones above it, each for this user alone.
bool MakeDirectories(const std::string& directory)
{
    if (mkdir(directory.c_str(), 0700) == 0 || errno == EEXIST) return true;
    if (errno != ENOENT) return false;
    const size_t slash = directory.rfind('/');
    if (slash == std::string::npos || slash == 0) return false;
    return MakeDirectories(directory.substr(0, slash)) && (mkdir(directory.c_str(), 0700) == 0 || errno == EEXIST);
}

}  // namespace

std::string PassStoreFile()
{
    const std::string directory = StoreDirectory();
    if (directory.empty()) return std::string();
    return directory + "/module-checks-" ORVIK_PLATFORM_VERSION "-" + ThisArchitecture();
}

std::string PassLine(const std::string& path, const PassedFile& pass)
{
    const FileIdentity& id = pass.identity;
    const Needs& needs = pass.needs;
    if (needs.names.size() > kMaxNeededNames) return std::string();
    std::string line = kLineTag;
    for (const long long number :
         {static_cast<long long>(id.device), static_cast<long long>(id.inode), static_cast<long long>(id.size),
          static_cast<long long>(id.modified.tv_sec), static_cast<long long>(id.modified.tv_nsec),
          static_cast<long long>(id.changed.tv_sec), static_cast<long long>(id.changed.tv_nsec),
          static_cast<long long>((needs.hasRunPath ? 1 : 0) | (needs.hasOldRunPath ? 2 : 0)),
          static_cast<long long>(needs.names.size())}) {
        AddNumber(&line, number);
    }
    for (const std::string* text : {&path, &needs.runPath, &needs.oldRunPath}) AddString(&line, *text);
    for (const std::string& name : needs.names) AddString(&line, name);
    line += '\n';
    return line.size() <= kMaxLineBytes ? line : std::string();
}

size_t ReadPassLines(const char* text, size_t size, PassMap* passes)
{
    const char* const end = text + size;
    passes->reserve(passes->size() + LineCount(text, end));
    size_t lines = 0;
    for (const char* at = text; at < end; ++lines) {
        LineReader reader(at, end);
        std::string path;
        PassedFile pass;
        if (ReadLine(&reader, &path, &pass)) {
            passes->insert_or_assign(std::move(path), std::move(pass));
            at = reader.at();
        } else {
            at = reader.NextLine();
        }
    }
    return lines;
}

bool ReadPassStore(const std::string& file, PassMap* passes)
{
    // Without waiting, as a FIFO put in its place would.
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return false;
    struct stat info;
    bool afresh = false;
    if (fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
        afresh = static_cast<size_t>(info.st_size) > kMaxStoreBytes;
        try {
            std::string text(afresh ? 0 : static_cast<size_t>(info.st_size), '\0');
            size_t filled = 0;
            while (filled < text.size()) {
                const ssize_t got = pread(descriptor, &text[filled], text.size() - filled, static_cast<off_t>(filled));
                if (got <= 0) break;
                filled += static_cast<size_t>(got);
            }
            const size_t before = passes->size();
            const size_t lines = ReadPassLines(text.data(), filled, passes);
            // Files rebuilt again and again leave a line for each build.
            afresh = afresh || lines > 2 * (passes->size() - before) + 64;
        } catch (const std::bad_alloc&) {
        }
    }
    close(descriptor);
    return afresh;
}

int OpenPassStore(const std::string& file, bool afresh)
{
    const size_t slash = file.rfind('/');
    if (slash == std::string::npos || !MakeDirectories(file.substr(0, slash))) return -1;
    const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (afresh ? O_TRUNC : 0);
    const int descriptor = open(file.c_str(), flags, 0600);
    struct stat info;
    if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

// A short write leaves a line that the next reader skips.
void AppendPass(int descriptor, const std::string& path, const PassedFile& pass)
{
    const std::string line = PassLine(path, pass);
    if (line.empty()) return;
    const ssize_t written = write(descriptor, line.data(), line.size());
    static_cast<void>(written);
}

void AppendPasses(int descriptor, const PassMap& passes)
{
    std::string text;
    for (const auto& entry : passes) text += PassLine(entry.first, entry.second);
    const ssize_t written = write(descriptor, text.data(), text.size());
    static_cast<void>(written);
}

}  // namespace Platform
}  // namespace Orvik
