// Files that are no profile and no module: a directory, special files, a
// module cut short or damaged. Each reads as a missing profile or is
// refused as no loadable module (193), at once and without ending the
// process, on every platform where it can occur.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "orvik/platform/file_system.h"
#include "orvik/platform/load_failure.h"
#include "orvik/platform/module_loader.h"
#include "platform/profile.h"
#include "tests/support/fifo_file.h"
#include "tests/support/test_paths.h"

namespace Orvik {
namespace {

namespace fs = std::filesystem;
using Testing::ScratchDirectory;
using Bytes = std::vector<char>;

Bytes ReadBytes(const std::string& path)
{
    std::ifstream file(Testing::NativePath(path), std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void WriteBytes(const fs::path& path, const Bytes& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ProbePath(const char* name) { return Testing::ProgramDirectory() + "\\" + name; }

std::string ReadValue(const std::string& file)
{
    char value[64] = "untouched";
    Platform::ReadProfileValue("Redirect", "Path", "default", value, sizeof value, file.c_str());
    return value;
}

// kErrorSuccess when the module loads (it is released again), else the
// last error of the failed load.
uint32_t LoadError(const std::string& path)
{
    const Platform::ModuleHandle module = Platform::LoadModule(path.c_str());
    if (module == nullptr) return Platform::GetLastErrorCode();
    Platform::ReleaseModule(module);
    return Platform::kErrorSuccess;
}

TEST(BadFiles, DirectoryReadsAsAMissingProfile)
{
    ScratchDirectory scratch("dir_profile");
    fs::create_directory(scratch.native() / "Orvik.ini");
    EXPECT_EQ(ReadValue(scratch.Framework()), "default");
    EXPECT_EQ(ReadValue(scratch.Framework("Orvik.ini")), "default");
}

TEST(BadFiles, ModuleCutShortIsRefused)
{
    ScratchDirectory scratch("cut_module");
    const Bytes whole = ReadBytes(ProbePath("probe_a.dll"));
    ASSERT_GT(whole.size(), 4096u);
    WriteBytes(scratch.native() / "whole.dll", whole);
    EXPECT_EQ(LoadError(scratch.Framework("whole.dll")), Platform::kErrorSuccess) << "the copy itself loads";
    for (const size_t size : {size_t{1024}, size_t{8192}, size_t{64}}) {
        const std::string name = "cut" + std::to_string(size) + ".dll";
        WriteBytes(scratch.native() / name, Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
        EXPECT_EQ(LoadError(scratch.Framework(name)), Platform::kErrorBadExeFormat) << size << " bytes";
    }
}

TEST(BadFiles, ModuleFileChangedSinceItLoadedIsCheckedAgain)
{
    ScratchDirectory scratch("changed_module");
    const Bytes whole = ReadBytes(ProbePath("probe_a.dll"));
    const fs::path file = scratch.native() / "changing.dll";
    WriteBytes(file, whole);
    EXPECT_EQ(LoadError(scratch.Framework("changing.dll")), Platform::kErrorSuccess);
    // Unloaded, then cut short under the same name: the earlier check no
    // longer speaks for the file.
    WriteBytes(file, Bytes(whole.begin(), whole.begin() + 8192));
    EXPECT_EQ(LoadError(scratch.Framework("changing.dll")), Platform::kErrorBadExeFormat);
    WriteBytes(file, whole);
    EXPECT_EQ(LoadError(scratch.Framework("changing.dll")), Platform::kErrorSuccess);
}

TEST(BadFiles, DevicesAreNotReadAsFiles)
{
#if defined(_WIN32)
    const char* const device = "NUL";
#else
    const char* const device = "\\dev\\zero";
#endif
    EXPECT_EQ(Platform::OpenFileForReading(device), Platform::InvalidFileHandle());
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorAccessDenied);
}

#if !defined(_WIN32)
// The text of the last failed load after the file's name: why a module
// refused for its contents was refused.
std::string ReasonAfter(const std::string& fileName)
{
    Platform::LoadFailure failure;
    if (!Platform::GetLastLoadFailure(&failure)) return "(no failure recorded)";
    const std::string text = failure.text;
    const std::string named = "/" + fileName + ": ";
    const size_t at = text.find(named);
    return at == std::string::npos ? "(file not named) " + text : text.substr(at + named.size());
}

TEST(BadFiles, FifoAndDevicesAreNeitherReadNorWaitedFor)
{
    ScratchDirectory scratch("special");
    ASSERT_TRUE(Testing::MakeFifo(scratch.native() / "pipe.ini"));
    for (const std::string& path : {scratch.Framework("pipe.ini"), std::string("\\dev\\zero")}) {
        EXPECT_EQ(ReadValue(path), "default") << path;
        EXPECT_EQ(Platform::OpenFileForReading(path.c_str()), Platform::InvalidFileHandle()) << path;
        EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorAccessDenied) << path;
    }
    // Module names get ".dll": the same files under such names.
    ASSERT_TRUE(Testing::MakeFifo(scratch.native() / "pipe.dll"));
    fs::create_symlink("/dev/zero", scratch.native() / "zero.dll");
    for (const char* name : {"pipe.dll", "zero.dll"}) {
        EXPECT_EQ(LoadError(scratch.Framework(name)), Platform::kErrorBadExeFormat) << name;
    }
    // A bare name passes over a device in the current directory, as over a
    // directory of that name, and finds no module further on.
    fs::create_directory(scratch.native() / "folder.dll");
    const fs::path previous = fs::current_path();
    fs::current_path(scratch.native());
    for (const char* name : {"zero", "folder"}) {
        EXPECT_EQ(LoadError(name), Platform::kErrorModuleNotFound) << name;
    }
    fs::current_path(previous);
}

// Just enough of the 64-bit ELF layout to damage a module on purpose.
class ElfBytes {
public:
    explicit ElfBytes(Bytes bytes) : bytes_(std::move(bytes)) {}

    template <class T>
    T Get(size_t offset) const
    {
        T value;
        std::memcpy(&value, At(offset, sizeof value), sizeof value);
        return value;
    }
    template <class T>
    void Set(size_t offset, T value)
    {
        std::memcpy(const_cast<char*>(At(offset, sizeof value)), &value, sizeof value);
    }

    // The file offset of the last program header of that type.
    size_t ProgramHeader(uint32_t type) const
    {
        size_t found = 0;
        for (uint16_t i = 0; i < Get<uint16_t>(kProgramHeaderCount); ++i) {
            const size_t header = Get<uint64_t>(kProgramHeaderOffset) + i * kProgramHeaderSize;
            if (Get<uint32_t>(header) == type) found = header;
        }
        return found;
    }
    // The file offset of the first executable loadable segment's header.
    size_t CodeSegmentHeader() const
    {
        for (uint16_t i = 0; i < Get<uint16_t>(kProgramHeaderCount); ++i) {
            const size_t header = Get<uint64_t>(kProgramHeaderOffset) + i * kProgramHeaderSize;
            if (Get<uint32_t>(header) == kLoad && (Get<uint32_t>(header + kFlags) & kExecutable) != 0) return header;
        }
        return 0;
    }
    // The file offset of the value of a dynamic entry.
    size_t DynamicValue(int64_t tag) const
    {
        for (size_t entry = Get<uint64_t>(ProgramHeader(kDynamic) + kFileOffset);; entry += 16) {
            const int64_t found = Get<int64_t>(entry);
            if (found == tag) return entry + 8;
            if (found == 0) return 0;
        }
    }
    // The file offset of an address of the first segment, which starts at
    // address 0 and file offset 0.
    static size_t AtAddress(uint64_t address) { return static_cast<size_t>(address); }

    Bytes CutAt(size_t size) const { return Bytes(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(size)); }
    const Bytes& bytes() const { return bytes_; }

    static constexpr size_t kProgramHeaderOffset = 0x20;
    static constexpr size_t kProgramHeaderCount = 0x38;
    static constexpr size_t kProgramHeaderSize = 56;
    static constexpr size_t kFlags = 4;
    static constexpr size_t kFileOffset = 8;
    static constexpr size_t kAddress = 16;
    static constexpr size_t kFileSize = 32;
    static constexpr size_t kMemorySize = 40;
    static constexpr uint32_t kLoad = 1;
    static constexpr uint32_t kDynamic = 2;
    static constexpr uint32_t kExecutable = 1;
    static constexpr int64_t kRelocations = 7;
    static constexpr int64_t kRelocationTableSize = 8;
    static constexpr int64_t kRelocationEntrySize = 9;
    static constexpr int64_t kStringTableSize = 10;
    static constexpr int64_t kGnuHash = 0x6ffffef5;
    static constexpr int64_t kPltRelocations = 23;
    static constexpr int64_t kRelativeCount = 0x6ffffff9;
    static constexpr int64_t kVersionTable = 0x6ffffff0;
    // A tag no loader knows: an entry given it is no longer there.
    static constexpr int64_t kUnknownTag = 0x66;

private:
    // Throws when the file is shorter: the test then fails.
    const char* At(size_t offset, size_t size) const
    {
        bytes_.at(offset + size - 1);
        return bytes_.data() + offset;
    }

    Bytes bytes_;
};

class DamagedModules : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (module_.bytes().size() < 5 || module_.bytes()[4] != 2) GTEST_SKIP() << "a 64-bit ELF module is needed";
    }
    // Writes the image under a name of its own and loads it.
    uint32_t LoadError(const Bytes& image)
    {
        const std::string name = "damaged" + std::to_string(++count_) + ".dll";
        WriteBytes(scratch_.native() / name, image);
        return Orvik::LoadError(scratch_.Framework(name));
    }
    // Loads the image, which must be refused as no module (193); the reason
    // the failure gives for it.
    std::string Refusal(const Bytes& image)
    {
        EXPECT_EQ(LoadError(image), Platform::kErrorBadExeFormat);
        return ReasonAfter("damaged" + std::to_string(count_) + ".dll");
    }

    ScratchDirectory scratch_{"damaged"};
    ElfBytes module_{ReadBytes(ProbePath("probe_a.dll"))};
    int count_ = 0;
};

TEST_F(DamagedModules, SegmentsMustLieInTheFile)
{
    // The module ends with section headers the loader never reads: without
    // them it still loads, but not one byte of a segment may be missing.
    const size_t lastLoad = module_.ProgramHeader(ElfBytes::kLoad);
    const size_t segmentsEnd = static_cast<size_t>(module_.Get<uint64_t>(lastLoad + ElfBytes::kFileOffset) +
                                                   module_.Get<uint64_t>(lastLoad + ElfBytes::kFileSize));
    ASSERT_LT(segmentsEnd, module_.bytes().size());
    EXPECT_EQ(LoadError(module_.CutAt(segmentsEnd)), Platform::kErrorSuccess);
    EXPECT_EQ(Refusal(module_.CutAt(segmentsEnd - 1)), "a segment reaches past the end of the file");

    ElfBytes longer = module_;
    const uint64_t beyond = module_.bytes().size() + 4096;
    longer.Set<uint64_t>(lastLoad + ElfBytes::kFileSize, beyond);
    longer.Set<uint64_t>(lastLoad + ElfBytes::kMemorySize, beyond);
    EXPECT_EQ(Refusal(longer.bytes()), "a segment reaches past the end of the file");

    ElfBytes headersAway = module_;
    headersAway.Set<uint64_t>(ElfBytes::kProgramHeaderOffset, module_.bytes().size() - 8);
    EXPECT_EQ(Refusal(headersAway.bytes()), "file cut short inside its program headers");
    EXPECT_EQ(Refusal(module_.CutAt(40)), "file cut short inside its file header");
}

TEST_F(DamagedModules, TablesTheLoaderFollowsMustHoldTogether)
{
    // No terminating entry within the dynamic section.
    ElfBytes unterminated = module_;
    unterminated.Set<uint64_t>(module_.ProgramHeader(ElfBytes::kDynamic) + ElfBytes::kFileSize, 16);
    EXPECT_EQ(Refusal(unterminated.bytes()), "dynamic section without its end");

    // A string table reaching past the end of the file.
    ElfBytes strings = module_;
    strings.Set<uint64_t>(module_.DynamicValue(ElfBytes::kStringTableSize), module_.bytes().size());
    EXPECT_EQ(Refusal(strings.bytes()), "string table outside the file, or a name outside it");

    // A hash table without buckets, which the loader would divide by.
    ElfBytes hash = module_;
    hash.Set<uint32_t>(ElfBytes::AtAddress(module_.Get<uint64_t>(module_.DynamicValue(ElfBytes::kGnuHash))), 0);
    EXPECT_EQ(Refusal(hash.bytes()), "hash table outside the file or damaged");

    // Relocation entries of another size, on which the loader stops the
    // process.
    ElfBytes entrySize = module_;
    entrySize.Set<uint64_t>(module_.DynamicValue(ElfBytes::kRelocationEntrySize), 16);
    EXPECT_EQ(Refusal(entrySize.bytes()), "a dynamic table missing or of a wrong entry size");

    // The loader follows a table's size, or the version records, to a
    // table that is not there.
    ElfBytes sizeAlone = module_;
    sizeAlone.Set<int64_t>(module_.DynamicValue(ElfBytes::kPltRelocations) - 8, ElfBytes::kUnknownTag);
    EXPECT_EQ(Refusal(sizeAlone.bytes()), "a dynamic table missing or of a wrong entry size");
    // Only a module that imports versioned symbols has version records (an
    // optimised build of the probe may import none).
    if (module_.DynamicValue(ElfBytes::kVersionTable) != 0) {
        ElfBytes noVersionTable = module_;
        noVersionTable.Set<int64_t>(module_.DynamicValue(ElfBytes::kVersionTable) - 8, ElfBytes::kUnknownTag);
        EXPECT_EQ(Refusal(noVersionTable.bytes()), "symbol version records damaged");
    }
}

TEST_F(DamagedModules, RelocationsMustWriteInsideTheModule)
{
    const size_t firstRelocation =
        ElfBytes::AtAddress(module_.Get<uint64_t>(module_.DynamicValue(ElfBytes::kRelocations)));
    ElfBytes far = module_;
    far.Set<uint64_t>(firstRelocation, uint64_t{0x7fff00000000});
    EXPECT_EQ(Refusal(far.bytes()), "a relocation writes outside its segment");

    // Over the dynamic section, which the loader reads while it relocates.
    ElfBytes overTables = module_;
    overTables.Set<uint64_t>(firstRelocation,
                             module_.Get<uint64_t>(module_.ProgramHeader(ElfBytes::kDynamic) + ElfBytes::kAddress));
    EXPECT_EQ(Refusal(overTables.bytes()), "a relocation writes over a table the loader reads");

    // The loader stops the process on an entry it was told is relative and
    // is not: all entries counted relative.
    const size_t relativeCount = module_.DynamicValue(ElfBytes::kRelativeCount);
    ASSERT_NE(relativeCount, 0u);
    const uint64_t entries = module_.Get<uint64_t>(module_.DynamicValue(ElfBytes::kRelocationTableSize)) / 24;
    ElfBytes counted = module_;
    counted.Set<uint64_t>(relativeCount, entries);
    EXPECT_EQ(Refusal(counted.bytes()), "a relocation counted as relative is of another type");
}

// A module whose relocation table alone is larger than the check reads at
// once: its far end is checked as well as its start.
class ManyPointersModule : public DamagedModules {
protected:
    ManyPointersModule() { module_ = ElfBytes(ReadBytes(ProbePath("many_pointers.dll"))); }
};

TEST_F(ManyPointersModule, TablesLargerThanOneReadAreCheckedWhole)
{
    const uint64_t tableSize = module_.Get<uint64_t>(module_.DynamicValue(ElfBytes::kRelocationTableSize));
    ASSERT_GT(tableSize, uint64_t{64 * 1024});
    EXPECT_EQ(LoadError(module_.bytes()), Platform::kErrorSuccess);

    const size_t lastRelocation =
        ElfBytes::AtAddress(module_.Get<uint64_t>(module_.DynamicValue(ElfBytes::kRelocations))) + tableSize - 24;
    ElfBytes far = module_;
    far.Set<uint64_t>(lastRelocation, uint64_t{0x7fff00000000});
    EXPECT_EQ(Refusal(far.bytes()), "a relocation writes outside its segment");
    EXPECT_EQ(Refusal(module_.CutAt(module_.bytes().size() / 2)), "a segment reaches past the end of the file");
}

TEST_F(DamagedModules, WhatTheLoaderRefusesItselfGetsItsOwnWords)
{
    // A code segment whose address and file offset differ within a page:
    // left to the loader, which says why in its own message.
    ElfBytes misplaced = module_;
    const size_t load = module_.CodeSegmentHeader();
    ASSERT_NE(load, 0u);
    misplaced.Set<uint64_t>(load + ElfBytes::kFileOffset, module_.Get<uint64_t>(load + ElfBytes::kFileOffset) + 8);
    const uint32_t error = LoadError(misplaced.bytes());
    EXPECT_NE(error, Platform::kErrorSuccess);
    EXPECT_NE(error, Platform::kErrorBadExeFormat);
    EXPECT_NE(ReasonAfter("damaged" + std::to_string(count_) + ".dll").find("aligned"), std::string::npos);
}

TEST(BadFiles, DependencyCutShortIsRefused)
{
    // dependent.dll finds probe_a.dll in its own directory first.
    ScratchDirectory scratch("cut_dependency");
    const Bytes probe = ReadBytes(ProbePath("probe_a.dll"));
    WriteBytes(scratch.native() / "dependent.dll", ReadBytes(ProbePath("dependent.dll")));
    WriteBytes(scratch.native() / "probe_a.dll", Bytes(probe.begin(), probe.begin() + 1024));
    EXPECT_EQ(LoadError(scratch.Framework("dependent.dll")), Platform::kErrorBadExeFormat);
    // The failure names the file at fault: the dependency.
    EXPECT_EQ(ReasonAfter("probe_a.dll"), "a segment reaches past the end of the file");
    WriteBytes(scratch.native() / "probe_a.dll", probe);
    EXPECT_EQ(LoadError(scratch.Framework("dependent.dll")), Platform::kErrorSuccess);
}

TEST(BadFiles, DependencyCutAfterItsModulePassedIsRefused)
{
    // The module's file is the same as when it passed; its dependency is
    // not, and would be loaded from the file.
    ScratchDirectory scratch("cut_later");
    const Bytes probe = ReadBytes(ProbePath("probe_a.dll"));
    WriteBytes(scratch.native() / "dependent.dll", ReadBytes(ProbePath("dependent.dll")));
    WriteBytes(scratch.native() / "probe_a.dll", probe);
    EXPECT_EQ(LoadError(scratch.Framework("dependent.dll")), Platform::kErrorSuccess);
    ASSERT_EQ(Platform::FindLoadedModule("probe_a.dll"), nullptr);
    WriteBytes(scratch.native() / "probe_a.dll", Bytes(probe.begin(), probe.begin() + 1024));
    EXPECT_EQ(LoadError(scratch.Framework("dependent.dll")), Platform::kErrorBadExeFormat);
    EXPECT_EQ(ReasonAfter("probe_a.dll"), "a segment reaches past the end of the file");
}

TEST(BadFiles, DependencyTheLoaderHeldIsCheckedOnceItLeft)
{
    // While a module of the needed name is loaded the loader takes it and
    // never reads the file beside the dependent module; once it has left,
    // the file is what would load.
    ScratchDirectory scratch("left_dependency");
    const Bytes probe = ReadBytes(ProbePath("probe_a.dll"));
    const Bytes dependent = ReadBytes(ProbePath("dependent.dll"));
    WriteBytes(scratch.native() / "dependent.dll", dependent);
    WriteBytes(scratch.native() / "probe_a.dll", probe);
    const Platform::ModuleHandle held = Platform::LoadModule(scratch.Framework("probe_a.dll").c_str());
    ASSERT_NE(held, nullptr);
    // A new file: the loaded module keeps the old one mapped.
    fs::remove(scratch.native() / "probe_a.dll");
    WriteBytes(scratch.native() / "probe_a.dll", Bytes(probe.begin(), probe.begin() + 1024));
    EXPECT_EQ(LoadError(scratch.Framework("dependent.dll")), Platform::kErrorSuccess);

    EXPECT_TRUE(Platform::ReleaseModule(held));
    ASSERT_EQ(Platform::FindLoadedModule("probe_a.dll"), nullptr);
    // Another copy, which has not passed before.
    WriteBytes(scratch.native() / "dependent_copy.dll", dependent);
    EXPECT_EQ(LoadError(scratch.Framework("dependent_copy.dll")), Platform::kErrorBadExeFormat);
    EXPECT_EQ(ReasonAfter("probe_a.dll"), "a segment reaches past the end of the file");
}
#endif

}  // namespace
}  // namespace Orvik
