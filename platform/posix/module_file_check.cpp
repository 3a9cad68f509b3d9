#include "platform/posix/module_file_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>
#include <set>
#include <vector>

#include "orvik/platform/module_loader.h"
#include "platform/mutex.h"
#include "platform/posix/elf_dynamic.h"
#include "platform/posix/elf_image.h"
#include "platform/posix/elf_module.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/held_names.h"
#include "platform/posix/image_record.h"
#include "platform/posix/native_path.h"
#include "platform/posix/pass_store.h"
#include "platform/posix/passed_module.h"
#include "platform/module_record.h"

namespace Orvik {
namespace Platform {

namespace {

// Deeper chains of modules found beside each other are not followed.
constexpr int kMaxDependencyDepth = 16;

// Where a refused file and the reason go: written once, without allocating.
struct Refusal {
    char* text;
    size_t size;

    uint32_t Note(const std::string& path, const char* reason) const
    {
        if (size > 0) std::snprintf(text, size, "%s: %s", path.c_str(), reason);
        return kErrorBadExeFormat;
    }
};

// The module record of the file a load asked for, read while its file is
// open for the check.
struct RecordRead {
    RecordState state = RecordState::Unreadable;
    ModuleRecord record{};
};

// info is what fstat said of the open file.
uint32_t CheckOpenFile(int descriptor, const struct stat& info, const std::string& path, ElfDynamic* dynamic,
                       const Refusal& refusal, RecordRead* record)
{
    if (!S_ISREG(info.st_mode)) return refusal.Note(path, "not a regular file");
    const FileElfImage image(descriptor, static_cast<uint64_t>(info.st_size));
    const char* reason = nullptr;
    if (!ReadModuleImage(image, dynamic, &reason)) {
        return image.readError() != 0 ? ModuleErrorFromErrno(image.readError()) : refusal.Note(path, reason);
    }
    // From the blocks the check read already: the headers, mostly.
    if (record != nullptr) record->state = ReadImageModuleRecord(image, &record->record);
    return kErrorSuccess;
}

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return descriptor_; }

private:
    int descriptor_;
};

// Opened without waiting, as a FIFO would; only a regular file is read.
uint32_t CheckOneFile(const std::string& path, ElfDynamic* dynamic, const Refusal& refusal, RecordRead* record)
{
    const Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (descriptor.get() < 0) return ModuleErrorFromErrno(errno);
    struct stat info;
    if (fstat(descriptor.get(), &info) != 0) return ModuleErrorFromErrno(errno);
    return CheckOpenFile(descriptor.get(), info, path, dynamic, refusal, record);
}

std::string DirectoryOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsRegularFile(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// Appends the directories of a search list ("a:b"), with $ORIGIN standing
// for the module's own directory. Other substitutions name system places
// and are left out.
void AddSearchList(const std::string& list, const std::string& origin, std::vector<std::string>* directories)
{
    size_t start = 0;
    for (;;) {
        const size_t end = list.find(':', start);
        std::string directory = list.substr(start, end == std::string::npos ? std::string::npos : end - start);
        for (const char* token : {"${ORIGIN}", "$ORIGIN"}) {
            for (size_t at = directory.find(token); at != std::string::npos; at = directory.find(token)) {
                directory.replace(at, std::char_traits<char>::length(token), origin);
            }
        }
        if (directory.find('$') == std::string::npos) directories->push_back(directory.empty() ? "." : directory);
        if (end == std::string::npos) return;
        start = end + 1;
    }
}

Needs NeedsOf(const ElfDynamic& dynamic)
{
    Needs needs;
    for (uint64_t offset : dynamic.needed()) needs.names.push_back(dynamic.String(offset));
    needs.hasRunPath = dynamic.Has(DT_RUNPATH);
    needs.hasOldRunPath = dynamic.Has(DT_RPATH);
    if (needs.hasRunPath) needs.runPath = dynamic.String(dynamic.Value(DT_RUNPATH));
    if (needs.hasOldRunPath) needs.oldRunPath = dynamic.String(dynamic.Value(DT_RPATH));
    return needs;
}

// Where the loader looks for a bare name before its cache and the system
// directories, in its order: the module's old-style list when it has no
// new one, the library path, the new list. (The loader also searches the
// old-style lists of the modules that load this one; those are left out.)
std::vector<std::string> SearchDirectories(const Needs& needs, const std::string& path)
{
    const std::string origin = DirectoryOf(path);
    std::vector<std::string> directories;
    if (!needs.hasRunPath && needs.hasOldRunPath) AddSearchList(needs.oldRunPath, origin, &directories);
    if (const char* libraryPath = std::getenv("LD_LIBRARY_PATH")) AddSearchList(libraryPath, origin, &directories);
    if (needs.hasRunPath) AddSearchList(needs.runPath, origin, &directories);
    return directories;
}

// The file the loader would load for a needed name it does not hold yet
// from the module's search directories; empty when it would look further,
// among the system's own modules.
std::string FindDependency(const std::string& name, const std::vector<std::string>& directories)
{
    if (name.find('/') != std::string::npos) return name;
    for (const std::string& directory : directories) {
        const std::string candidate = directory + "/" + name;
        if (IsRegularFile(candidate)) return candidate;
    }
    return std::string();
}

uint32_t CheckWithDependencies(const std::string& path, const ModuleFile* file, int depth,
                               std::set<std::string>* checked, const Refusal& refusal, RecordRead* record,
                               Needs* needs);

// The files the module at path, at depth, would bring with it. allHeld,
// when given, tells whether the loader held a module for every name.
uint32_t CheckNeeds(const Needs& needs, const std::string& path, int depth, std::set<std::string>* checked, const Refusal& refusal,
                    bool* allHeld = nullptr)
{
    // Most needed names are loaded already (the run-time, the platform
    // library): the loader answers those without a look at the directories,
    // which are only worked out for the first name it does not hold.
    std::vector<std::string> directories;
    bool listed = false;
    if (allHeld != nullptr) *allHeld = true;
    const unsigned long long unloads = LoaderUnloads();
    for (const std::string& name : needs.names) {
        if (name.find('/') == std::string::npos && IsLoadedByName(name, unloads)) continue;
        if (allHeld != nullptr) *allHeld = false;
        if (!listed) {
            directories = SearchDirectories(needs, path);
            listed = true;
        }
        const std::string dependency = FindDependency(name, directories);
        if (dependency.empty()) continue;
        const uint32_t result =
            CheckWithDependencies(dependency, nullptr, depth + 1, checked, refusal, nullptr, nullptr);
        // A dependency the loader cannot open reads as missing, which the
        // loader itself reports.
        if (result != kErrorSuccess && result != kErrorModuleNotFound) return result;
    }
    return kErrorSuccess;
}

// The record is read of the first file alone, and what it needs kept. file
// is the file at path already open, or null to open it here.
uint32_t CheckWithDependencies(const std::string& path, const ModuleFile* file, int depth,
                               std::set<std::string>* checked, const Refusal& refusal, RecordRead* record,
                               Needs* needs)
{
    if (depth > kMaxDependencyDepth || !checked->insert(path).second) return kErrorSuccess;
    ElfDynamic dynamic;
    const uint32_t result = file != nullptr
                                ? CheckOpenFile(file->descriptor(), file->info(), path, &dynamic, refusal, record)
                                : CheckOneFile(path, &dynamic, refusal, record);
    if (result != kErrorSuccess) return result;
    Needs own = NeedsOf(dynamic);
    const uint32_t needsResult = CheckNeeds(own, path, depth, checked, refusal);
    if (needs != nullptr) *needs = std::move(own);
    return needsResult;
}

// The passes of this process, with those of earlier ones from the store
// read at the first check.
struct PassedFiles {
    Mutex lock;
    PassMap files ORVIK_GUARDED_BY(lock);
    bool storeRead ORVIK_GUARDED_BY(lock) = false;
    std::string storeFile ORVIK_GUARDED_BY(lock);
    bool rewriteStore ORVIK_GUARDED_BY(lock) = false;
    // Opened by the first pass to keep, and kept open for the next ones.
    int storeDescriptor ORVIK_GUARDED_BY(lock) = -1;
    bool storeOpened ORVIK_GUARDED_BY(lock) = false;

    void ReadStoreOnce() ORVIK_REQUIRES(lock)
    {
        if (storeRead) return;
        storeRead = true;
        storeFile = PassStoreFile();
        if (!storeFile.empty()) rewriteStore = ReadPassStore(storeFile, &files);
    }
};

PassedFiles& Passed()
{
    static PassedFiles* passed = new PassedFiles;  // used until the process ends
    return *passed;
}

enum class Found {
    Nothing,      // the file as it is now did not pass
    NeedsHeld,    // it passed, and what it needs was held and has been since
    NeedsToCheck  // it passed; what it needs is to be looked at
};

// Whether the file as it is now passed, and what it needs to be looked
// at. unloads is the loader's count of unloads, read before.
Found FindPassed(const std::string& path, const struct stat& info, unsigned long long unloads, Needs* needs)
{
    PassedFiles& passed = Passed();
    MutexGuard guard(passed.lock);
    passed.ReadStoreOnce();
    const auto found = passed.files.find(path);
    if (found == passed.files.end() || !(found->second.identity == FileIdentity(info))) return Found::Nothing;
    if (found->second.neededHeldAtUnloads == unloads) return Found::NeedsHeld;
    *needs = found->second.needs;
    return Found::NeedsToCheck;
}

// Every module the file needs was held when the loader had unloaded as
// many: they all still are while it unloads no more.
void NoteNeedsHeld(const std::string& path, const struct stat& info, unsigned long long unloads)
{
    PassedFiles& passed = Passed();
    MutexGuard guard(passed.lock);
    const auto found = passed.files.find(path);
    if (found != passed.files.end() && found->second.identity == FileIdentity(info)) {
        found->second.neededHeldAtUnloads = unloads;
    }
}

// A settled file that passed is remembered here and in the store; one
// changed just now is checked again next time.
void RememberPass(const std::string& path, const struct stat& info, Needs needs)
{
    PassedFile pass{FileIdentity(info), std::move(needs)};
    if (!IsSettled(pass.identity, std::time(nullptr))) return;
    PassedFiles& passed = Passed();
    MutexGuard guard(passed.lock);
    passed.ReadStoreOnce();
    if (!passed.storeOpened && !passed.storeFile.empty()) {
        passed.storeOpened = true;
        passed.storeDescriptor = OpenPassStore(passed.storeFile, passed.rewriteStore);
    }
    if (passed.storeDescriptor >= 0 && !passed.rewriteStore) AppendPass(passed.storeDescriptor, path, pass);
    passed.files.insert_or_assign(path, std::move(pass));
    // A store to be written afresh is, at the first pass to keep.
    if (passed.storeDescriptor >= 0 && passed.rewriteStore) AppendPasses(passed.storeDescriptor, passed.files);
    passed.rewriteStore = false;
}

}  // namespace

uint32_t CheckModuleFile(const std::string& nativePath, ModuleFile* file, char* refusal, size_t size)
{
    if (size > 0) refusal[0] = '\0';
    std::set<std::string> checked;
    const Refusal noted{refusal, size};
    Needs needs;
    const unsigned long long unloads = LoaderUnloads();
    switch (FindPassed(nativePath, file->info(), unloads, &needs)) {
    case Found::NeedsHeld:
        return kErrorSuccess;
    case Found::NeedsToCheck: {
        checked.insert(nativePath);
        bool allHeld = false;
        const uint32_t result = CheckNeeds(needs, nativePath, 0, &checked, noted, &allHeld);
        if (result == kErrorSuccess && allHeld) NoteNeedsHeld(nativePath, file->info(), unloads);
        return result;
    }
    case Found::Nothing:
        break;
    }
    if (!file->OpenForReading()) return ModuleErrorFromErrno(file->error());
    RecordRead record;
    uint32_t result = CheckWithDependencies(nativePath, file, 0, &checked, noted, &record, &needs);
    // A module built against another contract is refused before it runs.
    if (result == kErrorSuccess) result = RefusalOfRecord(record.state, record.record);
    // A pass that cannot be remembered is checked again next time; the file
    // passed all the same.
    if (result == kErrorSuccess) {
        try {
            RememberPass(nativePath, file->info(), std::move(needs));
        } catch (const std::bad_alloc&) {
        }
    }
    return result;
}

}  // namespace Platform
}  // namespace Orvik
