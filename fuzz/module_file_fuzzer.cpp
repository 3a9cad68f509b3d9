// Damaged module files fed to the check they pass before loading, and to
// the loader. The first byte of an input chooses how:
//   1: a real module cut at the length the next four bytes give, loaded
//      through the platform layer: it must load exactly when every segment
//      is in the file, and be refused as no module (193) otherwise;
//   2: that module with bytes overwritten at the offsets the input gives
//      (three bytes of offset, one of value, repeated), checked in memory;
//   else: the rest of the input as a module image, checked in memory.
// The checks must never read outside the image. Damaged images are not
// handed to the loader: damage to code or to the values of relocations is
// past any check, and the loader would run it.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/fuzz_files.h"
#include "orvik/platform/module_loader.h"
#include "platform/posix/elf_module.h"

namespace {

using Orvik::Platform::IsLoadableModuleImage;
using Orvik::Platform::MemoryElfImage;

std::vector<uint8_t> g_module;

void CutAndLoad(const uint8_t* data, size_t size)
{
    uint32_t cut = 0;
    std::memcpy(&cut, data, std::min(size, sizeof cut));
    const size_t length = cut % (g_module.size() + 1);
    const bool complete = IsLoadableModuleImage(MemoryElfImage(g_module.data(), length));

    // A name of its own each time: the loader knows modules by their paths.
    static unsigned counter = 0;
    const std::string name = "cut" + std::to_string(++counter) + ".dll";
    const std::string path = Orvik::Fuzzing::WriteFuzzFile(name, g_module.data(), length);
    const Orvik::Platform::ModuleHandle module = Orvik::Platform::LoadModule(path.c_str());
    const uint32_t error = Orvik::Platform::GetLastErrorCode();
    if (module != nullptr) Orvik::Platform::ReleaseModule(module);
    Orvik::Fuzzing::RemoveFuzzFile(name);
    if ((module != nullptr) != complete) std::abort();
    if (module == nullptr && error != Orvik::Platform::kErrorBadExeFormat) std::abort();
}

void PatchAndCheck(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> image = g_module;
    for (; size >= 4; data += 4, size -= 4) {
        const size_t offset = data[0] | data[1] << 8 | data[2] << 16;
        image[offset % image.size()] = data[3];
    }
    IsLoadableModuleImage(MemoryElfImage(image.data(), image.size()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The seed module lies beside this program.
    char program[Orvik::Platform::kMaxPath] = {};
    Orvik::Platform::GetModuleFilePath(nullptr, program, sizeof program);
    std::string path(program);
    path = path.substr(0, path.rfind('\\') + 1) + "fuzz_seed.dll";
    for (char& c : path) c = c == '\\' ? '/' : c;
    std::ifstream file(path, std::ios::binary);
    g_module.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (g_module.empty() || !IsLoadableModuleImage(MemoryElfImage(g_module.data(), g_module.size()))) std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    if (data[0] == 1) {
        CutAndLoad(data + 1, size - 1);
    } else if (data[0] == 2) {
        PatchAndCheck(data + 1, size - 1);
    } else {
        IsLoadableModuleImage(MemoryElfImage(data + 1, size - 1));
    }
    return 0;
}
