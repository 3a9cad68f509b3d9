// A client obtains components through TOrvikPtr from providers configured
// in "Orvik.ini" (the default catalog) or in a second configuration file
// (its registry path), along every creation path.

#include <ostream>

#include "tests/factory/factory_fixture.h"

namespace Orvik::Testing {
namespace {

enum class Place { OrvikIni, SecondFile };

void PrintTo(Place place, std::ostream* out) { *out << (place == Place::OrvikIni ? "Orvik.ini" : "second.ini"); }

class Requests : public FactoryTest, public ::testing::WithParamInterface<Place> {
protected:
    // Puts body into the configuration of this run and points the client
    // at it; returns the registry path its providers must be given.
    std::string Configure(const std::string& body)
    {
        if (GetParam() == Place::OrvikIni) {
            WriteOrvikIni(body);
            return "";
        }
        const std::string path = WriteConfig("second.ini", body);
        SetRegistry(path);
        return path;
    }
};

TEST_P(Requests, NumberedSectionNamesTheProvider)
{
    const std::string registry = Configure("[8201]\ndll=fact_beta.dll\n");
    const ProbeReport report = Use(kCommonId);
    EXPECT_EQ(report.tag, kBetaTag);
    EXPECT_EQ(report.registryPath, registry);
    EXPECT_FALSE(IsLoaded("fact_alpha.dll"));
}

TEST_P(Requests, DllsScanFindsTheProviders)
{
    const std::string registry = Configure("dlls=fact_alpha.dll, fact_missing.dll, fact_beta.dll\n");
    const ProbeReport beta = Use(kBetaOnlyId);
    EXPECT_EQ(beta.tag, kBetaTag);
    EXPECT_EQ(beta.registryPath, registry);
    EXPECT_TRUE(IsLoaded("fact_alpha.dll")) << "the first request scans every listed module";
    EXPECT_EQ(debug_.Take(), Lines{"[Orvik_Error] LoadLibrary(" + InProgramDirectory("fact_missing.dll") +
                                   ") Fail. ErrorCode(126)\n"});

    const ProbeReport alpha = Use(kAlphaOnlyId);
    EXPECT_EQ(alpha.tag, kAlphaTag);
    EXPECT_EQ(Use(kCommonId).tag, kBetaTag) << "the module listed later owns an id both report";
    EXPECT_EQ(Use(kGammaId).tag, 0);
    EXPECT_EQ(debug_.Take(), Lines{"[Orvik_Error] Can't find Component(8204) Creator From Dll List!\n"});
}

TEST_P(Requests, DefaultModuleServesUnknownIds)
{
    const std::string registry = Configure("defaultdll=fact_gamma.dll\n");
    const ProbeReport report = Use(kGammaId);
    EXPECT_EQ(report.tag, kGammaTag);
    EXPECT_EQ(report.registryPath, registry);

    UnloadIdleProviders();
    EndFactory();
    EXPECT_TRUE(IsLoaded("fact_gamma.dll")) << "a catalog never frees its default module";
    DropLeftoverReference("fact_gamma.dll");
}

TEST_P(Requests, PreloadedModuleLivesAsLongAsItsCatalog)
{
    Configure("preload=fact_preload.dll\n[8206]\ndll=fact_preload.dll\n");
    IOrvikComponentFactory* factory = Factory();
    ASSERT_NE(factory, nullptr);
    EXPECT_TRUE(IsLoaded("fact_preload.dll")) << "loaded with the catalog, before any request";
    EXPECT_EQ(Use(kPreloadId).tag, kPreloadTag);

    // The section's reference goes; the preloading one stays.
    EXPECT_EQ(factory->TryUnloadModule(Platform::FindLoadedModule("fact_preload.dll")), 1);
    EXPECT_TRUE(IsLoaded("fact_preload.dll"));
    EndFactory();
    EXPECT_FALSE(IsLoaded("fact_preload.dll"));
}

TEST_P(Requests, RedirectNamesTheFileRead)
{
    const std::string target = WriteConfig("target.ini", "[8201]\ndll=fact_alpha.dll\n");
    // The redirecting file's own section is not read.
    const std::string redirect = GetParam() == Place::OrvikIni ? target : "target.ini";
    const std::string registry = Configure("[Redirect]\nPath=" + redirect + "\n[8201]\ndll=fact_beta.dll\n");
    const ProbeReport report = Use(kCommonId);
    EXPECT_EQ(report.tag, kAlphaTag);
    EXPECT_EQ(report.registryPath, registry) << "providers are given the name as the client spelled it";
}

INSTANTIATE_TEST_SUITE_P(Configurations, Requests, ::testing::Values(Place::OrvikIni, Place::SecondFile),
                         [](const ::testing::TestParamInfo<Place>& place) {
                             return place.param == Place::OrvikIni ? "OrvikIni" : "SecondFile";
                         });

using RegisteredInstance = FactoryTest;

TEST_F(RegisteredInstance, IsReturnedForEveryConfiguration)
{
    WriteOrvikIni("[8205]\ndll=fact_shared.dll\n");
    const ProbeReport first = Use(kSharedId);
    ASSERT_EQ(first.tag, kSharedTag);

    SetRegistry(WriteConfig("second.ini", ""));
    EXPECT_EQ(Use(kSharedId).component, first.component) << "a configuration that does not know the id";
    SetRegistry(scratch_.Framework("never_written.ini"));
    EXPECT_EQ(Use(kSharedId).component, first.component) << "a configuration that does not exist";
    SetRegistry("");
    EXPECT_EQ(debug_.Take(), Lines{}) << "no catalog was asked";

    // None of the smart pointers released it.
    IOrvikComponentFactory* factory = Factory();
    EXPECT_EQ(factory->IsRegisteredInstance(first.component), 1);
    EXPECT_EQ(first.component->ModuleTag(), kSharedTag);

    factory->ReleaseRegisteredInstances();
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_shared.dll"})) << "its module fell idle";
}

TEST_F(RegisteredInstance, ManyAreFoundByIdAndByPointer)
{
    WriteOrvikIni("[8202]\ndll=fact_alpha.dll\n");
    constexpr ComponentId kFirstId = 9000;
    std::vector<IProviderProbe*> kept;
    IOrvikComponentFactory* factory = Factory();
    for (ComponentId id = kFirstId; id < kFirstId + 300; ++id) {
        kept.push_back(client_->Keep(kAlphaOnlyId));
        ASSERT_NE(kept.back(), nullptr);
        factory->RegisterInstance(id, kept.back());
    }
    // An id registered again answers with its latest instance; both stay listed.
    factory->RegisterInstance(kFirstId, kept[1]);
    IProviderProbe* unregistered = client_->Keep(kAlphaOnlyId);

    EXPECT_EQ(factory->CreateComponentByID(kFirstId, nullptr), kept[1]);
    for (size_t i = 1; i < kept.size(); ++i) {
        EXPECT_EQ(factory->CreateComponentByID(kFirstId + static_cast<ComponentId>(i), nullptr), kept[i]) << i;
    }
    for (IProviderProbe* instance : kept) EXPECT_EQ(factory->IsRegisteredInstance(instance), 1);
    EXPECT_EQ(factory->IsRegisteredInstance(unregistered), 0);
    unregistered->Release(0);

    factory->ReleaseRegisteredInstances();
    EXPECT_TRUE(DispatchUntilUnloaded({"fact_alpha.dll"})) << "every registered instance was released";
    EXPECT_EQ(factory->IsRegisteredInstance(kept.front()), 1) << "released instances stay listed";
    EXPECT_EQ(factory->CreateComponentByID(kFirstId + 5, nullptr), nullptr) << "and are never handed out again";
    EXPECT_EQ(debug_.Take().size(), 1u) << "the last request found no provider";
}

}  // namespace
}  // namespace Orvik::Testing
