// A module's record is read before the module loads: one built against
// another contract is refused with the load-failure line and the reason in
// the load failure's text, before any of its code runs; one built against
// this framework's contract, from the same source, loads and runs.

#include <string>

#include "orvik/module/version.h"
#include "orvik/platform/load_failure.h"
#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

class Contract : public FactoryTest {
protected:
    IComponent* Request(const std::string& configPath)
    {
        return Factory()->CreateComponentByID(kContractId, configPath.c_str());
    }
};

TEST_F(Contract, ModuleOfThisContractLoadsAndRuns)
{
    IComponent* component = Request(WriteConfig("same.ini", "[8210]\ndll=fact_contract.dll\n"));
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(debug_.Take(), Lines{kContractProbeLine});
    component->Release(0);
}

TEST_F(Contract, ModuleOfAnotherContractIsRefusedBeforeAnyOfItsCodeRuns)
{
    const std::string config = WriteConfig("other.ini", "[8210]\ndll=fact_other_contract.dll\n");
    const Lines refused{"[Orvik_Error] LoadLibrary Fail(" + InProgramDirectory("fact_other_contract.dll") +
                        "). ErrorCode(1306)\n"};
    EXPECT_EQ(Request(config), nullptr);
    EXPECT_EQ(debug_.Take(), refused) << "no line of the module's own";
    EXPECT_FALSE(IsLoaded("fact_other_contract.dll"));

    Platform::LoadFailure failure{};
    ASSERT_TRUE(Platform::GetLastLoadFailure(&failure));
    EXPECT_EQ(failure.code, Platform::kErrorRevisionMismatch);
    const std::string text = failure.text;
    const std::string served = std::to_string(ORVIK_CONTRACT_MAJOR) + "." + std::to_string(ORVIK_CONTRACT_MINOR);
    EXPECT_NE(text.find("contract " + std::to_string(ORVIK_CONTRACT_MAJOR) + ".99"), std::string::npos) << text;
    EXPECT_NE(text.find("this framework serves contract " + served), std::string::npos) << text;

    // Refused again at the next request, from the file check's memory or
    // not, and still without running.
    EXPECT_EQ(Request(config), nullptr);
    EXPECT_EQ(debug_.Take(), refused);
    EXPECT_FALSE(IsLoaded("fact_other_contract.dll"));
}

}  // namespace
}  // namespace Orvik::Testing
