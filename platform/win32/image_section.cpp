#include "platform/win32/image_section.h"

#include <windows.h>

#include <cstddef>
#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

// What follows the offset the DOS header names, up to the optional
// header's magic.
struct NtStart {
    DWORD signature;
    IMAGE_FILE_HEADER header;
    WORD magic;
};
static_assert(offsetof(NtStart, magic) == sizeof(DWORD) + sizeof(IMAGE_FILE_HEADER), "as the file lays them out");
constexpr DWORD kNtStartBytes = offsetof(NtStart, magic) + sizeof(WORD);

// Every offset comes from the file: a read the file cannot satisfy whole
// fails, which bounds each one by the file's size.
bool ReadAt(HANDLE file, ULONGLONG offset, void* out, DWORD count)
{
    OVERLAPPED at = {};
    at.Offset = static_cast<DWORD>(offset);
    at.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD got = 0;
    return ReadFile(file, out, count, &got, &at) && got == count;
}

SectionSearch FindSection(HANDLE file, const char* name, void* out, size_t capacity, size_t* size)
{
    IMAGE_DOS_HEADER dos;
    NtStart nt;
    if (!ReadAt(file, 0, &dos, sizeof dos) || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0 ||
        !ReadAt(file, static_cast<ULONGLONG>(dos.e_lfanew), &nt, kNtStartBytes) ||
        nt.signature != IMAGE_NT_SIGNATURE ||
        (nt.magic != IMAGE_NT_OPTIONAL_HDR32_MAGIC && nt.magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC)) {
        return SectionSearch::NotImage;
    }
    const ULONGLONG table = static_cast<ULONGLONG>(dos.e_lfanew) + offsetof(NtStart, magic) +
                            nt.header.SizeOfOptionalHeader;
    for (WORD i = 0; i < nt.header.NumberOfSections; ++i) {
        IMAGE_SECTION_HEADER section;
        if (!ReadAt(file, table + i * ULONGLONG{sizeof section}, &section, sizeof section)) {
            return SectionSearch::NotImage;
        }
        if (std::strncmp(reinterpret_cast<const char*>(section.Name), name, IMAGE_SIZEOF_SHORT_NAME) != 0) continue;
        // The file holds the smaller of the two sizes; the loader fills the rest with zeros.
        const DWORD held = section.Misc.VirtualSize != 0 && section.Misc.VirtualSize < section.SizeOfRawData
                               ? section.Misc.VirtualSize
                               : section.SizeOfRawData;
        *size = held;
        const DWORD wanted = held < capacity ? held : static_cast<DWORD>(capacity);
        return ReadAt(file, section.PointerToRawData, out, wanted) ? SectionSearch::Found
                                                                    : SectionSearch::NoSuchSection;
    }
    return SectionSearch::NoSuchSection;
}

}  // namespace

SectionSearch ReadImageSection(const char* path, const char* name, void* out, size_t capacity, size_t* size)
{
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return SectionSearch::NotImage;
    const SectionSearch search = FindSection(file, name, out, capacity, size);
    CloseHandle(file);
    return search;
}

}  // namespace Platform
}  // namespace Orvik
