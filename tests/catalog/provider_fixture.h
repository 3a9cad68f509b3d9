#pragma once
// Catalogs over the provider modules built next to the test program
// (modules/), with the debug lines they write captured.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "orvik/bootstrap/root_path.h"
#include "catalog/component_class_info_list.h"
#include "tests/catalog/catalog_test_access.h"
#include "orvik/platform/debug_output.h"
#include "orvik/platform/module_loader.h"
#include "tests/catalog/modules/catalog_probe.h"
#include "tests/support/debug_capture.h"
#include "tests/support/test_paths.h"

namespace Orvik::Testing {

using Lines = std::vector<std::string>;

inline ICatalogProbe* Probe(IComponent* component) { return static_cast<ICatalogProbe*>(component); }

inline Platform::ModuleHandle Loaded(const char* name) { return Platform::FindLoadedModule(name); }

class CatalogFixture : public ::testing::Test {
protected:
    // Loading a catalog looks the root path up once per process, which
    // writes lines of its own; they must not land in a test's capture.
    void SetUp() override { GetRootPath(); }

    // A catalog of a file that sets "dllpath" first, named by its own path.
    std::unique_ptr<CComponentClassInfoList> Make(const std::string& body,
                                                  const std::string& dllPath = ProgramDirectory(),
                                                  const std::string& file = "catalog.ini")
    {
        std::ofstream(scratch_.native() / file, std::ios::binary) << "dllpath=" << dllPath << "\n" << body;
        configPath_ = scratch_.Framework(file);
        auto catalog = std::make_unique<CComponentClassInfoList>();
        catalog->LoadConfigFile(configPath_.c_str(), configPath_.c_str());
        return catalog;
    }
    CComponentClassInfoList& Load(const std::string& body, const std::string& dllPath = ProgramDirectory())
    {
        catalog_ = Make(body, dllPath);
        return *catalog_;
    }
    IComponent* Create(ComponentId id) { return catalog_->CreateComponentFromDll(id); }

    static std::string Program(const std::string& name) { return ProgramDirectory() + "\\" + name; }
    // A copy of a test module in the scratch directory.
    void CopyModule(const char* module, const std::string& name)
    {
        std::filesystem::copy_file(NativePath(Program(module)), scratch_.native() / name,
                                   std::filesystem::copy_options::overwrite_existing);
    }

    // Every test leaves none of the test modules loaded.
    void TearDown() override
    {
        catalog_.reset();
        for (const char* name : {"cat_first.dll", "cat_second.dll", "cat_counter.dll", "cat_noids.dll",
                                 "cat_nocreate.dll", "cat_dep.dll", "cat_reenter.dll"}) {
            EXPECT_EQ(nullptr, Loaded(name)) << name;
        }
    }

    ScratchDirectory scratch_{std::string("catalog_") +
                              ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() + "_" +
                              ::testing::UnitTest::GetInstance()->current_test_info()->name()};
    std::string configPath_;
    std::unique_ptr<CComponentClassInfoList> catalog_;
};

}  // namespace Orvik::Testing
