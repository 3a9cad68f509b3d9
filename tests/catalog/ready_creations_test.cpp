// Creations without the catalog's lock: an id answers only while its module
// is published, and a module withdrawn while a creation through it runs is
// known to be in use until that creation returns.

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "catalog/ready_creations.h"
#include "gtest/gtest.h"

namespace Orvik::Testing {
namespace {

constexpr ComponentId kId = 9301;

// Stand-ins for two loaded modules and what their CreateComponent returns.
int g_moduleA = 0;
int g_moduleB = 0;
const Platform::ModuleHandle kModuleA = &g_moduleA;
const Platform::ModuleHandle kModuleB = &g_moduleB;
IComponent* const kMadeByA = reinterpret_cast<IComponent*>(&g_moduleA);
IComponent* const kMadeByB = reinterpret_cast<IComponent*>(&g_moduleB);

struct Call {
    int32_t id;
    uint32_t creator;
};
std::vector<Call> g_calls;

IComponent* ORVIK_CDECL CreateInA(int32_t id, uint32_t creator)
{
    g_calls.push_back({id, creator});
    return kMadeByA;
}
IComponent* ORVIK_CDECL CreateInB(int32_t, uint32_t) { return kMadeByB; }
IComponent* ORVIK_CDECL CreateNothing(int32_t, uint32_t) { return nullptr; }
IComponent* ORVIK_CDECL CreateThrowing(int32_t, uint32_t) { throw std::runtime_error("creator failed"); }

// What a creation through module A sees of the unloader's question.
ReadyCreations* g_asked = nullptr;
bool g_inUseDuringCreation = false;
bool g_otherInUseDuringCreation = true;
IComponent* ORVIK_CDECL CreateWhileWithdrawn(int32_t, uint32_t)
{
    g_asked->WithdrawModule(kModuleA);
    g_inUseDuringCreation = g_asked->CreatingThrough(kModuleA);
    g_otherInUseDuringCreation = g_asked->CreatingThrough(kModuleB);
    return kMadeByA;
}

// A section's module is asked for its creator at every request, and is in
// use while it is asked.
std::vector<const char*> g_sectionPaths;
ReadyCreations::CreateFunction LookUpSection(Platform::ModuleHandle module, const char* registryPath)
{
    g_sectionPaths.push_back(registryPath);
    if (g_asked != nullptr) g_inUseDuringCreation = g_asked->CreatingThrough(module);
    return module == kModuleA ? &CreateInA : nullptr;
}

TEST(ReadyCreations, AnIdAnswersOnlyWhileItsModuleIsPublished)
{
    ReadyCreations ready;
    IComponent* made = nullptr;
    EXPECT_FALSE(ready.TryCreate(kId, &made, LookUpSection)) << "nothing published";

    g_calls.clear();
    ready.Publish(kId, kModuleA, &CreateInA);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, kMadeByA);
    ASSERT_EQ(g_calls.size(), 1u);
    EXPECT_EQ(g_calls[0].id, static_cast<int32_t>(kId));
    EXPECT_EQ(g_calls[0].creator, kFactoryComponentId) << "asked on the factory's behalf";
    EXPECT_FALSE(ready.TryCreate(kId + 1, &made, LookUpSection)) << "another id";

    ready.Withdraw(kId);
    EXPECT_FALSE(ready.TryCreate(kId, &made, LookUpSection)) << "its record changed";
    ready.Publish(kId, kModuleA, &CreateInA);
    ready.WithdrawModule(kModuleB);
    EXPECT_TRUE(ready.TryCreate(kId, &made, LookUpSection)) << "another module withdrawn";
    ready.WithdrawModule(kModuleA);
    EXPECT_FALSE(ready.TryCreate(kId, &made, LookUpSection)) << "its module withdrawn";

    ready.Publish(kId, kModuleB, &CreateInB);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, kMadeByB) << "published again with another module";

    ready.Publish(kId, nullptr, &CreateInB);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection)) << "a module that is no module changes nothing";

    made = kMadeByA;
    ready.Publish(kId, kModuleB, &CreateNothing);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, nullptr) << "a creator that made nothing still answers";
    made = kMadeByA;
    ready.Publish(kId, kModuleB, &CreateThrowing);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, nullptr) << "what a creator throws reads as null";
}

