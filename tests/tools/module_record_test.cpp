// The module record: written into every module the helper builds, read
// from the file without loading it, shown by orvik module also for a module
// that does not load, and a module of another contract or architecture is a
// problem for orvik check. A record that cannot be right makes the module
// file damaged, which the loader refuses.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "orvik/module/version.h"
#include "orvik/platform/load_failure.h"
#include "orvik/platform/module_loader.h"
#include "platform/module_record.h"
#include "tests/tools/tool_fixture.h"

namespace Orvik::Testing {
namespace {

using Platform::ModuleRecord;
using Platform::RecordState;

const std::string kContract = std::to_string(ORVIK_CONTRACT_MAJOR) + "." + std::to_string(ORVIK_CONTRACT_MINOR);
const std::string kOtherContract = std::to_string(ORVIK_CONTRACT_MAJOR) + ".99";
const std::string kOtherContractModule = "factory_tests\\fact_other_contract.dll";

class ModuleRecordTest : public ToolTest {
protected:
    // The bytes of tool_alpha.dll and where its record starts in them.
    std::string AlphaBytes(size_t* record)
    {
        std::ifstream in(NativeModule("tool_alpha.dll"), std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(in), {});
        // The magic, layout 1 and the size: the record, not another copy of
        // the magic (debug information holds one).
        const std::string head = std::string(Platform::kModuleRecordMagic, 8) + std::string("\1\0\0\0\x40\0\0\0", 8);
        *record = bytes.find(head);
        EXPECT_NE(*record, std::string::npos);
        EXPECT_EQ(bytes.find(head, *record + 1), std::string::npos) << "one record";
        return bytes;
    }

    // A copy of tool_alpha.dll whose record is changed by edit.
    template <class Edit>
    std::string PatchedCopy(const std::string& name, Edit edit)
    {
        size_t at = 0;
        std::string bytes = AlphaBytes(&at);
        if (at == std::string::npos) return std::string();
        ModuleRecord record;
        bytes.copy(reinterpret_cast<char*>(&record), sizeof record, at);
        edit(&record);
        bytes.replace(at, sizeof record, reinterpret_cast<const char*>(&record), sizeof record);
        Write(name, bytes);
        return Framework(name);
    }

