// Bad input reaching the factory: a directory or a special file where a
// configuration file should be, a provider module cut short, providers
// that throw (a module built without the runtime ends the process on 32-bit
// Windows), numbers beyond 32 bits. Each request ends in the specified
// failure, and the factory goes on serving.

#include <fstream>
#include <iterator>

#include "orvik/module/log_file_info.h"
#include "tests/factory/factory_fixture.h"
#include "tests/support/fifo_file.h"

namespace Orvik::Testing {
namespace {

class BadInput : public FactoryTest {
protected:
    IComponent* Request(ComponentId id, const std::string& configPath)
    {
        return Factory()->CreateComponentByID(id, configPath.c_str());
    }
    // A request through an empty catalog fails at its default module, which
    // is none: one line, whose error number is whatever came last.
    void ExpectEmptyCatalog(const std::string& configPath)
    {
        EXPECT_EQ(Request(kAlphaOnlyId, configPath), nullptr) << configPath;
        const Lines lines = debug_.Take();
        ASSERT_EQ(lines.size(), 1u) << configPath;
        EXPECT_EQ(lines[0].rfind("[Orvik_Error] LoadLibrary() Fail. ErrorCode(", 0), 0u) << lines[0];
    }
};

TEST_F(BadInput, DirectoryAsConfigurationReadsAsAnEmptyOne)
{
    const std::string directory = scratch_.Framework();
    ExpectEmptyCatalog(directory);
    ExpectEmptyCatalog(WriteConfig("redirect.ini", "[Redirect]\nPath=" + directory + "\n"));
}

#if !defined(_WIN32)
TEST_F(BadInput, SpecialFilesAsConfigurationReadAsEmptyOnes)
{
    ASSERT_TRUE(MakeFifo(scratch_.native() / "pipe.ini"));
    const std::string pipe = scratch_.Framework("pipe.ini");
    ExpectEmptyCatalog(pipe);
    ExpectEmptyCatalog("\\dev\\zero");
    ExpectEmptyCatalog(WriteConfig("to_pipe.ini", "[Redirect]\nPath=" + pipe + "\n"));
}
#endif

TEST_F(BadInput, ProviderCutShortIsRefused)
{
    std::ifstream whole(NativePath(InProgramDirectory("fact_alpha.dll")), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(whole), {});
    ASSERT_GT(bytes.size(), 1024u);
    WriteFile(scratch_.native() / "cut_alpha.dll", bytes.substr(0, 1024));
    const std::string cut = scratch_.Framework("cut_alpha.dll");

    EXPECT_EQ(Request(kAlphaOnlyId, WriteConfig("cut.ini", "[8202]\ndll=" + cut + "\n")), nullptr);
    EXPECT_EQ(debug_.Take(), Lines{"[Orvik_Error] LoadLibrary Fail(" + cut + "). ErrorCode(193)\n"});
}

TEST_F(BadInput, ThrowingProviderGivesNothing)
{
    WriteOrvikIni("[8202]\ndll=fact_alpha.dll\n");
    const std::string config = WriteConfig("throwing.ini", "[8207]\ndll=fact_throwing.dll\n");
    EXPECT_EQ(Request(kThrowingId, config), nullptr);
    EXPECT_EQ(debug_.Take(), (Lines{"Orvik[Error]:CreateComponent method return NULL.\n",
                                    "Orvik[Error]: ComponentID=8207 CreatorID=361",
                                    "[Orvik_Error] CreateComponent(ComponentId=8207) return null.\n"}));
    EXPECT_EQ(Use(kAlphaOnlyId).tag, kAlphaTag);
}

// A module built without the runtime lets an exception out of its export.
// Where unwinding is process-wide (ELF, 64-bit Windows) the factory turns it
// into the null result. On 32-bit Windows each mingw-w64 module unwinds with
// its own copy of the run-time and sees only its own frames: the exception
// never reaches the factory, and the module's run-time ends the process.
#if defined(_WIN32) && defined(__i386__)
TEST_F(BadInput, ForeignExceptionEndsTheProcessOn32BitWindows)
{
    const std::string config = WriteConfig("foreign.ini", "[8208]\ndll=fact_foreign.dll\n");
    EXPECT_DEATH(Request(kForeignId, config), "not made here");
}
#else
TEST_F(BadInput, ForeignExceptionGivesNothing)
{
    WriteOrvikIni("[8202]\ndll=fact_alpha.dll\n");
    const std::string config = WriteConfig("foreign.ini", "[8208]\ndll=fact_foreign.dll\n");
    EXPECT_EQ(Request(kForeignId, config), nullptr);
    EXPECT_EQ(debug_.Take(), Lines{"[Orvik_Error] CreateComponent(ComponentId=8208) return null.\n"});
    EXPECT_EQ(Use(kAlphaOnlyId).tag, kAlphaTag);
}
#endif

TEST_F(BadInput, NumbersBeyond32BitsAreClamped)
{
    // Read as atoi would for numbers that fit; beyond, the nearer end of
    // the 32-bit range (atoi itself would be undefined).
    WriteOrvikIni("MaxFileSize=99999999999\nMaxFileCount=-99999999999\n"
                  "[99999999999]\noutputdebugstring=T\nwritetologfile=E\n"
                  "[-99999999999]\noutputdebugstring=V\nwritetologfile=E\n");
    IOrvikComponentFactory* factory = Factory();
    factory->SetRootPath(scratch_.Framework().c_str());
    uint32_t debugMask = 0;
    uint32_t fileMask = 0;
    LogFileInfo* info = nullptr;
    factory->QueryLogSetting("", 0x7FFFFFFF, &debugMask, &fileMask, &info);
    EXPECT_EQ(debugMask, LOG_T);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->maxFileSize, 0xFFF00000u) << "2147483647 MiB in 32 bits";
    EXPECT_EQ(info->maxFileCount, 0x80000000u);
    factory->QueryLogSetting("", 0x80000000u, &debugMask, &fileMask, &info);
    EXPECT_EQ(debugMask, LOG_V);
}

}  // namespace
}  // namespace Orvik::Testing