TEST(ReadyCreations, AModuleWithdrawnDuringACreationIsInUseUntilItReturns)
{
    ReadyCreations ready;
    g_asked = &ready;
    ready.Publish(kId, kModuleA, &CreateWhileWithdrawn);
    IComponent* made = nullptr;
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, kMadeByA);
    EXPECT_TRUE(g_inUseDuringCreation);
    EXPECT_FALSE(g_otherInUseDuringCreation);
    EXPECT_FALSE(ready.CreatingThrough(kModuleA)) << "the creation has returned";
    EXPECT_FALSE(ready.TryCreate(kId, &made, LookUpSection)) << "withdrawn";
    g_asked = nullptr;
}

TEST(ReadyCreations, ASectionsModuleIsAskedForItsCreatorAtEveryRequest)
{
    ReadyCreations ready;
    g_asked = &ready;
    g_sectionPaths.clear();
    g_calls.clear();
    static const char kPath[] = "Plugins.ini";
    ready.PublishSection(kId, kModuleA, kPath);
    IComponent* made = nullptr;
    for (int request = 0; request < 2; ++request) {
        g_inUseDuringCreation = false;
        ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
        EXPECT_EQ(made, kMadeByA);
        EXPECT_TRUE(g_inUseDuringCreation) << "held while it is asked";
    }
    EXPECT_EQ(g_sectionPaths, (std::vector<const char*>{kPath, kPath}));
    ASSERT_EQ(g_calls.size(), 2u);
    EXPECT_FALSE(ready.CreatingThrough(kModuleA));

    // A module that lost its creator is left to the locked way, and is not
    // held afterwards.
    ready.PublishSection(kId, kModuleB, kPath);
    EXPECT_FALSE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_FALSE(ready.CreatingThrough(kModuleB));
    // Published as a scanned module's id, the section's lookup is not asked.
    ready.Publish(kId, kModuleB, &CreateInB);
    ASSERT_TRUE(ready.TryCreate(kId, &made, LookUpSection));
    EXPECT_EQ(made, kMadeByB);
    EXPECT_EQ(g_sectionPaths.size(), 3u);
    g_asked = nullptr;
}

// Threads create while the owner publishes and withdraws the module; each
// time the owner finds the withdrawn module unused it counts as unloaded
// until published again, and no creation may run through it meanwhile.
std::atomic<bool> g_unloaded{false};
std::atomic<int> g_inside{0};
std::atomic<int> g_createdWhileUnloaded{0};
IComponent* ORVIK_CDECL CreateCounted(int32_t, uint32_t)
{
    g_inside.fetch_add(1);
    if (g_unloaded.load()) g_createdWhileUnloaded.fetch_add(1);
    g_inside.fetch_sub(1);
    return kMadeByA;
}

TEST(ReadyCreations, NoCreationRunsThroughAModuleFoundUnusedAfterItsWithdrawal)
{
    ReadyCreations ready;
    std::atomic<bool> stop{false};
    std::atomic<long> created{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            IComponent* made = nullptr;
            while (!stop.load()) {
                if (ready.TryCreate(kId, &made, LookUpSection)) created.fetch_add(1);
            }
        });
    }
    int unloads = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    while (std::chrono::steady_clock::now() < end || unloads == 0 || created.load() == 0) {
        ready.Publish(kId, kModuleA, &CreateCounted);
        std::this_thread::yield();
        ready.WithdrawModule(kModuleA);
        if (ready.CreatingThrough(kModuleA)) continue;
        ++unloads;
        g_unloaded.store(true);
        EXPECT_EQ(g_inside.load(), 0);
        std::this_thread::yield();
        g_unloaded.store(false);
    }
    stop.store(true);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(g_createdWhileUnloaded.load(), 0);
    EXPECT_GT(unloads, 0);
    EXPECT_GT(created.load(), 0);
}

}  // namespace
}  // namespace Orvik::Testing