    // A copy of tool_alpha.dll that ends within its record.
    std::string CutCopy(const std::string& name)
    {
        size_t at = 0;
        const std::string bytes = AlphaBytes(&at);
        if (at == std::string::npos) return std::string();
        Write(name, bytes.substr(0, at + sizeof Platform::kModuleRecordMagic));
        return Framework(name);
    }
};

TEST_F(ModuleRecordTest, ModulesBuiltByTheHelperCarryTheirRecord)
{
    for (const char* name : {"tool_alpha.dll", "OrvFact.dll"}) {
        ModuleRecord record;
        ASSERT_EQ(Platform::ReadModuleRecord(Module(name).c_str(), &record), RecordState::Found) << name;
        EXPECT_EQ(record.layout, Platform::kModuleRecordLayout);
        EXPECT_EQ(record.frameworkMajor, ORVIK_VERSION_MAJOR);
        EXPECT_EQ(record.frameworkMinor, ORVIK_VERSION_MINOR);
        EXPECT_EQ(record.frameworkPatch, ORVIK_VERSION_PATCH);
        EXPECT_EQ(record.contractMajor, ORVIK_CONTRACT_MAJOR);
        EXPECT_EQ(record.contractMinor, ORVIK_CONTRACT_MINOR);
        EXPECT_STREQ(record.architecture, Platform::ThisArchitecture());
        EXPECT_STRNE(record.buildType, "");
        EXPECT_EQ(Platform::FitOfRecord(record), Platform::RecordFit::Served);
    }
}

TEST_F(ModuleRecordTest, FilesWithoutRecord)
{
    ModuleRecord record;
    EXPECT_EQ(Platform::ReadModuleRecord(Module("tool_create_only.dll").c_str(), &record), RecordState::Missing);
    Write("text.dll", "no module\n");
    EXPECT_EQ(Platform::ReadModuleRecord(Framework("text.dll").c_str(), &record), RecordState::Unreadable);
    EXPECT_EQ(Platform::ReadModuleRecord(Framework("absent.dll").c_str(), &record), RecordState::Unreadable);
}

TEST_F(ModuleRecordTest, AFileCutShortInItsRecordHasNoneAndDoesNotLoad)
{
    const std::string cut = CutCopy("cut.dll");
    ModuleRecord record;
    EXPECT_NE(Platform::ReadModuleRecord(cut.c_str(), &record), RecordState::Found);
    EXPECT_EQ(Platform::LoadModule(cut.c_str()), nullptr);
    EXPECT_EQ(Platform::GetLastErrorCode(), Platform::kErrorBadExeFormat);
}

TEST_F(ModuleRecordTest, ModuleVerbShowsTheRecord)
{
    const CommandResult alpha = RunCommand({"module", NativeModule("tool_alpha.dll")});
    EXPECT_EQ(alpha.status, 0);
    EXPECT_NE(alpha.out.find("record: built with framework " ORVIK_VERSION_STRING ", contract " + kContract + ", " +
                             Platform::ThisArchitecture()),
              std::string::npos)
        << alpha.out;

    const CommandResult bare = RunCommand({"module", NativeModule("tool_create_only.dll"), "--json"});
    EXPECT_EQ(bare.json["record"]["state"].text, "missing") << bare.out;
    EXPECT_TRUE(bare.json["loads"].boolean);
}

TEST_F(ModuleRecordTest, ModuleOfAnotherContractIsShownThoughItDoesNotLoad)
{
    const CommandResult text = RunCommand({"module", NativeModule(kOtherContractModule)});
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.out.find("record: built against contract " + kOtherContract), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("does not load"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("[contract probe]"), std::string::npos) << "its code ran:\n" << text.out;

    const CommandResult json = RunCommand({"module", NativeModule(kOtherContractModule), "--json"});
    EXPECT_EQ(json.json["problem"].text, "other-contract");
    EXPECT_EQ(json.json["record"]["contract"].text, kOtherContract);
    EXPECT_FALSE(json.json["record"]["served"].boolean);
    EXPECT_EQ(json.json["failure"]["code"].number, Platform::kErrorRevisionMismatch);
}

TEST_F(ModuleRecordTest, CheckCallsAModuleOfAnotherContractAProblem)
{
    const std::string config =
        Write("contract.ini", FactoryAndModules() + "[7102]\ndll=" + Module(kOtherContractModule) + "\n");
    const CommandResult result = RunCommand({"check", config, "--json"});
    EXPECT_EQ(result.status, 1);
    bool found = false;
    for (const JsonValue& finding : result.json["findings"].items) {
        if (finding["reason"].text != "other-contract") continue;
        found = true;
        EXPECT_EQ(finding["severity"].text, "problem");
        EXPECT_NE(finding["message"].text.find("contract " + kOtherContract), std::string::npos);
    }
    EXPECT_TRUE(found) << result.out;
}

TEST_F(ModuleRecordTest, LoaderRefusesARecordOfAnotherArchitectureOrADamagedOne)
{
    struct Case {
        std::string file;
        RecordState state;
        uint32_t code;
        std::string words;
    };
    const Case cases[] = {
        {PatchedCopy("arch.dll", [](ModuleRecord* record) { std::snprintf(record->architecture, 16, "sparc"); }),
         RecordState::Found, Platform::kErrorBadExeFormat, "built for sparc"},
        {PatchedCopy("short.dll", [](ModuleRecord* record) { record->size = 8; }), RecordState::Damaged,
         Platform::kErrorBadExeFormat, "damaged"},
        {PatchedCopy("open.dll", [](ModuleRecord* record) { std::memset(record->buildType, 'x', 20); }),
         RecordState::Damaged, Platform::kErrorBadExeFormat, "damaged"},
        {PatchedCopy("contract.dll", [](ModuleRecord* record) { record->contractMinor = 99; }), RecordState::Found,
         Platform::kErrorRevisionMismatch, "contract " + kOtherContract},
    };
    for (const Case& entry : cases) {
        ModuleRecord record;
        EXPECT_EQ(Platform::ReadModuleRecord(entry.file.c_str(), &record), entry.state) << entry.file;
        EXPECT_EQ(Platform::LoadModule(entry.file.c_str()), nullptr) << entry.file;
        Platform::LoadFailure failure{};
        ASSERT_TRUE(Platform::GetLastLoadFailure(&failure));
        EXPECT_EQ(failure.code, entry.code) << entry.file;
        EXPECT_NE(std::string(failure.text).find(entry.words), std::string::npos) << failure.text;
    }
    // A record of layout 2 is read for the fields it shares with layout 1.
    const std::string later = PatchedCopy("later.dll", [](ModuleRecord* record) { record->layout = 2; });
    const Platform::UniqueModule module(Platform::LoadModule(later.c_str()));
    EXPECT_TRUE(module);
}

}  // namespace
}  // namespace Orvik::Testing
